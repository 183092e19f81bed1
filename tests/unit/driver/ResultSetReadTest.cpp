// ODBC forms back into host values: the date structures, the positional time
// parse, string and binary buffers, and which failures cost the row.
#include <gtest/gtest.h>

#include <sqlext.h>

#include <cstring>

#include "FakeOdbc.h"
#include "driver/OdbcConnection.h"
#include "driver/OdbcStatement.h"
#include "host/ResultSet.h"
#include "host/LogServiceImpl.h"
#include "host/Row.h"

using namespace KORVEL::Orl::DB;
using DataTypes::DataValue;
using fakeodbc::FakeStmt;

namespace {

struct Log {
    std::vector<std::string> lines;
    Log() { LogServiceImpl::setSink([this](const std::string& id, const std::string& t) { lines.push_back(id + "|" + t); }); }
    ~Log() { LogServiceImpl::setSink(nullptr); }
};

template <typename T>
std::string raw(const T& s) {
    return std::string(reinterpret_cast<const char*>(&s), sizeof s);
}

// One fetched row over `stmt`'s columns.
class ResultSetRead : public ::testing::Test {
protected:
    ResultSet* open(FakeStmt* s) {
        stmt = s;
        st = std::make_unique<OdbcStatement>(conn, s, "sql");
        std::vector<Parameter> none;
        ResultSet* rs = nullptr;
        EXPECT_EQ(1, st->executeQuery("ignored", none, 0, rs));
        bool more = false;
        EXPECT_EQ(1, rs->next(more));
        EXPECT_TRUE(more);
        return rs;
    }
    // Reads one column of `sqlType` holding `bytes` as `type`.
    int readOne(short sqlType, const std::string& bytes, unsigned int type, Row*& row) {
        FakeStmt* s = new FakeStmt(0, 1);
        s->col(0).sqlType = sqlType;
        s->col(0).bytes = bytes;
        return open(s)->getData(RowDescriptor({type}), row);
    }

    OdbcConnection conn{"dsn", "", "user", "", false};
    std::unique_ptr<OdbcStatement> st;
    FakeStmt* stmt = nullptr;
};

TEST_F(ResultSetRead, TimeFromWideTextGoesByPosition) {
    const struct {
        const char* text;
        int64_t seconds;
        const char* log;
    } rows[] = {
        {"12:34:56", 45296, nullptr},
        {"7:00:00", 0, "801032-3_ERROR_PARSING_COLUMN_VALUE|1"},  // short: kept, unwritten
        {"ab:00:00", -3600, nullptr},                            // junk field counts -1
        {"00-00-0x", -1, nullptr},  // separators are not looked at; "0x" is junk, not zero
        {"23:59:59.999", 86399, nullptr},
    };
    for (const auto& r : rows) {
        Log log;
        Row* row = nullptr;
        ASSERT_EQ(1, readOne(SQL_WVARCHAR, r.text, 29, row)) << r.text;
        ASSERT_NE(nullptr, row);
        EXPECT_FALSE(row->getColumnValue(0).isNull) << r.text;
        EXPECT_EQ(r.seconds, row->getColumnValue(0).int64Value) << r.text;
        EXPECT_EQ(r.log ? std::vector<std::string>{r.log} : std::vector<std::string>{}, log.lines) << r.text;
        delete row;
    }
}

TEST_F(ResultSetRead, DateFamiliesReadTheStructureTheSqlTypeNames) {
    TIME_STRUCT t{12, 34, 56};
    TIMESTAMP_STRUCT ts{2023, 11, 14, 22, 13, 20, 123456789};
    const struct {
        const char* name;
        short sqlType;
        std::string bytes;
        unsigned int type;
        int64_t value;
    } rows[] = {
        {"timestamp from a time column", SQL_TYPE_TIME, raw(t), 8, 45296000},
        {"bigdatetime keeps microseconds", SQL_TYPE_TIMESTAMP, raw(ts), 27, 1700000000123456},
        {"timestamp keeps milliseconds", SQL_TYPE_TIMESTAMP, raw(ts), 8, 1700000000123},
        {"date drops the fraction", SQL_TYPE_TIMESTAMP, raw(ts), 4, 1700000000},
        {"time of a timestamp", SQL_TYPE_TIMESTAMP, raw(ts), 29, 80000},
        {"time of a time", SQL_TYPE_TIME, raw(t), 29, 45296},
        {"time of an unknown layout stays", SQL_VARCHAR, "12:00:00", 29, 0},
    };
    for (const auto& r : rows) {
        Row* row = nullptr;
        ASSERT_EQ(1, readOne(r.sqlType, r.bytes, r.type, row)) << r.name;
        EXPECT_FALSE(row->getColumnValue(0).isNull) << r.name;
        EXPECT_EQ(r.value, row->getColumnValue(0).int64Value) << r.name;
        delete row;
    }
    // A driver that hands fewer bytes than the structure has is read as zeros
    // behind them, never past them: the date text no longer parses, the row stays.
    Row* row = nullptr;
    EXPECT_EQ(1, readOne(SQL_TYPE_TIMESTAMP, raw(ts).substr(0, 3), 27, row));
    delete row;
}

TEST_F(ResultSetRead, StringsEndAtZeroAndBinariesKeepEveryByte) {
    FakeStmt* s = new FakeStmt(0, 4);
    s->col(0).bytes = std::string("ab\0cd", 5);
    s->col(1).bytes = std::string("ab\0cd", 5);
    s->col(2).bytes = "";
    s->col(3).isNull = true;
    Row* row = nullptr;
    ASSERT_EQ(1, open(s)->getData(RowDescriptor({5, 28, 5, 5}), row));
    EXPECT_STREQ("ab", row->getColumnValue(0).stringValue);
    ASSERT_EQ(5u, row->getColumnValue(1).binaryValue.length);
    EXPECT_EQ(0, std::memcmp("ab\0cd", row->getColumnValue(1).binaryValue.data, 5));
    EXPECT_FALSE(row->getColumnValue(2).isNull);  // empty text is not NULL
    EXPECT_STREQ("", row->getColumnValue(2).stringValue);
    EXPECT_TRUE(row->getColumnValue(3).isNull);
    delete row;
}

TEST_F(ResultSetRead, FailuresThatCostTheRow) {
    const struct {
        const char* name;
        unsigned int type;
        const char* bytes;
        fakeodbc::e_Status read;
        std::vector<std::string> log;
    } rows[] = {
        {"money text", 7, "abc", fakeodbc::Status_Ok,
         {"801013-3_ERROR_GETTING_COLUMN_VALUE|2", "801014-4_COLUMN_VALUE_ERROR_RESULT_ROW_SKIPPED|"}},
        {"failed read", 1, "1", fakeodbc::Status_Error,
         {"801013-3_ERROR_GETTING_COLUMN_VALUE|2 ", "801014-4_COLUMN_VALUE_ERROR_RESULT_ROW_SKIPPED|"}},
        {"unknown word", 6, "1", fakeodbc::Status_Ok, {"801014-4_COLUMN_VALUE_ERROR_RESULT_ROW_SKIPPED|"}},
    };
    for (const auto& r : rows) {
        FakeStmt* s = new FakeStmt(0, 2);
        s->col(0).bytes = "hello";
        s->col(1).bytes = r.bytes;
        s->col(1).readStatus = r.read;
        ResultSet* rs = open(s);
        Log log;
        Row* row = reinterpret_cast<Row*>(1);
        EXPECT_EQ(3, rs->getData(RowDescriptor({5, r.type}), row)) << r.name;
        EXPECT_EQ(nullptr, row) << r.name;  // the string already read went with the row
        EXPECT_EQ(r.log, log.lines) << r.name;
    }
    // A column beyond the row: logged with its number.
    FakeStmt* s = new FakeStmt(0, 1);
    ResultSet* rs = open(s);
    Log log;
    DataValue v;
    EXPECT_EQ(3, rs->getColumn(2, 1, v));
    EXPECT_EQ(std::vector<std::string>{"801013-3_ERROR_GETTING_COLUMN_VALUE|2 "}, log.lines);
}

} // namespace
