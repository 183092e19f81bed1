// The bulk interface as the server sees it: the driver loaded by dlopen, a
// DBError from createError, connections from createConnection2, and nothing
// but the host's abstract classes from there on.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "datatypes/DataTypes.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/DataService.h"
#include "host/PreparedStatement.h"
#include "support/DriverLoader.h"
#include "support/TestDsn.h"

namespace bulkit {

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
typedef std::unique_ptr<RowInternal2, FreeDeleter> RowPtr;

// "source|text" of a record, so that one comparison shows both.
std::string said(const DBError* e);

// A packed row of (type word, value) pairs; NULL values take no room.
RowPtr makeRow(const std::vector<std::pair<unsigned int, DataTypes::DataValue> >& values);
uint32_t rowSize(const RowInternal2* row);
uint32_t rowColumns(const RowInternal2* row);
// Column j's packed bytes, or null for NULL.
unsigned char* columnOf(const RowInternal2* row, size_t j);

class BulkTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    Driver* driver() const { return loader.driver(); }
    // A bulk connection from a service definition with these properties.
    Connection2* make(const std::vector<std::pair<std::string, std::string> >& properties);
    Connection2* make(const orltest::TestDsn& d);
    // make + connect, failing the test when the connect fails.
    Connection2* open(const orltest::TestDsn& d);
    void release(Connection2* c);
    // Runs SQL without parameters or result; false with the text in `why`.
    bool run(Connection2* c, const std::string& sql, std::string* why = nullptr);

    orltest::DriverLoader loader;
    DBError* error = nullptr;
    std::vector<Connection2*> connections;
};

class BulkPerDsn : public BulkTest, public ::testing::WithParamInterface<orltest::TestDsn> {};

} // namespace bulkit
