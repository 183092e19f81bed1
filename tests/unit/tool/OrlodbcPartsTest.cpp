// The pieces of orlodbc that decide without a database: the canonical values
// the copy checksum compares, the key ranges of parallel jobs, the CSV and
// JSON quoting, and the progress line.
#include <gtest/gtest.h>

#include <sql.h>
#include <sqlext.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/Checksum.h"
#include "tools/orlodbc/Split.h"
#include "tools/orlodbc/Progress.h"
#include "tools/orlodbc/SqlRunner.h"
#include "tools/orlodbc/ValueText.h"

using namespace DataTypes;

namespace {

// The packed bytes of a value given as text, for a type word.
std::vector<unsigned char> packed(unsigned int word, const char* text) {
    std::vector<unsigned char> out(64 + std::strlen(text));
    const char* error = nullptr;
    unsigned long n = packAndAppendValue(out.data(), out.size(), text, word, "%Y-%m-%d %H:%M:%S",
                                         "%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M:%S", nullptr, error);
    EXPECT_EQ(nullptr, error) << text;
    out.resize(n);
    return out;
}

std::string canon(unsigned int word, const char* text) {
    return orlodbc::canonicalValue(word, text ? packed(word, text).data() : nullptr);
}

TEST(CopyChecksum, ValuesCompareByKindNotByWidth) {
    const unsigned int dec18_2 = createFixedDecimal(18, 2), dec10_4 = createFixedDecimal(10, 4);
    struct Case {
        unsigned int a;
        const char* va;
        unsigned int b;
        const char* vb;
        bool same;
    } cases[] = {
        {INTEGER, "42", LONG, "42", true},
        {INT16, "-7", LONG, "-7", true},
        {BOOLEAN, "1", INTEGER, "1", true},
        {INTEGER, "42", FLOAT, "42", false},  // a float is its own kind
        {FLOAT, "0", FLOAT, "-0", true},
        {dec18_2, "12.50", dec10_4, "12.5", true},
        {dec18_2, "1234567890123456.78", STRING, "1234567890123456.78", true},
        {dec18_2, "12.50", STRING, "12.50", true},
        {dec18_2, "1234567890123456.78", STRING, "1.23456789012346e+15", false},  // narrowed to a float
        {STRING, "1.50", STRING, "1.5", true},
        {STRING, "a1.50", STRING, "a1.5", false},  // only whole numbers are made plain
        {STRING, "", STRING, nullptr, false},      // empty is not NULL
        {DATE, "1950-02-03 00:00:00", BIGDATETIME, "1950-02-03 00:00:00", true},
        {TIMESTAMP, "1969-12-31 23:59:59", BIGDATETIME, "1969-12-31 23:59:59", true},
        {TIME, "00:00:01", INTEGER, "1", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.same, canon(c.a, c.va) == canon(c.b, c.vb))
            << typeToString(c.a) << " " << (c.va ? c.va : "NULL") << " vs " << typeToString(c.b) << " "
            << (c.vb ? c.vb : "NULL");
    }
}

TEST(CopyChecksum, OrderOfRowsDoesNotMatterButEveryValueDoes) {
    auto row = [](int32_t a, int64_t b) {
        std::vector<unsigned char> r(56 + 8 + 4 + 8, 0);
        int32_t table[3] = {64, 68, 76};
        std::memcpy(r.data() + 48, table, sizeof table);
        std::memcpy(r.data() + 64, &a, 4);
        std::memcpy(r.data() + 68, &b, 8);
        return r;
    };
    auto sum = [&](std::vector<std::pair<int32_t, int64_t> > rows) {
        orlodbc::TableChecksum t({INTEGER, LONG});
        for (auto& p : rows) {
            auto r = row(p.first, p.second);
            t.add(reinterpret_cast<const KORVEL::Orl::DB::RowInternal2*>(r.data()));
        }
        return t;
    };
    const auto a = sum({{1, 10}, {2, 20}, {3, 30}});
    EXPECT_EQ(a.text(), sum({{3, 30}, {1, 10}, {2, 20}}).text());
    // The same values in other rows: each column's sum holds, the rows differ only together.
    const auto swapped = sum({{1, 20}, {2, 10}, {3, 30}});
    EXPECT_EQ(a.columnSums(), swapped.columnSums());
    const auto changed = sum({{1, 10}, {2, 21}, {3, 30}});
    EXPECT_EQ(a.columnSums()[0], changed.columnSums()[0]);
    EXPECT_NE(a.columnSums()[1], changed.columnSums()[1]);
    orlodbc::TableChecksum parts = sum({{1, 10}});
    parts.merge(sum({{2, 20}, {3, 30}}));
    EXPECT_EQ(a.text(), parts.text());
}

TEST(CopySplit, RangesCoverTheKeysOnce) {
    const int64_t lo = std::numeric_limits<int64_t>::min(), hi = std::numeric_limits<int64_t>::max();
    struct Case {
        int64_t min, max;
        int jobs;
        std::vector<int64_t> starts;
    } cases[] = {
        {1, 100, 4, {1, 26, 51, 76}},
        {-3, 4996, 4, {-3, 1247, 2497, 3747}},
        {5, 5, 4, {5}},          // one key: one job
        {1, 3, 8, {1, 2, 3}},    // fewer keys than jobs
        {lo, hi, 2, {lo, 0}},    // the whole range without overflow
    };
    for (const Case& c : cases) EXPECT_EQ(c.starts, orlodbc::splitRanges(c.min, c.max, c.jobs)) << c.min << ".." << c.max;
}

TEST(QueryOutput, CsvAndJsonQuoting) {
    struct Case {
        const char* text;
        const char* csv;
        const char* json;
    } cases[] = {
        {"plain", "plain", "\"plain\""},
        {"", "\"\"", "\"\""},
        {"a,b", "\"a,b\"", "\"a,b\""},
        {"say \"hi\"", "\"say \"\"hi\"\"\"", "\"say \\\"hi\\\"\""},
        {"two\nlines\r", "\"two\nlines\r\"", "\"two\\nlines\\r\""},
        {"tab\there\\", "tab\there\\", "\"tab\\there\\\\\""},
        {"\x01", "\x01", "\"\\u0001\""},
        {"caf\xc3\xa9", "caf\xc3\xa9", "\"caf\xc3\xa9\""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.csv, orlodbc::csvField(c.text)) << c.text;
        EXPECT_EQ(c.json, orlodbc::jsonString(c.text)) << c.text;
    }
}

TEST(QueryOutput, DoublesReadBackExactly) {
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        double value;
        const char* text;
    } cases[] = {
        {1e-7, "1e-07"},
        {1.0 / 3, "0.3333333333333333"},
        {0.1 + 0.2, "0.30000000000000004"},
        {-0.0, "-0.0"},
        {0.0, "0.0"},
        {100, "100.0"},
        {-2.5, "-2.5"},
        {1e21, "1e+21"},
        {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
        {std::numeric_limits<double>::denorm_min(), "5e-324"},
        {std::numeric_limits<double>::min(), "2.2250738585072014e-308"},
        {std::nan(""), "NaN"},
        {inf, "Infinity"},
        {-inf, "-Infinity"},
    };
    for (const Case& c : cases) {
        const std::string text = orlodbc::doubleText(c.value);
        EXPECT_EQ(c.text, text);
        if (!std::isfinite(c.value)) continue;
        const double back = std::strtod(text.c_str(), nullptr);
        EXPECT_EQ(0, std::memcmp(&back, &c.value, sizeof back)) << text;  // -0.0 keeps its sign
    }
    // A single-precision value arrives widened; one that no float holds is a double's.
    const double reals[][2] = {{0.1f, 0}, {3.4028234663852886e38, 0}, {1.401298464324817e-45, 0}, {0.1, 1}, {1e-45, 1}};
    const char* realTexts[] = {"0.1", "3.4028235e+38", "1e-45", "0.1", "1e-45"};
    for (size_t i = 0; i < 5; ++i) {
        const std::string text = orlodbc::realText(reals[i][0]);
        EXPECT_EQ(realTexts[i], text);
        const double back = reals[i][1] != 0 ? std::strtod(text.c_str(), nullptr) : std::strtof(text.c_str(), nullptr);
        EXPECT_EQ(reals[i][0], back) << text;
    }
}

TEST(QueryOutput, DatesAndTimesInUtcWithTheirFraction) {
    const int64_t s = 1000000;
    struct Case {
        int64_t micros;
        const char* date;
        const char* timestamp;
    } cases[] = {
        {0, "1970-01-01", "1970-01-01 00:00:00"},
        {-1, "1969-12-31", "1969-12-31 23:59:59.999999"},
        {-305164800 * s, "1960-05-01", "1960-05-01 00:00:00"},
        {-305164800 * s + 3723 * s + 123456, "1960-05-01", "1960-05-01 01:02:03.123456"},
        {951782400 * s + 500000, "2000-02-29", "2000-02-29 00:00:00.5"},
        {2208988800LL * s + 10, "2040-01-01", "2040-01-01 00:00:00.00001"},
        {-2208988800LL * s, "1900-01-01", "1900-01-01 00:00:00"},
        {(253402214400LL + 86399) * s + 999999, "9999-12-31", "9999-12-31 23:59:59.999999"},
        {-62135596800LL * s, "0001-01-01", "0001-01-01 00:00:00"},
        {-62167219200LL * s - 1, "-0001-12-31", "-0001-12-31 23:59:59.999999"},  // the calendar's year 0 before it
        {253402300800LL * s + 7, "10000-01-01", "10000-01-01 00:00:00.000007"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.date, orlodbc::dateText(c.micros)) << c.micros;
        EXPECT_EQ(c.timestamp, orlodbc::timestampText(c.micros)) << c.micros;
    }
    struct TimeCase {
        int64_t micros;
        const char* text;
    } times[] = {
        {0, "00:00:00"},
        {86399 * s + 999999, "23:59:59.999999"},
        {45296 * s + 120000, "12:34:56.12"},
        {(838 * 3600 + 59 * 60 + 59) * s, "838:59:59"},  // a span past a day
        {-90 * s, "-00:01:30"},
    };
    for (const TimeCase& c : times) EXPECT_EQ(c.text, orlodbc::timeText(c.micros)) << c.micros;
}

TEST(QueryOutput, ColumnsPlannedByWhatTheDriverDescribes) {
    using orlodbc::ValueKind;
    struct Case {
        unsigned int reported;
        short sqlType;
        const char* typeName;
        unsigned int readType;
        ValueKind kind;
    } cases[] = {
        // The descriptor type of every date family reads as one word.
        {TIMESTAMP, SQL_TYPE_DATE, "date", BIGDATETIME, ValueKind::Date},
        {TIMESTAMP, SQL_TYPE_TIME, "time", TIME, ValueKind::Time},
        {TIMESTAMP, SQL_TYPE_TIMESTAMP, "timestamp", BIGDATETIME, ValueKind::Timestamp},
        {TIMESTAMP, SQL_TIME, "time", BIGDATETIME, ValueKind::TimeOfDay},
        {TIMESTAMP, 0, "", BIGDATETIME, ValueKind::Timestamp},  // nothing described
        {TIME, 0, "", TIME, ValueKind::Time},
        {STRING, SQL_VARCHAR, "bool", STRING, ValueKind::BooleanText},
        {STRING, SQL_VARCHAR, "BOOLEAN", STRING, ValueKind::BooleanText},
        {STRING, SQL_VARCHAR, "varchar", STRING, ValueKind::Text},
        {BOOLEAN, SQL_BIT, "BOOLEAN", BOOLEAN, ValueKind::Boolean},
        {createFixedDecimal(10, 2), SQL_NUMERIC, "numeric", STRING, ValueKind::Text},
        {UNKNOWN, 0, "bool", STRING, ValueKind::Text},  // only a text is a boolean's text
        {LONG, SQL_BIGINT, "int8", LONG, ValueKind::Integer},
        {FLOAT, SQL_DOUBLE, "float8", FLOAT, ValueKind::Float},
        {FLOAT, SQL_REAL, "float4", FLOAT, ValueKind::Real},
        {BINARY, SQL_VARBINARY, "bytea", BINARY, ValueKind::Binary},
    };
    for (const Case& c : cases) {
        orlodbc::QueryColumn described;
        described.sqlType = c.sqlType;
        described.typeName = c.typeName;
        const orlodbc::CellPlan plan = orlodbc::planCell(c.reported, described);
        EXPECT_EQ(c.readType, plan.readType) << typeToString(c.reported) << " " << c.typeName;
        EXPECT_EQ(static_cast<int>(c.kind), static_cast<int>(plan.kind)) << typeToString(c.reported) << " " << c.typeName;
    }
}

// The integers the classic read would cut are read again as their text, by
// the query run inside one of the tool's own that numbers its columns.
TEST(QueryOutput, IntegersTheClassicReadWouldCutAreReadWhole) {
    using orlodbc::DbKind;
    orlodbc::QueryColumn plain, unsignedInt;
    unsignedInt.unsignedInt = true;
    struct Case {
        DbKind db;
        const char* sql;
        std::vector<unsigned int> reported;
        std::vector<orlodbc::QueryColumn> described;
        const char* wrapped;  // empty: read as it is
        std::vector<bool> asText;
    } cases[] = {
        {DbKind::SQLite, "SELECT a, f, t FROM x", {INTEGER, FLOAT, STRING}, {plain, plain, plain},
         "WITH orl_query(c1, c2, c3) AS (\nSELECT a, f, t FROM x\n) SELECT CAST(c1 AS TEXT), c2, c3 FROM orl_query",
         {true, false, false}},
        {DbKind::SQLite, "with y AS (SELECT 1) SELECT * FROM y; \n", {INTEGER}, {plain},
         "WITH orl_query(c1) AS (\nwith y AS (SELECT 1) SELECT * FROM y\n) SELECT CAST(c1 AS TEXT) FROM orl_query",
         {true}},
        {DbKind::SQLite, "SELECT b FROM x -- a comment", {INT16}, {plain},
         "WITH orl_query(c1) AS (\nSELECT b FROM x -- a comment\n) SELECT CAST(c1 AS TEXT) FROM orl_query", {true}},
        {DbKind::SQLite, "SELECT b FROM x", {LONG}, {plain}, "", {false}},  // described as 64-bit
        {DbKind::SQLite, "PRAGMA table_info(x)", {INTEGER}, {plain}, "", {false}},  // no query to wrap
        {DbKind::MariaDB, "SELECT u, s FROM x", {LONG, INTEGER}, {unsignedInt, plain},
         "WITH orl_query(c1, c2) AS (\nSELECT u, s FROM x\n) SELECT CAST(c1 AS CHAR), c2 FROM orl_query",
         {true, false}},
        {DbKind::MariaDB, "SELECT t FROM x", {STRING}, {unsignedInt}, "", {false}},  // unsigned says nothing of a text
        {DbKind::PostgreSQL, "SELECT i FROM x", {INTEGER}, {unsignedInt}, "", {false}},
    };
    for (const Case& c : cases) {
        std::vector<bool> asText;
        EXPECT_EQ(c.wrapped, orlodbc::wholeIntegers(c.db, c.sql, c.reported, c.described, asText)) << c.sql;
        EXPECT_EQ(c.asText, asText) << c.sql;
    }
    // Printed as the integer it is, a number in JSON; SQLite may hold a text anywhere.
    DataValue v;
    v.isNull = false;
    char big[] = "1099511627776", odd[] = "12ab";
    v.stringValue = big;
    const orlodbc::CellPlan plan{STRING, orlodbc::ValueKind::IntegerText};
    EXPECT_EQ("1099511627776", orlodbc::cellOutput(plan, v, orlodbc::OutputFormat::Json));
    v.stringValue = odd;
    EXPECT_EQ("\"12ab\"", orlodbc::cellOutput(plan, v, orlodbc::OutputFormat::Json));
}

TEST(QueryOutput, OneValueOneTextInEveryFormat) {
    using orlodbc::ValueKind;
    auto number = [](double v) {
        DataValue d;
        d.isNull = false;
        d.doubleValue = v;
        return d;
    };
    auto micros = [](int64_t v) {
        DataValue d;
        d.isNull = false;
        d.int64Value = v;
        return d;
    };
    auto text = [](const char* v) {
        DataValue d;
        d.isNull = false;
        d.stringValue = const_cast<char*>(v);
        return d;
    };
    DataValue yes;
    yes.isNull = false;
    yes.boolValue = true;
    struct Case {
        orlodbc::CellPlan plan;
        DataValue value;
        const char* tsv;
        const char* csv;
        const char* json;
    } cases[] = {
        {{FLOAT, ValueKind::Float}, number(1e-7), "1e-07", "1e-07", "1e-07"},
        {{FLOAT, ValueKind::Float}, number(-0.0), "-0.0", "-0.0", "-0.0"},
        {{FLOAT, ValueKind::Float}, number(std::nan("")), "NaN", "NaN", "\"NaN\""},
        {{FLOAT, ValueKind::Float}, DataValue(), "NULL", "", "null"},
        {{BOOLEAN, ValueKind::Boolean}, yes, "true", "true", "true"},
        {{STRING, ValueKind::BooleanText}, text("0"), "false", "false", "false"},
        {{STRING, ValueKind::BooleanText}, text("maybe"), "maybe", "maybe", "\"maybe\""},
        {{STRING, ValueKind::Text}, text("1"), "1", "1", "\"1\""},
        {{STRING, ValueKind::Text}, text(""), "", "\"\"", "\"\""},
        {{BIGDATETIME, ValueKind::Date}, micros(-305164800000000), "1960-05-01", "1960-05-01", "\"1960-05-01\""},
        {{BIGDATETIME, ValueKind::Timestamp}, micros(-1), "1969-12-31 23:59:59.999999", "1969-12-31 23:59:59.999999",
         "\"1969-12-31 23:59:59.999999\""},
        // A time of day from a timestamp cell drops the day, before 1970 too.
        {{BIGDATETIME, ValueKind::TimeOfDay}, micros(-1), "23:59:59.999999", "23:59:59.999999",
         "\"23:59:59.999999\""},
        {{TIME, ValueKind::Time}, micros(86399), "23:59:59", "23:59:59", "\"23:59:59\""},
        {{LONG, ValueKind::Integer}, micros(9007199254740993), "9007199254740993", "9007199254740993",
         "9007199254740993"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.tsv, orlodbc::cellOutput(c.plan, c.value, orlodbc::OutputFormat::Tsv)) << c.tsv;
        EXPECT_EQ(c.csv, orlodbc::cellOutput(c.plan, c.value, orlodbc::OutputFormat::Csv)) << c.tsv;
        EXPECT_EQ(c.json, orlodbc::cellOutput(c.plan, c.value, orlodbc::OutputFormat::Json)) << c.tsv;
    }
    const char* spellings[][2] = {{"1", "1"}, {"-1", "1"}, {"t", "1"}, {"TRUE", "1"}, {"0", "0"},
                                  {"f", "0"}, {"False", "0"}, {"", "-1"}, {"yes", "-1"}, {"2", "-1"}};
    for (auto& s : spellings) EXPECT_EQ(std::atoi(s[1]), orlodbc::booleanFromText(s[0])) << s[0];
}

TEST(CopyProgress, LineWithAndWithoutATotal) {
    EXPECT_EQ("1,234,567 rows  617,283 rows/s  0:02", orlodbc::Progress::line(1234567, 0, 2.0, 80));
    const std::string half = orlodbc::Progress::line(500, 1000, 65.0, 80);
    EXPECT_NE(std::string::npos, half.find(" 50% 500 rows  7 rows/s  1:05  ETA 1:05")) << half;
    EXPECT_EQ('[', half[0]);
    // A narrow terminal loses the bar, not the figures.
    EXPECT_EQ("100% 1,000 rows  1,000 rows/s  0:01", orlodbc::Progress::line(1000, 1000, 1.0, 30));
    EXPECT_EQ("1:02:03", orlodbc::clock(3723.9));
}

} // namespace
