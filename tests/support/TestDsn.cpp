#include "support/TestDsn.h"

#include <sql.h>
#include <sqlext.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>

namespace orltest {

const std::vector<TestDsn>& testDsns() {
    static const std::vector<TestDsn> all = {
        {"sqlite", "orl_sqlite", "orl", "", "OTHERS"},
        {"pg", "orl_pg", "orl", "orl_pw", "POSTGRESQL"},
        {"maria", "orl_maria", "orl", "orl_pw", "OTHERS"},
    };
    return all;
}

const TestDsn& testDsn(const std::string& label) {
    for (const TestDsn& d : testDsns())
        if (label == d.label) return d;
    throw std::invalid_argument("no test DSN " + label);
}

bool mustNotSkip() {
    const char* ci = std::getenv("CI");
    return ci != nullptr && std::strcmp(ci, "true") == 0;
}

bool dsnReachable(const TestDsn& d, std::string& why) {
    // One probe per DSN and process: the answer doesn't change within a run.
    static std::map<std::string, std::string> cache;
    auto it = cache.find(d.dsn);
    if (it != cache.end()) {
        why = it->second;
        return why.empty();
    }
    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
    why.clear();
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
    SQLRETURN rc = SQLConnect(dbc, (SQLCHAR*)d.dsn, SQL_NTS, (SQLCHAR*)d.user, SQL_NTS, (SQLCHAR*)d.password, SQL_NTS);
    if (SQL_SUCCEEDED(rc)) {
        SQLDisconnect(dbc);
    } else {
        SQLCHAR state[6] = {0}, msg[512] = {0};
        SQLINTEGER native = 0;
        SQLSMALLINT len = 0;
        SQLGetDiagRec(SQL_HANDLE_DBC, dbc, 1, state, &native, msg, sizeof msg, &len);
        why = std::string("[") + (char*)state + "] " + (char*)msg;
        if (why.size() < 4) why = "connect failed";
    }
    SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    cache[d.dsn] = why;
    return why.empty();
}

} // namespace orltest
