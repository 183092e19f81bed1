// Catalog scans over tables the test creates, and who deletes what.
#include <sqlext.h>

#include <vector>

#include "LayerFixture.h"

namespace orltest {
namespace {

// One column of every row of a scan, which is then deleted.
std::vector<std::string> Collect(OdbcCatalog* scan, int column) {
    std::vector<std::string> out;
    for (ByteStore v; scan != nullptr && scan->Fetch() == Status_Ok; out.push_back(v.Text()))
        scan->GetColumn(column)->GetData(&v);
    delete scan;
    return out;
}

char* Text(const char* s) { return const_cast<char*>(s); }

} // namespace

TEST_P(LayerTest, CatalogScansListWhatWasCreated) {
    Drop("odbc_l_cat");
    Exec("CREATE TABLE odbc_l_cat (id INTEGER NOT NULL PRIMARY KEY, name VARCHAR(20))");
    char* table = Text("odbc_l_cat");
    using List = std::vector<std::string>;
    EXPECT_EQ(Collect(dbc->ScanTables(nullptr, nullptr, table, nullptr), 3), List{"odbc_l_cat"}) << Info(dbc);
    EXPECT_EQ(Collect(dbc->ScanTableColumns(nullptr, nullptr, table, nullptr), 4), (List{"id", "name"}));
    EXPECT_EQ(Collect(dbc->ScanTableColumns(nullptr, nullptr, table, Text("na%")), 4), List{"name"});
    // The fourth argument of the key scan is never passed on.
    EXPECT_EQ(Collect(dbc->ScanTablePrimaryKey(nullptr, nullptr, table, Text("no such column")), 4), List{"id"});
    // An empty argument is passed as an empty text, not as "any": PostgreSQL
    // matches no table type "", MariaDB no schema "". SQLite ignores both.
    EXPECT_EQ(Collect(dbc->ScanTables(nullptr, nullptr, table, Text("")), 3).size(), Is("pg") ? 0u : 1u);
    EXPECT_EQ(Collect(dbc->ScanTables(nullptr, Text(""), table, nullptr), 3).size(), Is("maria") ? 0u : 1u);
    Drop("odbc_l_cat");
}

TEST_P(LayerTest, DisconnectDeletesStatementsAndScans) {
    delete dbc->ScanTables(nullptr, nullptr, Text("%"), nullptr);  // leaves the connection's children at once
    OdbcCatalog* kept = dbc->ScanTables(nullptr, nullptr, Text("%"), nullptr);
    ASSERT_NE(kept, nullptr) << Info(dbc);
    EXPECT_NE(kept->Fetch(), Status_Error);
    OdbcStmt* st = Prepare("SELECT 1");
    ORL_ASSERT_OK(st->Execute(), st);
    ORL_ASSERT_OK(st->Fetch(), st);
    // Both die here, with their columns, before the session closes; the
    // sanitizer build checks that none is freed twice or left behind.
    EXPECT_EQ(dbc->Disconnect(), Status_Ok);
    const TestDsn& d = GetParam();
    ASSERT_EQ(dbc->Connect(d.dsn, d.user, d.password), Status_Ok) << Info(dbc);
    OdbcStmt* again = Prepare("SELECT 2");
    ORL_ASSERT_OK(again->Execute(), again);
    // Left to the environment's destructor: connection, then statement.
}

} // namespace orltest
