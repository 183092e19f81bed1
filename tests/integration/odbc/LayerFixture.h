// The object layer against the three test databases, one parameterised
// fixture for all: each test creates its own tables and drops them.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "odbc/ByteStore.h"
#include "odbc/Odbc.h"
#include "support/TestDsn.h"

namespace orltest {

using namespace KORVEL::Orl::DB::ODBC;

class LayerTest : public ::testing::TestWithParam<TestDsn> {
protected:
    void SetUp() override;
    void TearDown() override;

    // The diagnostic of `o` as "[state][code][message]", for failure messages.
    static std::string Info(Odbc* o);
    // Prepares and executes `sql`, committing; fails the test with the diagnostic.
    void Exec(const std::string& sql);
    // Drops `table` if it is there; errors are ignored.
    void Drop(const std::string& table);
    // A prepared single statement owned by the connection.
    OdbcStmt* Prepare(const std::string& sql, bool batch = false);
    // The value of a column as text, by the C type the layer chose; "NULL" for NULL.
    static std::string Show(OdbcCol* column);

    bool Is(const char* label) const { return std::string(GetParam().label) == label; }
    std::string BinaryType() const { return Is("pg") ? "BYTEA" : Is("maria") ? "LONGBLOB" : "BLOB"; }
    std::string LongTextType() const { return Is("maria") ? "LONGTEXT" : "TEXT"; }
    std::string TimestampType() const { return Is("maria") ? "DATETIME(6)" : "TIMESTAMP"; }

    std::unique_ptr<OdbcEnv> env;
    OdbcDbc* dbc = nullptr;
};

std::string Hex(const unsigned char* bytes, unsigned int n);

} // namespace orltest

#define ORL_EXPECT_OK(call, object) EXPECT_EQ((call), Status_Ok) << Info(object)
#define ORL_ASSERT_OK(call, object) ASSERT_EQ((call), Status_Ok) << Info(object)
