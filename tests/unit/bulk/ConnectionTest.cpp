// A bulk connection's life against the scripted driver: what ODBC is asked,
// what only SQL_SUCCESS means, and what a forced disconnect ignores.
#include "BulkFixture.h"

#include <sqlext.h>

#include <functional>

namespace bulktest {
namespace {

TEST_F(Bulk, InitializeTurnsAutocommitOffThenAsksForReadCommitted) {
    size_t m = mark();
    open("orl", false);
    // The driver manager keeps both until the connect, in the order given.
    ASSERT_EQ(0, connection->connect(&error));
    EXPECT_EQ(since(m, "setconnectattr"),
              (std::vector<std::string>{"setconnectattr attr=102 value=0", "setconnectattr attr=108 value=2"}));
    EXPECT_EQ(0, connection->initialize(&error));
    EXPECT_EQ(2u, since(m, "setconnectattr").size()) << "a second initialize does nothing";
    EXPECT_STREQ("generic odbc v2.0.0", connection->getImplementationName());
}

TEST_F(Bulk, ConnectPassesThePasswordPropertyOrNothing) {
    struct Case {
        const char* key;  // null: no property
        const char* value;
        bool clear;
        const char* line;
    };
    const Case cases[] = {
        {nullptr, nullptr, false, "connect dsn=orl_script user=orl password="},
        {"Password", "s3cret", false, "connect dsn=orl_script user=orl password=s3cret"},
        {"Password", "s3cret", true, "connect dsn=orl_script user=orl password="},
        {"password", "lower", false, "connect dsn=orl_script user=orl password="},
    };
    for (const Case& c : cases) {
        open("orl", false);
        if (c.key) connection->setConnectionProperty(c.key, c.value);
        if (c.clear) connection->clearProperties();
        size_t m = mark();
        EXPECT_EQ(0, connection->connect(&error)) << said(error);
        EXPECT_EQ(0, connection->connect(&error)) << "connected already";
        EXPECT_EQ(since(m, "connect"), std::vector<std::string>{c.line});
    }
}

TEST_F(Bulk, ConnectWithInformationFails) {
    open("info", false);
    EXPECT_EQ(-1, connection->connect(&error));
    EXPECT_EQ("odbc|[1][01000][unixODBC]scripted connect info", said(error));
    EXPECT_EQ(7, error.getNativeErrorCode());
    EXPECT_FALSE(error.isConnectionError());
    EXPECT_FALSE(error.isSuccessWithInfo());
    EXPECT_FALSE(connection->isConnected());
}

TEST_F(Bulk, WorkNeedsAConnection) {
    open("orl", false);
    const unsigned int types[] = {DataTypes::INTEGER};
    struct Case {
        const char* what;
        std::function<bool(DBError*)> call;  // true when it reported failure
    };
    const Case cases[] = {
        {"commit", [&](DBError* e) { return connection->commit(e) == -1; }},
        {"rollback", [&](DBError* e) { return connection->rollback(e) == -1; }},
        {"prepare", [&](DBError* e) { return connection->createPreparedStatement("x", e) == nullptr; }},
        {"prepare typed",
         [&](DBError* e) { return connection->createPreparedStatement("x", 1, types, false, e) == nullptr; }},
    };
    for (const Case& c : cases) {
        DBError2Odbc e("svc");
        EXPECT_TRUE(c.call(&e)) << c.what;
        EXPECT_EQ("dbaccess|not connected", said(e)) << c.what;
        EXPECT_TRUE(e.isConnectionError()) << c.what;
        EXPECT_TRUE(c.call(nullptr)) << c.what << " without a record";
    }
    EXPECT_EQ(0, connection->disconnect(false, &error)) << "not connected: nothing to do";
}

TEST_F(Bulk, LostLinkOnCommitIsAConnectionError) {
    open("lost");
    EXPECT_EQ(-1, connection->commit(&error));
    EXPECT_EQ("odbc|[-1][08S01]Communication link failure", said(error));
    EXPECT_TRUE(error.isConnectionError());
}

TEST_F(Bulk, FailedDisconnectKeepsEverything) {
    open("stuck");
    PreparedStatement2Odbc* st = prepare("col=a:4:10:num:1");
    EXPECT_EQ(-1, connection->disconnect(false, &error));
    EXPECT_EQ("odbc|[-1][25000]transaction still open", said(error));
    EXPECT_TRUE(connection->isConnected());
    EXPECT_EQ(0, connection->releaseStatement(st, &error)) << "still owned and alive";

    prepare("col=a:4:10:num:1");
    size_t m = mark();
    DBError2Odbc e("svc");
    EXPECT_EQ(0, connection->disconnect(true, &e)) << "forced: failures don't count";
    EXPECT_FALSE(connection->isConnected());
    EXPECT_EQ(since(m, "endtran"), std::vector<std::string>{"endtran rollback"});
    EXPECT_EQ(1u, since(m, "disconnect").size());
    EXPECT_EQ(0, connection->connect(&error)) << "the same handle connects again";
}

TEST_F(Bulk, DisconnectDestroysStatementsAndForgetsThem) {
    open("orl");
    PreparedStatement* a = prepare("col=a:4:10:num:1");
    prepare("col=b:4:10:num:2");
    EXPECT_EQ(0, connection->disconnect(false, &error));
    EXPECT_EQ(0, connection->connect(&error));
    EXPECT_EQ(-1, connection->releaseStatement(a, &error));
    EXPECT_EQ("dbaccess|statement not found", said(error));
}

} // namespace
} // namespace bulktest
