// Tables made by createTable and read back through the catalog questions, on
// each test database, through the driver as the server loads it.
#include <algorithm>

#include "ClassicFixture.h"
#include "datatypes/DataTypes.h"
#include "driver/OdbcColumn.h"
#include "host/Column.h"

using namespace KORVEL::Orl::DB;

namespace {

using classictest::errorsOf;

const char* const kTable = "orl_meta_main";
const char* const kOther = "orl_meta_other";

struct Expected {
    const char* name;
    unsigned int type;  // what the catalog's type gives back
    bool key;
};

class MetadataTest : public classictest::ClassicTest {
protected:
    void SetUp() override {
        classictest::ClassicTest::SetUp();
        if (conn == nullptr || HasFatalFailure() || IsSkipped()) return;
        // The created text quotes names with double quotes, which MariaDB
        // reads as names only in this mode.
        if (is("maria")) {
            ASSERT_EQ(1, update("SET SESSION sql_mode = CONCAT(@@sql_mode, ',ANSI_QUOTES')"));
        }
        ASSERT_EQ(1, update(std::string("DROP TABLE IF EXISTS \"") + kOther + "\"")) << errorsOf(conn);
        ASSERT_EQ(1, conn->commit());
        errorsOf(conn);
    }

    // The columns sent and read back. The database without NVARCHAR gets a
    // second integer key instead of the string one.
    void columnsFor(std::vector<std::string>& names, std::vector<unsigned int>& types, std::vector<bool>& keys,
                    std::vector<Expected>& expected) {
        const unsigned int dec18_2 = DataTypes::createFixedDecimal(18, 2);
        const unsigned int dec19_2 = DataTypes::createFixedDecimal(19, 2);
        // The SQLite driver's catalog calls a DECIMAL column text.
        expected = {
            {"k1", is("pg") ? 1u : 5u, true},
            {"k2", 1, true},
            {"amount", is("sqlite") ? 5u : dec19_2, false},
            {"price", is("sqlite") ? 5u : dec18_2, false},
            {"ratio", 3, false},
            {"big", 2, false},
            {"at", 27, false},
        };
        names.clear();
        types = {is("pg") ? 1u : 5u, 1, 12, dec18_2, 3, 2, 27};
        keys = {true, true, false, false, false, false, false};
        for (const Expected& e : expected) names.push_back(e.name);
    }

    std::vector<std::string> tables(const std::string* schema = nullptr) {
        std::vector<std::string> out;
        int status = schema ? conn->getTableNames(*schema, out) : conn->getTableNames(out);
        EXPECT_EQ(1, status) << errorsOf(conn);
        return out;
    }
    static bool has(const std::vector<std::string>& list, const std::string& name) {
        return std::find(list.begin(), list.end(), name) != list.end();
    }
    int columnCount(const std::string& table) {
        int count = -1;
        EXPECT_EQ(1, conn->getTableNumColumns(table, count)) << table << errorsOf(conn);
        return count;
    }
    void makeMain(const std::string& schema = "") {
        std::vector<std::string> names;
        std::vector<unsigned int> types;
        std::vector<bool> keys;
        columnsFor(names, types, keys, expected);
        ASSERT_EQ(1, conn->createTable(schema, kTable, names, types, keys, true, true)) << errorsOf(conn);
        ASSERT_EQ(1, conn->commit()) << errorsOf(conn);
    }

    std::vector<Expected> expected;
};

TEST_P(MetadataTest, CreatedTableReadsBack) {
    makeMain();
    ASSERT_EQ(static_cast<int>(expected.size()), columnCount(kTable));
    for (size_t i = 0; i < expected.size(); ++i) {
        const Expected& e = expected[i];
        int index = static_cast<int>(i);
        std::string name;
        unsigned int type = 0;
        bool key = !e.key;
        EXPECT_EQ(1, conn->getTableColumnInfo(kTable, index, name, type)) << e.name;
        EXPECT_EQ(e.name, name);
        EXPECT_EQ(e.type, type) << e.name << " got " << type;
        EXPECT_EQ(1, conn->getTableColumnPrimaryKey(kTable, index, key)) << e.name;
        EXPECT_EQ(e.key, key) << e.name;
        const Column* column = nullptr;
        ASSERT_EQ(1, conn->getTableColumnInfo(kTable, index, column)) << e.name;
        ASSERT_NE(nullptr, column);
        EXPECT_EQ(e.name, column->name);
        EXPECT_EQ(e.type, column->type) << e.name;
        EXPECT_EQ(e.key, column->primaryKey) << e.name;
        EXPECT_EQ(GetParam().keyword, column->databaseType);
        if (e.key && !is("sqlite")) {  // SQLite lets key columns other than INTEGER hold NULL
            EXPECT_FALSE(column->nullable) << e.name;
        }
        if ((e.type & 0xFF) == 30) {
            EXPECT_EQ(2, column->scale) << e.name;
        }
    }
    // Past the end: the cached table answers without a scan and fails.
    std::string name = "x";
    unsigned int type = 0;
    EXPECT_EQ(3, conn->getTableColumnInfo(kTable, static_cast<int>(expected.size()), name, type));
    EXPECT_EQ("", name);
    EXPECT_EQ(6u, type);
    // A table that isn't there has no columns, which is no failure.
    EXPECT_EQ(0, columnCount("orl_meta_absent"));
}

TEST_P(MetadataTest, TableAndSchemaListings) {
    makeMain();
    EXPECT_TRUE(has(tables(), kTable));
    const std::string none;
    EXPECT_TRUE(has(tables(&none), kTable));  // an empty schema is no schema
    int count = -1;
    EXPECT_EQ(1, conn->getTableNumColumns(none, kTable, count)) << errorsOf(conn);
    EXPECT_EQ(static_cast<int>(expected.size()), count);
    std::vector<std::string> schemas;
    EXPECT_EQ(1, conn->getSchemaNames(schemas)) << errorsOf(conn);
    if (is("pg")) {
        EXPECT_TRUE(has(schemas, "public"));
        EXPECT_TRUE(std::is_sorted(schemas.begin(), schemas.end()));
        const std::string exact = "public", upper = "PUBLIC";
        EXPECT_TRUE(has(tables(&exact), kTable));
        EXPECT_FALSE(has(tables(&upper), kTable));  // case-sensitive
        count = -1;
        EXPECT_EQ(1, conn->getTableNumColumns(exact, kTable, count)) << errorsOf(conn);
        EXPECT_EQ(static_cast<int>(expected.size()), count);
        makeMain(exact);  // found in the schema's list: dropped by its two-part name first
    } else {
        // No schemas: the catalog's NULL schema gives an empty list, and rows
        // without a schema pass any schema filter.
        EXPECT_TRUE(schemas.empty());
        const std::string any = "no_such_schema";
        EXPECT_TRUE(has(tables(&any), kTable));
    }
}

TEST_P(MetadataTest, CachesHoldUntilAnotherTableIsAsked) {
    classictest::LogCapture log;
    makeMain();
    EXPECT_FALSE(has(tables(), kOther));
    ASSERT_EQ(1, conn->createTable(kOther, {"x"}, {1}, {false}, true, true)) << errorsOf(conn);
    ASSERT_EQ(1, conn->commit());
    EXPECT_FALSE(has(tables(), kOther));  // the list was cached before it existed
    // dropExisting doesn't see it either, and the database refuses the second CREATE.
    EXPECT_EQ(3, conn->createTable(kOther, {"x"}, {1}, {false}, true, true));
    EXPECT_EQ("801016-3_ERROR_EXECUTING_STATEMENT", log.ids().back());
    conn->rollback();

    const int before = columnCount(kOther);
    EXPECT_EQ(1, before);
    ASSERT_EQ(1, update(std::string("ALTER TABLE \"") + kOther + "\" ADD \"y\" INTEGER")) << errorsOf(conn);
    ASSERT_EQ(1, conn->commit());
    EXPECT_EQ(before, columnCount(kOther));      // cached
    EXPECT_EQ(static_cast<int>(expected.size()), columnCount(kTable));
    EXPECT_EQ(before + 1, columnCount(kOther));  // asking for another table dropped the cache
}

TEST_P(MetadataTest, RefusedCreatesFailWithTheStatementsLogLine) {
    // No test database knows column tables; the type name "error" only SQLite takes.
    struct Refused {
        const char* name;
        unsigned int type;
        bool rowTable;
        bool refused;
    } cases[] = {
        {"column table", 1, false, true},
        {"int16", 0, true, !is("sqlite")},
        {"string", 5, true, is("pg")},  // NVARCHAR
    };
    for (const Refused& c : cases) {
        classictest::LogCapture log;
        int status = conn->createTable(kOther, {"x"}, {c.type}, {false}, c.rowTable, true);
        EXPECT_EQ(c.refused ? 3 : 1, status) << c.name;
        if (c.refused) {
            EXPECT_EQ(std::vector<std::string>{"801016-3_ERROR_EXECUTING_STATEMENT"}, log.ids()) << c.name;
        }
        conn->rollback();
    }
}

TEST_P(MetadataTest, DefaultsAsTheCatalogGivesThem) {
    ASSERT_EQ(1, update(std::string("CREATE TABLE \"") + kOther +
                        "\" (\"a\" INTEGER DEFAULT 7, \"b\" INTEGER, \"c\" VARCHAR(8) DEFAULT NULL)"))
        << errorsOf(conn);
    ASSERT_EQ(1, conn->commit());
    // A default of NULL is no default, unless the catalog dresses it up:
    // PostgreSQL reports it as "NULL::character varying".
    const bool hasDefault[] = {true, false, is("pg")};
    for (int i = 0; i < 3; ++i) {
        const Column* column = nullptr;
        ASSERT_EQ(1, conn->getTableColumnInfo(kOther, i, column)) << i << errorsOf(conn);
        // The records are the driver's own column type; only fields are read here.
        const OdbcColumn* odbc = static_cast<const OdbcColumn*>(column);
        EXPECT_EQ(hasDefault[i], odbc->hasDefault) << odbc->name;
        EXPECT_FALSE(odbc->sqlTypeName.empty()) << odbc->name;
        EXPECT_EQ(i < 2 ? 4 : 5, static_cast<int>(i < 2 ? odbc->sqlType : odbc->type)) << odbc->name;
    }
}

CLASSIC_INSTANTIATE(MetadataTest);

} // namespace
