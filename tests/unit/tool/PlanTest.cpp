// The rules a copy plans by: catalog type names read, the target's types
// chosen, how each column is read and what a target can't hold.
#include <gtest/gtest.h>

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
