#include "driver/OdbcDriver.h"

#include <memory>
#include <new>

#include "bulk/Connection2Odbc.h"
#include "bulk/DBError2Odbc.h"
#include "bulk/Env2Odbc.h"
#include "driver/OdbcConnection.h"
#include "host/DataService.h"
#include "odbc/internal/Timeouts.h"

namespace KORVEL { namespace Orl { namespace DB {

OdbcDriver::OdbcDriver(const std::string& name) : Driver(name), env2(nullptr) {}

// Outstanding bulk connections are the host's to release first.
OdbcDriver::~OdbcDriver() { delete env2; }

Connection* OdbcDriver::createConnection(const DataService& service) {
    try {
        std::string dsn = service.getPropertyValueAsString("DSN", "");
        std::string user = service.getPropertyValueAsString("User", "");
        std::string password = service.getPropertyValueAsString("Password", "");
        std::string databaseType = service.getPropertyValueAsString("DatabaseType", "");
        bool writeBigIntAsChar = service.getPropertyValueAsBool("WriteBigIntAsChar", false);
        if (dsn.empty() || user.empty()) return nullptr;
        // The database type stands second and the user third.
        OdbcConnection* connection = new OdbcConnection(dsn, databaseType, user, password, writeBigIntAsChar);
        connection->driver = this;
        connection->setTimeouts(ODBC::internal::timeoutSeconds(service.getPropertyValueAsString("LoginTimeout", "")),
                                ODBC::internal::timeoutSeconds(service.getPropertyValueAsString("QueryTimeout", "")));
        return connection;
    } catch (const std::exception&) {
        return nullptr;
    }
}

int OdbcDriver::releaseConnection(Connection* connection) {
    connection->close();
    delete connection;
    return 1;
}

DBError* OdbcDriver::createError(const char* service) {
    try {
        return new ODBC::DBError2Odbc(service);
    } catch (...) {
        return nullptr;
    }
}

// Every record was made by createError, so it goes as that type: DBError has
// no destructor slot.
int OdbcDriver::releaseError(DBError* error) {
    delete ODBC::asRecord(error);
    return 0;
}

Connection2* OdbcDriver::createConnection2(const DataService& service, DBError* error) {
    try {
        // Threads whose first bulk connections come at once all wait here until
        // one of them has made the environment whole; none sees a half-made one.
        // Kept even when initialize fails: the failure is reported once, to the
        // caller that met it, and later calls go on with this one.
        bool failed = false;
        std::call_once(env2Once, [&] {
            std::unique_ptr<ODBC::Env2Odbc> made(new ODBC::Env2Odbc());
            failed = made->initialize(error) != 0;
            env2 = made.release();
        });
        if (failed) return nullptr;
        std::string dsn = service.getPropertyValueAsString("DSN", "");
        std::string user = service.getPropertyValueAsString("User", "");
        std::string password = service.getPropertyValueAsString("Password", "");
        std::string databaseType = service.getPropertyValueAsString("DatabaseType", "");
        // Read like the classic factory does; the bulk path has no such setting.
        (void)service.getPropertyValueAsBool("WriteBigIntAsChar", false);
        // Empty names are not refused here: the connect reports them.
        ODBC::Connection2Odbc* connection = env2->createConnection2(dsn.c_str(), user.c_str(), error);
        if (connection != nullptr) {
            connection->setService(service.getName());
            connection->clearProperties();
            connection->setConnectionProperty("Password", password.c_str());
            connection->setConnectionProperty("DatabaseType", databaseType.c_str());
            // Block transfers, multi-row inserts and timeouts are opt-in:
            // without the keys the map stays as it was.
            for (const char* key :
                 {"FetchArraySize", "ParamArraySize", "InsertRowsPerStatement", "LoginTimeout", "QueryTimeout"}) {
                std::string rows = service.getPropertyValueAsString(key, "");
                if (!rows.empty()) connection->setConnectionProperty(key, rows.c_str());
            }
        }
        return connection;
    } catch (...) {
        return nullptr;
    }
}

int OdbcDriver::releaseConnection2(Connection2* connection, DBError* error) {
    // Without an environment no bulk connection was ever made.
    if (env2 == nullptr) return 0;
    return env2->releaseConnection2(static_cast<ODBC::Connection2Odbc*>(connection), error);
}

}}} // namespace KORVEL::Orl::DB

extern "C" __attribute__((visibility("default"))) KORVEL::Orl::DB::Driver* FactoryDriver(const char* name) {
    try {
        return new KORVEL::Orl::DB::OdbcDriver(std::string(name ? name : ""));
    } catch (const std::exception&) {
        return nullptr;
    }
}
