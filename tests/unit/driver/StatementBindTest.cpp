// Host values to ODBC parameters, time counts to structures, and the status
// rules of binding, batches and closing, against a stand-in statement.
#include <gtest/gtest.h>

#include <cstring>

#include "FakeOdbc.h"
#include "datatypes/DataTypes.h"
#include "driver/OdbcConnection.h"
#include "driver/OdbcStatement.h"
#include "host/LogServiceImpl.h"

using namespace KORVEL::Orl::DB;
using DataTypes::DataValue;
using fakeodbc::FakeParam;
using fakeodbc::FakeStmt;

namespace {

struct Log {
    std::vector<std::string> lines;  // id and text
    Log() { LogServiceImpl::setSink([this](const std::string& id, const std::string& t) { lines.push_back(id + "|" + t); }); }
    ~Log() { LogServiceImpl::setSink(nullptr); }
};

DataValue i64(int64_t v) { DataValue d; d.int64Value = v; d.isNull = false; return d; }
DataValue i16(int16_t v) { DataValue d; d.int16Value = v; d.isNull = false; return d; }
DataValue i32(int32_t v) { DataValue d; d.int32Value = v; d.isNull = false; return d; }
DataValue str(const char* v) { DataValue d; d.stringValue = const_cast<char*>(v); d.isNull = false; return d; }
DataValue text(unsigned int type, const char* t) {
    DataValue d;
    const char* error = nullptr;
    DataTypes::convertFromString(type, t, d, error, nullptr, nullptr, nullptr, nullptr);
    return d;
}
Parameter param(unsigned int type, DataValue v) {
    Parameter p;
    p.type = type;
    p.value = v;
    return p;
}

class StatementBind : public ::testing::Test {
protected:
    // A statement over `stmt`, which it owns from here on.
    std::unique_ptr<OdbcStatement> over(FakeStmt* stmt, bool bigIntAsChar = false) {
        return std::make_unique<OdbcStatement>(bigIntAsChar ? charConn : conn, stmt, "sql");
    }
    OdbcConnection conn{"dsn", "", "user", "", false};
    OdbcConnection charConn{"dsn", "", "user", "", true};
};

struct Shape {
    const char* name;
    unsigned int type;
    DataValue value;
    bool bigIntAsChar;
    short sqlType;
    unsigned int size;
    short digits;
    short cType;
    int length;
    const char* kind;
    const char* text;  // what travels as bytes, when it does
};

TEST_F(StatementBind, EachTypeWordBindsWithItsShape) {
    const unsigned int decimal38_4 = DataTypes::createFixedDecimal(38, 4);
    const Shape rows[] = {
        {"int16", 0, i16(-7), false, 5, 0, 0, 5, 0, "short", ""},
        {"integer", 1, i32(7), false, 4, 0, 0, -16, 0, "int", ""},
        {"long", 2, i64(1), false, -5, 0, 0, -25, 0, "long", ""},
        {"long as text", 2, i64(-9000000000000000001), true, -5, 20, 0, 1, 0, "bytes", "-9000000000000000001"},
        {"interval as text", 26, i64(42), true, -5, 20, 0, 1, 0, "bytes", "42"},
        {"long null as text", 2, DataValue(), true, -5, 20, 0, 1, 0, "bytes", ""},
        {"date", 4, i64(0), false, 93, 19, 0, 93, 0, "timestamp", ""},
        {"string", 5, str("h\xc3\xa9llo"), false, 12, 6, 0, 1, 0, "string", "h\xc3\xa9llo"},  // bytes, not letters
        {"null string", 5, DataValue(), false, 12, 0, 0, 1, 0, "string", ""},
        {"money", 7, text(7, "1.5"), false, 3, 19, 4, 1, 21, "bytes", "1.5000"},
        {"money_2", 12, text(12, "-12.5"), false, 3, 19, 2, 1, 21, "bytes", "-12.50"},
        {"timestamp", 8, i64(0), false, 93, 23, 3, 93, 0, "timestamp", ""},
        {"boolean", 10, DataValue(), false, -6, 0, 0, -7, 0, "bool", ""},
        {"bigdatetime", 27, i64(0), false, 93, 26, 6, 93, 0, "timestamp", ""},
        {"binary", 28, DataValue(), false, -3, 0, 0, -2, 0, "binary", ""},
        {"time", 29, i64(0), false, 92, 6, 0, 92, 0, "time", ""},
        {"decimal(38,4)", decimal38_4, text(decimal38_4, "-0.5"), false, 3, 38, 4, 1, 40, "bytes", "-0.5000"},
    };
    for (const Shape& r : rows) {
        SCOPED_TRACE(r.name);
        FakeStmt* stmt = new FakeStmt(1);
        auto st = over(stmt, r.bigIntAsChar);
        std::vector<Parameter> ps{param(r.type, r.value)};
        ASSERT_EQ(1, st->bindParameters(ps));
        const FakeParam& p = stmt->param(0);
        EXPECT_EQ(r.sqlType, p.sqlType);
        EXPECT_EQ(r.size, p.columnSize);
        EXPECT_EQ(r.digits, p.decimalDigits);
        EXPECT_EQ(r.cType, p.cType);
        EXPECT_EQ(r.length, p.length);
        EXPECT_EQ(1, p.direction);
        EXPECT_EQ(r.kind, p.kind);
        EXPECT_EQ(r.value.isNull, p.isNull);
        if (p.kind == "bytes" || p.kind == "string") {
            EXPECT_EQ(r.text, p.text);
        }
    }
}

struct Clock {
    const char* name;
    unsigned int type;
    int64_t count;
    int year, month, day, hour, minute, second;
    unsigned int fraction;
};

TEST_F(StatementBind, TimeCountsBecomeUtcFieldsWithAForwardFraction) {
    const Clock rows[] = {
        {"ms before the epoch", 8, -1, 1969, 12, 31, 23, 59, 59, 999000000},
        {"whole second before", 8, -1000, 1969, 12, 31, 23, 59, 59, 0},
        {"ms and a half second", 8, -1500, 1969, 12, 31, 23, 59, 58, 500000000},
        {"us before the epoch", 27, -1, 1969, 12, 31, 23, 59, 59, 999999000},
        {"us after", 27, 1700000000123456, 2023, 11, 14, 22, 13, 20, 123456000},
        {"date in seconds", 4, 86400 * 366, 1971, 1, 2, 0, 0, 0, 0},
    };
    auto st = over(new FakeStmt);
    for (const Clock& r : rows) {
        TIMESTAMP_STRUCT ts{};
        ASSERT_TRUE(st->convertTime(r.type, i64(r.count), ts)) << r.name;
        EXPECT_EQ(r.year, ts.year) << r.name;
        EXPECT_EQ(r.month, ts.month) << r.name;
        EXPECT_EQ(r.day, ts.day) << r.name;
        EXPECT_EQ(r.hour, ts.hour) << r.name;
        EXPECT_EQ(r.minute, ts.minute) << r.name;
        EXPECT_EQ(r.second, ts.second) << r.name;
        EXPECT_EQ(r.fraction, ts.fraction) << r.name;
    }
    TIMESTAMP_STRUCT untouched{};
    testing::internal::CaptureStdout();
    EXPECT_FALSE(st->convertTime(29, i64(0), untouched));
    EXPECT_EQ("Invalid data for converting as time\n", testing::internal::GetCapturedStdout());
}

TEST_F(StatementBind, TimeOfDayWrapsPastOneDay) {
    const struct {
        int64_t seconds;
        int hour, minute, second;
    } rows[] = {{90000, 1, 0, 0}, {45296, 12, 34, 56}, {86399, 23, 59, 59}};
    for (const auto& r : rows) {
        FakeStmt* stmt = new FakeStmt(1);
        auto st = over(stmt);
        std::vector<Parameter> ps{param(29, i64(r.seconds))};
        ASSERT_EQ(1, st->bindParameters(ps));
        EXPECT_EQ(r.hour, stmt->param(0).time.hour) << r.seconds;
        EXPECT_EQ(r.minute, stmt->param(0).time.minute) << r.seconds;
        EXPECT_EQ(r.second, stmt->param(0).time.second) << r.seconds;
    }
}

TEST_F(StatementBind, OnlyTheLastParameterDecidesTheStatus) {
    FakeStmt* stmt = new FakeStmt(3);
    auto st = over(stmt);
    Log log;
    std::vector<Parameter> unknownInMiddle{param(1, i32(1)), param(6, i32(2)), param(1, i32(3))};
    EXPECT_EQ(1, st->bindParameters(unknownInMiddle));
    EXPECT_EQ(-99, stmt->param(1).sqlType);  // skipped, the others bound
    EXPECT_EQ(4, stmt->param(2).sqlType);
    std::vector<Parameter> unknownLast{param(1, i32(1)), param(9, i32(2))};
    EXPECT_EQ(3, st->bindParameters(unknownLast));
    EXPECT_TRUE(log.lines.empty());  // an unknown word fails silently

    std::vector<Parameter> tooMany{param(1, i32(1)), param(1, i32(1)), param(1, i32(1)), param(1, i32(1))};
    EXPECT_EQ(3, st->bindParameters(tooMany));
    // A money binder handed a word that isn't one refuses with a log line.
    EXPECT_EQ(3, st->bindParameterMoney(stmt->params[0].get(), 6, i32(0)));
    EXPECT_EQ((std::vector<std::string>{"801017-3_ERROR_BINDING_PARAMETERS|sql ",
                                        "801017-3_ERROR_BINDING_PARAMETERS|sql "}),
              log.lines);
    std::vector<Parameter> none;
    EXPECT_EQ(1, st->bindParameters(none));
}

TEST_F(StatementBind, UpdateRunsThePreparedSqlAndCutsTheCountTo32Bits) {
    FakeStmt* stmt = new FakeStmt;
    auto st = over(stmt);
    std::vector<Parameter> none;
    int rows = 0;
    EXPECT_EQ(1, st->executeUpdate("something else entirely", none, rows));
    EXPECT_EQ(2, rows);
    // A connection never opened has nothing to make a statement on.
    Log log;
    EXPECT_EQ(3, conn.createBatch("INSERT INTO t VALUES (?)"));
    EXPECT_EQ(std::vector<std::string>{"801004-3_ERROR_CREATING_STATEMENT|INSERT INTO t VALUES (?) "}, log.lines);
    EXPECT_FALSE(conn.batchOpen);
    std::vector<int> counts{1};
    EXPECT_EQ(3, conn.executeBatch(counts));
    EXPECT_EQ(3, conn.addToBatch(none));
}

TEST_F(StatementBind, BatchCountsAndClose) {
    FakeStmt* stmt = new FakeStmt(1);
    auto st = over(stmt);
    std::vector<int> counts{9, 9, 9};
    EXPECT_EQ(1, st->executeBatch(counts));  // nothing added: nothing runs
    EXPECT_TRUE(counts.empty());
    EXPECT_EQ(0, stmt->executions);

    std::vector<Parameter> row{param(1, i32(1))};
    ASSERT_EQ(1, st->addToBatch(row));
    ASSERT_EQ(1, st->addToBatch(row));
    stmt->rowStatusCalls = {fakeodbc::Status_Ok, fakeodbc::Status_Error};
    EXPECT_EQ(1, st->executeBatch(counts));
    EXPECT_EQ((std::vector<int>{0, -1}), counts);  // an unreadable status doesn't fail the batch
    EXPECT_EQ(1, stmt->executions);
    EXPECT_EQ(1, st->clearBatch());
    EXPECT_EQ(0, stmt->batchSize);

    Log log;
    stmt->closeStatus = fakeodbc::Status_Error;
    EXPECT_EQ(1, st->close());
    EXPECT_EQ(1, st->close());
    EXPECT_EQ(std::vector<std::string>{"801015-4_ERROR_CLOSING_STATEMENT|"}, log.lines);
    // With the statement gone every operation takes its missing-statement branch.
    int n = 0;
    EXPECT_EQ(3, st->executeUpdate(row, n));
    EXPECT_EQ(3, st->addToBatch(row));
    EXPECT_EQ(3, st->clearBatch());
    EXPECT_EQ(3, st->executeBatch(counts));
    EXPECT_EQ(1, st->createBatch("x"));
}

} // namespace
