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
    void SetUp() override;
    void TearDown() override;

    // A new connection for `user` (see the scripted driver's user names).
    Connection2Odbc* open(const std::string& user, bool connect = true);
    PreparedStatement2Odbc* prepare(const std::string& sql, int count = 0, const unsigned int* types = nullptr);
    // Prepares and executes a statement without parameters, enters its first
    // result and fetches the first row.
    PreparedStatement2Odbc* query(const std::string& sql, int count = 0, const unsigned int* types = nullptr);
    std::vector<std::string> since(size_t mark, const std::string& prefix) const {
        return orltest::ScriptDsn::Instance().Since(mark, prefix);
    }
    size_t mark() const { return orltest::ScriptDsn::Instance().Mark(); }

    std::unique_ptr<Env2Odbc> env;
    Connection2Odbc* connection = nullptr;
    DBError2Odbc error{"svc"};
};

} // namespace bulktest
