// A bulk connection's life against the scripted driver: what ODBC is asked,
// what only SQL_SUCCESS means, and what a forced disconnect ignores.
#include "BulkFixture.h"

namespace bulktest {
namespace {

TEST_F(Bulk, ConnectSetsUpTheHandleAndPassesThePasswordPropertyOrNothing) {
    // Property set (null key: none), cleared after or not, password sent.
    struct Case { const char *key, *value; bool clear; const char* password; };
    const Case cases[] = {
        {nullptr, nullptr, false, ""},
        {"Password", "s3cret", false, "s3cret"},
        {"Password", "s3cret", true, ""},
        {"password", "lower", false, ""},
    };
    for (const Case& c : cases) {
        size_t m = mark();
        open("orl", false);
        ASSERT_EQ(0, connection->initialize(&error)) << "a second initialize does nothing";
        if (c.key) connection->setConnectionProperty(c.key, c.value);
        if (c.clear) connection->clearProperties();
        EXPECT_EQ(0, connection->connect(&error)) << said(error);
        EXPECT_EQ(0, connection->connect(&error)) << "connected already";
        EXPECT_EQ(since(m, "connect"),
                  std::vector<std::string>{std::string("connect dsn=orl_script user=orl password=") + c.password});
        // The driver manager keeps the attributes until the connect.
        EXPECT_EQ(since(m, "setconnectattr"),
                  (std::vector<std::string>{"setconnectattr attr=102 value=0", "setconnectattr attr=108 value=2"}));
    }
    EXPECT_STREQ("generic odbc v2.0.0", connection->getImplementationName());
}

TEST_F(Bulk, ConnectWithInformationFails) {
    open("info", false);
    EXPECT_EQ(-1, connection->connect(&error));
    EXPECT_EQ("odbc|[1][01000][unixODBC]scripted connect info", said(error));
    EXPECT_EQ(7, error.getNativeErrorCode());
    EXPECT_FALSE(error.isConnectionError());
    EXPECT_FALSE(connection->isConnected());
}

TEST_F(Bulk, WorkNeedsAConnection) {
    open("orl", false);
    const std::pair<const char*, std::function<bool(DBError*)> > cases[] = {
        {"commit", [&](DBError* e) { return connection->commit(e) == -1; }},
        {"rollback", [&](DBError* e) { return connection->rollback(e) == -1; }},
        {"prepare", [&](DBError* e) { return connection->createPreparedStatement("x", e) == nullptr; }},
    };
    for (const auto& c : cases) {
        DBError2Odbc e("svc");
        EXPECT_TRUE(c.second(&e)) << c.first;
        EXPECT_EQ("dbaccess|not connected", said(e)) << c.first;
        EXPECT_TRUE(e.isConnectionError()) << c.first;
        EXPECT_TRUE(c.second(nullptr)) << c.first << " without a record";
    }
    EXPECT_EQ(0, connection->disconnect(false, &error)) << "not connected: nothing to do";
}

TEST_F(Bulk, DisconnectFailuresCountUnlessForced) {
    open("lost");
    EXPECT_EQ(-1, connection->commit(&error));
    EXPECT_EQ("odbc|[-1][08S01]Communication link failure", said(error));
    EXPECT_TRUE(error.isConnectionError());

    open("stuck");
    PreparedStatement2Odbc* st = prepare("col=a:4:10:num:1");
    EXPECT_EQ(-1, connection->disconnect(false, &error));
    EXPECT_EQ("odbc|[-1][25000]transaction still open", said(error));
    EXPECT_TRUE(connection->isConnected());
    EXPECT_EQ(0, connection->releaseStatement(st, &error)) << "still owned and alive";

    st = prepare("col=a:4:10:num:1");
    size_t m = mark();
    EXPECT_EQ(0, connection->disconnect(true, &error));
    EXPECT_FALSE(connection->isConnected());
    EXPECT_EQ(since(m, "endtran"), std::vector<std::string>{"endtran rollback"});
    EXPECT_EQ(since(m, "freestmt"), std::vector<std::string>{}) << "the disconnect freed the statement handle";
    EXPECT_EQ(0, connection->connect(&error)) << "the same handle connects again";
    EXPECT_EQ(-1, connection->releaseStatement(st, &error)) << "destroyed with the disconnect";
    EXPECT_EQ("dbaccess|statement not found", said(error));
}

} // namespace
} // namespace bulktest
