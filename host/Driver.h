// The host's abstract driver: what a loaded database library hands back from
// its factory. The host talks to a driver only through these slots.
#pragma once
#include <string>

namespace KORVEL { namespace Orl {
class DataService;
namespace DB {

class Connection;
class Connection2;
class DBError;

class Driver {
public:
    // Key of getDriverProperty that asks which kind of database is behind a connection.
    static const std::string PROPERTY_KEY_DATABASE_TYPE;

    explicit Driver(const std::string& name);
    virtual ~Driver();

    // Classic connections: the result belongs to the host and goes back
    // through releaseConnection. Null means the service definition was refused.
    virtual Connection* createConnection(const DataService& service) = 0;
    virtual int releaseConnection(Connection* connection) = 0;

    // Error records of the bulk interface.
    virtual DBError* createError(const char* service) = 0;
    virtual int releaseError(DBError* error) = 0;

    // Bulk connections.
    virtual Connection2* createConnection2(const DataService& service, DBError* error) = 0;
    virtual int releaseConnection2(Connection2* connection, DBError* error) = 0;

    virtual int initialize() = 0;

    const std::string& getName() const { return name_; }

private:
    std::string name_;
};

// Signature of the one symbol a driver library exports.
extern "C" typedef Driver* (*FactoryDriverFn)(const char* name);

}}} // namespace KORVEL::Orl::DB
