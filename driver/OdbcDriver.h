// The driver object the host gets from FactoryDriver. Classic connections
// share nothing through it; bulk connections share one environment made on
// first use.
#pragma once
#include <mutex>

#include "host/Driver.h"

namespace KORVEL { namespace Orl { namespace DB {

namespace ODBC {
class Env2Odbc;
}

class OdbcDriver : public Driver {
public:
    explicit OdbcDriver(const std::string& name);
    ~OdbcDriver() override;

    // Null, silently, when "DSN" or "User" is empty. The connection is not open.
    Connection* createConnection(const DataService& service) override;
    // Closes, then deletes; always 1.
    int releaseConnection(Connection* connection) override;
    // A bulk error record for `service`, empty and without the connection flag.
    DBError* createError(const char* service) override;
    // Frees a record from createError; null is fine. Always 0.
    int releaseError(DBError* error) override;
    // An initialized, unconnected bulk connection, or null with `error` filled.
    // Empty "DSN" or "User" are not refused here: the connect reports them.
    Connection2* createConnection2(const DataService& service, DBError* error) override;
    // Destroys a bulk connection (disconnecting it first); null is fine. Always 0.
    int releaseConnection2(Connection2* connection, DBError* error) override;
    int initialize() override { return 1; }

private:
    ODBC::Env2Odbc* env2;  // bulk environment; null until the first bulk connection
    std::once_flag env2Once;  // makes env2 once, whichever thread comes first
};

}}} // namespace KORVEL::Orl::DB

extern "C" KORVEL::Orl::DB::Driver* FactoryDriver(const char* name);
