// Bulk connections against the real databases: the life of a connection, what
// the error record holds when the server or the driver manager says no, and
// which SQL types become which type words.
#include "BulkFixture.h"

#include <atomic>
#include <thread>


namespace bulkit {
namespace {

using namespace DataTypes;

TEST_F(BulkTest, UnknownOrMissingDataSourceFailsAtConnect) {
    EXPECT_STREQ("bulk-svc", error->getService());
    EXPECT_EQ("|", said(error));
    EXPECT_EQ(0, driver()->releaseError(nullptr));
    EXPECT_EQ(0, driver()->releaseConnection2(nullptr, error));
    for (const char* dsn : {"orl_no_such_dsn", ""}) {
        DBError* e = driver()->createError("svc");
        Connection2* conn = make({{"DSN", dsn}, {"User", "someone"}});
        ASSERT_NE(nullptr, conn) << "empty names are the connect's to refuse";
        EXPECT_EQ(-1, conn->connect(e));
        EXPECT_EQ(0u, said(e).find("odbc|[-1][IM002]")) << said(e);
        EXPECT_FALSE(e->isConnectionError());
        EXPECT_FALSE(e->isSuccessWithInfo());
        driver()->releaseError(e);
    }
}

TEST_P(BulkPerDsn, ConnectCommitRollbackDisconnect) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    Connection2* c = make({{"DSN", d.dsn}, {"User", d.user}, {"Password", d.password}, {"DatabaseType", "X"},
                           {"WriteBigIntAsChar", "true"}});
    ASSERT_NE(nullptr, c) << said(error);
    EXPECT_STREQ("bulk-svc", c->getService());
    ASSERT_EQ(0, c->connect(error)) << said(error);

    std::string why;
    // No check: a notice that the table wasn't there is SQL_SUCCESS_WITH_INFO,
    // which the bulk path counts as failure.
    run(c, "DROP TABLE IF EXISTS bulk_tx");
    ASSERT_EQ(0, c->commit(error)) << said(error);
    ASSERT_TRUE(run(c, "CREATE TABLE bulk_tx (n BIGINT)", &why)) << why;
    ASSERT_EQ(0, c->commit(error)) << said(error);
    // A LONG goes as a 64-bit integer whatever WriteBigIntAsChar says.
    PreparedStatement* insert = c->createPreparedStatement("INSERT INTO bulk_tx VALUES (?)", error);
    ASSERT_NE(nullptr, insert) << said(error);
    std::vector<DataValue> values(1, int64Value(9007199254740993));
    std::vector<unsigned int> words = {LONG};
    ASSERT_EQ(0, insert->execute(values, words, error)) << said(error);
    ASSERT_EQ(0, c->rollback(error)) << said(error);
    ASSERT_EQ(0, insert->execute(values, words, error)) << said(error);
    ASSERT_EQ(0, c->commit(error)) << said(error);
    EXPECT_EQ(0, c->releaseStatement(insert, error));

    // Another connection sees only what was committed.
    Connection2* other = open(d);
    ASSERT_NE(nullptr, other);
    PreparedStatement* count = other->createPreparedStatement("SELECT n FROM bulk_tx", error);
    ASSERT_NE(nullptr, count) << said(error);
    ASSERT_EQ(0, count->execute(error)) << said(error);
    bool more = false;
    ASSERT_EQ(0, count->nextResultSet(more, error));
    std::vector<int64_t> seen;
    while (count->hasMoreData(more, error) == 0 && more) {
        std::vector<DataValue> row(1);
        ASSERT_EQ(0, count->nextRow(row, error)) << said(error);
        seen.push_back(row[0].int64Value);
    }
    EXPECT_EQ(std::vector<int64_t>{9007199254740993}, seen);
    ASSERT_EQ(0, other->commit(error));
    ASSERT_TRUE(run(other, "DROP TABLE bulk_tx", &why)) << why;
    ASSERT_EQ(0, other->commit(error)) << said(error);
    // A forced disconnect destroys the statement with it (SQLite refuses a
    // plain one while a prepared statement lives).
    EXPECT_EQ(0, other->disconnect(true, error)) << said(error);

    EXPECT_EQ(0, c->disconnect(false, error)) << said(error);
    ASSERT_EQ(0, c->connect(error)) << "again, on the same handle: " << said(error);
}

// The server ends this session under our feet; the next call must say the
// connection is gone, not just that a statement failed.
TEST_P(BulkPerDsn, KilledSessionIsAConnectionError) {
    const orltest::TestDsn& d = GetParam();
    const std::string label = d.label;
    if (label == "sqlite") GTEST_SKIP() << "an embedded file has no session to lose";
    ORL_REQUIRE_DSN(d);
    Connection2* c = open(d);
    ASSERT_NE(nullptr, c);
    const char* kill = label == "pg" ? "SELECT pg_terminate_backend(pg_backend_pid())" : "KILL CONNECTION_ID()";
    std::string why;
    run(c, kill, &why);
    DBError* e = driver()->createError("svc");
    PreparedStatement* st = c->createPreparedStatement("SELECT 1", e);
    if (st != nullptr) {
        EXPECT_EQ(-1, st->execute(e));
    }
    EXPECT_EQ("odbc", std::string(e->getErrorSource()));
    EXPECT_TRUE(e->isConnectionError()) << said(e);
    driver()->releaseError(e);
}

TEST_P(BulkPerDsn, SqlTypesBecomeTypeWords) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    const std::string label = d.label;
    struct Column { const char *sqlite, *pg, *maria; unsigned int sqliteWord, pgWord, mariaWord; };
    const unsigned int dec10_2 = createFixedDecimal(10, 2);
    const Column columns[] = {
        {"INTEGER", "INTEGER", "INTEGER", INTEGER, INTEGER, INTEGER},
        {"BIGINT", "BIGINT", "BIGINT", LONG, LONG, LONG},
        {"DOUBLE", "DOUBLE PRECISION", "DOUBLE", FLOAT, FLOAT, FLOAT},
        {"VARCHAR(20)", "VARCHAR(20)", "VARCHAR(20)", STRING, STRING, STRING},
        {"BLOB", "BYTEA", "VARBINARY(20)", BINARY, BINARY, BINARY},
        // SQLite's driver reports every NUMERIC as a double.
        {"NUMERIC(10,2)", "NUMERIC(10,2)", "DECIMAL(10,2)", FLOAT, dec10_2, dec10_2},
        {"NUMERIC(38,35)", "NUMERIC(38,35)", "DECIMAL(38,30)", FLOAT, FLOAT, createFixedDecimal(38, 30)},
        {"TIMESTAMP", "TIMESTAMP", "DATETIME(6)", BIGDATETIME, BIGDATETIME, BIGDATETIME},
        {"DATE", "DATE", "DATE", DATE, DATE, DATE},
        {"TIME", "TIME", "TIME", TIME, TIME, TIME},
        // PostgreSQL's driver hands booleans out as text by default.
        {"BIT", "BOOLEAN", "BIT(1)", BOOLEAN, STRING, BOOLEAN},
    };
    std::string ddl = "CREATE TABLE bulk_types (";
    for (size_t j = 0; j < sizeof columns / sizeof columns[0]; ++j) {
        const Column& c = columns[j];
        ddl += (j ? ", c" : "c") + std::to_string(j) + " " + (label == "sqlite" ? c.sqlite : label == "pg" ? c.pg : c.maria);
    }
    ddl += ")";
    Connection2* c = open(d);
    ASSERT_NE(nullptr, c);
    std::string why;
    run(c, "DROP TABLE IF EXISTS bulk_types");
    ASSERT_TRUE(run(c, ddl, &why)) << ddl << ": " << why;
    PreparedStatement* st = c->createPreparedStatement("SELECT * FROM bulk_types", error);
    ASSERT_NE(nullptr, st) << said(error);
    int n = 0, parameters = -1;
    EXPECT_EQ(0, st->getEffectiveNumberColumns(n, error));
    EXPECT_EQ(0, st->getNumberParameters(parameters, error));
    EXPECT_EQ(0, parameters);
    ASSERT_EQ(static_cast<int>(sizeof columns / sizeof columns[0]), n);
    for (int j = 0; j < n; ++j) {
        const Column& col = columns[j];
        unsigned int word = 0;
        EXPECT_EQ(0, st->getEffectiveDataType(j, word, error));
        const unsigned int want = label == "sqlite" ? col.sqliteWord : label == "pg" ? col.pgWord : col.mariaWord;
        EXPECT_EQ(want, word) << (label == "sqlite" ? col.sqlite : label == "pg" ? col.pg : col.maria);
    }
    EXPECT_EQ(0, c->releaseStatement(st, error));
    run(c, "DROP TABLE bulk_types");
    EXPECT_EQ(0, c->commit(error)) << said(error);
}

// The shared bulk environment is made on the first createConnection2; threads
// that all arrive first must each get a working connection, and only one
// environment may come of it (the sanitizer build reports a second one as a leak).
TEST_P(BulkPerDsn, FirstBulkConnectionsOfManyThreadsAtOnce) {
    const orltest::TestDsn& d = GetParam();
    constexpr int kThreads = 8, kRounds = 10;
    for (int round = 0; round < kRounds; ++round) {
        orltest::DriverLoader fresh;  // a new driver: no environment yet
        ASSERT_NE(nullptr, fresh.driver()) << fresh.error();
        std::atomic<int> waiting{kThreads};
        std::vector<std::string> failures(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                DBError* e = fresh.driver()->createError("svc");
                DataService service("svc");
                service.setProperty("DSN", d.dsn);
                service.setProperty("User", d.user);
                service.setProperty("Password", d.password);
                if (--waiting > 0)
                    while (waiting.load() > 0) std::this_thread::yield();
                Connection2* c = fresh.driver()->createConnection2(service, e);
                if (c == nullptr)
                    failures[t] = "create: " + said(e);
                else if (c->connect(e) != 0)
                    failures[t] = "connect: " + said(e);
                else
                    c->disconnect(true, e);
                if (c) fresh.driver()->releaseConnection2(c, e);
                fresh.driver()->releaseError(e);
            });
        }
        for (std::thread& th : threads) th.join();
        for (int t = 0; t < kThreads; ++t) EXPECT_EQ("", failures[t]) << "round " << round << " thread " << t;
    }
}

INSTANTIATE_TEST_SUITE_P(Dsn, BulkPerDsn, ::testing::ValuesIn(orltest::testDsns()),
                         [](const ::testing::TestParamInfo<orltest::TestDsn>& i) { return std::string(i.param.label); });

} // namespace
} // namespace bulkit
