#include "bulk/DBError2Odbc.h"

#include <sql.h>
#include <sqlext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {

// Native codes that a general error carries when the server side of the
// connection has gone away.
bool lostByNativeCode(int32_t native) { return native == -10807 || native == -10821; }

bool stateIs(const char* state, const char* expected) { return std::memcmp(state, expected, 6) == 0; }

} // namespace

void DBError2Odbc::processOdbcError(short handleType, void* handle, short returnCode) {
    char code[16];
    std::snprintf(code, sizeof code, "[%d]", static_cast<int>(returnCode));
    errorString = code;
    switch (returnCode) {
    case SQL_SUCCESS:
        nativeErrorCode = 0;
        return;
    case SQL_SUCCESS_WITH_INFO:
    case SQL_ERROR:
        break;
    case SQL_INVALID_HANDLE:
        errorString += "Invalid handle";
        return;
    case SQL_STILL_EXECUTING:
        errorString += "Still executing";
        return;
    case SQL_NEED_DATA:
        errorString += "Need data";
        return;
    case SQL_NO_DATA:
        errorString += "No data";
        return;
    default:
        errorString += "Unknown error";
        return;
    }

    // Record 1 only; its own status is not looked at. State and message start
    // empty so that a handle without diagnostics shows no stale or stray bytes.
    char* message = static_cast<char*>(std::malloc(513));
    if (message == nullptr) return;
    message[0] = '\0';
    std::memset(sqlState, 0, sizeof sqlState);
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    SQLGetDiagRec(handleType, static_cast<SQLHANDLE>(handle), 1, reinterpret_cast<SQLCHAR*>(sqlState), &native,
                  reinterpret_cast<SQLCHAR*>(message), 512, &length);
    sqlState[5] = '\0';
    message[512] = '\0';
    nativeErrorCode = native;
    errorString += '[';
    errorString += sqlState;
    errorString += ']';
    errorString += message;
    std::free(message);

    if (stateIs(sqlState, "S1000") || stateIs(sqlState, "HY000")) {
        if (lostByNativeCode(nativeErrorCode)) connectionError = true;
    } else if (stateIs(sqlState, "08003") || stateIs(sqlState, "08007") || stateIs(sqlState, "08S01")) {
        connectionError = true;
    }
}

}}}} // namespace KORVEL::Orl::DB::ODBC
