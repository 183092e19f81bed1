// Diagnostics read from real driver records through the object layer.
#include <gtest/gtest.h>

#include <sql.h>
#include <sqlext.h>

#include <string>

#include "odbc/OdbcDbcImpl.h"
#include "odbc/OdbcEnvImpl.h"
#include "support/TestDsn.h"

using namespace KORVEL::Orl::DB::ODBC;

namespace {

// A statement handle on an open connection, as a node of its tree, so the
// base's diagnostics code reads records of a real statement.
class RawStmt : public OdbcImpl {
public:
    explicit RawStmt(OdbcDbcImpl* dbc) : OdbcImpl(dbc) {
        SQLAllocHandle(SQL_HANDLE_STMT, dbc->GetHandle(), &stmt_);
    }
    ~RawStmt() override {
        DeleteChildren();
        Finalize();
    }
    e_Status Initialize() override { return Status_Ok; }
    e_Status Finalize() override {
        if (stmt_ != SQL_NULL_HSTMT) SQLFreeHandle(SQL_HANDLE_STMT, stmt_);
        stmt_ = SQL_NULL_HSTMT;
        return Status_Ok;
    }
    SQLHANDLE GetHandle(e_Handle w) override { return w == Handle_Stmt ? stmt_ : SQL_NULL_HANDLE; }
    SQLHANDLE GetHandle() override { return stmt_; }
    SQLSMALLINT GetHandleType() override { return SQL_HANDLE_STMT; }

    e_Status Run(const std::string& sql) {
        return GetStatus(this, SQLExecDirect(stmt_, (SQLCHAR*)sql.c_str(), SQL_NTS));
    }

private:
    SQLHSTMT stmt_ = SQL_NULL_HSTMT;
};

struct Opened {
    OdbcEnv* env = nullptr;
    OdbcDbcImpl* dbc = nullptr;
    ~Opened() { delete env; }
};

void open(Opened& o, const orltest::TestDsn& d) {
    o.env = Odbc::CreateEnv();
    ASSERT_NE(nullptr, o.env);
    o.dbc = dynamic_cast<OdbcDbcImpl*>(o.env->CreateDbc());
    ASSERT_NE(nullptr, o.dbc);
    ASSERT_EQ(Status_Ok, o.dbc->Connect(d.dsn, d.user, d.password));
    EXPECT_EQ(d.keyword, o.dbc->GetDatabaseType());
}

} // namespace

TEST(Diagnostics, FailureWithoutARecordGetsTheLibrarysOwnText) {
    const orltest::TestDsn& d = orltest::testDsn("sqlite");
    ORL_REQUIRE_DSN(d);
    Opened o;
    open(o, d);
    RawStmt* st = new RawStmt(o.dbc);  // owned by the tree from here on
    // A fresh statement holds no record, so SQL_ERROR has nothing to read.
    EXPECT_EQ(Status_Error, st->GetStatus(st, SQL_ERROR));
    ASSERT_TRUE(o.env->HasInfo());
    std::string state, message;
    long code = -1;
    o.env->GetInfo(state, code, message);
    EXPECT_EQ("ORL", state);
    EXPECT_EQ(0, code);
    EXPECT_EQ("No error message returned by driver", message);
}

TEST(Diagnostics, ReconnectDropsTheFirstSessionsStatements) {
    const orltest::TestDsn& d = orltest::testDsn("sqlite");
    ORL_REQUIRE_DSN(d);
    Opened o;
    open(o, d);
    new RawStmt(o.dbc);
    ASSERT_EQ(Status_Ok, o.dbc->Connect(d.dsn, d.user, d.password));  // ASan: no leak, no double free
    EXPECT_TRUE(o.dbc->IsConnected());
    EXPECT_EQ(Status_Ok, o.dbc->SetIsolationLevel(SQL_TXN_SERIALIZABLE));
}
