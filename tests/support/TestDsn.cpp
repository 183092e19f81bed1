#include "support/TestDsn.h"

#include <sql.h>
#include <sqlext.h>

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <stdexcept>

namespace orltest {

namespace {
// The driver manager unloads the installer library and each driver when the
// last handle goes. Memory those keep for the process then shows up in leak
// reports as coming from an "unknown module", which no suppression can name
// and which is no fault of ours. Keeping them mapped makes the reports exact.
__attribute__((constructor)) void keepOdbcModulesLoaded() {
    dlopen("libodbcinst.so.2", RTLD_NOW | RTLD_NODELETE);
    const char* dir = std::getenv("ODBCSYSINI");
    if (dir == nullptr) return;
    std::ifstream ini(std::string(dir) + "/odbcinst.ini");
    std::string line;
    while (std::getline(ini, line)) {
        if (line.compare(0, 7, "Driver=") == 0) dlopen(line.c_str() + 7, RTLD_NOW | RTLD_NODELETE);
    }
}
} // namespace

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
