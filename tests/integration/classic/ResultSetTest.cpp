// Reading results: column descriptions, the row-skip policy, the text
// fallbacks, and what is left of a result set when its connection goes.
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
        for (const char* r : rows)
            ASSERT_EQ(1, update(std::string("INSERT INTO orl_cl_rs VALUES (") + r + ")")) << r;
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
    int n = 0;
    ASSERT_EQ(1, rs->getNumColumns(n));
    ASSERT_EQ(4, n);
    struct Want {
        const char* name;
        unsigned int type;
    };
    // The column type is the verbose SQL type, so every date and time column
    // reports SQL_DATETIME (9), which reads as TIMESTAMP; the SQLite driver
    // gives the concise type there, and describes decimals as text.
    Want want[] = {{"id", 1}, {"name", 5}, {"amount", is("sqlite") ? 5u : 30u}, {"at", is("sqlite") ? 27u : 8u}};
    for (int i = 0; i < 4; ++i) {
        std::string name;
        unsigned int type = 99;
        ASSERT_EQ(1, rs->getColumnInfo(i, name, type)) << i;
        EXPECT_EQ(want[i].name, name) << i;
        EXPECT_EQ(want[i].type, type) << i;
    }
    classictest::LogCapture log;
    std::string name;
    unsigned int type = 0;
    EXPECT_EQ(3, rs->getColumnInfo(4, name, type));
    EXPECT_EQ(std::vector<std::string>{"801008-3_ERROR_GETTING_RESULT_SET_COLUMN_NAME"}, log.ids());

    bool more = false;
    ASSERT_EQ(1, rs->next(more));
    ASSERT_TRUE(more);
    DataValue v;
    ASSERT_EQ(1, rs->getColumn(1, 1, v));  // the first column is 1 here
    EXPECT_EQ(7, v.int32Value);
    EXPECT_EQ(1, rs->getColumn(4, 27, v));
    EXPECT_TRUE(v.isNull);
    log.lines.clear();
    EXPECT_EQ(3, rs->getColumn(0, 1, v));
    ASSERT_EQ(1u, log.lines.size());
    EXPECT_EQ("801013-3_ERROR_GETTING_COLUMN_VALUE", log.lines[0].first);
    EXPECT_EQ(0u, log.lines[0].second.find("0")) << log.lines[0].second;

    Row* row = nullptr;
    ASSERT_EQ(1, rs->getData(RowDescriptor(), row));  // no columns wanted: an empty row
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(0, row->getNumColumns());
    delete row;
    ASSERT_EQ(1, rs->next(more));
    EXPECT_FALSE(more);
}

// A value that can't be converted costs its row and two log lines; the rows
// around it and the cursor survive.
TEST_P(ResultSetIT, UnconvertibleValueSkipsOnlyItsRow) {
    table("id integer, m varchar(20)", {"1, '1.5'", "2, 'abc'", "3, '2.25'", "4, ''"});
    classictest::LogCapture log;
    std::vector<Row*> rows;
    ASSERT_TRUE(selectAll("SELECT id, m FROM orl_cl_rs ORDER BY id", {1, 12}, rows));
    ASSERT_EQ(4u, rows.size());
    EXPECT_NE(nullptr, rows[0]);
    EXPECT_EQ(nullptr, rows[1]);
    ASSERT_NE(nullptr, rows[2]);
    EXPECT_EQ(3, rows[2]->getColumnValue(0).int32Value);
    ASSERT_GE(log.lines.size(), 2u);
    EXPECT_EQ("801013-3_ERROR_GETTING_COLUMN_VALUE", log.lines[0].first);
    EXPECT_EQ("2", log.lines[0].second);  // the column number alone
    EXPECT_EQ("801014-4_COLUMN_VALUE_ERROR_RESULT_ROW_SKIPPED", log.lines[1].first);
    freeRows(rows);

    // A type word no reader takes skips the row with the skip line alone.
    log.lines.clear();
    ASSERT_TRUE(selectAll("SELECT id FROM orl_cl_rs WHERE id = 1", {6}, rows));
    ASSERT_EQ(1u, rows.size());
    EXPECT_EQ(nullptr, rows[0]);
    EXPECT_EQ(std::vector<std::string>{"801014-4_COLUMN_VALUE_ERROR_RESULT_ROW_SKIPPED"}, log.ids());
    freeRows(rows);

    // Empty text is a string, not NULL.
    ASSERT_TRUE(selectAll("SELECT m FROM orl_cl_rs WHERE id = 4", {5}, rows));
    ASSERT_EQ(1u, rows.size());
    ASSERT_NE(nullptr, rows[0]);
    EXPECT_FALSE(rows[0]->getColumnValue(0).isNull);
    EXPECT_STREQ("", rows[0]->getColumnValue(0).stringValue);
    freeRows(rows);
}

// None of the test drivers describes text as wide, so a time read from text
// has no layout to go by: the value stays as getData cleared it, not null, and
// the row stays. (The positional parse of wide text is covered without a database.)
TEST_P(ResultSetIT, TimeFromNarrowTextKeepsTheRowUnwritten) {
    table("id integer, t varchar(20)", {"1, '12:34:56'", "2, '7:00:00'"});
    classictest::LogCapture log;
    std::vector<Row*> rows;
    ASSERT_TRUE(selectAll("SELECT t FROM orl_cl_rs ORDER BY id", {29}, rows));
    ASSERT_EQ(2u, rows.size());
    for (Row* r : rows) {
        ASSERT_NE(nullptr, r);
        EXPECT_FALSE(r->getColumnValue(0).isNull);
        EXPECT_EQ(0, r->getColumnValue(0).int64Value);
    }
    EXPECT_TRUE(log.lines.empty());
    freeRows(rows);
}

TEST_P(ResultSetIT, NextResultSet) {
    ResultSet* rs = query("SELECT 1");
    ASSERT_NE(nullptr, rs);
    bool more = true;
    EXPECT_EQ(1, conn->nextResultSet(more));
    EXPECT_FALSE(more);
    ResultSet* again = nullptr;
    EXPECT_EQ(1, conn->getResultSet(again));
    EXPECT_NE(nullptr, again);
    if (!is("pg")) return;
    // Two statements in one text give two results on this driver.
    rs = query("SELECT 1; SELECT 2");
    ASSERT_NE(nullptr, rs);
    ASSERT_EQ(1, conn->nextResultSet(more));
    ASSERT_TRUE(more);
    ASSERT_EQ(1, conn->getResultSet(rs));
    ASSERT_EQ(1, rs->next(more));
    ASSERT_TRUE(more);
    Row* row = nullptr;
    ASSERT_EQ(1, rs->getData(RowDescriptor({1}), row));
    EXPECT_EQ(2, row->getColumnValue(0).int32Value);
    delete row;
}

// After close the statement's ODBC handle is gone with the disconnect: its
// result set answers with failures, and release frees what is left.
TEST_P(ResultSetIT, ResultSetAfterCloseFailsCleanly) {
    ResultSet* first = query("SELECT 1");
    ResultSet* rs = query("SELECT 2");  // closes the first statement and its result set
    ASSERT_NE(nullptr, first);
    ASSERT_NE(nullptr, rs);
    ASSERT_EQ(1, conn->close());
    classictest::LogCapture log;
    bool more = true;
    EXPECT_EQ(3, rs->next(more));
    EXPECT_TRUE(more);
    int n = 0;
    EXPECT_EQ(3, rs->getNumColumns(n));
    bool again = false;
    EXPECT_EQ(3, conn->nextResultSet(again));
    EXPECT_EQ((std::vector<std::string>{"801012-3_ERROR_ITERATING_THROUGH_RESULT_SET",
                                        "801007-3_ERROR_GETTING_RESULT_SET_COLUMN_COUNT",
                                        "801018-3_ERROR_GETTING_RESULT_SET"}),
              log.ids());
}

TEST_P(ResultSetIT, FailedPrepareAndExecuteReportTheirIds) {
    classictest::LogCapture log;
    std::vector<Parameter> none;
    int count = 0;
    EXPECT_EQ(3, conn->executeUpdate("THIS IS NOT SQL", none, count));
    // A bad statement fails at prepare on some drivers and at execute on others.
    ASSERT_FALSE(log.lines.empty());
    const std::string& id = log.lines[0].first;
    EXPECT_TRUE(id == "801004-3_ERROR_CREATING_STATEMENT" || id == "801016-3_ERROR_EXECUTING_STATEMENT") << id;
    EXPECT_EQ(0u, log.lines[0].second.find("THIS IS NOT SQL [")) << log.lines[0].second;
    // A parameter with no marker to take it.
    log.lines.clear();
    std::vector<Parameter> one(1);
    one[0].type = 1;
    EXPECT_EQ(3, conn->executeUpdate("SELECT 1", one, count));
    EXPECT_EQ(std::vector<std::string>{"801017-3_ERROR_BINDING_PARAMETERS"}, log.ids());
    conn->rollback();
}

CLASSIC_INSTANTIATE(ResultSetIT);

} // namespace
