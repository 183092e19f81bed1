// Host values to ODBC parameters as the driver receives them, time counts to
// structures, and the status rules of binding, batches and closing.
#include <sqlext.h>

#include "ClassicScript.h"

namespace classicunit {
namespace {

DataValue i16(int16_t v) { DataValue d; d.int16Value = v; d.isNull = false; return d; }
DataValue i32(int32_t v) { DataValue d; d.int32Value = v; d.isNull = false; return d; }
DataValue str(const char* v) { DataValue d; d.stringValue = const_cast<char*>(v); d.isNull = false; return d; }
DataValue text(unsigned int type, const char* t) {
    DataValue d;
    const char* error = nullptr;
    DataTypes::convertFromString(type, t, d, error, nullptr, nullptr, nullptr, nullptr);
    return d;
}

using StatementBind = Classic;

// The driver's view of one bound parameter: "ctype sqltype size digits" of the
// bind, and the value it reads at execute ("null" for a NULL indicator). The
// object layer sets the size of the fixed-width SQL types itself (BIGINT 19
// also for the text form) and binds a short as SQL_C_SSHORT.
struct Bound {
    const char* name;
    unsigned int type;
    DataValue value;
    bool bigIntAsChar;
    const char* bind;
    const char* reads;
};

TEST_F(StatementBind, EachTypeWordReachesTheDriverWithItsShape) {
    OdbcConnection charConn{ScriptDsn::kDsn, "", "orl", "pw", true};
    ASSERT_EQ(1, charConn.open());
    const unsigned int decimal38_4 = DataTypes::createFixedDecimal(38, 4);
    const Bound rows[] = {
        {"int16", 0, i16(-7), false, "ctype=-15 sqltype=5 size=5 digits=0", ""},
        {"integer", 1, i32(7), false, "ctype=-16 sqltype=4 size=10 digits=0", ""},
        {"long", 2, i64(1), false, "ctype=-25 sqltype=-5 size=19 digits=0", ""},
        {"long as text", 2, i64(-9000000000000000001), true, "ctype=1 sqltype=-5 size=19 digits=0", "-9000000000000000001"},
        {"interval as text", 26, i64(42), true, "ctype=1 sqltype=-5 size=19 digits=0", "42"},
        {"long null as text", 2, DataValue(), true, "ctype=1 sqltype=-5 size=19 digits=0", "null"},
        {"date", 4, i64(86400 * 366), false, "ctype=93 sqltype=93 size=19 digits=0", "1971-01-02 00:00:00.000000000"},
        {"string", 5, str("h\xc3\xa9llo"), false, "ctype=1 sqltype=12 size=6 digits=0", "h\xc3\xa9llo"},  // bytes, not letters
        {"null string", 5, DataValue(), false, "ctype=1 sqltype=12 size=0 digits=0", "null"},
        {"money", 7, text(7, "1.5"), false, "ctype=1 sqltype=3 size=19 digits=4", "1.5000"},
        {"money_2", 12, text(12, "-12.5"), false, "ctype=1 sqltype=3 size=19 digits=2", "-12.50"},
        {"timestamp -1 ms", 8, i64(-1), false, "ctype=93 sqltype=93 size=23 digits=3", "1969-12-31 23:59:59.999000000"},
        {"timestamp -1000 ms", 8, i64(-1000), false, "ctype=93 sqltype=93 size=23 digits=3", "1969-12-31 23:59:59.000000000"},
        {"timestamp -1500 ms", 8, i64(-1500), false, "ctype=93 sqltype=93 size=23 digits=3", "1969-12-31 23:59:58.500000000"},
        // The floor second without overflow; the year doesn't fit its 16 bits.
        {"timestamp at the bottom", 8, i64(INT64_MIN), false, "ctype=93 sqltype=93 size=23 digits=3", "15505-05-16 16:47:04.192000000"},
        {"boolean", 10, DataValue(), false, "ctype=-7 sqltype=-6 size=3 digits=0", "null"},
        {"bigdatetime -1 us", 27, i64(-1), false, "ctype=93 sqltype=93 size=26 digits=6", "1969-12-31 23:59:59.999999000"},
        {"bigdatetime", 27, i64(1700000000123456), false, "ctype=93 sqltype=93 size=26 digits=6", "2023-11-14 22:13:20.123456000"},
        {"binary", 28, DataValue(), false, "ctype=-2 sqltype=-3 size=0 digits=0", "null"},
        {"time of 25 hours", 29, i64(90000), false, "ctype=92 sqltype=92 size=6 digits=0", "01:00:00"},
        {"time", 29, i64(45296), false, "ctype=92 sqltype=92 size=6 digits=0", "12:34:56"},
        {"decimal(38,4)", decimal38_4, text(decimal38_4, "-0.5"), false, "ctype=1 sqltype=3 size=38 digits=4", "-0.5000"},
    };
    for (const Bound& r : rows) {
        size_t at = mark();
        std::vector<Parameter> ps{param(r.type, r.value)};
        int count = 0;
        EXPECT_EQ(1, (r.bigIntAsChar ? charConn : conn).executeUpdate("?", ps, count)) << r.name;
        std::vector<std::string> binds = since(at, "bindparam "), values = since(at, "value param=1 "),
                                 executes = since(at, "execute param=1 ");
        ASSERT_EQ(1u, binds.size()) << r.name;
        size_t from = binds[0].find("ctype="), to = binds[0].find(" buflen");
        EXPECT_EQ(r.bind, binds[0].substr(from, to - from)) << r.name;
        EXPECT_NE(std::string::npos, binds[0].find("dir=1 ")) << r.name;
        std::string seen = values.empty() ? "" : values[0].substr(14);
        if (!executes.empty() && executes[0].find("ind= -1") != std::string::npos) seen = "null";
        EXPECT_EQ(r.reads, seen) << r.name;
    }
}

TEST_F(StatementBind, OnlyTheLastParameterDecidesTheStatus) {
    auto st = prepare("? ? ?");
    std::vector<Parameter> unknownInMiddle{param(1, i32(1)), param(6, i32(2)), param(1, i32(3))};
    EXPECT_EQ(1, st->bindParameters(unknownInMiddle));
    // The unknown one is skipped, the ones after it bound.
    short sqlType = 0, digits = 0;
    unsigned int size = 0;
    st->getStmt()->GetParam(3)->GetSqlType(sqlType, size, digits);
    EXPECT_EQ(SQL_INTEGER, sqlType);
    std::vector<Parameter> unknownLast{param(1, i32(1)), param(9, i32(2))};
    EXPECT_EQ(3, st->bindParameters(unknownLast));
    EXPECT_TRUE(log.empty());  // an unknown word fails silently

    std::vector<Parameter> tooMany(4, param(1, i32(1)));
    EXPECT_EQ(3, st->bindParameters(tooMany));
    // A money binder handed a word that isn't one refuses with a log line.
    EXPECT_EQ(3, st->bindParameterMoney(st->getStmt()->GetParam(1), 6, i32(0)));
    EXPECT_EQ((std::vector<std::string>{"801017-3_ERROR_BINDING_PARAMETERS|? ? ? ",
                                        "801017-3_ERROR_BINDING_PARAMETERS|? ? ? "}),
              log);

    TIMESTAMP_STRUCT untouched{};
    testing::internal::CaptureStdout();
    EXPECT_FALSE(st->convertTime(29, i64(0), untouched));
    EXPECT_EQ("Invalid data for converting as time\n", testing::internal::GetCapturedStdout());
}

TEST_F(StatementBind, UpdateRunsThePreparedSqlAndCutsTheCountTo32Bits) {
    auto st = prepare("rowcount=4294967298");
    std::vector<Parameter> none;
    int rows = 0;
    EXPECT_EQ(1, st->executeUpdate("error", none, rows));
    EXPECT_EQ(2, rows);
    // A connection never opened has nothing to make a statement on.
    OdbcConnection closed{ScriptDsn::kDsn, "", "orl", "pw", false};
    EXPECT_EQ(3, closed.createBatch("INSERT INTO t VALUES (?)"));
    EXPECT_EQ(std::vector<std::string>{"801004-3_ERROR_CREATING_STATEMENT|INSERT INTO t VALUES (?) "}, log);
    EXPECT_FALSE(closed.batchOpen);
    std::vector<int> counts{1};
    EXPECT_EQ(3, closed.executeBatch(counts));
    EXPECT_EQ(3, closed.addToBatch(none));
}

TEST_F(StatementBind, BatchCountsAndClose) {
    std::vector<int> counts;
    ASSERT_EQ(1, conn.createBatch("?;failrow=1"));
    std::vector<Parameter> row{param(1, i32(1))};
    size_t at = mark();
    ASSERT_EQ(1, conn.addToBatch(row));
    ASSERT_EQ(1, conn.addToBatch(row));
    ASSERT_EQ(1, conn.addToBatch(row));
    EXPECT_EQ(1, conn.executeBatch(counts));
    EXPECT_EQ((std::vector<int>{0, -1, 0}), counts);  // a failed row doesn't fail the batch
    EXPECT_EQ(1u, since(at, "execute param=1 paramset=3 ").size());  // one execution for all rows

    auto st = prepare("x");
    EXPECT_EQ(1, st->close());
    EXPECT_EQ(1, st->close());
    EXPECT_EQ(nullptr, st->getStmt());
    // With the statement gone every operation takes its missing-statement branch.
    int n = 0;
    EXPECT_EQ(3, st->executeUpdate(row, n));
    EXPECT_EQ(3, st->addToBatch(row));
    EXPECT_EQ(3, st->clearBatch());
    EXPECT_EQ(3, st->executeBatch(counts));
    EXPECT_EQ(1, st->createBatch("x"));
    EXPECT_EQ((std::vector<std::string>{"801016-3_ERROR_EXECUTING_STATEMENT|x ", "801020-3_ERROR_ADDING_TO_BATCH|x ",
                                        "801019-3_ERROR_CLEARING_BATCH|", "801021-3_ERROR_EXECUTING_BATCH|x "}),
              log);
}

} // namespace
} // namespace classicunit
