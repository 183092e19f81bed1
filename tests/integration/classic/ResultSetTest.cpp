// Reading results: column descriptions, the row-skip policy, further results,
// and what is left of a result set when its connection goes.
#include "ClassicFixture.h"

using namespace KORVEL::Orl::DB;
using DataTypes::DataValue;

namespace {

class ResultSetIT : public classictest::ClassicTest {
protected:
    void TearDown() override {
        if (conn != nullptr) {
            update("DROP TABLE IF EXISTS orl_cl_rs");
            conn->commit();
        }
        ClassicTest::TearDown();
    }
    void table(const char* columns, const std::vector<const char*>& rows) {
        update("DROP TABLE IF EXISTS orl_cl_rs");
        ASSERT_EQ(1, update(std::string("CREATE TABLE orl_cl_rs (") + columns + ")")) << classictest::errorsOf(conn);
        for (const char* r : rows) ASSERT_EQ(1, update(std::string("INSERT INTO orl_cl_rs VALUES (") + r + ")")) << r;
    }
    ResultSet* query(const char* sql) {
        std::vector<Parameter> none;
        ResultSet* rs = nullptr;
        EXPECT_EQ(1, conn->executeQuery(sql, none, 0, rs)) << classictest::errorsOf(conn);
        return rs;
    }
};

TEST_P(ResultSetIT, ColumnInfoIsZeroBasedAndValuesOneBased) {
    table("id integer, name varchar(20), amount decimal(10,2), at timestamp", {"7, 'seven', 7.25, NULL"});
    ResultSet* rs = query("SELECT id, name, amount, at FROM orl_cl_rs");
    ASSERT_NE(nullptr, rs);
    // The column type is the verbose SQL type, so date and time columns report
    // SQL_DATETIME (9), a TIMESTAMP; the SQLite driver gives the concise type
    // there, and describes decimals as text.
    const std::vector<std::pair<std::string, unsigned int>> want = {
        {"id", 1}, {"name", 5}, {"amount", is("sqlite") ? 5u : 30u}, {"at", is("sqlite") ? 27u : 8u}};
    int n = 0;
    ASSERT_EQ(1, rs->getNumColumns(n));
    ASSERT_EQ(4, n);
    for (int i = 0; i < n; ++i) {
        std::pair<std::string, unsigned int> got;
        ASSERT_EQ(1, rs->getColumnInfo(i, got.first, got.second)) << i;
        EXPECT_EQ(want[i], got) << i;
    }
    classictest::LogCapture log;
    std::string name;
    unsigned int type = 0;
    EXPECT_EQ(3, rs->getColumnInfo(4, name, type));
    bool more = false;
    ASSERT_EQ(1, rs->next(more));
    DataValue v;
    ASSERT_EQ(1, rs->getColumn(1, 1, v));  // the first column is 1 here
    EXPECT_EQ(7, v.int32Value);
    EXPECT_EQ(1, rs->getColumn(4, 27, v));
    EXPECT_TRUE(v.isNull);
    EXPECT_EQ(3, rs->getColumn(0, 1, v));
    EXPECT_EQ((std::vector<std::string>{"801008-3_ERROR_GETTING_RESULT_SET_COLUMN_NAME",
                                        "801013-3_ERROR_GETTING_COLUMN_VALUE"}),
              log.ids());
}

// A value that can't be converted costs its row and two log lines; the rows
// around it and the cursor survive.
TEST_P(ResultSetIT, UnconvertibleValueSkipsOnlyItsRow) {
    table("id integer, m varchar(20)", {"1, '1.5'", "2, 'abc'", "3, ''"});
    classictest::LogCapture log;
    std::vector<Row*> rows;
    ASSERT_TRUE(selectAll("SELECT id, m FROM orl_cl_rs WHERE id < 3 ORDER BY id", {1, 12}, rows));
    ASSERT_EQ(2u, rows.size());
    EXPECT_NE(nullptr, rows[0]);
    EXPECT_EQ(nullptr, rows[1]);
    EXPECT_EQ((std::vector<std::pair<std::string, std::string>>{
                  {"801013-3_ERROR_GETTING_COLUMN_VALUE", "2"},  // the column number alone
                  {"801014-4_COLUMN_VALUE_ERROR_RESULT_ROW_SKIPPED", ""}}),
              log.lines);
    freeRows(rows);
    // Empty text is a string, not NULL.
    ASSERT_TRUE(selectAll("SELECT m FROM orl_cl_rs WHERE id = 3", {5}, rows));
    ASSERT_TRUE(rows.size() == 1 && rows[0]);
    EXPECT_STREQ("", rows[0]->getColumnValue(0).stringValue);
    freeRows(rows);
}

TEST_P(ResultSetIT, NextResultSet) {
    ASSERT_NE(nullptr, query("SELECT 1"));
    bool more = true;
    EXPECT_EQ(1, conn->nextResultSet(more));
    EXPECT_FALSE(more);
    if (!is("pg")) return;
    // Two statements in one text give two results on this driver.
    ASSERT_NE(nullptr, query("SELECT 1; SELECT 2"));
    ASSERT_EQ(1, conn->nextResultSet(more));
    ASSERT_TRUE(more);
    ResultSet* rs = nullptr;
    ASSERT_EQ(1, conn->getResultSet(rs));
    ASSERT_EQ(1, rs->next(more));
    Row* row = nullptr;
    ASSERT_EQ(1, rs->getData(RowDescriptor({1}), row));
    EXPECT_EQ(2, row->getColumnValue(0).int32Value);
    delete row;
}

// The disconnect of close deletes the statement's ODBC handle: its result set
// answers with failures from then on, and release frees what is left.
TEST_P(ResultSetIT, ResultSetAfterCloseFailsCleanly) {
    ASSERT_NE(nullptr, query("SELECT 1"));
    ResultSet* rs = query("SELECT 2");  // closes the first statement and its result set
    ASSERT_EQ(1, conn->close());
    classictest::LogCapture log;
    bool more = true;
    EXPECT_EQ(3, rs->next(more));
    EXPECT_EQ(3, conn->nextResultSet(more));
    EXPECT_EQ((std::vector<std::string>{"801012-3_ERROR_ITERATING_THROUGH_RESULT_SET",
                                        "801018-3_ERROR_GETTING_RESULT_SET"}),
              log.ids());
    EXPECT_EQ(1, loader.driver()->releaseConnection(conn));  // with the statement still held
    conn = nullptr;
}

TEST_P(ResultSetIT, FailuresReportTheirIdsAndTheSql) {
    classictest::LogCapture log;
    std::vector<Parameter> none, one(1);
    one[0].type = 1;
    int count = 0;
    EXPECT_EQ(3, conn->executeUpdate("THIS IS NOT SQL", none, count));
    EXPECT_EQ(3, conn->executeUpdate("SELECT 1", one, count));  // no marker for the parameter
    ASSERT_EQ(2u, log.lines.size());
    // A bad statement fails at prepare on some drivers and at execute on others.
    EXPECT_TRUE(log.lines[0].first == "801004-3_ERROR_CREATING_STATEMENT" ||
                log.lines[0].first == "801016-3_ERROR_EXECUTING_STATEMENT")
        << log.lines[0].first;
    EXPECT_EQ(0u, log.lines[0].second.find("THIS IS NOT SQL [")) << log.lines[0].second;
    EXPECT_EQ("801017-3_ERROR_BINDING_PARAMETERS", log.lines[1].first);
    conn->rollback();
}

CLASSIC_INSTANTIATE(ResultSetIT);

} // namespace
