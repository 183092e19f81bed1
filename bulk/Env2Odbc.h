// The one ODBC environment that all bulk connections of a driver share.
#pragma once
#include <sql.h>

namespace KORVEL { namespace Orl { namespace DB {
class DBError;
namespace ODBC {

class Connection2Odbc;

class Env2Odbc {
public:
    Env2Odbc() = default;
    Env2Odbc(const Env2Odbc&) = delete;
    Env2Odbc& operator=(const Env2Odbc&) = delete;
    // Frees the environment; all connections must be released before.
    virtual ~Env2Odbc();

    // Allocates the handle and asks for ODBC 3. 0, or -1 with the record filled
    // (its source left as it was).
    int initialize(DBError* error);
    // A new, initialized, unconnected connection owned by the caller, or null
    // with the record filled.
    Connection2Odbc* createConnection2(const char* dataSource, const char* user, DBError* error);
    // Destroys the connection (disconnecting it first if needed); null is fine. Always 0.
    int releaseConnection2(Connection2Odbc* connection, DBError* error);

    SQLHENV handle() const { return env; }

private:
    SQLHENV env = SQL_NULL_HENV;
    void* reserved = nullptr;  // owned, freed with the environment; nothing fills it
};

}}}} // namespace KORVEL::Orl::DB::ODBC
