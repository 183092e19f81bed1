#include "bulk/Env2Odbc.h"

#include <sqlext.h>

#include <cstdlib>

#include "bulk/Connection2Odbc.h"
#include "bulk/DBError2Odbc.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

Env2Odbc::~Env2Odbc() {
    if (reserved != nullptr) std::free(reserved);
    if (env != SQL_NULL_HENV) SQLFreeHandle(SQL_HANDLE_ENV, env);
}

int Env2Odbc::initialize(DBError* error) {
    SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    if (rc == SQL_SUCCESS)
        rc = SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), SQL_IS_UINTEGER);
    if (rc == SQL_SUCCESS) return 0;
    // The only report that leaves the error source alone.
    if (error != nullptr) {
        try {
            asRecord(error)->processOdbcError(SQL_HANDLE_ENV, env, rc);
        } catch (...) {
        }
    }
    return -1;
}

Connection2Odbc* Env2Odbc::createConnection2(const char* dataSource, const char* user, DBError* error) {
    Connection2Odbc* connection = nullptr;
    try {
        connection = new Connection2Odbc(this, dataSource, user);
    } catch (...) {
        return nullptr;
    }
    if (connection->initialize(error) != 0) {
        // Nobody else could ever release it.
        delete connection;
        return nullptr;
    }
    return connection;
}

int Env2Odbc::releaseConnection2(Connection2Odbc* connection, DBError*) {
    delete connection;
    return 0;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
