// What the copy's own checks decide without a database: the hashes its sums
// are made of (which must equal what PostgreSQL and MariaDB compute), the
// forms columns are compared in, the jobs' conditions and the swap's steps.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/orlodbc/Fingerprint.h"
#include "tools/orlodbc/Split.h"
#include "tools/orlodbc/Target.h"

using namespace orlodbc;

namespace {

ColumnType type(Kind k, int size = 0) {
    ColumnType t;
    t.kind = k;
    t.size = size;
    return t;
}

TEST(Fingerprint, HashesAreTheDatabasesOwn) {
    struct Case {
        std::string bytes;
        const char* md5;
    } cases[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"The quick brown fox jumps over the lazy dog", "9e107d9d372bb6826bd81d3542a419d6"},
        // 55 and 56 bytes: the length either fits the last block or takes one more.
        {std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
        {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
        {std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"},
    };
    for (const Case& c : cases) EXPECT_EQ(c.md5, md5Hex(c.bytes)) << c.bytes.size();
    // ('x' || substr(md5('a'), 1, 15))::bit(60)::bigint on PostgreSQL, the same with CONV on MariaDB.
    EXPECT_EQ(57446577476672362ULL, hash60("a"));
}

TEST(Fingerprint, DoublesReadBackToOneText) {
    struct Case {
        const char* printed;
        bool single, to15;
        const char* canonical;
    } cases[] = {
        {"0.30000000000000004", false, false, "0.30000000000000004"},
        {"0.3", false, false, "0.3"},
        {"1.25e+300", false, false, "1.25e+300"},  // PostgreSQL's form
        {"1.25e300", false, false, "1.25e+300"},   // MariaDB's
        {"-0", false, false, "-0"},
        {"NaN", false, false, "NaN"},
        {"Inf", false, false, "Infinity"},  // SQLite's
        {"-Infinity", false, false, "-Infinity"},
        {"0.1", true, false, "0.10000000149011612"},  // a single-precision 0.1 is that double
        {"0.33333333333333331", false, true, "3.33333333333333e-01"},
        {"0.333333333333333", false, true, "3.33333333333333e-01"},  // SQLite's driver's 15 digits
        {"-0.0", false, true, "0.00000000000000e+00"},
    };
    for (const Case& c : cases) {
        std::string out;
        ASSERT_TRUE(canonicalDouble(c.printed, c.single, c.to15, out)) << c.printed;
        EXPECT_EQ(c.canonical, out) << c.printed;
    }
    std::string out;
    EXPECT_FALSE(canonicalDouble("12abc", false, false, out));
    EXPECT_FALSE(canonicalDouble("", false, false, out));
}

TEST(Fingerprint, ColumnsCompareInTheFormBothSidesShare) {
    struct Case {
        ColumnType src, dst;
        Canon canon;
    } cases[] = {
        {type(Kind::Int64), type(Kind::Int32), Canon::Integer},
        {type(Kind::Boolean), type(Kind::Int8), Canon::Integer},
        {type(Kind::Int64), type(Kind::Decimal, 20), Canon::Decimal},  // 5 and 5.00 alike
        {type(Kind::Decimal, 10), type(Kind::Text), Canon::Decimal},   // SQLite keeps wide decimals as text
        {type(Kind::Decimal, 10), type(Kind::Float64), Canon::Float},
        {type(Kind::Char, 8), type(Kind::Varchar, 20), Canon::PaddedText},
        {type(Kind::Text), type(Kind::Char, 8), Canon::PaddedText},
        {type(Kind::Blob), type(Kind::Varbinary, 16), Canon::Binary},
        {type(Kind::Date), type(Kind::Timestamp, 6), Canon::Timestamp},
        {type(Kind::Time, 6), type(Kind::Time, 0), Canon::Time},
        {type(Kind::Other), type(Kind::Date), Canon::Date},  // a query column known by the target
        {type(Kind::Float64), type(Kind::Other), Canon::Float},
    };
    for (const Case& c : cases) EXPECT_EQ(c.canon, canonFor(c.src, c.dst)) << canonName(c.canon);
}

// A SQLite query column of any type is checked by the text the copy read of
// it: a double's in the digits that read back as it, not SQLite's 15.
TEST(Fingerprint, SqliteValuesOfAnyTypeAsTheCopyReadThem) {
    ColumnType any = type(Kind::Text);
    any.anyType = true;
    const auto orNull = [](const std::string& e) { return "CASE WHEN \"x\" IS NULL THEN NULL ELSE " + e + " END"; };
    EXPECT_EQ(orNull("hex(" + sqliteValueText("\"x\"") + ")"),
              canonicalSql(DbKind::SQLite, Canon::Text, "\"x\"", any));
    EXPECT_EQ(orNull("hex(\"x\")"), canonicalSql(DbKind::SQLite, Canon::Text, "\"x\"", type(Kind::Text)));
    EXPECT_EQ(orNull("CAST(\"x\" AS text)"), canonicalSql(DbKind::PostgreSQL, Canon::Text, "\"x\"", any));
}

TEST(Fingerprint, SumsKeepEveryDigit) {
    unsigned __int128 v = 0;
    const std::string big = "1152921504606846975000000";  // a million 60-bit hashes at their largest
    ASSERT_TRUE(parse128(big, v));
    EXPECT_EQ(big, decimal128(v));
    EXPECT_FALSE(parse128("12.0", v));
    EXPECT_FALSE(parse128("", v));
    EXPECT_FALSE(parse128("-", v));
    // Integers as the databases sum them: -3 and 3 sum to 0 and their squares to 18; the
    // largest 64-bit integers don't overflow.
    ColumnPrint a, b;
    for (const char* x : {"-3", "3", "9223372036854775807", "-9223372036854775808"}) ASSERT_TRUE(addInteger(a, x));
    ASSERT_TRUE(parse128("-1", b.sum));
    EXPECT_EQ(b.sum, a.sum);
    EXPECT_EQ(4u, a.values);
    EXPECT_EQ(18u + 1u + 0u, a.squares);  // (2^63 - 1)^2 is 1 and (2^63)^2 is 0 modulo 2^64
    EXPECT_FALSE(addInteger(a, "9223372036854775808"));
    EXPECT_FALSE(addInteger(a, "1.5"));
}

TEST(CopySplit, ConditionsLeaveNoGapAtEitherEnd) {
    EXPECT_EQ((std::vector<std::string>{"k < 34 OR k IS NULL", "k >= 34 AND k < 67", "k >= 67"}),
              splitConditions("k", 1, 100, 3));
    // One range needs no condition.
    EXPECT_TRUE(splitConditions("k", 5, 5, 3).empty());
    EXPECT_EQ((std::vector<std::string>{"k < 0 OR k IS NULL", "k >= 0"}), splitConditions("k", -1, 0, 2));
    // A decimal key's bounds come as integers of the database's own name.
    EXPECT_EQ("SELECT CAST(MIN(k) AS SIGNED), CAST(MAX(k) AS SIGNED) FROM t", boundsSql(DbKind::MariaDB, "k", false, "t"));
    EXPECT_EQ("SELECT MIN(k), MAX(k) FROM t", boundsSql(DbKind::PostgreSQL, "k", true, "t"));
}

TEST(Replace, SwapStepsByDatabase) {
    TableName table{"", "t"}, fresh = freshName(table, 42);
    EXPECT_EQ("orl_new_42", fresh.table);
    Dialect pg, maria, lite;
    pg.kind = DbKind::PostgreSQL;
    maria.kind = DbKind::MariaDB;
    maria.quote = "`";
    lite.kind = DbKind::SQLite;
    EXPECT_EQ((std::vector<std::string>{"DROP TABLE \"t\"", "ALTER TABLE \"orl_new_42\" RENAME TO \"t\"",
                                        "ALTER INDEX IF EXISTS \"orl_new_42_pkey\" RENAME TO \"t_pkey\""}),
              swapSql(pg, fresh, table, 42));
    // One statement renames both, so the name is never missing.
    EXPECT_EQ((std::vector<std::string>{"RENAME TABLE `t` TO `orl_old_42`, `orl_new_42` TO `t`",
                                        "DROP TABLE `orl_old_42`"}),
              swapSql(maria, fresh, table, 42));
    TableName odd{"s", "a\"b"};
    EXPECT_EQ((std::vector<std::string>{"DROP TABLE \"s\".\"a\"\"b\"",
                                        "ALTER TABLE \"s\".\"orl_new_7\" RENAME TO \"a\"\"b\""}),
              swapSql(lite, freshName(odd, 7), odd, 7));
}

} // namespace
