// Batches through the connection: rows added, run in one execution, counted;
// the rule on parameters per row; the states a batch can be in.
#include "ClassicFixture.h"
#include "host/DataService.h"

using namespace KORVEL::Orl::DB;
using DataTypes::DataValue;

namespace {

std::vector<Parameter> row(std::initializer_list<int> values) {
    std::vector<Parameter> out;
    for (int v : values) {
        Parameter p;
        p.type = 1;
        p.value.int32Value = v;
        p.value.isNull = false;
        out.push_back(p);
    }
    return out;
}

class BatchIT : public classictest::ClassicTest {
protected:
    void SetUp() override {
        ClassicTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        update("DROP TABLE IF EXISTS orl_cl_batch");
        ASSERT_EQ(1, update("CREATE TABLE orl_cl_batch (a integer, b integer)")) << classictest::errorsOf(conn);
        ASSERT_EQ(1, conn->commit());
    }
    void TearDown() override {
        if (conn != nullptr) {
            conn->clearBatch();
            update("DROP TABLE IF EXISTS orl_cl_batch");
            conn->commit();
        }
        ClassicTest::TearDown();
    }
    long count() {
        std::vector<Row*> rows;
        EXPECT_TRUE(selectAll("SELECT a FROM orl_cl_batch", {1}, rows));
        long n = static_cast<long>(rows.size());
        freeRows(rows);
        return n;
    }
};

TEST_P(BatchIT, RowsRunInOneExecutionWithAStatusEach) {
    ASSERT_EQ(1, conn->createBatch("INSERT INTO orl_cl_batch VALUES (?, ?)")) << classictest::errorsOf(conn);
    EXPECT_EQ(3, conn->createBatch("INSERT INTO orl_cl_batch VALUES (?, ?)"));  // the first stands
    for (int i = 0; i < 3; ++i) {
        auto r = row({i, i * 10});
        ASSERT_EQ(1, conn->addToBatch(r)) << i;
    }
    std::vector<int> counts{7, 7, 7, 7, 7};
    ASSERT_EQ(1, conn->executeBatch(counts)) << classictest::errorsOf(conn);
    // The SQLite driver doesn't report per-row statuses: its rows read as -1.
    EXPECT_EQ(std::vector<int>(3, is("sqlite") ? -1 : 0), counts);
    EXPECT_FALSE(conn->batchOpen);
    EXPECT_EQ(-1, conn->batchParameterCount);
    ASSERT_EQ(1, conn->commit());
    EXPECT_EQ(3, count());
}

TEST_P(BatchIT, ParameterCountOfTheFirstRowIsTheFloor) {
    ASSERT_EQ(1, conn->createBatch("INSERT INTO orl_cl_batch VALUES (?, ?)"));
    auto two = row({1, 2});
    ASSERT_EQ(1, conn->addToBatch(two));
    EXPECT_EQ(2, conn->batchParameterCount);
    classictest::LogCapture log;
    auto one = row({1});
    EXPECT_EQ(3, conn->addToBatch(one));  // shorter: refused before any binding
    EXPECT_TRUE(log.lines.empty());
    auto three = row({1, 2, 3});
    // Longer passes the count rule and fails only at the marker it lacks.
    EXPECT_EQ(3, conn->addToBatch(three));
    EXPECT_EQ(std::vector<std::string>{"801017-3_ERROR_BINDING_PARAMETERS"}, log.ids());
    EXPECT_EQ(1, conn->clearBatch());
    EXPECT_FALSE(conn->batchOpen);
    EXPECT_EQ(-1, conn->batchParameterCount);
    EXPECT_EQ(3, conn->addToBatch(two));  // no batch any more
}

TEST_P(BatchIT, EmptyAndClearedBatchesRunNothing) {
    EXPECT_EQ(1, conn->clearBatch());  // outside a batch: nothing to do
    ASSERT_EQ(1, conn->createBatch("INSERT INTO orl_cl_batch VALUES (?, ?)"));
    std::vector<int> counts{5};
    EXPECT_EQ(1, conn->executeBatch(counts));
    EXPECT_TRUE(counts.empty());

    ASSERT_EQ(1, conn->createBatch("INSERT INTO orl_cl_batch VALUES (?, ?)"));
    auto r = row({1, 2});
    ASSERT_EQ(1, conn->addToBatch(r));
    ASSERT_EQ(1, conn->clearBatch());
    // The statement stays, prepared again for single rows: nothing is batched.
    counts = {5};
    EXPECT_EQ(1, conn->executeBatch(counts));
    EXPECT_TRUE(counts.empty());
    ASSERT_EQ(1, conn->commit());
    EXPECT_EQ(0, count());
}

TEST(BatchWithoutStatement, ExecuteBatchBeforeAnyStatementFails) {
    orltest::DriverLoader loader;
    ASSERT_NE(nullptr, loader.driver());
    KORVEL::Orl::DataService s("x");
    s.setProperty("DSN", "nowhere");
    s.setProperty("User", "nobody");
    Connection* c = loader.driver()->createConnection(s);
    ASSERT_NE(nullptr, c);
    std::vector<int> counts{1};
    bool more = true;
    ResultSet* rs = nullptr;
    auto r = row({1});
    EXPECT_EQ(3, c->executeBatch(counts));
    EXPECT_EQ(3, c->nextResultSet(more));
    EXPECT_EQ(3, c->getResultSet(rs));
    EXPECT_EQ(3, c->addToBatch(r));
    EXPECT_EQ(1, c->clearBatch());
    // Not opened: there is no connection to make a statement on.
    classictest::LogCapture log;
    EXPECT_EQ(3, c->createBatch("INSERT INTO t VALUES (?)"));
    EXPECT_EQ(std::vector<std::string>{"801004-3_ERROR_CREATING_STATEMENT"}, log.ids());
    EXPECT_FALSE(c->batchOpen);
    EXPECT_EQ(std::vector<int>{1}, counts);
    loader.driver()->releaseConnection(c);
}

CLASSIC_INSTANTIATE(BatchIT);

} // namespace
