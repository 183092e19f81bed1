#include "driver/OdbcDriver.h"

#include <new>

#include "driver/OdbcConnection.h"
#include "host/DataService.h"

namespace KORVEL { namespace Orl { namespace DB {

OdbcDriver::OdbcDriver(const std::string& name) : Driver(name), env2(nullptr) {}

// The bulk environment is deleted here once the bulk front end makes one;
// outstanding connections are the host's to release first.
OdbcDriver::~OdbcDriver() {}

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

// The bulk interface is not available in this build: no error record and no
// bulk connection can be made.
DBError* OdbcDriver::createError(const char*) { return nullptr; }
int OdbcDriver::releaseError(DBError*) { return 0; }
Connection2* OdbcDriver::createConnection2(const DataService&, DBError*) { return nullptr; }
int OdbcDriver::releaseConnection2(Connection2*, DBError*) { return -1; }

}}} // namespace KORVEL::Orl::DB

extern "C" __attribute__((visibility("default"))) KORVEL::Orl::DB::Driver* FactoryDriver(const char* name) {
    try {
        return new KORVEL::Orl::DB::OdbcDriver(std::string(name ? name : ""));
    } catch (const std::exception&) {
        return nullptr;
    }
}
