#include "bulk/DBError2.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

// The native code and state only mean something once a record was filled from
// ODBC; they start cleared so a record read early shows no stale bytes.
DBError2::DBError2(const char* serviceName)
    : service(serviceName ? serviceName : ""), nativeErrorCode(0), connectionError(false), sqlState{0, 0, 0, 0, 0, 0} {}

const char* DBError2::getService() const { return service.c_str(); }
int DBError2::getNativeErrorCode() const { return nativeErrorCode; }
const char* DBError2::getErrorString() const { return errorString.c_str(); }
bool DBError2::isConnectionError() const { return connectionError; }
bool DBError2::isSuccessWithInfo() const { return false; }
const char* DBError2::toString() const { return errorString.c_str(); }
const char* DBError2::getErrorSource() const { return errorSource.c_str(); }

}}}} // namespace KORVEL::Orl::DB::ODBC
