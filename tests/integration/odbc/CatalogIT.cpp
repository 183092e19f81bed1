// Catalog scans over tables the test creates, and who deletes what.
#include <sqlext.h>

#include <vector>

#include "LayerFixture.h"

namespace orltest {
namespace {

// One column of every row of a scan, which the caller then deletes.
std::vector<std::string> Collect(OdbcCatalog* scan, int column) {
    std::vector<std::string> out;
    if (scan == nullptr) return out;
    while (scan->Fetch() == Status_Ok) {
        ByteStore v;
        scan->GetColumn(column)->GetData(&v);
        out.push_back(v.Text());
    }
    delete scan;
    return out;
}

char* Text(const char* s) { return const_cast<char*>(s); }

} // namespace

TEST_P(LayerTest, CatalogScansListWhatWasCreated) {
    Drop("odbc_l_cat");
    Exec("CREATE TABLE odbc_l_cat (id INTEGER NOT NULL PRIMARY KEY, name VARCHAR(20))");
    char* table = Text("odbc_l_cat");

    OdbcCatalog* tables = dbc->ScanTables(nullptr, nullptr, table, nullptr);
    ASSERT_NE(tables, nullptr) << Info(dbc);
    EXPECT_EQ(Collect(tables, 3), std::vector<std::string>{"odbc_l_cat"});

    EXPECT_EQ(Collect(dbc->ScanTableColumns(nullptr, nullptr, table, nullptr), 4),
              (std::vector<std::string>{"id", "name"}));
    EXPECT_EQ(Collect(dbc->ScanTableColumns(nullptr, nullptr, table, Text("na%")), 4),
              std::vector<std::string>{"name"});
    // The fourth argument of the key scan is never passed on.
    EXPECT_EQ(Collect(dbc->ScanTablePrimaryKey(nullptr, nullptr, table, Text("no such column")), 4),
              std::vector<std::string>{"id"});

    // A null table type is "any type"; an empty one is passed as an empty text.
    std::vector<std::string> anyType = Collect(dbc->ScanTables(nullptr, nullptr, table, nullptr), 3);
    std::vector<std::string> emptyType = Collect(dbc->ScanTables(nullptr, nullptr, table, Text("")), 3);
    std::vector<std::string> emptySchema = Collect(dbc->ScanTables(nullptr, Text(""), table, nullptr), 3);
    EXPECT_EQ(anyType.size(), 1u);
    // Where the drivers tell an empty argument from a missing one: PostgreSQL
    // matches no table type "", MariaDB no schema "". SQLite ignores both.
    EXPECT_EQ(emptyType.size(), Is("pg") ? 0u : 1u);
    EXPECT_EQ(emptySchema.size(), Is("maria") ? 0u : 1u);
    Drop("odbc_l_cat");
}

TEST_P(LayerTest, DisconnectDeletesStatementsAndScans) {
    OdbcCatalog* deletedByCaller = dbc->ScanTables(nullptr, nullptr, Text("%"), nullptr);
    ASSERT_NE(deletedByCaller, nullptr) << Info(dbc);
    delete deletedByCaller;  // leaves the connection's children at once
    OdbcCatalog* kept = dbc->ScanTables(nullptr, nullptr, Text("%"), nullptr);
    ASSERT_NE(kept, nullptr);
    ASSERT_EQ(kept->Fetch() == Status_Ok || kept->Fetch() == Status_NoData, true);
    OdbcStmt* st = Prepare("SELECT 1");
    ORL_ASSERT_OK(st->Execute(), st);
    ORL_ASSERT_OK(st->Fetch(), st);
    // Both die here, with their columns; the sanitizer build checks that none
    // is freed twice or left behind.
    EXPECT_EQ(dbc->Disconnect(), Status_Ok);
    EXPECT_FALSE(dbc->IsConnected());
    const TestDsn& d = GetParam();
    ASSERT_EQ(dbc->Connect(d.dsn, d.user, d.password), Status_Ok) << Info(dbc);
    OdbcStmt* again = Prepare("SELECT 2");
    ORL_ASSERT_OK(again->Execute(), again);
    // Left to the environment's destructor: connection, then statement.
}

TEST_P(LayerTest, FailedScanIsNullWithTheDiagnosticOnTheConnection) {
    // An over-long catalog name: every driver refuses it or finds nothing.
    std::string longName(300, 'c');
    OdbcCatalog* scan = dbc->ScanProcedureColumns(Text(longName.c_str()), nullptr, Text("x"), nullptr);
    if (scan == nullptr) {
        EXPECT_TRUE(dbc->HasInfo());
    } else {
        EXPECT_TRUE(Collect(scan, 3).empty());
    }
    EXPECT_NO_FATAL_FAILURE(Collect(dbc->ScanProcedures(nullptr, nullptr, Text("%")), 3));
}

} // namespace orltest
