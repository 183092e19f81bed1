// Every type word bound as a parameter, stored, and read back by the same word:
// the host-to-ODBC mapping and its reverse must meet on every database.
#include <cstring>

#include "ClassicFixture.h"
#include "datatypes/DataTypes.h"

using namespace KORVEL::Orl::DB;
using DataTypes::DataValue;

namespace {

struct Case {
    const char* name;
    unsigned int type;
    const char* pg;  // column types
    const char* maria;
    const char* sqlite;
    DataValue value;
};

DataValue i64(int64_t v) { DataValue d; d.int64Value = v; d.isNull = false; return d; }
DataValue i32(int32_t v) { DataValue d; d.int32Value = v; d.isNull = false; return d; }
DataValue i16(int16_t v) { DataValue d; d.int16Value = v; d.isNull = false; return d; }
DataValue dbl(double v) { DataValue d; d.doubleValue = v; d.isNull = false; return d; }
DataValue boolean(bool v) { DataValue d; d.boolValue = v; d.isNull = false; return d; }
DataValue str(const char* v) { DataValue d; d.stringValue = const_cast<char*>(v); d.isNull = false; return d; }
DataValue bin(const char* v, uint32_t n) {
    DataValue d;
    d.binaryValue = {reinterpret_cast<unsigned char*>(const_cast<char*>(v)), n};
    d.isNull = false;
    return d;
}
// Money and decimals are made by the type core from their text.
DataValue text(unsigned int type, const char* t) {
    DataValue d;
    const char* error = nullptr;
    EXPECT_TRUE(DataTypes::convertFromString(type, t, d, error, nullptr, nullptr, nullptr, nullptr)) << t;
    return d;
}

const unsigned int kDecimal20_6 = DataTypes::createFixedDecimal(20, 6);

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        {"int16", 0, "smallint", "smallint", "smallint", i16(-12345)},
        {"integer", 1, "integer", "integer", "integer", i32(2000000001)},
        {"long", 2, "bigint", "bigint", "bigint", i64(9000000000000000001)},
        {"float", 3, "double precision", "double", "double", dbl(-1.25e10)},
        {"date", 4, "timestamp", "datetime", "timestamp", i64(1700000000)},
        {"string", 5, "varchar(64)", "varchar(64)", "varchar(64)", str("hello, world")},
        {"money", 7, "decimal(19,4)", "decimal(19,4)", "decimal(19,4)", text(7, "12345.6789")},
        {"timestamp", 8, "timestamp(3)", "datetime(3)", "timestamp", i64(1700000000123)},
        {"timestamp_pre1970", 8, "timestamp(3)", "", "timestamp", i64(-1)},
        {"boolean", 10, "smallint", "tinyint", "tinyint", boolean(true)},
        {"money_2", 12, "decimal(19,2)", "decimal(19,2)", "decimal(19,2)", text(12, "-98765.43")},
        {"money_15", 25, "decimal(19,15)", "decimal(19,15)", "", text(25, "1.234567890123456")},
        {"interval", 26, "bigint", "bigint", "bigint", i64(-86400000)},
        // The SQLite driver keeps timestamps to the millisecond.
        {"bigdatetime", 27, "timestamp(6)", "datetime(6)", "", i64(1700000000123456)},
        {"bigdatetime_ms", 27, "timestamp(6)", "datetime(6)", "timestamp", i64(1700000000123000)},
        {"binary", 28, "bytea", "varbinary(64)", "blob", bin("\x00\x01\xff\x7f\x00", 5)},
        {"time", 29, "time", "time", "time", i64(45296)},
        // SQLite describes numeric as a double and decimal as text; only text keeps the digits.
        {"decimal", kDecimal20_6, "numeric(20,6)", "decimal(20,6)", "decimal(20,6)",
         text(kDecimal20_6, "-1234567.123456")},
    };
    return all;
}

std::string show(unsigned int type, const DataValue& v) {
    if (v.isNull) return "NULL";
    unsigned int low = type & 0xFF;
    if (low == 5) return v.stringValue ? v.stringValue : "(null pointer)";
    if (low == 28) return "binary of " + std::to_string(v.binaryValue.length) + " bytes";
    char out[64] = "";
    DataValue copy = v;
    DataTypes::convertToString(type, false, false, copy, out, sizeof out);
    return out;
}

class RoundTrip : public classictest::ClassicTest {};

// One table per case: a row with the value and one with NULL, both read back.
TEST_P(RoundTrip, EveryTypeWordComesBackAsBound) {
    for (const Case& c : cases()) {
        const char* ddl = is("pg") ? c.pg : is("maria") ? c.maria : c.sqlite;
        if (*ddl == '\0') continue;  // the database has no column that holds this value
        SCOPED_TRACE(std::string(c.name) + " in " + ddl);
        classictest::LogCapture log;
        update("DROP TABLE IF EXISTS orl_cl_rt");
        ASSERT_EQ(1, update(std::string("CREATE TABLE orl_cl_rt (id integer, v ") + ddl + ")"))
            << classictest::errorsOf(conn);
        std::vector<Parameter> params(2);
        params[0].type = 1;
        params[1].type = c.type;
        int count = -1;
        for (int id = 1; id <= 2; ++id) {
            params[0].value = i32(id);
            params[1].value = id == 1 ? c.value : DataValue();
            ASSERT_EQ(1, conn->executeUpdate("INSERT INTO orl_cl_rt VALUES (?, ?)", params, count))
                << classictest::errorsOf(conn);
            EXPECT_EQ(1, count);
        }
        std::vector<Row*> rows;
        ASSERT_TRUE(selectAll("SELECT v FROM orl_cl_rt ORDER BY id", {c.type}, rows));
        ASSERT_EQ(2u, rows.size());
        ASSERT_NE(nullptr, rows[0]);
        ASSERT_NE(nullptr, rows[1]);
        DataValue got = rows[0]->getColumnValue(0);
        DataValue want = c.value;
        EXPECT_FALSE(got.isNull);
        EXPECT_TRUE(DataTypes::equalValues(want, got, c.type)) << show(c.type, want) << " came back as "
                                                                 << show(c.type, got);
        EXPECT_TRUE(rows[1]->getColumnValue(0).isNull);
        freeRows(rows);
        EXPECT_TRUE(log.lines.empty()) << log.lines[0].first << " " << log.lines[0].second;
        update("DROP TABLE orl_cl_rt");
        conn->commit();
    }
}

CLASSIC_INSTANTIATE(RoundTrip);

} // namespace
