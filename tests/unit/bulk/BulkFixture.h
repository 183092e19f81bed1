// The bulk classes against the scripted driver, with no database: a fresh
// environment, connection and error record per test, and the helpers that
// build packed rows and read the driver's call log.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bulk/Connection2Odbc.h"
#include "bulk/DBError2Odbc.h"
#include "bulk/Env2Odbc.h"
#include "bulk/PreparedStatement2Odbc.h"
#include "bulk/RowInternal2.h"
#include "host/RecordType.h"
#include "datatypes/DataTypes.h"
#include "support/scriptdrv/ScriptDsn.h"

namespace bulktest {

using namespace KORVEL::Orl::DB;
using namespace KORVEL::Orl::DB::ODBC;

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
typedef std::unique_ptr<RowInternal2, FreeDeleter> RowPtr;

// A packed row of (type word, value) pairs; a NULL value takes no room.
RowPtr makeRow(const std::vector<std::pair<unsigned int, DataTypes::DataValue> >& values);
// Column j's packed bytes, or null for NULL.
const unsigned char* columnOf(const RowInternal2* row, size_t j);
int32_t offsetOf(const RowInternal2* row, size_t j);

DataTypes::DataValue int64Value(int64_t v);

// "source|text" of a record: both in one string so a table row can say them.
std::string said(const DBError2Odbc& e);

class Bulk : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A new connection for `user` (see the scripted driver's user names).
    Connection2Odbc* open(const std::string& user, bool connect = true);
    PreparedStatement2Odbc* prepare(const std::string& sql, int count = 0, const unsigned int* types = nullptr);
    // Executes a statement without parameters and enters its first result.
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
