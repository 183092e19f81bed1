// Catalog scans over tables the test creates. Who deletes what, and that a
// disconnect deletes the scans still open, is checked with the scripted driver.
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

} // namespace orltest
