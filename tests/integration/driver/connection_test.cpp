// The classic connection's life as the server sees it: the library loaded by
// dlopen, everything reached through FactoryDriver and the host's classes.
#include <gtest/gtest.h>

#include <sql.h>
#include <sqlext.h>

#include <memory>
#include <vector>

#include "host/Connection.h"
#include "host/DataService.h"
#include "host/LogServiceImpl.h"
#include "support/DriverLoader.h"
#include "support/TestDsn.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace {

struct LogCapture {
    std::vector<std::pair<std::string, std::string>> lines;
    LogCapture() {
        LogServiceImpl::setSink([this](const std::string& id, const std::string& t) { lines.emplace_back(id, t); });
    }
    ~LogCapture() { LogServiceImpl::setSink(nullptr); }
};

class ConnectionTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(nullptr, loader.driver()) << loader.error(); }

    Connection* make(const std::string& dsn, const std::string& user, const std::string& password = "",
                     const std::string& type = "") {
        DataService s("svc");
        if (!dsn.empty()) s.setProperty("DSN", dsn);
        if (!user.empty()) s.setProperty("User", user);
        if (!password.empty()) s.setProperty("Password", password);
        if (!type.empty()) s.setProperty("DatabaseType", type);
        return loader.driver()->createConnection(s);
    }
    Connection* make(const orltest::TestDsn& d) { return make(d.dsn, d.user, d.password); }
    void release(Connection* c) { EXPECT_EQ(1, loader.driver()->releaseConnection(c)); }

    orltest::DriverLoader loader;
};

// Runs one statement on the connection's own handle: the statement layer is
// not what is under test here.
SQLRETURN exec(void* hdbc, const char* sql) {
    SQLHSTMT st = SQL_NULL_HSTMT;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(hdbc), &st))) return SQL_ERROR;
    SQLRETURN rc = SQLExecDirect(st, (SQLCHAR*)sql, SQL_NTS);
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    return rc;
}

long countRows(void* hdbc, const char* sql) {
    SQLHSTMT st = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(hdbc), &st);
    SQLINTEGER n = -1;
    SQLLEN ind = 0;
    if (SQL_SUCCEEDED(SQLExecDirect(st, (SQLCHAR*)sql, SQL_NTS)) && SQL_SUCCEEDED(SQLFetch(st)))
        SQLGetData(st, 1, SQL_C_SLONG, &n, 0, &ind);
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    return n;
}

} // namespace

TEST_F(ConnectionTest, MandatoryPropertiesDecideWhetherAConnectionIsMade) {
    EXPECT_EQ(nullptr, make("somedsn", ""));
    EXPECT_EQ(nullptr, make("", "someone"));
    Connection* c = make("somedsn", "someone");  // empty password is fine
    ASSERT_NE(nullptr, c);
    EXPECT_EQ(loader.driver(), c->driver);
    release(c);
    EXPECT_EQ(1, loader.driver()->initialize());
}

TEST_F(ConnectionTest, BeforeOpen) {
    LogCapture log;
    Connection* c = make("somedsn", "someone", "", "MyType");
    ASSERT_NE(nullptr, c);
    EXPECT_EQ(nullptr, c->getHandle());
    EXPECT_EQ("MyType", c->getDriverProperty(Driver::PROPERTY_KEY_DATABASE_TYPE));
    EXPECT_EQ("", c->getDriverProperty("SomethingElse"));
    EXPECT_EQ(3, c->commit());
    EXPECT_EQ(3, c->rollback());
    EXPECT_EQ(1, c->close());
    ASSERT_EQ(2u, log.lines.size());
    EXPECT_EQ("801002-3_ERROR_COMMITTING_TRANSACTION", log.lines[0].first);
    EXPECT_EQ("", log.lines[0].second);
    EXPECT_EQ("801003-3_ERROR_ROLLING_BACK_TRANSACTION", log.lines[1].first);
    std::string errors = "stale";
    c->getLastErrors(errors);
    EXPECT_EQ("", errors);  // nothing from those paths goes to lastErrors
    release(c);
}

TEST_F(ConnectionTest, UnknownDsnFailsWithDiagnosticText) {
    LogCapture log;
    Connection* c = make("orl_no_such_dsn", "someone");
    ASSERT_NE(nullptr, c);
    EXPECT_EQ(3, c->open());
    std::string errors;
    c->getLastErrors(errors);
    // A newline, then "[state][code][message]" and the NUL it was built with.
    ASSERT_GT(errors.size(), 2u);
    EXPECT_EQ('\n', errors.front());
    EXPECT_EQ('\0', errors.back());
    EXPECT_EQ(0u, errors.find("\n[IM002][0]["));
    EXPECT_EQ(errors.size() - 2, errors.rfind(']'));
    ASSERT_EQ(1u, log.lines.size());
    EXPECT_EQ("801000-3_ERROR_OPENING_DB_CONNECTION", log.lines[0].first);
    EXPECT_EQ(errors.substr(1, errors.size() - 2), log.lines[0].second);  // the log stops at the NUL
    std::string again = "x";
    c->getLastErrors(again);
    EXPECT_EQ("", again);
    release(c);
}

class ConnectionPerDsn : public ConnectionTest, public ::testing::WithParamInterface<orltest::TestDsn> {};

TEST_P(ConnectionPerDsn, OpenReportsKeywordAndHandle) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    Connection* c = make(d);
    ASSERT_NE(nullptr, c);
    ASSERT_EQ(1, c->open()) << c->lastErrors;
    EXPECT_EQ(d.keyword, c->getDriverProperty(Driver::PROPERTY_KEY_DATABASE_TYPE));
    EXPECT_NE(nullptr, c->getHandle());
    EXPECT_EQ(0u, c->getCapabilities());
    EXPECT_EQ(1, c->commit());
    EXPECT_EQ(1, c->rollback());
    EXPECT_EQ(1, c->close());
    EXPECT_EQ(1, c->close());
    release(c);
}

TEST_P(ConnectionPerDsn, WrongPasswordIsRefusedWithTheServersText) {
    const orltest::TestDsn& d = GetParam();
    if (std::string(d.label) == "sqlite") GTEST_SKIP() << "an embedded file has no login";
    ORL_REQUIRE_DSN(d);
    LogCapture log;
    Connection* c = make(d.dsn, d.user, "definitely-wrong");
    ASSERT_NE(nullptr, c);
    EXPECT_EQ(3, c->open());
    std::string errors;
    c->getLastErrors(errors);
    EXPECT_EQ(0u, errors.find("\n[")) << errors;
    EXPECT_EQ('\0', errors.back());
    ASSERT_EQ(1u, log.lines.size());
    EXPECT_EQ("801000-3_ERROR_OPENING_DB_CONNECTION", log.lines[0].first);
    // Commit on a handle that never connected fails through the driver manager.
    EXPECT_EQ(3, c->commit());
    release(c);
}

INSTANTIATE_TEST_SUITE_P(Dsns, ConnectionPerDsn, ::testing::ValuesIn(orltest::testDsns()),
                         [](const auto& info) { return std::string(info.param.label); });

TEST_F(ConnectionTest, CommitAndRollbackDecideWhatASecondConnectionSees) {
    const orltest::TestDsn& d = orltest::testDsn("pg");
    ORL_REQUIRE_DSN(d);
    std::unique_ptr<Connection, std::function<void(Connection*)>> writer(make(d), [&](Connection* c) { release(c); });
    std::unique_ptr<Connection, std::function<void(Connection*)>> reader(make(d), [&](Connection* c) { release(c); });
    ASSERT_EQ(1, writer->open()) << writer->lastErrors;
    ASSERT_EQ(1, reader->open()) << reader->lastErrors;
    void* w = writer->getHandle();
    void* r = reader->getHandle();
    exec(w, "DROP TABLE IF EXISTS orl_txn_probe");
    ASSERT_TRUE(SQL_SUCCEEDED(exec(w, "CREATE TABLE orl_txn_probe (id INTEGER)")));
    ASSERT_EQ(1, writer->commit());

    ASSERT_TRUE(SQL_SUCCEEDED(exec(w, "INSERT INTO orl_txn_probe VALUES (1)")));
    EXPECT_EQ(0, countRows(r, "SELECT COUNT(*) FROM orl_txn_probe"));  // autocommit is off
    ASSERT_EQ(1, writer->rollback());
    EXPECT_EQ(0, countRows(w, "SELECT COUNT(*) FROM orl_txn_probe"));

    ASSERT_TRUE(SQL_SUCCEEDED(exec(w, "INSERT INTO orl_txn_probe VALUES (2)")));
    ASSERT_EQ(1, writer->commit());
    EXPECT_EQ(1, countRows(r, "SELECT COUNT(*) FROM orl_txn_probe"));  // read committed sees it
    reader->commit();

    ASSERT_TRUE(SQL_SUCCEEDED(exec(w, "INSERT INTO orl_txn_probe VALUES (3)")));
    EXPECT_EQ(1, writer->close());  // close rolls back what is open
    EXPECT_EQ(1, countRows(r, "SELECT COUNT(*) FROM orl_txn_probe"));
    exec(r, "DROP TABLE orl_txn_probe");
    reader->commit();
}
