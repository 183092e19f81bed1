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
    void SetUp() override {
        ASSERT_NE(nullptr, driver()) << loader.error();
        ASSERT_NE(nullptr, error = driver()->createError("bulk-svc"));
    }
    void TearDown() override {
        if (!driver()) return;
        for (Connection2* c : connections) {
            c->disconnect(true, error);
            EXPECT_EQ(0, driver()->releaseConnection2(c, error));
        }
        EXPECT_EQ(0, driver()->releaseError(error));
    }

    Driver* driver() const { return loader.driver(); }
    // A bulk connection from a service definition with these properties;
    // released at the end of the test.
    Connection2* make(const std::vector<std::pair<std::string, std::string> >& properties) {
        DataService service("bulk-svc");
        for (const auto& p : properties) service.setProperty(p.first, p.second);
        Connection2* c = driver()->createConnection2(service, error);
        if (c) connections.push_back(c);
        return c;
    }
    // A connected one for the test DSN; null (and a failure) when it won't connect.
    Connection2* open(const orltest::TestDsn& d) {
        Connection2* c = make({{"DSN", d.dsn}, {"User", d.user}, {"Password", d.password}});
        EXPECT_NE(nullptr, c) << said(error);
        if (c && c->connect(error) != 0) {
            ADD_FAILURE() << d.dsn << ": " << said(error);
            return nullptr;
        }
        return c;
    }
    // Runs SQL without parameters or result; false with the record's text in `why`.
    bool run(Connection2* c, const std::string& sql, std::string* why = nullptr) {
        PreparedStatement* st = c->createPreparedStatement(sql.c_str(), error);
        bool ok = st != nullptr && st->execute(error) == 0;
        if (!ok && why) *why = said(error);
        if (st) c->releaseStatement(st, error);
        return ok;
    }

    orltest::DriverLoader loader;
    DBError* error = nullptr;
    std::vector<Connection2*> connections;
};

class BulkPerDsn : public BulkTest, public ::testing::WithParamInterface<orltest::TestDsn> {};

} // namespace bulkit
