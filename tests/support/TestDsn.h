// The test databases as integration tests see them: the project-local DSNs
// that scripts/odbc-env.sh writes and scripts/db-start.sh serves.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orltest {

struct TestDsn {
    const char* label;     // "sqlite", "pg", "maria": for test names
    const char* dsn;
    const char* user;
    const char* password;
    const char* keyword;   // what the driver's DBMS name maps to
};

// SQLite (embedded), PostgreSQL and MariaDB, in that order.
const std::vector<TestDsn>& testDsns();
const TestDsn& testDsn(const std::string& label);

// True when a plain ODBC login to the DSN works; `why` says what failed.
bool dsnReachable(const TestDsn& dsn, std::string& why);

// In CI (CI=true) an unreachable database is a failure; elsewhere a skip.
bool mustNotSkip();

} // namespace orltest

// Skips (or fails in CI) the current test when the DSN can't be reached.
#define ORL_REQUIRE_DSN(d)                                                              \
    do {                                                                                \
        std::string why_;                                                               \
        if (!orltest::dsnReachable((d), why_)) {                                        \
            if (orltest::mustNotSkip()) FAIL() << (d).dsn << " unreachable: " << why_;  \
            GTEST_SKIP() << (d).dsn << " unreachable: " << why_;                        \
        }                                                                               \
    } while (0)
