// Table creation text, the schema filter of the table listing, and what the
// catalog questions ask of the driver (the scripted one records each call).
#include "ClassicScript.h"
#include "driver/OdbcDatabaseMetadata.h"

namespace classicunit {
namespace {

using Metadata = Classic;

struct CreateCase {
    const char* name;
    const char* schema;
    std::vector<std::string> names;
    std::vector<unsigned int> types;
    std::vector<bool> keys;
    bool rowTable;
    const char* sql;
};

TEST_F(Metadata, CreateTableTextFollowsTheColumns) {
    const unsigned int decimal38_4 = DataTypes::createFixedDecimal(38, 4);
    const CreateCase cases[] = {
        {"two-column key", "s", {"a", "b", "c"}, {5, 1, 7}, {true, true, false}, true,
         R"(CREATE TABLE "s"."t" ("a" NVARCHAR(500), "b" INTEGER, "c" DECIMAL(19, 4), PRIMARY KEY ("a", "b")))"},
        {"no key, no schema", "", {"a", "b"}, {5, 28}, {false, false}, true,
         R"(CREATE TABLE "t" ("a" NVARCHAR(5000), "b" VARBINARY(5000)))"},
        {"column table", "", {"x"}, {decimal38_4}, {true}, false,
         R"(CREATE COLUMN TABLE "t" ("x" DECIMAL(38,4), PRIMARY KEY ("x")))"},
        {"int16 has no name, quotes stay single", "", {"q\"", "d"}, {0, 2}, {false, true}, true,
         R"(CREATE TABLE "t" ("q"" error, "d" BIGINT, PRIMARY KEY ("d")))"},
        {"no columns", "", {}, {}, {}, true, R"(CREATE TABLE "t" ())"},
        {"short vectors read as unknown, not past the end", "", {"a", "b"}, {1}, {}, true,
         R"(CREATE TABLE "t" ("a" INTEGER, "b" error))"},
    };
    for (const CreateCase& c : cases) {
        std::string sql = "left over";
        EXPECT_EQ(1, conn.getCreateTableSql(c.schema, "t", c.names, c.types, c.keys, c.rowTable, sql)) << c.name;
        EXPECT_EQ(c.sql, sql) << c.name;
    }
}

TEST_F(Metadata, SchemaFilterOfTheTableListing) {
    struct Row {
        const char* keyword;
        const char* wanted;
        const char* rowSchema;
        bool taken;
    } rows[] = {
        {"POSTGRESQL", "", "public", true},
        {"POSTGRESQL", "app", "app", true},
        {"POSTGRESQL", "app", "APP", false},  // case-sensitive
        {"POSTGRESQL", "app", "app2", false},
        {"DB2", "APP", "OTHER", true},  // the wanted schema plays no part on DB2
        {"DB2", "", "SYSIBM", false},
        {"DB2", "APP", "SYSCAT", false},
        {"DB2", "APP", "SYSSTAT", false},
        {"DB2", "APP", "SYSTOOLS", false},
        {"DB2", "APP", "SYSIBMADM", false},
        {"DB2", "APP", "sysibm", true},
        {"OTHERS", "SYSIBM", "SYSIBM", true},
    };
    for (const Row& r : rows)
        EXPECT_EQ(r.taken, OdbcDatabaseMetadata::acceptsSchema(r.keyword, r.wanted, r.rowSchema))
            << r.keyword << " " << r.wanted << " " << r.rowSchema;
}

TEST_F(Metadata, ScansPassAnEmptySchemaAsNotGiven) {
    size_t at = mark();
    int count = -1;
    EXPECT_EQ(1, conn.getTableNumColumns("tab", count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(1, conn.getTableNumColumns("app", "tab", count));
    std::vector<std::string> names;
    EXPECT_EQ(1, conn.getTableNames("app", names));
    EXPECT_EQ(1, conn.getSchemaNames(names));
    std::vector<std::string> expected = {
        "columns <null>/0 <null>/0 'tab'/3 <null>/0",
        "primarykeys <null>/0 <null>/0 'tab'/3",
        "columns <null>/0 'app'/3 'tab'/3 <null>/0",
        "primarykeys <null>/0 'app'/3 'tab'/3",
        "tables <null>/0 <null>/0 <null>/0 'TABLE,VIEW'/10",
        "tables <null>/0 '%'/1 <null>/0 <null>/0",
    };
    std::vector<std::string> calls;
    for (const std::string& line : since(at, ""))
        if (line.compare(0, 7, "columns") == 0 || line.compare(0, 11, "primarykeys") == 0 ||
            line.compare(0, 6, "tables") == 0)
            calls.push_back(line);
    EXPECT_EQ(expected, calls);
}

TEST_F(Metadata, CachesCountScans) {
    auto scans = [&](size_t at, const char* kind) { return since(at, kind).size(); };
    size_t at = mark();
    std::vector<std::string> names;
    conn.getSchemaNames(names);
    conn.getSchemaNames(names);
    EXPECT_EQ(2u, scans(at, "tables "));  // an empty answer is not a filled cache
    at = mark();
    int count = 0;
    conn.getTableNumColumns("a", count);
    conn.getTableNumColumns("a", count);
    EXPECT_EQ(1u, scans(at, "columns "));  // an empty table is cached all the same
    conn.getTableNumColumns("b", count);
    conn.getTableNumColumns("a", count);
    EXPECT_EQ(3u, scans(at, "columns "));  // one table per schema is kept
    conn.getTableNumColumns("other", "a", count);
    conn.getTableNumColumns("a", count);
    EXPECT_EQ(4u, scans(at, "columns "));  // schemas have a table each
    OdbcDatabaseMetadata metadata(conn);
    at = mark();
    EXPECT_EQ(1, metadata.getTableAllColumnInfo("a", false));
    EXPECT_EQ(1, metadata.getTableAllColumnInfo("a", false));
    EXPECT_EQ(1, metadata.getTableAllColumnInfo("a", true));
    EXPECT_EQ(2u, scans(at, "columns "));
    EXPECT_EQ(2u, scans(at, "primarykeys "));
}

TEST(MetadataSingleStatement, ColumnScanEndsBeforeTheKeyScan) {
    // A driver that allows one active statement per connection.
    ScriptDsn::Instance();
    OdbcConnection single{ScriptDsn::kDsn, "", "single", "pw", false};
    ASSERT_EQ(1, single.open()) << single.lastErrors;
    std::vector<std::string> lines;
    LogServiceImpl::setSink([&](const std::string& id, const std::string&) { lines.push_back(id); });
    int count = -1;
    EXPECT_EQ(1, single.getTableNumColumns("tab", count));
    EXPECT_EQ(0, count);
    std::vector<std::string> names;
    EXPECT_EQ(1, single.getTableNames(names));
    EXPECT_EQ(1, single.getTableNumColumns("tab2", count));
    LogServiceImpl::setSink(nullptr);
    EXPECT_EQ(std::vector<std::string>{}, lines);
    single.close();
}

TEST_F(Metadata, ColumnQuestionsOutOfRange) {
    unsigned int type = 0;
    std::string name = "x";
    OdbcColumn dummy;
    const Column* info = &dummy;
    bool key = true;
    EXPECT_EQ(3, conn.getTableColumnInfo("t", -1, name, type));
    EXPECT_EQ("", name);
    EXPECT_EQ(6u, type);
    EXPECT_EQ(3, conn.getTableColumnInfo("t", 0, info));
    EXPECT_EQ(nullptr, info);
    EXPECT_EQ(3, conn.getTableColumnPrimaryKey("t", 5, key));
    OdbcDatabaseMetadata metadata(conn);
    EXPECT_EQ(3, metadata.getTableColumnType("t", -1, type));
    EXPECT_EQ(6u, type);
    EXPECT_EQ(3, metadata.getTableColumnName("t", 0, name));
}

TEST_F(Metadata, CreateTableDropsOnlyWhenAsked) {
    size_t at = mark();
    EXPECT_EQ(1, conn.createTable("t", {"a"}, {1}, {false}, true, false));
    EXPECT_TRUE(since(at, "tables").empty());
    EXPECT_EQ(std::vector<std::string>{"prepare CREATE TABLE \"t\" (\"a\" INTEGER)"}, since(at, "prepare"));
    at = mark();
    // The listing is empty here, so nothing is dropped.
    EXPECT_EQ(1, conn.createTable("s", "t", {"a"}, {1}, {false}, false, true));
    EXPECT_EQ(1u, since(at, "tables").size());
    EXPECT_EQ(std::vector<std::string>{"prepare CREATE COLUMN TABLE \"s\".\"t\" (\"a\" INTEGER)"},
              since(at, "prepare"));
}

TEST(MetadataUnopened, FailsWithItsLogId) {
    orltest::ScriptDsn::Instance();
    std::vector<std::string> log;
    LogServiceImpl::setSink([&](const std::string& id, const std::string&) { log.push_back(id); });
    OdbcConnection conn{orltest::ScriptDsn::kDsn, "", "orl", "pw", false};
    std::vector<std::string> names;
    int count = 0;
    EXPECT_EQ(3, conn.getTableNames(names));
    EXPECT_EQ(3, conn.getTableNumColumns("t", count));
    EXPECT_EQ(3, conn.createTable("t", {"a"}, {1}, {false}, true, true));
    LogServiceImpl::setSink(nullptr);
    EXPECT_EQ((std::vector<std::string>{"801005-3_ERROR_GETTING_TABLE_LIST", "801006-3_ERROR_GETTING_COLUMN_INFO",
                                        "801005-3_ERROR_GETTING_TABLE_LIST"}),
              log);
    EXPECT_EQ("\n", conn.lastErrors);  // the metadata's text replaces the connection's
}

} // namespace
} // namespace classicunit
