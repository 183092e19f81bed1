// Loads the driver library the way the server does: dlopen + FactoryDriver.
#pragma once
#include <string>

#include "host/Driver.h"

namespace orltest {

class DriverLoader {
public:
    // Path from ORL_DRIVER_PATH, else the build's own library.
    DriverLoader();
    ~DriverLoader();
    DriverLoader(const DriverLoader&) = delete;
    DriverLoader& operator=(const DriverLoader&) = delete;

    // Null with error() set when the library or its symbol can't be found.
    KORVEL::Orl::DB::Driver* driver() const { return driver_; }
    const std::string& error() const { return error_; }

private:
    void* handle_ = nullptr;
    KORVEL::Orl::DB::Driver* driver_ = nullptr;
    std::string error_;
};

} // namespace orltest
