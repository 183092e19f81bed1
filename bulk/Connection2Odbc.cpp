#include "bulk/Connection2Odbc.h"

#include <sqlext.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <shared_mutex>

#include "bulk/Env2Odbc.h"
#include "bulk/PreparedStatement2Odbc.h"
#include "bulk/internal/Report.h"
#include "format/Calendar.h"
#include "odbc/internal/Timeouts.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {
// putenv keeps the pointer: the text must live as long as the process.
char s_utcZone[] = "TZ=UTC";

// Largest block of rows a statement takes: a row array costs its column sizes
// times this, so an absurd setting can't ask for gigabytes.
constexpr unsigned long kMaxArraySize = 65536;

// A block size property as a row count. Absent, empty, "0", "1" or anything
// but plain decimal digits leaves blocks off.
unsigned long arraySizeOf(const std::map<std::string, std::string>& properties, const char* key) {
    auto it = properties.find(key);
    if (it == properties.end() || it->second.empty()) return 1;
    unsigned long rows = 0;
    for (char c : it->second) {
        if (c < '0' || c > '9') return 1;
        rows = rows * 10 + static_cast<unsigned long>(c - '0');
        if (rows > kMaxArraySize) return kMaxArraySize;
    }
    return rows < 1 ? 1 : rows;
}

// A database we can't name gets the smallest limit of those we know.
constexpr size_t kMarkersElsewhere = 999;

// SQLite's limit is set when it is compiled: 999 up to 3.31, 32766 from 3.32
// unless a build chose otherwise, which it can only have chosen larger.
size_t sqliteMarkers(SQLHDBC dbc) {
    SQLHSTMT st = SQL_NULL_HSTMT;
    if (SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st) != SQL_SUCCESS) return kMarkersElsewhere;
    char version[32] = "";
    SQLLEN length = 0;
    bool ok = SQLExecDirect(st, (SQLCHAR*)"SELECT sqlite_version()", SQL_NTS) == SQL_SUCCESS &&
              SQLFetch(st) == SQL_SUCCESS &&
              SQLGetData(st, 1, SQL_C_CHAR, version, sizeof version, &length) == SQL_SUCCESS;
    SQLFreeStmt(st, SQL_CLOSE);
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    unsigned major = 0, minor = 0;
    ok = ok && std::sscanf(version, "%u.%u", &major, &minor) == 2;
    return ok && (major > 3 || (major == 3 && minor >= 32)) ? 32766 : kMarkersElsewhere;
}
} // namespace

Connection2Odbc::Connection2Odbc(Env2Odbc* env, const char* source, const char* userName)
    : environment(env), dataSource(source ? source : ""), user(userName ? userName : "") {
    // Values of the bulk path are UTC both ways, and tm2sec hands years before
    // 1970 to mktime, which follows TZ. Process-wide on purpose: it must hold
    // on every thread that converts, the host's included. The library's own
    // time calls on other threads wait for it (they read what it changes).
    std::unique_lock<std::shared_mutex> zone(DataTypes::processZoneLock());
    putenv(s_utcZone);
    tzset();
}

Connection2Odbc::~Connection2Odbc() {
    if (connected) disconnect(true, nullptr);
    destroyStatements(false, nullptr);
    if (dbc != SQL_NULL_HDBC) SQLFreeHandle(SQL_HANDLE_DBC, dbc);
}

int Connection2Odbc::initialize(DBError* error) {
    if (dbc != SQL_NULL_HDBC) return 0;
    SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_DBC, environment ? environment->handle() : SQL_NULL_HENV, &dbc);
    if (rc == SQL_SUCCESS)
        rc = SQLSetConnectAttr(dbc, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF),
                               SQL_IS_UINTEGER);
    if (rc == SQL_SUCCESS)
        rc = SQLSetConnectAttr(dbc, SQL_ATTR_TXN_ISOLATION, reinterpret_cast<SQLPOINTER>(SQL_TXN_READ_COMMITTED),
                               SQL_IS_UINTEGER);
    if (rc == SQL_SUCCESS) return 0;
    reportOdbc(error, SQL_HANDLE_DBC, dbc, rc);
    return -1;
}

void Connection2Odbc::setConnectionProperty(const char* key, const char* value) {
    if (key == nullptr) return;
    try {
        properties[key] = value ? value : "";
    } catch (...) {
    }
}

void Connection2Odbc::clearProperties() { properties.clear(); }

const char* Connection2Odbc::getImplementationName() { return "generic odbc v2.0.0"; }

const char* Connection2Odbc::getService() { return service.c_str(); }

int Connection2Odbc::connect(DBError* error) {
    if (connected) return 0;
    auto it = properties.find("Password");
    const char* password = it == properties.end() ? "" : it->second.c_str();
    auto timeout = [this](const char* key) {
        auto found = properties.find(key);
        return found == properties.end() ? 0UL : internal::timeoutSeconds(found->second);
    };
    SQLRETURN rc = internal::connectWithin(dbc, dataSource, user, password, timeout("LoginTimeout"));
    if (rc == SQL_SUCCESS) {
        connected = true;
        fetchRows = arraySizeOf(properties, "FetchArraySize");
        paramRows = arraySizeOf(properties, "ParamArraySize");
        insertRows = arraySizeOf(properties, "InsertRowsPerStatement");
        queryTimeout = timeout("QueryTimeout");
        internal::boundSessionWhereDriverWont(dbc, queryTimeout);
        markerLimit = 0;
        return 0;
    }
    // With SQL_SUCCESS_WITH_INFO the driver is connected while this object
    // says it is not: only SQL_SUCCESS counts anywhere on this path.
    reportOdbc(error, SQL_HANDLE_DBC, dbc, rc);
    return -1;
}

void Connection2Odbc::limitStatement(SQLHSTMT statement) const {
    internal::applyQueryTimeout(statement, queryTimeout);
}

size_t Connection2Odbc::markersPerStatement() {
    if (markerLimit) return markerLimit;
    markerLimit = kMarkersElsewhere;
    char name[128] = "";
    SQLSMALLINT length = 0;
    if (SQLGetInfo(dbc, SQL_DBMS_NAME, name, sizeof name, &length) != SQL_SUCCESS) return markerLimit;
    for (char& c : name)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    // The servers count a statement's parameters in 16 bits, but their ODBC
    // drivers give out sooner, measured: PostgreSQL's drops the connection
    // ("connection lost") from 7,500 markers on, whatever the names and
    // values; MariaDB's asks its allocator for a negative size near 32,760
    // (a 40-column statement of 819 rows), and fails past 32,767. Half of
    // each keeps clear of both.
    if (std::strstr(name, "POSTGRESQL"))
        markerLimit = 4096;
    else if (std::strstr(name, "MARIADB") || std::strstr(name, "MYSQL"))
        markerLimit = 16384;
    else if (std::strstr(name, "SQLITE"))
        markerLimit = sqliteMarkers(dbc);
    return markerLimit;
}

int Connection2Odbc::disconnect(bool force, DBError* error) {
    if (!connected) return 0;
    SQLRETURN rc;
    if (force) {
        rollback(error);
        rc = SQLDisconnect(dbc);
    } else {
        rc = SQLDisconnect(dbc);
        if (rc != SQL_SUCCESS) {
            reportOdbc(error, SQL_HANDLE_DBC, dbc, rc);
            return -1;
        }
    }
    // A successful SQLDisconnect has released every statement handle of the
    // connection in the driver manager; closing them again would only call
    // ODBC on dead handles.
    destroyStatements(rc == SQL_SUCCESS, error);
    // Some drivers refuse to disconnect while a cursor is open; with the
    // statements gone the handle can be let go after all.
    if (rc != SQL_SUCCESS) SQLDisconnect(dbc);
    connected = false;
    return 0;
}

void Connection2Odbc::destroyStatements(bool handlesFreed, DBError* error) {
    for (PreparedStatement2Odbc* statement : statements) {
        if (handlesFreed) statement->forgetHandle();
        statement->close(error);
        delete statement;
    }
    statements.clear();
}

// The record type is never looked into: every call is refused alike.
PreparedStatement* Connection2Odbc::createPreparedStatement(const char*, const RecordType*, bool, DBError* error) {
    reportLibrary(error, "not implemented");
    return nullptr;
}

PreparedStatement* Connection2Odbc::createPreparedStatement(const char* sql, int count, const unsigned int* types,
                                                            bool, DBError* error) {
    return prepare(sql, count, types, error);
}

PreparedStatement* Connection2Odbc::createPreparedStatement(const char* sql, DBError* error) {
    return prepare(sql, 0, nullptr, error);
}

PreparedStatement* Connection2Odbc::prepare(const char* sql, int count, const unsigned int* types, DBError* error) {
    if (!connected) {
        reportNotConnected(error);
        return nullptr;
    }
    PreparedStatement2Odbc* statement = nullptr;
    try {
        statement = new PreparedStatement2Odbc(this, sql);
        if (statement->initialize(count, types, error) != 0) {
            delete statement;
            return nullptr;
        }
        statements.insert(statement);
    } catch (...) {
        delete statement;
        reportLibrary(error, "memory allocation");
        return nullptr;
    }
    return statement;
}

int Connection2Odbc::releaseStatement(PreparedStatement* statement, DBError* error) {
    // Compared as the host's pointers: anything it hands in may be foreign.
    auto it = std::find_if(statements.begin(), statements.end(),
                           [statement](PreparedStatement2Odbc* s) { return static_cast<PreparedStatement*>(s) == statement; });
    if (it == statements.end()) {
        reportLibrary(error, "statement not found");
        return -1;
    }
    PreparedStatement2Odbc* found = *it;
    if (found->close(error) != 0) return -1;
    statements.erase(it);
    delete found;
    return 0;
}

int Connection2Odbc::endTransaction(SQLSMALLINT completion, DBError* error) {
    if (!connected) {
        reportNotConnected(error);
        return -1;
    }
    SQLRETURN rc = SQLEndTran(SQL_HANDLE_DBC, dbc, completion);
    if (rc == SQL_SUCCESS) return 0;
    reportOdbc(error, SQL_HANDLE_DBC, dbc, rc);
    return -1;
}

int Connection2Odbc::commit(DBError* error) { return endTransaction(SQL_COMMIT, error); }

int Connection2Odbc::rollback(DBError* error) { return endTransaction(SQL_ROLLBACK, error); }

}}}} // namespace KORVEL::Orl::DB::ODBC
