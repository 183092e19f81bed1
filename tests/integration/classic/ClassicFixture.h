// A classic connection per test database, reached as the server reaches it:
// the driver loaded by dlopen, everything through the host's classes.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/Connection.h"
#include "host/LogServiceImpl.h"
#include "host/ResultSet.h"
#include "host/Row.h"
#include "support/DriverLoader.h"
#include "support/TestDsn.h"

namespace classictest {

// Log lines of the driver while it lives: (id, joined text).
struct LogCapture {
    std::vector<std::pair<std::string, std::string>> lines;
    LogCapture();
    ~LogCapture();
    std::vector<std::string> ids() const;
};

// The connection's error text without its NULs, for failure messages.
std::string errorsOf(KORVEL::Orl::DB::Connection* c);

class ClassicTest : public ::testing::TestWithParam<orltest::TestDsn> {
protected:
    void SetUp() override;
    void TearDown() override;

    bool is(const char* label) const { return std::string(GetParam().label) == label; }
    // Runs a statement without parameters; the status.
    int update(const std::string& sql);
    // Runs sql with no parameters and reads every row by `types`; rows that
    // fail come back as null. Returns false when the query itself failed.
    bool selectAll(const std::string& sql, const std::vector<unsigned int>& types,
                   std::vector<KORVEL::Orl::DB::Row*>& rows);
    static void freeRows(std::vector<KORVEL::Orl::DB::Row*>& rows);

    orltest::DriverLoader loader;
    KORVEL::Orl::DB::Connection* conn = nullptr;
};

} // namespace classictest

#define CLASSIC_INSTANTIATE(suite)                                                                 \
    INSTANTIATE_TEST_SUITE_P(Dsns, suite, ::testing::ValuesIn(orltest::testDsns()),                \
                             [](const auto& info) { return std::string(info.param.label); })
