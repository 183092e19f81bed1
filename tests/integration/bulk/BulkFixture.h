// The bulk interface as the server sees it: the driver loaded by dlopen, a
// DBError from createError, connections from createConnection2, and nothing
// but the host's abstract classes from there on.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/DataService.h"
#include "host/PreparedStatement.h"
#include "support/DriverLoader.h"
#include "support/TestDsn.h"
#include "unit/bulk/PackedRows.h"

namespace bulkit {

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;
using namespace packedrows;

// "source|text" of a record, so that one comparison shows both.
inline std::string said(const DBError* e) { return std::string(e->getErrorSource()) + "|" + e->getErrorString(); }

class BulkTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    Driver* driver() const { return loader.driver(); }
    // A bulk connection from a service definition with these properties;
    // released at the end of the test.
    Connection2* make(const std::vector<std::pair<std::string, std::string> >& properties);
    // A connected one for the test DSN; null (and a failure) when it won't connect.
    Connection2* open(const orltest::TestDsn& d);
    // Runs SQL without parameters or result; false with the record's text in `why`.
    bool run(Connection2* c, const std::string& sql, std::string* why = nullptr);

    orltest::DriverLoader loader;
    DBError* error = nullptr;
    std::vector<Connection2*> connections;
};

class BulkPerDsn : public BulkTest, public ::testing::WithParamInterface<orltest::TestDsn> {};

} // namespace bulkit
