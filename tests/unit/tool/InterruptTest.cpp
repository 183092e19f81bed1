// How orlodbc reaches a session on a signal: by the DBMS name its driver
// gives, the id query after the connect and the cancel from outside.
#include <gtest/gtest.h>

#include "tools/orlodbc/Interrupt.h"

namespace {

TEST(Interrupt, SessionsAreCancelledOnlyOnServersThatHaveThem) {
    struct Case {
        const char* dbms;
        const char* idQuery;
        const char* cancel;
    };
    const Case cases[] = {
        {"PostgreSQL", "SELECT pg_backend_pid()", "SELECT pg_cancel_backend(4711)"},
        {"MariaDB", "SELECT CONNECTION_ID()", "KILL QUERY 4711"},
        {"MySQL", "SELECT CONNECTION_ID()", "KILL QUERY 4711"},
        {"mariadb", "SELECT CONNECTION_ID()", "KILL QUERY 4711"},
        // An embedded database ends with the process; an unknown one is left alone.
        {"SQLite", "", ""},
        {"", "", ""},
        {"Some Other DB", "", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.idQuery, orlodbc::sessionIdQuery(c.dbms)) << c.dbms;
        EXPECT_EQ(c.cancel, orlodbc::cancelStatement(c.dbms, 4711)) << c.dbms;
    }
}

TEST(Interrupt, NothingIsNotedOrReportedWithoutInstall) {
    EXPECT_FALSE(orlodbc::Interrupt::happened());
    EXPECT_EQ(0, orlodbc::Interrupt::exitCode());
    orlodbc::Interrupt::forget(0);
    orlodbc::Interrupt::uninstall();  // harmless when never installed
}

}  // namespace
