// The driver as the server reaches it: the library loaded with dlopen, the
// Driver from its FactoryDriver, and the service definitions handed to it.
#pragma once
#include <mutex>
#include <string>

#include "host/DataService.h"
#include "host/Driver.h"

namespace orlodbc {

// Where a connection goes: a properties file, then flags over it.
struct Endpoint {
    std::string propertiesFile;
    std::string dsn;
    std::string user;
    std::string password;
    std::string databaseType;
    bool writeBigIntAsChar = false;
    std::string loginTimeout;  // seconds, as the LoginTimeout property
    std::string queryTimeout;  // seconds, as the QueryTimeout property
};

class DriverHost {
public:
    DriverHost() = default;
    ~DriverHost();
    DriverHost(const DriverHost&) = delete;
    DriverHost& operator=(const DriverHost&) = delete;

    // Loads the library and initialises its driver; false with why() set.
    bool load(const std::string& path, const std::string& serviceName);
    KORVEL::Orl::DB::Driver* driver() const { return driver_; }
    const std::string& why() const { return why_; }

    // The service definition of an endpoint; false (and why()) when its
    // properties file can't be read.
    bool service(const Endpoint& endpoint, KORVEL::Orl::DataService& out);

    // Driver calls that build shared state (the bulk environment) go one at a time.
    std::mutex& factoryLock() { return factoryLock_; }

    // The text of the driver's last log line; the classic statements report
    // their failures there only.
    static void noteLog(const std::string& text);
    static std::string lastLog();

private:
    void* handle_ = nullptr;
    KORVEL::Orl::DB::Driver* driver_ = nullptr;
    std::string serviceName_;
    std::string why_;
    std::mutex factoryLock_;
};

// The error texts of a classic connection (NUL-separated lines) as printable lines.
std::string printableErrors(const std::string& errors);

} // namespace orlodbc
