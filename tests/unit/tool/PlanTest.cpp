// The rules a copy plans by: catalog type names read, the target's types
// chosen, how each column is read and what a target can't hold.
#include <gtest/gtest.h>

#include <sql.h>
#include <sqlext.h>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/CreateTable.h"
#include "tools/orlodbc/Plan.h"

using namespace orlodbc;
using namespace DataTypes;

namespace {

const DbKind PG = DbKind::PostgreSQL, MA = DbKind::MariaDB, SL = DbKind::SQLite;

unsigned int decimalWord(unsigned int p, unsigned int s) {
    return FIXEDDECIMAL | (p << kPrecisionShift) | (s << kScaleShift);
}

// Each catalog's own names, with the widths each database gives them.
TEST(Plan, DeclaredTypesAsEachCatalogWritesThem) {
    struct Case {
        DbKind db;
        const char* declared;
        Kind kind;
        int size, scale;
    } cases[] = {
        {PG, "character(84)", Kind::Char, 84, 0},
        {PG, "character varying(10)", Kind::Varchar, 10, 0},
        {PG, "character varying", Kind::Text, 0, 0},
        {PG, "numeric", Kind::Decimal, 0, 0},
        {PG, "numeric(38,10)", Kind::Decimal, 38, 10},
        {PG, "time without time zone", Kind::Time, 6, 0},
        {PG, "time(3) without time zone", Kind::Time, 3, 0},
        {PG, "timestamp(6) without time zone", Kind::Timestamp, 6, 0},
        {PG, "real", Kind::Float32, 0, 0},
        {PG, "bytea", Kind::Blob, 0, 0},
        {MA, "int(11)", Kind::Int32, 0, 0},
        {MA, "int(10) unsigned", Kind::Int64, 0, 0},
        {MA, "bigint(20) unsigned", Kind::Decimal, 20, 0},
        {MA, "tinyint(4)", Kind::Int8, 0, 0},
        {MA, "time", Kind::Time, 0, 0},
        {MA, "datetime(6)", Kind::Timestamp, 6, 0},
        {MA, "float", Kind::Float32, 0, 0},
        {MA, "decimal", Kind::Decimal, 10, 0},
        {MA, "binary(4)", Kind::Binary, 4, 0},
        {MA, "varbinary(16)", Kind::Varbinary, 16, 0},
        {MA, "tinytext", Kind::Varchar, 255, 0},
        // SQLite's integers are 64-bit whatever the name; its names are free text.
        {SL, "INTEGER", Kind::Int64, 0, 0},
        {SL, "SMALLINT", Kind::Int64, 0, 0},
        {SL, "CHAR(5)", Kind::Char, 5, 0},
        {SL, "NVARCHAR(20)", Kind::Varchar, 20, 0},
        {SL, "VARYING CHARACTER(3)", Kind::Text, 0, 0},
        {SL, "REAL", Kind::Float64, 0, 0},
        {SL, "", Kind::Blob, 0, 0},
        {SL, "TIME", Kind::Time, 6, 0},
        {SL, "MONEYISH", Kind::Float64, 0, 0},
    };
    for (const Case& c : cases) {
        const ColumnType t = parseDeclared(c.db, c.declared);
        EXPECT_EQ(static_cast<int>(c.kind), static_cast<int>(t.kind)) << c.declared;
        EXPECT_EQ(c.size, t.size) << c.declared;
        EXPECT_EQ(c.scale, t.scale) << c.declared;
    }
}

// The type each target is given, and whether that is told as a change; what
// is made must read back as the type it stands for.
TEST(Plan, TargetTypesHoldTheSourceAndReadBackAsIt) {
    struct Case {
        DbKind src;
        const char* declared;
        DbKind to;
        const char* sql;
        bool changed;
    } cases[] = {
        {PG, "character(84)", MA, "char(84)", false},
        {PG, "character(84)", SL, "CHAR(84)", false},
        {MA, "char(84)", PG, "char(84)", false},
        {PG, "character(300)", MA, "varchar(300)", true},
        {MA, "varchar(10)", SL, "VARCHAR(10)", false},
        {PG, "numeric", MA, "decimal(65,30)", true},
        {PG, "numeric", SL, "TEXT", true},
        {PG, "numeric(38,10)", SL, "TEXT", true},
        {PG, "numeric(15,2)", SL, "NUMERIC(15,2)", false},
        {MA, "decimal(38,10)", PG, "numeric(38,10)", false},
        {SL, "INTEGER", PG, "bigint", false},
        {MA, "tinyint(4)", PG, "smallint", true},
        {MA, "binary(4)", PG, "bytea", true},
        {MA, "binary(4)", SL, "VARBINARY(4)", true},
        {MA, "varbinary(16)", SL, "VARBINARY(16)", false},
        {PG, "time without time zone", MA, "time(6)", false},
        {MA, "datetime(3)", PG, "timestamp(3)", false},
        {PG, "timestamp(6) without time zone", SL, "TIMESTAMP", false},
        {PG, "real", MA, "float", false},
    };
    for (const Case& c : cases) {
        const ColumnType src = parseDeclared(c.src, c.declared);
        const TargetType t = targetType(c.to, src);
        EXPECT_EQ(c.sql, t.sql) << c.declared;
        EXPECT_EQ(c.changed, !t.note.empty()) << c.declared << ": " << t.note;
        // What is made holds the source: the plan finds nothing lost.
        EXPECT_EQ("", planColumn(c.src, src, 0, c.to, parseDeclared(c.to, t.sql)).loss) << c.declared;
    }
}

// How a column is read, from what its driver describes; and what a given target loses.
TEST(Plan, ReadsAndLosses) {
    struct Case {
        DbKind src;
        const char* declared;
        unsigned int word;  // as the source's driver describes it
        DbKind to;
        const char* target;
        Read read;
        bool loss;
    } cases[] = {
        {SL, "INTEGER", INTEGER, PG, "bigint", Read::Text, false},  // described as 32-bit
        {SL, "BIGINT", LONG, PG, "bigint", Read::AsIs, false},
        {PG, "double precision", FLOAT, MA, "double", Read::AsIs, false},
        {PG, "numeric", decimalWord(28, 6), PG, "numeric", Read::Text, false},
        {PG, "numeric(38,10)", decimalWord(38, 10), MA, "decimal(38,10)", Read::Text, false},
        {PG, "numeric(18,2)", decimalWord(18, 2), MA, "decimal(18,2)", Read::AsIs, false},
        {SL, "NUMERIC(10,2)", decimalWord(10, 2), PG, "numeric(10,2)", Read::AsIs, false},
        {PG, "time without time zone", TIME, MA, "time(6)", Read::Text, false},
        {MA, "time", TIME, PG, "time(0)", Read::AsIs, false},
        {PG, "timestamp(6) without time zone", BIGDATETIME, SL, "TIMESTAMP", Read::Text, false},
        {PG, "timestamp(3) without time zone", BIGDATETIME, SL, "TIMESTAMP", Read::AsIs, false},
        {PG, "timestamp(6) without time zone", BIGDATETIME, MA, "datetime(3)", Read::AsIs, true},
        {PG, "date", DATE, SL, "DATE", Read::Text, false},
        {PG, "numeric(38,10)", decimalWord(38, 10), SL, "NUMERIC(38,10)", Read::Text, true},
        {PG, "numeric(12,4)", decimalWord(12, 4), MA, "decimal(12,2)", Read::AsIs, true},
        {PG, "numeric(12,4)", decimalWord(12, 4), MA, "decimal(10,4)", Read::AsIs, true},
        {PG, "numeric(12,4)", decimalWord(12, 4), MA, "decimal(20,6)", Read::AsIs, false},
        {PG, "character varying(20)", STRING, MA, "varchar(10)", Read::AsIs, true},
        {PG, "text", STRING, MA, "varchar(10)", Read::AsIs, true},
        {MA, "varchar(10)", STRING, PG, "text", Read::AsIs, false},
        {MA, "varbinary(16)", BINARY, PG, "bytea", Read::AsIs, false},
        {PG, "bytea", BINARY, MA, "varbinary(16)", Read::AsIs, true},
        {PG, "double precision", FLOAT, MA, "float", Read::AsIs, true},
        {PG, "bigint", LONG, MA, "double", Read::AsIs, true},
        {PG, "bigint", LONG, MA, "int(11)", Read::AsIs, false},  // judged by the values
    };
    for (const Case& c : cases) {
        const ColumnPlan p = planColumn(c.src, parseDeclared(c.src, c.declared), c.word, c.to,
                                        parseDeclared(c.to, c.target));
        EXPECT_EQ(static_cast<int>(c.read), static_cast<int>(p.read)) << c.declared << " -> " << c.target;
        EXPECT_EQ(c.loss, !p.loss.empty()) << c.declared << " -> " << c.target << ": " << p.loss;
    }
}

// A query column as a driver describes it, for the table-driven cases below.
struct Described {
    DbKind db;
    unsigned int word;
    short sqlType;
    const char* typeName;
    long size;
    int digits;
    bool unsignedInt;

    ColumnType type() const {
        QueryColumn d;
        d.sqlType = sqlType;
        d.typeName = typeName;
        d.size = size;
        d.digits = digits;
        d.unsignedInt = unsignedInt;
        return fromDescription(db, word, d);
    }
    std::string label() const {
        return std::string(kindName(db)) + " " + typeName + "(" + std::to_string(size) + ")";
    }
};

// A --query column is known by what its driver describes, measured: SQLite's
// describes INTEGER as 32-bit and every expression as varchar(255);
// PostgreSQL's every numeric without a declared precision (a computation, an
// aggregate, numeric itself) as numeric(28,6) and a varchar without a size as
// 255 long; MariaDB's an unsigned int as a signed one, with SQL_DESC_UNSIGNED.
TEST(Plan, QueryColumnsByWhatTheDriverDescribes) {
    struct Case {
        Described col;
        Kind kind;
        int wantSize, wantScale;
    } cases[] = {
        {{SL, INTEGER, SQL_INTEGER, "INTEGER", 10, 0, false}, Kind::Int64, 0, 0},
        {{SL, INTEGER, SQL_SMALLINT, "SMALLINT", 5, 0, false}, Kind::Int64, 0, 0},
        {{SL, INTEGER, SQL_TINYINT, "TINYINT", 3, 0, false}, Kind::Int64, 0, 0},
        {{SL, INTEGER, 0, "", 0, 0, false}, Kind::Int64, 0, 0},  // nothing described: still SQLite's
        {{SL, STRING, SQL_VARCHAR, "varchar", 255, 0, false}, Kind::Text, 0, 0},  // a*2, sum(a), literals
        {{SL, STRING, SQL_VARCHAR, "VARCHAR", 20, 0, false}, Kind::Text, 0, 0},   // any length fits
        {{SL, FLOAT, SQL_DOUBLE, "NUMERIC", 10, 0, false}, Kind::Float64, 0, 0},
        {{SL, BIGDATETIME, SQL_TYPE_TIMESTAMP, "TIMESTAMP", 32, 0, false}, Kind::Timestamp, 6, 0},
        {{SL, TIME, SQL_TYPE_TIME, "TIME", 8, 0, false}, Kind::Time, 6, 0},
        {{PG, INTEGER, SQL_INTEGER, "int4", 10, 0, false}, Kind::Int32, 0, 0},
        {{PG, INTEGER, SQL_SMALLINT, "int2", 5, 0, false}, Kind::Int16, 0, 0},
        {{PG, LONG, SQL_BIGINT, "int8", 19, 0, false}, Kind::Int64, 0, 0},
        {{PG, decimalWord(28, 6), SQL_NUMERIC, "numeric", 28, 6, false}, Kind::Decimal, 0, 0},
        {{PG, decimalWord(10, 2), SQL_NUMERIC, "numeric", 10, 2, false}, Kind::Decimal, 10, 2},
        {{PG, decimalWord(20, 3), SQL_NUMERIC, "numeric", 20, 3, false}, Kind::Decimal, 20, 3},
        {{PG, STRING, SQL_VARCHAR, "varchar", 255, 0, false}, Kind::Text, 0, 0},
        {{PG, STRING, SQL_VARCHAR, "varchar", 20, 0, false}, Kind::Varchar, 20, 0},
        {{PG, STRING, SQL_LONGVARCHAR, "varchar", 300, 0, false}, Kind::Varchar, 300, 0},
        {{PG, STRING, SQL_LONGVARCHAR, "text", 8190, 0, false}, Kind::Text, 0, 0},
        {{PG, STRING, SQL_CHAR, "char", 84, 0, false}, Kind::Char, 84, 0},
        {{PG, STRING, SQL_VARCHAR, "bool", 5, 0, false}, Kind::Boolean, 0, 0},
        {{PG, FLOAT, SQL_REAL, "float4", 9, 0, false}, Kind::Float32, 0, 0},
        {{PG, TIME, SQL_TYPE_TIME, "time", 8, 6, false}, Kind::Time, 6, 0},
        {{PG, BIGDATETIME, SQL_TYPE_TIMESTAMP, "timestamp", 26, 3, false}, Kind::Timestamp, 3, 0},
        {{PG, BINARY, SQL_LONGVARBINARY, "bytea", 0, 0, false}, Kind::Blob, 0, 0},
        {{MA, INTEGER, SQL_INTEGER, "integer", 10, 0, true}, Kind::Int64, 0, 0},
        {{MA, INTEGER, SQL_TINYINT, "tinyint", 3, 0, false}, Kind::Int8, 0, 0},
        {{MA, LONG, SQL_BIGINT, "bigint", 19, 0, true}, Kind::Decimal, 20, 0},
        {{MA, decimalWord(32, 0), SQL_DECIMAL, "decimal", 32, 0, false}, Kind::Decimal, 32, 0},  // sum(int)
        {{MA, STRING, SQL_VARCHAR, "varchar", 200, 0, false}, Kind::Varchar, 200, 0},
        {{MA, STRING, SQL_LONGVARCHAR, "longtext", 16777216, 0, false}, Kind::Text, 0, 0},
        {{MA, BINARY, SQL_VARBINARY, "varbinary", 16, 0, false}, Kind::Varbinary, 16, 0},
        {{MA, TIME, SQL_TYPE_TIME, "time", 15, 6, false}, Kind::Time, 6, 0},
    };
    for (const Case& c : cases) {
        const ColumnType t = c.col.type();
        const std::string what = c.col.label();
        EXPECT_EQ(static_cast<int>(c.kind), static_cast<int>(t.kind)) << what;
        EXPECT_EQ(c.wantSize, t.size) << what;
        EXPECT_EQ(c.wantScale, t.scale) << what;
    }
}

// A query's columns read by the rules of a table's: SQLite's integers whole,
// PostgreSQL's computed numerics and decimal texts of 32 characters or more
// as text; texts that can reach 128 bytes with a mark.
TEST(Plan, QueryColumnsReadWhole) {
    struct Case {
        Described col;
        Read read;
        bool marked;
    } cases[] = {
        {{SL, INTEGER, SQL_INTEGER, "INTEGER", 10, 0, false}, Read::Text, false},
        {{SL, LONG, SQL_BIGINT, "BIGINT", 20, 0, false}, Read::AsIs, false},
        {{SL, STRING, SQL_VARCHAR, "varchar", 255, 0, false}, Read::Value, true},  // a*2, f*3: any type
        {{SL, FLOAT, SQL_DOUBLE, "DOUBLE", 54, 0, false}, Read::Digits, false},
        {{PG, decimalWord(28, 6), SQL_NUMERIC, "numeric", 28, 6, false}, Read::Text, true},
        {{PG, decimalWord(10, 2), SQL_NUMERIC, "numeric", 10, 2, false}, Read::AsIs, false},
        {{PG, decimalWord(29, 2), SQL_NUMERIC, "numeric", 29, 2, false}, Read::AsIs, false},
        {{PG, decimalWord(30, 2), SQL_NUMERIC, "numeric", 30, 2, false}, Read::Text, false},
        {{PG, INTEGER, SQL_INTEGER, "int4", 10, 0, false}, Read::AsIs, false},
        {{PG, STRING, SQL_VARCHAR, "varchar", 31, 0, false}, Read::AsIs, false},
        {{PG, STRING, SQL_VARCHAR, "varchar", 32, 0, false}, Read::AsIs, true},
        {{PG, STRING, SQL_LONGVARCHAR, "text", 8190, 0, false}, Read::AsIs, true},
        {{MA, INTEGER, SQL_INTEGER, "integer", 10, 0, true}, Read::Text, false},
        {{MA, LONG, SQL_BIGINT, "bigint", 20, 0, true}, Read::Text, false},
        {{MA, LONG, SQL_BIGINT, "bigint", 20, 0, false}, Read::AsIs, false},
        {{MA, decimalWord(41, 0), SQL_DECIMAL, "decimal", 41, 0, false}, Read::Text, false},
    };
    for (const Case& c : cases) {
        const ColumnType t = c.col.type();
        const ColumnPlan p = planColumn(c.col.db, t, c.col.word, PG, t);
        const std::string what = c.col.label();
        EXPECT_EQ(static_cast<int>(c.read), static_cast<int>(p.read)) << what;
        EXPECT_EQ(c.marked, p.marked) << what;
    }
}

// Decimal texts of 32 characters or more are read as text: a sign, the whole
// digits (or the 0 before the point), the point and the fraction digits.
TEST(Plan, DecimalTextLengths) {
    struct Case {
        int precision, scale, length;
        Read read;
    } cases[] = {
        {10, 2, 12, Read::AsIs},   // -12345678.90
        {29, 2, 31, Read::AsIs},
        {30, 0, 31, Read::AsIs},
        {31, 0, 32, Read::Text},
        {30, 2, 32, Read::Text},
        {28, 28, 31, Read::AsIs},  // -0.1234...: the 0 before the point counts
        {29, 29, 32, Read::Text},
        {38, 10, 40, Read::Text},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.length, decimalTextLength(c.precision, c.scale)) << c.precision << "," << c.scale;
        const ColumnType t = parseDeclared(PG, "numeric(" + std::to_string(c.precision) + "," +
                                                   std::to_string(c.scale) + ")");
        const unsigned int word = decimalWord(static_cast<unsigned int>(c.precision), static_cast<unsigned int>(c.scale));
        EXPECT_EQ(static_cast<int>(c.read), static_cast<int>(planColumn(PG, t, word, MA, t).read))
            << c.precision << "," << c.scale;
    }
}

// Which texts get a mark: those that can be exactly 128 bytes long, in UTF-8
// up to 4 bytes a character, and on SQLite any whatever its declared length.
TEST(Plan, TextsThatCanBe128BytesAreMarked) {
    struct Case {
        DbKind src;
        const char* declared;
        unsigned int word;
        bool marked;
    } cases[] = {
        {PG, "character(31)", STRING, false},
        {PG, "character(32)", STRING, true},
        {PG, "character(84)", STRING, true},  // 44 two-byte letters and 40 blanks are 128 bytes
        {PG, "character varying(20)", STRING, false},
        {PG, "character varying", STRING, true},
        {PG, "text", STRING, true},
        {PG, "json", STRING, true},
        {PG, "numeric", decimalWord(28, 6), true},            // read as text, of any length
        {PG, "numeric(38,10)", decimalWord(38, 10), false},   // at most 40 characters
        {PG, "integer", INTEGER, false},
        {PG, "boolean", STRING, false},
        {MA, "varchar(31)", STRING, false},
        {MA, "varchar(32)", STRING, true},
        {MA, "longtext", STRING, true},
        {MA, "int(10) unsigned", INTEGER, false},
        {SL, "VARCHAR(8)", STRING, true},
        {SL, "CHAR(1)", STRING, true},
        {SL, "TEXT", STRING, true},
        {SL, "INTEGER", INTEGER, false},
        {SL, "DOUBLE", FLOAT, false},
        {SL, "BLOB", BINARY, false},
    };
    for (const Case& c : cases) {
        const ColumnType t = parseDeclared(c.src, c.declared);
        EXPECT_EQ(c.marked, planColumn(c.src, t, c.word, PG, t).marked) << kindName(c.src) << " " << c.declared;
    }
}

// The mark keeps every text off 128 bytes and comes off as it went on.
TEST(Plan, MarkedTextsComeBackWhole) {
    const Dialect pg = dialectFor("PostgreSQL", "\"", "POSTGRESQL");
    const Dialect maria = dialectFor("MariaDB", "`", "OTHERS");
    const Dialect lite = dialectFor("SQLite", "\"", "OTHERS");
    const Dialect other = dialectFor("Oracle", "\"", "ORACLE");
    EXPECT_EQ("CAST(CASE WHEN \"c\" IS NULL THEN NULL WHEN octet_length(\"c\") = 127 THEN concat(\"c\", '22') "
              "ELSE concat(\"c\", '1') END AS varchar(86)) AS \"c\"",
              markedItem(pg, "c", Read::AsIs, parseDeclared(PG, "character(84)")));
    EXPECT_EQ("CAST(CASE WHEN CAST(\"n\" AS TEXT) IS NULL THEN NULL WHEN octet_length(CAST(\"n\" AS TEXT)) = 127 THEN "
              "concat(CAST(\"n\" AS TEXT), '22') ELSE concat(CAST(\"n\" AS TEXT), '1') END AS varchar) AS \"n\"",
              markedItem(pg, "n", Read::Text, parseDeclared(PG, "numeric")));
    EXPECT_EQ("CASE WHEN octet_length(CONVERT(`t` USING utf8mb4)) = 127 THEN concat(`t`, '22') "
              "ELSE concat(`t`, '1') END AS `t`",
              markedItem(maria, "t", Read::AsIs, parseDeclared(MA, "longtext")));
    EXPECT_EQ("CASE WHEN length(CAST(orl_source.\"t\" AS BLOB)) = 127 THEN orl_source.\"t\" || '22' "
              "ELSE orl_source.\"t\" || '1' END AS \"t\"",
              markedItem(lite, "t", Read::AsIs, parseDeclared(SL, "TEXT"), "orl_source"));
    EXPECT_EQ("", markedItem(other, "t", Read::AsIs, parseDeclared(SL, "TEXT")));
    // A SQLite value of any type: a double in the fewest digits that read back as it.
    const std::string value =
        "CASE WHEN typeof(\"x\") <> 'real' THEN \"x\" WHEN CAST(printf('%!.15g', \"x\") AS REAL) = \"x\" THEN "
        "printf('%!.15g', \"x\") WHEN CAST(printf('%!.16g', \"x\") AS REAL) = \"x\" THEN printf('%!.16g', \"x\") "
        "WHEN CAST(printf('%!.17g', \"x\") AS REAL) = \"x\" THEN printf('%!.17g', \"x\") "
        "ELSE printf('%!.20g', \"x\") END";
    EXPECT_EQ(value + " AS \"x\"", readItem(lite, "x", Read::Value));
    EXPECT_EQ("CASE WHEN length(CAST((" + value + ") AS BLOB)) = 127 THEN (" + value + ") || '22' ELSE (" + value +
                  ") || '1' END AS \"x\"",
              markedItem(lite, "x", Read::Value, ColumnType()));

    struct Case {
        std::string text;  // as the source's item gives it
        bool ok;
        std::string back;
    } cases[] = {
        {"1", true, ""},
        {"abc1", true, "abc"},
        {std::string(126, 'x') + "1", true, std::string(126, 'x')},
        {std::string(127, 'x') + "22", true, std::string(127, 'x')},
        {std::string(128, 'x') + "1", true, std::string(128, 'x')},
        {"ends in 2" + std::string("1"), true, "ends in 2"},
        {"ends in 22" + std::string("1"), true, "ends in 22"},
        {"", false, ""},
        {"abc", false, ""},
        {"abc2", false, ""},
    };
    for (const Case& c : cases) {
        std::vector<char> buffer(c.text.begin(), c.text.end());
        buffer.push_back('\0');
        EXPECT_EQ(c.ok, unmark(buffer.data())) << c.text;
        if (c.ok) {
            EXPECT_EQ(c.back, std::string(buffer.data())) << c.text;
        }
    }
}

TEST(Plan, ReadItemsAndValueChecksQuoteTheName) {
    const Dialect pg = dialectFor("PostgreSQL", "\"", "POSTGRESQL");
    const Dialect maria = dialectFor("MariaDB", "`", "OTHERS");
    const Dialect lite = dialectFor("SQLite", "\"", "OTHERS");
    EXPECT_EQ("\"a\"\"b\"", readItem(pg, "a\"b", Read::AsIs));
    EXPECT_EQ("CAST(`t``m` AS CHAR) AS `t``m`", readItem(maria, "t`m", Read::Text));
    EXPECT_EQ("CAST(\"x\" AS TEXT) AS \"x\"", readItem(lite, "x", Read::Text));
    // A query's columns are found through its alias: a name that isn't there fails, not a text.
    EXPECT_EQ("orl_source.\"b\"", readItem(lite, "b", Read::AsIs, "orl_source"));
    EXPECT_EQ("CAST(orl_source.\"x\" AS TEXT) AS \"x\"", readItem(lite, "x", Read::Text, "orl_source"));

    const ColumnType dbl = parseDeclared(PG, "double precision");
    ValueCheck v = valueCheck(pg, "f\"", dbl, MA, parseDeclared(MA, "double"));
    EXPECT_EQ("\"f\"\"\" IN ('NaN', 'Infinity', '-Infinity')", v.condition);
    EXPECT_TRUE(v.refused);
    v = valueCheck(pg, "f", dbl, SL, parseDeclared(SL, "DOUBLE"));
    EXPECT_NE(std::string::npos, v.condition.find("'NaN'"));
    EXPECT_FALSE(v.refused);  // SQLite takes them, changed
    EXPECT_EQ("", valueCheck(pg, "f", dbl, PG, dbl).condition);
    v = valueCheck(lite, "i", parseDeclared(SL, "INTEGER"), PG, parseDeclared(PG, "integer"));
    EXPECT_EQ("\"i\" NOT BETWEEN -2147483648 AND 2147483647", v.condition);
    v = valueCheck(pg, "n", parseDeclared(PG, "numeric"), MA, parseDeclared(MA, "decimal(65,30)"));
    EXPECT_NE(std::string::npos, v.condition.find("scale(\"n\") > 30"));
    EXPECT_NE(std::string::npos, v.condition.find("abs(\"n\") >= 1e35"));
    // SQLite's doubles go as its 17-digit text; those it can't print exactly are found.
    const ColumnType liteDouble = parseDeclared(SL, "DOUBLE");
    v = valueCheck(lite, "f", liteDouble, PG, dbl);
    const std::string digits =
        "(\"f\" <> CAST(printf('%!.17g', \"f\") AS REAL) AND \"f\" <> CAST(printf('%!.20g', \"f\") AS REAL))";
    EXPECT_EQ(digits, v.condition);
    EXPECT_FALSE(v.refused);
    v = valueCheck(lite, "f", liteDouble, MA, parseDeclared(MA, "double"));
    EXPECT_EQ("(\"f\" IN (9e999, -9e999)) OR " + digits, v.condition);
    // SQLite keeps texts past their declared length: those a bounded target can't hold are counted.
    struct TextCase {
        const char* declared;
        DbKind to;
        const char* target;
        const char* condition;
    } texts[] = {
        {"VARCHAR(10)", PG, "character varying(10)", "length(\"v\") > 10"},
        {"CHAR(8)", MA, "char(8)", "length(\"v\") > 8"},
        {"TEXT", MA, "varchar(300)", "length(\"v\") > 300"},
        {"VARCHAR(10)", PG, "text", ""},
        {"VARCHAR(10)", SL, "VARCHAR(10)", ""},  // SQLite holds them too
    };
    for (const TextCase& c : texts) {
        const ValueCheck t = valueCheck(lite, "v", parseDeclared(SL, c.declared), c.to, parseDeclared(c.to, c.target));
        EXPECT_EQ(c.condition, t.condition) << c.declared << " -> " << c.target;
        EXPECT_EQ(*c.condition != '\0', t.refused) << c.declared << " -> " << c.target;
    }
    EXPECT_EQ("", valueCheck(pg, "v", parseDeclared(PG, "character varying(10)"), MA, parseDeclared(MA, "varchar(10)"))
                      .condition);
    EXPECT_EQ(Read::Digits, planColumn(SL, liteDouble, FLOAT, PG, dbl).read);
    EXPECT_EQ(Read::AsIs, planColumn(PG, dbl, FLOAT, SL, liteDouble).read);
    EXPECT_TRUE(v.refused);
}

TEST(Plan, CreateTableKeepsKeyAndNotNull) {
    const Dialect maria = dialectFor("MariaDB", "`", "OTHERS");
    std::vector<SourceColumn> cols(3);
    cols[0].name = "id";
    cols[0].key = true;
    cols[1].name = "c`";
    cols[1].notNull = true;
    cols[2].name = "v";
    TableName t;
    t.table = "t";
    EXPECT_EQ("CREATE TABLE `t` (`id` bigint NOT NULL, `c``` char(5) NOT NULL, `v` text, PRIMARY KEY (`id`))",
              createTableSql(maria, t, cols, {"bigint", "char(5)", "text"}));
}

} // namespace
