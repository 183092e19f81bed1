// Batches through the connection: rows added, run in one execution, counted;
// the rule on parameters per row; the states a batch can be in.
#include "ClassicFixture.h"

using namespace KORVEL::Orl::DB;

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

const char* const kInsert = "INSERT INTO orl_cl_batch VALUES (?, ?)";

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
    size_t stored() {
        std::vector<Row*> rows;
        EXPECT_TRUE(selectAll("SELECT a FROM orl_cl_batch", {1}, rows));
        size_t n = rows.size();
        freeRows(rows);
        return n;
    }
};

TEST_P(BatchIT, RowsRunInOneExecutionWithAStatusEach) {
    ASSERT_EQ(1, conn->createBatch(kInsert)) << classictest::errorsOf(conn);
    EXPECT_EQ(3, conn->createBatch(kInsert));  // the first stands
    for (int i = 0; i < 3; ++i) {
        auto r = row({i, i * 10});
        ASSERT_EQ(1, conn->addToBatch(r)) << i;
    }
    std::vector<int> counts{7, 7, 7, 7, 7};
    ASSERT_EQ(1, conn->executeBatch(counts)) << classictest::errorsOf(conn);
    // Every row stored reads as stored, also where the driver (SQLite's) never
    // writes the status array.
    EXPECT_EQ(std::vector<int>(3, 0), counts);
    EXPECT_FALSE(conn->batchOpen);
    ASSERT_EQ(1, conn->commit());
    EXPECT_EQ(3u, stored());
}

TEST_P(BatchIT, ParameterCountOfTheFirstRowIsTheFloor) {
    ASSERT_EQ(1, conn->createBatch(kInsert));
    auto two = row({1, 2}), one = row({1}), three = row({1, 2, 3});
    ASSERT_EQ(1, conn->addToBatch(two));
    classictest::LogCapture log;
    EXPECT_EQ(3, conn->addToBatch(one));  // shorter: refused before any binding
    EXPECT_TRUE(log.lines.empty());
    // Longer passes the count rule and fails only at the marker it lacks.
    EXPECT_EQ(3, conn->addToBatch(three));
    EXPECT_EQ(std::vector<std::string>{"801017-3_ERROR_BINDING_PARAMETERS"}, log.ids());
    EXPECT_EQ(1, conn->clearBatch());
    EXPECT_EQ(-1, conn->batchParameterCount);
    EXPECT_EQ(3, conn->addToBatch(two));  // no batch any more
}

TEST_P(BatchIT, EmptyAndClearedBatchesRunNothing) {
    EXPECT_EQ(1, conn->clearBatch());  // outside a batch: nothing to do
    ASSERT_EQ(1, conn->createBatch(kInsert));
    std::vector<int> counts{5};
    EXPECT_EQ(1, conn->executeBatch(counts));
    EXPECT_TRUE(counts.empty());
    ASSERT_EQ(1, conn->createBatch(kInsert));
    auto r = row({1, 2});
    ASSERT_EQ(1, conn->addToBatch(r));
    ASSERT_EQ(1, conn->clearBatch());
    // The statement stays, prepared again for single rows: nothing is batched.
    counts = {5};
    EXPECT_EQ(1, conn->executeBatch(counts));
    EXPECT_TRUE(counts.empty());
    ASSERT_EQ(1, conn->commit());
    EXPECT_EQ(0u, stored());
}

TEST_P(BatchIT, CountsOfABatchWithAKeyConflictMatchTheTable) {
    update("DROP TABLE IF EXISTS orl_cl_batch_key");
    ASSERT_EQ(1, update("CREATE TABLE orl_cl_batch_key (a integer PRIMARY KEY, b integer)")) << classictest::errorsOf(conn);
    ASSERT_EQ(1, update("INSERT INTO orl_cl_batch_key VALUES (3, 0)"));
    ASSERT_EQ(1, conn->commit());
    ASSERT_EQ(1, conn->createBatch("INSERT INTO orl_cl_batch_key VALUES (?, ?)")) << classictest::errorsOf(conn);
    const int keys[] = {1, 2, 3, 4, 5};
    for (int k : keys) {
        auto r = row({k, 1});
        ASSERT_EQ(1, conn->addToBatch(r)) << k;
    }
    std::vector<int> counts;
    int status = conn->executeBatch(counts);
    conn->commit();
    std::vector<Row*> rows;
    ASSERT_TRUE(selectAll("SELECT a FROM orl_cl_batch_key WHERE b = 1", {1}, rows));
    std::vector<bool> stored(6, false);
    for (Row* r : rows)
        if (r != nullptr) stored[static_cast<size_t>(r->getColumnValue(0).int32Value)] = true;
    freeRows(rows);
    update("DROP TABLE IF EXISTS orl_cl_batch_key");
    conn->commit();
    // A driver may fail the whole array; one that reports rows must not call a
    // row stored that isn't, nor a stored row failed.
    if (status == 1) {
        ASSERT_EQ(5u, counts.size());
        EXPECT_EQ(-1, counts[2]);
        for (int i = 0; i < 5; ++i) EXPECT_EQ(stored[static_cast<size_t>(keys[i])], counts[static_cast<size_t>(i)] == 0) << "row " << i;
    } else {
        EXPECT_EQ(3, status);
        EXPECT_TRUE(counts.empty());
    }
    EXPECT_FALSE(stored[3]);
}

CLASSIC_INSTANTIATE(BatchIT);

} // namespace
