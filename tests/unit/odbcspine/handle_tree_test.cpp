#include <gtest/gtest.h>

#include <sql.h>
#include <sqlext.h>

#include <set>
#include <string>

#include "odbc/OdbcDbcImpl.h"
#include "odbc/OdbcEnvImpl.h"
#include "odbc/OdbcImpl.h"

using namespace KORVEL::Orl::DB::ODBC;

namespace {

// A handle class without an ODBC handle, to watch the bookkeeping of the base.
class Node : public OdbcImpl {
public:
    Node(OdbcImpl* parent, std::set<Node*>& alive) : OdbcImpl(parent), alive_(alive) { alive_.insert(this); }
    ~Node() override {
        DeleteChildren();
        Finalize();
        alive_.erase(this);
    }
    e_Status Initialize() override { return Status_Ok; }
    e_Status Finalize() override { return Status_Ok; }
    SQLHANDLE GetHandle(e_Handle) override { return SQL_NULL_HANDLE; }
    SQLHANDLE GetHandle() override { return SQL_NULL_HANDLE; }
    SQLSMALLINT GetHandleType() override { return 0; }

    const std::map<OdbcImpl*, bool>& Children() const { return children; }
    OdbcImpl* Root() const { return root; }

private:
    std::set<Node*>& alive_;
};

} // namespace

TEST(HandleTree, ChildrenDieWithTheirParentDeepestFirst) {
    std::set<Node*> alive;
    Node* top = new Node(nullptr, alive);
    Node* mid = new Node(top, alive);
    Node* leaf = new Node(mid, alive);
    EXPECT_EQ(top, top->Root());
    EXPECT_EQ(top, leaf->Root());
    delete top;
    EXPECT_TRUE(alive.empty());
}

TEST(HandleTree, DeleteChildrenKeepsMarkedEntriesAndNeverDeletesTwice) {
    std::set<Node*> alive;
    Node top(nullptr, alive);
    new Node(&top, alive);
    new Node(&top, alive);
    top.DeleteChildren();
    EXPECT_EQ(1u, alive.size());
    ASSERT_EQ(2u, top.Children().size());
    for (const auto& entry : top.Children()) EXPECT_TRUE(entry.second);
    top.DeleteChildren();  // a second walk follows no stale pointer (ASan would tell)
    EXPECT_EQ(2u, top.Children().size());
}

TEST(HandleTree, ChildDeletedByItsOwnerLeavesTheMap) {
    std::set<Node*> alive;
    Node top(nullptr, alive);
    Node* child = new Node(&top, alive);
    ASSERT_EQ(1u, top.Children().size());
    delete child;
    EXPECT_TRUE(top.Children().empty());
    top.Notify(Notice_Deleted, nullptr);
    top.Notify(Notice_Created, nullptr);
    EXPECT_TRUE(top.Children().empty());
}

TEST(HandleTree, StatusMappingAndMadeUpCodes) {
    std::set<Node*> alive;
    Node top(nullptr, alive);
    const struct {
        short rc;
        e_Status status;
    } cases[] = {
        {SQL_SUCCESS, Status_Ok},          {SQL_ERROR, Status_Error},     {SQL_INVALID_HANDLE, Status_Error},
        {SQL_NEED_DATA, Status_NeedData},  {SQL_NO_DATA, Status_NoData},  {SQL_STILL_EXECUTING, Status_Unknown},
        {SQL_SUCCESS_WITH_INFO, Status_Ok}, {42, Status_Unknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rc);
        EXPECT_EQ(c.status, top.GetStatus(c.rc));
        EXPECT_FALSE(top.HasInfo());  // no source: nothing to record
    }
}

TEST(HandleTree, DumpWithoutInfoIsOneNul) {
    std::set<Node*> alive;
    Node top(nullptr, alive);
    std::ostringstream out;
    top.DumpInfo(out);
    EXPECT_EQ(std::string(1, '\0'), out.str());
    std::string state = "x", message = "y";
    long code = 7;
    top.GetInfo(state, code, message);
    EXPECT_EQ("", state);
    EXPECT_EQ("", message);
    EXPECT_EQ(0, code);
}

TEST(HandleTree, EnvironmentOwnsItsConnections) {
    OdbcEnv* env = Odbc::CreateEnv();
    ASSERT_NE(nullptr, env);
    OdbcDbc* a = env->CreateDbc();
    OdbcDbc* b = env->CreateDbc();
    ASSERT_NE(nullptr, a);
    ASSERT_NE(nullptr, b);
    EXPECT_FALSE(a->IsConnected());
    EXPECT_EQ(Status_Ok, a->Disconnect());  // never connected: nothing to do
    EXPECT_EQ("", a->GetDatabaseType());
    auto* impl = dynamic_cast<OdbcDbcImpl*>(b);
    ASSERT_NE(nullptr, impl);
    EXPECT_EQ(SQL_HANDLE_DBC, impl->GetHandleType());
    EXPECT_NE(nullptr, impl->GetHandle(Handle_Env));
    EXPECT_EQ(impl->GetHandle(), impl->GetHandle(Handle_Dbc));
    EXPECT_EQ(nullptr, impl->GetHandle(Handle_Stmt));
    delete b;  // the owner may delete a child itself; the env then skips it
    delete env;
}

TEST(HandleTree, ConnectToUnknownDsnLeavesDiagnosticAtTheRoot) {
    OdbcEnv* env = Odbc::CreateEnv();
    ASSERT_NE(nullptr, env);
    OdbcDbc* dbc = env->CreateDbc();
    ASSERT_NE(nullptr, dbc);
    EXPECT_EQ(Status_Error, dbc->Connect("orl_no_such_dsn_here", "u", "p"));
    EXPECT_TRUE(env->HasInfo());  // the store lives at the root
    std::string state, message;
    long code = -1;
    env->GetInfo(state, code, message);
    EXPECT_EQ("IM002", state);
    EXPECT_NE(std::string::npos, message.find("Data source name not found"));
    EXPECT_FALSE(dbc->IsConnected());
    // The next status call wipes it.
    EXPECT_EQ(Status_Error, static_cast<OdbcDbcImpl*>(dbc)->GetStatus(-1));
    EXPECT_FALSE(env->HasInfo());
    env->GetInfo(state, code, message);
    EXPECT_EQ("IM002", state);  // old texts stay readable
    delete env;
}

struct KeywordCase {
    const char* dbmsName;
    const char* keyword;
};

TEST(DatabaseKeyword, FirstMatchOnUpperCasedName) {
    const KeywordCase cases[] = {
        {"Microsoft SQL Server", "MSSQL"},
        {"sql server", "ADE"},
        {"Sql SeRvEr 2019", "ADE"},
        {"Korvel WQ Engine", "WQ"},
        {"DB2/LINUXX8664 with Oracle mode", "DB2"},
        {"Oracle", "ORACLE"},
        {"PostgreSQL", "POSTGRESQL"},
        {"MySQL", "MYSQL"},
        {"MariaDB", "OTHERS"},
        {"SQLite", "OTHERS"},
        {"xzdbodbcx", "ZANA"},
        {"myzdb", "ZANA"},
        {"", "OTHERS"},
        {"SQL  SERVER", "OTHERS"},
    };
    OdbcEnv* env = Odbc::CreateEnv();
    ASSERT_NE(nullptr, env);
    auto* dbc = dynamic_cast<OdbcDbcImpl*>(env->CreateDbc());
    ASSERT_NE(nullptr, dbc);
    for (const KeywordCase& c : cases) {
        SCOPED_TRACE(c.dbmsName);
        dbc->SetDatabaseType(c.dbmsName);
        EXPECT_EQ(c.keyword, dbc->GetDatabaseType());
    }
    delete env;
}
