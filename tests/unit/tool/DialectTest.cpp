// Names written into the tool's own SQL: quoting, what each database can
// hold, and user table names parsed in each database's way.
#include <gtest/gtest.h>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/CreateTable.h"
#include "tools/orlodbc/Dialect.h"

using namespace orlodbc;

namespace {

const Dialect kPg = dialectFor("PostgreSQL", "\"", "POSTGRESQL");
const Dialect kMaria = dialectFor("MariaDB", "`", "OTHERS");
const Dialect kSqlite = dialectFor("SQLite", "\"", "OTHERS");
const Dialect kBare = dialectFor("Some DB", " ", "OTHERS");

TEST(Dialect, KindAndQuoteFromWhatTheDriverSays) {
    struct Case {
        const char* dbms;
        const char* quote;
        const char* keyword;
        DbKind kind;
        const char* q;
    } cases[] = {
        {"PostgreSQL", "\"", "POSTGRESQL", DbKind::PostgreSQL, "\""},
        {"MariaDB", "`", "OTHERS", DbKind::MariaDB, "`"},
        {"MySQL", "`", "MYSQL", DbKind::MariaDB, "`"},
        {"SQLite", "\"", "OTHERS", DbKind::SQLite, "\""},
        {"", "", "POSTGRESQL", DbKind::PostgreSQL, "\""},  // the driver didn't say: its keyword
        {"", "", "MYSQL", DbKind::MariaDB, "`"},
        {"Other", "[", "OTHERS", DbKind::Other, "["},
        {"Other", " ", "OTHERS", DbKind::Other, ""},  // no quoting at all
    };
    for (const Case& c : cases) {
        const Dialect d = dialectFor(c.dbms, c.quote, c.keyword);
        EXPECT_EQ(c.kind, d.kind) << c.dbms << "/" << c.keyword;
        EXPECT_EQ(c.q, d.quote) << c.dbms << "/" << c.keyword;
    }
}

TEST(Dialect, QuoteDoubledInsideAndNothingElseTouched) {
    const std::string hostile = "x\" integer); DROP TABLE important; --";
    struct Case {
        const Dialect* d;
        std::string name;
        std::string quoted;
    } cases[] = {
        {&kPg, "id", "\"id\""},
        {&kPg, hostile, "\"x\"\" integer); DROP TABLE important; --\""},
        {&kSqlite, "a\"\"b", "\"a\"\"\"\"b\""},
        {&kMaria, "a`b\"c", "`a``b\"c`"},
        {&kMaria, "`", "````"},
        {&kPg, "ünïcødé [x] /* y */ 'z'", "\"ünïcødé [x] /* y */ 'z'\""},
        {&kBare, "plain_1", "plain_1"},
    };
    for (const Case& c : cases) EXPECT_EQ(c.quoted, quoteName(*c.d, c.name)) << c.name;
    EXPECT_EQ("\"a\", \"b\"\"\"", quoteNames(kPg, {"a", "b\""}));
}

TEST(Dialect, NamesTheDatabaseCannotKeepAreRefused) {
    struct Case {
        const Dialect* d;
        std::string name;
        bool held;
    } cases[] = {
        {&kPg, "", false},
        {&kSqlite, std::string("a\0b", 3), false},
        {&kPg, std::string(63, 'n'), true},
        {&kPg, std::string(64, 'n'), false},  // the server would cut it
        {&kPg, std::string(31, 'x') + "ü" + std::string(30, 'x'), true},  // 63 bytes
        {&kMaria, std::string(64, 'n'), true},
        {&kMaria, std::string(65, 'n'), false},
        {&kMaria, std::string(64, 'n').replace(0, 1, "ü"), true},  // 64 characters in 65 bytes
        {&kMaria, "trailing ", false},
        {&kMaria, " leading", true},
        {&kMaria, "emoji \xF0\x9F\x98\x80", false},
        {&kMaria, "bad \xFF utf8", false},
        {&kSqlite, std::string(1000, 'n') + " \xF0\x9F\x98\x80 ", true},
        {&kBare, "plain", true},
        {&kBare, "two words", false},
    };
    for (const Case& c : cases) {
        std::string why;
        EXPECT_EQ(c.held, canHold(*c.d, c.name, why)) << c.name;
        EXPECT_EQ(c.held, why.empty()) << c.name << ": " << why;
    }
}

TEST(Dialect, TableNamesParsedInEachDatabasesWay) {
    struct Case {
        const Dialect* d;
        std::string text;
        bool ok;
        std::string schema;
        std::string table;
    } cases[] = {
        {&kPg, "orders", true, "", "orders"},
        {&kPg, "Orders", true, "", "Orders"},  // no folding: the name as written
        {&kPg, "public.orders", true, "public", "orders"},
        {&kPg, "\"my.table\"", true, "", "my.table"},
        {&kPg, "\"s\".\"a \"\"b\"\"\"", true, "s", "a \"b\""},
        {&kPg, "my table; DROP TABLE x", true, "", "my table; DROP TABLE x"},  // a name, quoted when written
        {&kPg, "v2\" (a int); DROP TABLE orders; --", false, "", ""},
        {&kPg, "\"unclosed", false, "", ""},
        {&kPg, "\"a\"b", false, "", ""},
        {&kPg, "a..b", false, "", ""},
        {&kPg, "a.", false, "", ""},
        {&kPg, "", false, "", ""},
        {&kPg, "a.b.c", false, "", ""},
        {&kMaria, "`we``ird`.`t.1`", true, "we`ird", "t.1"},
        {&kMaria, "\"t\"", false, "", ""},  // not this database's quote
        {&kMaria, "`trailing `", false, "", ""},
        {&kSqlite, "[t]", false, "", ""},
    };
    for (const Case& c : cases) {
        TableName name;
        std::string why;
        EXPECT_EQ(c.ok, parseTableName(*c.d, c.text, name, why)) << c.text << ": " << why;
        if (!c.ok) {
            EXPECT_FALSE(why.empty()) << c.text;
            continue;
        }
        EXPECT_EQ(c.schema, name.schema) << c.text;
        EXPECT_EQ(c.table, name.table) << c.text;
        // What was parsed writes back to the same table.
        TableName again;
        EXPECT_TRUE(parseTableName(*c.d, quoteTable(*c.d, name), again, why)) << c.text;
        EXPECT_EQ(name.schema + "." + name.table, again.schema + "." + again.table);
    }
}

TEST(CreateTable, EveryNameQuotedAndOnlyPlainOnesLeftToTheDriver) {
    const std::vector<unsigned int> types = {DataTypes::INTEGER, DataTypes::STRING};
    const TableName t{"", "t\"x"};
    EXPECT_EQ("CREATE TABLE \"t\"\"x\" (\"a\"\" b\" INTEGER, \"c\" TEXT)",
              createTableSql(kPg, t, {"a\" b", "c"}, types));
    EXPECT_EQ("CREATE TABLE `t\"x` (`a``b` INTEGER, `c` LONGTEXT)", createTableSql(kMaria, t, {"a`b", "c"}, types));
    EXPECT_EQ("CREATE TABLE \"t\"\"x\" (\"a\" INTEGER, \"c\" NVARCHAR(5000))",
              createTableSql(kSqlite, t, {"a", "c"}, types));
    const Dialect other = dialectFor("Other", "\"", "OTHERS");
    EXPECT_TRUE(driverCreates(other, TableName{"s", "t_1"}, {"a", "B_2"}));
    EXPECT_FALSE(driverCreates(other, TableName{"", "t x"}, {"a"}));
    EXPECT_FALSE(driverCreates(other, TableName{"", "t"}, {"a\""}));
    EXPECT_FALSE(driverCreates(kSqlite, TableName{"", "t"}, {"a"}));
}

} // namespace
