// The two timeout properties of a service, "LoginTimeout" and "QueryTimeout",
// read alike by the classic and the bulk front end.
#pragma once
#include <sql.h>
#include <sqlext.h>

#include <cstring>
#include <string>

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC { namespace internal {

// Larger values are as good as none and some drivers keep the seconds in an int.
constexpr unsigned long kMaxTimeoutSeconds = 2147483647UL;

// Seconds of a timeout property. Only plain decimal digits above 0 count:
// absent, empty, "0", a sign, a space or a unit all mean no timeout, so that a
// misspelt value leaves the connection exactly as it was without one.
inline unsigned long timeoutSeconds(const std::string& text) {
    if (text.empty()) return 0;
    unsigned long seconds = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return 0;
        seconds = seconds * 10 + static_cast<unsigned long>(c - '0');
        if (seconds > kMaxTimeoutSeconds) seconds = kMaxTimeoutSeconds;
    }
    return seconds;
}

// Asked of the driver only when set, so that without the property no call
// differs. A driver that refuses the attribute goes on without it: the
// return code is left alone, and with it the diagnostics of the call before.
inline void applyLoginTimeout(SQLHDBC dbc, unsigned long seconds) {
    if (seconds == 0 || dbc == SQL_NULL_HDBC) return;
    SQLSetConnectAttr(dbc, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(seconds)),
                      SQL_IS_UINTEGER);
}

inline void applyQueryTimeout(SQLHSTMT stmt, unsigned long seconds) {
    if (seconds == 0 || stmt == SQL_NULL_HSTMT) return;
    SQLSetStmtAttr(stmt, SQL_ATTR_QUERY_TIMEOUT, reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(seconds)),
                   SQL_IS_UINTEGER);
}

// A value of a connection string, braced only where ';', braces or outer
// blanks would end or change it: not every driver takes off the braces of a
// data source's name.
inline std::string braced(const std::string& value) {
    const bool plain = value.find_first_of(";{}") == std::string::npos &&
                       (value.empty() || (value.front() != ' ' && value.back() != ' '));
    if (plain) return value;
    std::string out = "{";
    for (char c : value) {
        out += c;
        if (c == '}') out += '}';
    }
    return out + "}";
}

// The connect. Without a login timeout it is the plain SQLConnect it always
// was. With one, the data source is named in a connection string that also
// carries CONN_TIMEOUT: MariaDB's ODBC driver takes SQL_ATTR_LOGIN_TIMEOUT
// and leaves the handshake unbounded, while its own key bounds both; the
// other drivers pass over a key they don't know.
inline SQLRETURN connectWithin(SQLHDBC dbc, const std::string& dsn, const std::string& user,
                               const std::string& password, unsigned long seconds) {
    if (seconds == 0) {
        return SQLConnect(dbc, reinterpret_cast<SQLCHAR*>(const_cast<char*>(dsn.c_str())), SQL_NTS,
                          reinterpret_cast<SQLCHAR*>(const_cast<char*>(user.c_str())), SQL_NTS,
                          reinterpret_cast<SQLCHAR*>(const_cast<char*>(password.c_str())), SQL_NTS);
    }
    applyLoginTimeout(dbc, seconds);
    const std::string text = "DSN=" + braced(dsn) + ";UID=" + braced(user) + ";PWD=" + braced(password) +
                             ";CONN_TIMEOUT=" + std::to_string(seconds) + ";";
    SQLSMALLINT length = 0;
    return SQLDriverConnect(dbc, nullptr, reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str())), SQL_NTS,
                            nullptr, 0, &length, SQL_DRIVER_NOPROMPT);
}

// MariaDB's ODBC driver takes SQL_ATTR_QUERY_TIMEOUT and ignores it; its
// server bounds every statement of a session by max_statement_time instead,
// and fails one that runs past it with 70100 (native 1969). Set once after
// the connect, only when the property is, and only on MariaDB.
inline void boundSessionWhereDriverWont(SQLHDBC dbc, unsigned long seconds) {
    if (seconds == 0 || dbc == SQL_NULL_HDBC) return;
    char name[128] = "", version[128] = "";
    SQLSMALLINT length = 0;
    SQLGetInfo(dbc, SQL_DBMS_NAME, name, sizeof name, &length);
    SQLGetInfo(dbc, SQL_DBMS_VER, version, sizeof version, &length);
    if (std::strstr(name, "MariaDB") == nullptr && std::strstr(version, "MariaDB") == nullptr) return;
    SQLHSTMT stmt = SQL_NULL_HSTMT;
    if (SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt) != SQL_SUCCESS) return;
    const std::string sql = "SET SESSION max_statement_time = " + std::to_string(seconds);
    SQLExecDirect(stmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())), SQL_NTS);
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
}

}}}}} // namespace KORVEL::Orl::DB::ODBC::internal
