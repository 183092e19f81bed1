// The bulk classes against the scripted driver, with no database: a fresh
// environment and error record per test, and the driver's call log.
#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "PackedRows.h"
#include "bulk/Connection2Odbc.h"
#include "bulk/DBError2Odbc.h"
#include "bulk/Env2Odbc.h"
#include "bulk/PreparedStatement2Odbc.h"
#include "bulk/RowInternal2.h"
#include "host/RecordType.h"
#include "support/scriptdrv/ScriptDsn.h"

namespace bulktest {

using namespace KORVEL::Orl::DB;
using namespace KORVEL::Orl::DB::ODBC;
using namespace packedrows;

// "source|text" of a record: both in one string so a table row can say them.
inline std::string said(const DBError2Odbc& e) { return std::string(e.getErrorSource()) + "|" + e.getErrorString(); }

class Bulk : public ::testing::Test {
protected:
    void SetUp() override {
        orltest::ScriptDsn::Instance();
        env.reset(new Env2Odbc());
        ASSERT_EQ(0, env->initialize(&error)) << error.getErrorString();
    }
    void TearDown() override { env->releaseConnection2(connection, nullptr); }

    // A new connection for `user` (see the scripted driver's user names).
    Connection2Odbc* open(const std::string& user, bool connect = true) {
        env->releaseConnection2(connection, nullptr);
        connection = env->createConnection2(orltest::ScriptDsn::kDsn, user.c_str(), &error);
        EXPECT_NE(nullptr, connection) << said(error);
        EXPECT_TRUE(!connection || !connect || connection->connect(&error) == 0) << said(error);
        return connection;
    }
    PreparedStatement2Odbc* prepare(const std::string& sql, int count = 0, const unsigned int* types = nullptr) {
        if (!connection) open("orl");
        PreparedStatement* st = connection->createPreparedStatement(sql.c_str(), count, types, false, &error);
        EXPECT_NE(nullptr, st) << sql << ": " << said(error);
        return static_cast<PreparedStatement2Odbc*>(st);
    }
    // Prepares and executes a statement without parameters, enters its first
    // result and fetches the first row.
    PreparedStatement2Odbc* query(const std::string& sql, int count = 0, const unsigned int* types = nullptr) {
        PreparedStatement2Odbc* st = prepare(sql, count, types);
        bool entered = false, fetched = false;
        if (!st) return nullptr;
        EXPECT_EQ(0, st->execute(&error)) << sql << ": " << said(error);
        EXPECT_EQ(0, st->nextResultSet(entered, &error));
        EXPECT_EQ(0, st->hasMoreData(fetched, &error));
        EXPECT_TRUE(entered && fetched) << sql;
        return st;
    }
    std::vector<std::string> since(size_t mark, const std::string& prefix) const {
        return orltest::ScriptDsn::Instance().Since(mark, prefix);
    }
    size_t mark() const { return orltest::ScriptDsn::Instance().Mark(); }

    std::unique_ptr<Env2Odbc> env;
    Connection2Odbc* connection = nullptr;
    DBError2Odbc error{"svc"};
};

} // namespace bulktest
