// Sessions that the server ends under the driver's feet: killed from a second
// session at each point of a connection's work, and a server stopped and
// started again. Each case must end in the failure the front end promises (a
// log id with the database's text on the classic path, a connection error on
// the bulk path), release cleanly, and leave the driver able to connect again.
#include <gtest/gtest.h>
#include <sql.h>
#include <sqlext.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "host/Connection.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/DataService.h"
#include "host/LogServiceImpl.h"
#include "host/PreparedStatement.h"
#include "host/ResultSet.h"
#include "host/Row.h"
#include "support/DriverLoader.h"
#include "support/TestDsn.h"

namespace {

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

enum class Point { BetweenFetches, InFlight, DuringWrite, AtCommit };
const char* nameOf(Point p) {
    switch (p) {
    case Point::BetweenFetches: return "between fetches";
    case Point::InFlight: return "during a running query";
    case Point::DuringWrite: return "during a write";
    case Point::AtCommit: return "at commit";
    }
    return "?";
}
const Point kPoints[] = {Point::BetweenFetches, Point::InFlight, Point::DuringWrite, Point::AtCommit};

// A plain ODBC session of its own that ends another one.
void killSession(const orltest::TestDsn& d, long id) {
    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
    SQLHSTMT st = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
    SQLRETURN rc = SQLConnect(dbc, (SQLCHAR*)d.dsn, SQL_NTS, (SQLCHAR*)d.user, SQL_NTS, (SQLCHAR*)d.password, SQL_NTS);
    ASSERT_TRUE(SQL_SUCCEEDED(rc)) << "killer could not connect";
    SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
    std::string sql = std::string(d.label) == "pg" ? "SELECT pg_terminate_backend(" + std::to_string(id) + ")"
                                                   : "KILL " + std::to_string(id);
    EXPECT_TRUE(SQL_SUCCEEDED(SQLExecDirect(st, (SQLCHAR*)sql.c_str(), SQL_NTS))) << sql;
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    SQLDisconnect(dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    // The server ends the session asynchronously.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

std::string sessionIdSql(const orltest::TestDsn& d) {
    return std::string(d.label) == "pg" ? "SELECT CAST(pg_backend_pid() AS BIGINT)" : "SELECT CONNECTION_ID()";
}
std::string manyRowsSql(const orltest::TestDsn& d) {
    return std::string(d.label) == "pg" ? "SELECT g FROM generate_series(1, 200000) g" : "SELECT seq FROM seq_1_to_200000";
}
std::string sleepSql(const orltest::TestDsn& d) {
    return std::string(d.label) == "pg" ? "SELECT pg_sleep(5)" : "SELECT SLEEP(5)";
}

DataService serviceFor(const orltest::TestDsn& d) {
    DataService s("lost");
    s.setProperty("DSN", d.dsn);
    s.setProperty("User", d.user);
    s.setProperty("Password", d.password);
    return s;
}

struct Logged {
    std::vector<std::pair<std::string, std::string> > lines;
    Logged() {
        LogServiceImpl::setSink([this](const std::string& id, const std::string& t) { lines.emplace_back(id, t); });
    }
    ~Logged() { LogServiceImpl::setSink(nullptr); }
};

class LostConnection : public ::testing::TestWithParam<orltest::TestDsn> {
protected:
    void SetUp() override {
        ORL_REQUIRE_DSN(GetParam());
        ASSERT_NE(nullptr, loader.driver()) << loader.error();
    }

    // Sets up the table the writes go to, from a session of its own.
    void freshTable() {
        Connection* c = openClassic();
        ASSERT_NE(nullptr, c);
        std::vector<Parameter> none;
        int n = 0;
        c->executeUpdate("DROP TABLE IF EXISTS orl_lost", none, n);
        ASSERT_EQ(1, c->executeUpdate("CREATE TABLE orl_lost (k INTEGER)", none, n));
        ASSERT_EQ(1, c->commit());
        loader.driver()->releaseConnection(c);
    }

    Connection* openClassic() {
        Connection* c = loader.driver()->createConnection(serviceFor(GetParam()));
        if (c != nullptr && c->open() != 1) {
            loader.driver()->releaseConnection(c);
            return nullptr;
        }
        return c;
    }

    long classicSessionId(Connection* c) {
        std::vector<Parameter> none;
        ResultSet* rs = nullptr;
        long id = -1;
        bool more = false;
        if (c->executeQuery(sessionIdSql(GetParam()), none, 0, rs) == 1 && rs->next(more) == 1 && more) {
            Row* row = nullptr;
            if (rs->getData(RowDescriptor({2}), row) == 1) id = static_cast<long>(row->getColumnValue(0).int64Value);
            delete row;
        }
        c->commit();
        return id;
    }

    // A new session through the same driver still works.
    void expectFreshClassicWorks() {
        Connection* c = openClassic();
        ASSERT_NE(nullptr, c) << "no new connection after a lost one";
        EXPECT_GT(classicSessionId(c), 0);
        loader.driver()->releaseConnection(c);
    }

    orltest::DriverLoader loader;
};

// The classic path: the call that meets the dead session returns 3 and logs
// its id with the database's text in brackets.
TEST_P(LostConnection, ClassicPathAtEachPoint) {
    const orltest::TestDsn& d = GetParam();
    freshTable();
    for (Point point : kPoints) {
        SCOPED_TRACE(nameOf(point));
        Connection* c = openClassic();
        ASSERT_NE(nullptr, c);
        const long id = classicSessionId(c);
        ASSERT_GT(id, 0);
        Logged log;
        std::vector<Parameter> none;
        int status = 1;
        std::string expectedId;
        if (point == Point::BetweenFetches) {
            ResultSet* rs = nullptr;
            ASSERT_EQ(1, c->executeQuery(manyRowsSql(d), none, 0, rs));
            bool more = true;
            for (int i = 0; i < 10; ++i) ASSERT_EQ(1, rs->next(more));
            killSession(d, id);
            // Rows the driver already holds may still come; the session's end shows by the commit at the latest.
            while ((status = rs->next(more)) == 1 && more) {
            }
            expectedId = "801012-3_ERROR_ITERATING_THROUGH_RESULT_SET";
            if (status == 1) {
                status = c->commit();
                expectedId = "801002-3_ERROR_COMMITTING_TRANSACTION";
            }
            if (status == 1) {
                // A read-only transaction may end without the server: the next statement meets it.
                status = c->executeQuery("SELECT 1", none, 0, rs);
                expectedId = "801016-3_ERROR_EXECUTING_STATEMENT";
            }
        } else if (point == Point::InFlight) {
            std::thread killer([&] {
                std::this_thread::sleep_for(std::chrono::milliseconds(500));
                killSession(d, id);
            });
            ResultSet* rs = nullptr;
            status = c->executeQuery(sleepSql(d), none, 0, rs);
            killer.join();
            expectedId = "801016-3_ERROR_EXECUTING_STATEMENT";
            bool more = false;
            if (status == 1) {  // MariaDB ends a killed SLEEP with its result
                status = rs->next(more) == 1 ? c->commit() : 3;
                expectedId = "801002-3_ERROR_COMMITTING_TRANSACTION";
            }
        } else {
            std::vector<Parameter> p(1);
            p[0].type = 1;
            p[0].value.isNull = false;
            int n = 0;
            for (int k = 0; k < 5; ++k) {
                p[0].value.int32Value = k;
                ASSERT_EQ(1, c->executeUpdate("INSERT INTO orl_lost VALUES (?)", p, n));
            }
            killSession(d, id);
            if (point == Point::DuringWrite) {
                status = c->executeUpdate("INSERT INTO orl_lost VALUES (?)", p, n);
                expectedId = "801016-3_ERROR_EXECUTING_STATEMENT";
            } else {
                status = c->commit();
                expectedId = "801002-3_ERROR_COMMITTING_TRANSACTION";
            }
        }
        EXPECT_EQ(3, status);
        ASSERT_FALSE(log.lines.empty());
        // A server-side prepare meets the dead session before the execution does.
        if (log.lines[0].first != "801004-3_ERROR_CREATING_STATEMENT") {
            EXPECT_EQ(expectedId, log.lines[0].first);
        }
        EXPECT_NE(std::string::npos, log.lines[0].second.find("][")) << log.lines[0].second;
        EXPECT_EQ(1, loader.driver()->releaseConnection(c));
    }
    expectFreshClassicWorks();
    // Nothing of the killed sessions' uncommitted writes may have landed.
    Connection* c = openClassic();
    ASSERT_NE(nullptr, c);
    std::vector<Parameter> none;
    ResultSet* rs = nullptr;
    ASSERT_EQ(1, c->executeQuery("SELECT COUNT(*) FROM orl_lost", none, 0, rs));
    bool more = false;
    ASSERT_EQ(1, rs->next(more));
    Row* row = nullptr;
    ASSERT_EQ(1, rs->getData(RowDescriptor({2}), row));
    EXPECT_EQ(0, row->getColumnValue(0).int64Value);
    delete row;
    int n = 0;
    c->executeUpdate("DROP TABLE orl_lost", none, n);
    c->commit();
    loader.driver()->releaseConnection(c);
}

// The bulk path: the call that meets the dead session returns -1 with a
// record that says the connection is gone.
int probe(Connection2* c, DBError* error) {
    PreparedStatement* st = c->createPreparedStatement("SELECT 1", error);
    if (st == nullptr) return -1;
    int status = st->execute(error);
    c->releaseStatement(st, error);
    return status;
}

TEST_P(LostConnection, BulkPathAtEachPoint) {
    const orltest::TestDsn& d = GetParam();
    freshTable();
    Driver* driver = loader.driver();
    for (Point point : kPoints) {
        SCOPED_TRACE(nameOf(point));
        DBError* error = driver->createError("lost");
        Connection2* c = driver->createConnection2(serviceFor(d), error);
        ASSERT_NE(nullptr, c);
        ASSERT_EQ(0, c->connect(error)) << error->getErrorString();
        const unsigned int longWord = 2;
        long id = -1;
        {
            PreparedStatement* st = c->createPreparedStatement(sessionIdSql(d).c_str(), 1, &longWord, false, error);
            ASSERT_NE(nullptr, st) << error->getErrorString();
            bool more = false;
            std::vector<DataTypes::DataValue> v(1);
            ASSERT_EQ(0, st->execute(error));
            ASSERT_EQ(0, st->nextResultSet(more, error));
            ASSERT_EQ(0, st->hasMoreData(more, error));
            ASSERT_EQ(0, st->nextRow(v, error));
            id = static_cast<long>(v[0].int64Value);
            c->releaseStatement(st, error);
            c->commit(error);
        }
        DBError* lost = driver->createError("lost");
        int status = 0;
        if (point == Point::BetweenFetches || point == Point::InFlight) {
            const std::string sql = point == Point::BetweenFetches ? manyRowsSql(d) : sleepSql(d);
            PreparedStatement* st = c->createPreparedStatement(sql.c_str(), 1, &longWord, false, lost);
            ASSERT_NE(nullptr, st) << lost->getErrorString();
            bool more = false;
            if (point == Point::BetweenFetches) {
                ASSERT_EQ(0, st->execute(lost));
                ASSERT_EQ(0, st->nextResultSet(more, lost));
                for (int i = 0; i < 10; ++i) {
                    ASSERT_EQ(0, st->hasMoreData(more, lost));
                    free(st->nextRow(lost));
                }
                killSession(d, id);
                while ((status = st->hasMoreData(more, lost)) == 0 && more) free(st->nextRow(lost));
            } else {
                std::thread killer([&] {
                    std::this_thread::sleep_for(std::chrono::milliseconds(500));
                    killSession(d, id);
                });
                status = st->execute(lost);
                killer.join();
            }
            c->releaseStatement(st, error);
            if (status == 0) status = c->commit(lost);
            if (status == 0) status = probe(c, lost);
        } else {
            PreparedStatement* st = c->createPreparedStatement("INSERT INTO orl_lost VALUES (?)", lost);
            ASSERT_NE(nullptr, st) << lost->getErrorString();
            std::vector<DataTypes::DataValue> v(1);
            std::vector<unsigned int> words{1};
            v[0].isNull = false;
            for (int k = 0; k < 5; ++k) {
                v[0].int32Value = k;
                ASSERT_EQ(0, st->execute(v, words, lost)) << lost->getErrorString();
            }
            killSession(d, id);
            status = point == Point::DuringWrite ? st->execute(v, words, lost) : c->commit(lost);
            c->releaseStatement(st, error);
        }
        EXPECT_EQ(-1, status);
        // PostgreSQL reports the kill itself as 57P01, which is no connection
        // state; the driver knows the session is gone by the next call.
        if (!lost->isConnectionError()) {
            EXPECT_EQ(-1, probe(c, lost));
        }
        EXPECT_TRUE(lost->isConnectionError()) << lost->getErrorString();
        c->disconnect(true, error);
        EXPECT_EQ(0, driver->releaseConnection2(c, error));
        driver->releaseError(lost);
        driver->releaseError(error);
    }
    // A new bulk session through the same environment works.
    DBError* error = driver->createError("lost");
    Connection2* c = driver->createConnection2(serviceFor(d), error);
    ASSERT_NE(nullptr, c);
    EXPECT_EQ(0, c->connect(error)) << error->getErrorString();
    c->disconnect(true, error);
    driver->releaseConnection2(c, error);
    driver->releaseError(error);
}

// The whole server goes away and comes back: open sessions of both front ends
// fail as lost, new ones work.
TEST_P(LostConnection, ServerStoppedAndStartedAgain) {
    const orltest::TestDsn& d = GetParam();
    Connection* classic = openClassic();
    ASSERT_NE(nullptr, classic);
    ASSERT_GT(classicSessionId(classic), 0);
    Driver* driver = loader.driver();
    DBError* error = driver->createError("lost");
    Connection2* bulk = driver->createConnection2(serviceFor(d), error);
    ASSERT_NE(nullptr, bulk);
    ASSERT_EQ(0, bulk->connect(error));

    const std::string target = std::string(d.label) == "pg" ? "pg" : "maria";
    const std::string scripts = std::string(ORL_SOURCE_DIR) + "/scripts/";
    ASSERT_EQ(0, std::system(("bash " + scripts + "db-stop.sh " + target + " >/dev/null 2>&1").c_str()));
    ASSERT_EQ(0, std::system(("bash " + scripts + "db-start.sh " + target + " >/dev/null 2>&1").c_str()));

    {
        Logged log;
        std::vector<Parameter> none;
        ResultSet* rs = nullptr;
        EXPECT_EQ(3, classic->executeQuery("SELECT 1", none, 0, rs));
        ASSERT_FALSE(log.lines.empty());
        EXPECT_NE(std::string::npos, log.lines[0].second.find("][")) << log.lines[0].second;
    }
    loader.driver()->releaseConnection(classic);
    EXPECT_EQ(-1, probe(bulk, error));
    if (!error->isConnectionError()) {
        EXPECT_EQ(-1, probe(bulk, error));
    }
    EXPECT_TRUE(error->isConnectionError()) << error->getErrorString();
    bulk->disconnect(true, error);
    driver->releaseConnection2(bulk, error);
    driver->releaseError(error);
    expectFreshClassicWorks();
}

// An embedded file has no session to lose: the servers only.
INSTANTIATE_TEST_SUITE_P(Dsn, LostConnection, ::testing::Values(orltest::testDsn("pg"), orltest::testDsn("maria")),
                         [](const ::testing::TestParamInfo<orltest::TestDsn>& i) { return std::string(i.param.label); });

} // namespace
