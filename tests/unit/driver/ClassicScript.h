// The classic statement and result set over the real object layer and the
// scripted driver: a connection per test, the host log and the driver's call log.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "datatypes/DataTypes.h"
#include "driver/OdbcConnection.h"
#include "driver/OdbcStatement.h"
#include "host/LogServiceImpl.h"
#include "support/scriptdrv/ScriptDsn.h"

namespace classicunit {

using namespace KORVEL::Orl::DB;
using DataTypes::DataValue;
using orltest::ScriptDsn;

inline DataValue i64(int64_t v) { DataValue d; d.int64Value = v; d.isNull = false; return d; }
inline Parameter param(unsigned int type, DataValue v) {
    Parameter p;
    p.type = type;
    p.value = v;
    return p;
}

class Classic : public ::testing::Test {
protected:
    void SetUp() override {
        LogServiceImpl::setSink([this](const std::string& id, const std::string& t) { log.push_back(id + "|" + t); });
        ASSERT_EQ(1, conn.open()) << conn.lastErrors;
    }
    void TearDown() override {
        conn.close();
        LogServiceImpl::setSink(nullptr);
    }
    // A statement of its own over a prepared ODBC statement, not the connection's.
    std::unique_ptr<OdbcStatement> prepare(const std::string& script) {
        ODBC::OdbcStmt* stmt = conn.getDbc()->CreateStmt();
        EXPECT_EQ(ODBC::Status_Ok, stmt->SetSql(script, false));
        return std::make_unique<OdbcStatement>(conn, stmt, script);
    }
    size_t mark() const { return ScriptDsn::Instance().Mark(); }
    std::vector<std::string> since(size_t at, const std::string& prefix) const {
        return ScriptDsn::Instance().Since(at, prefix);
    }

    ScriptDsn& dsn = ScriptDsn::Instance();  // before the connection's first ODBC call
    OdbcConnection conn{ScriptDsn::kDsn, "", "orl", "pw", false};
    std::vector<std::string> log;  // "id|text" of each host log line
};

} // namespace classicunit
