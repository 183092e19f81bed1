#include "tools/orlodbc/DriverHost.h"

#include <dlfcn.h>

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace orlodbc {

namespace {
std::mutex g_logMutex;
std::string g_lastLog;
} // namespace

void DriverHost::noteLog(const std::string& text) {
    std::lock_guard<std::mutex> lock(g_logMutex);
    g_lastLog = text;
}

std::string DriverHost::lastLog() {
    std::lock_guard<std::mutex> lock(g_logMutex);
    return g_lastLog;
}

DriverHost::~DriverHost() {
    delete driver_;
    // The library stays loaded: its static destructors run at exit, after
    // anything of ours that may still hold its objects.
}

bool DriverHost::load(const std::string& path, const std::string& serviceName) {
    serviceName_ = serviceName;
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) {
        const char* text = dlerror();
        why_ = std::string("cannot load driver: ") + (text ? text : path.c_str());
        return false;
    }
    auto factory = reinterpret_cast<FactoryDriverFn>(dlsym(handle_, "FactoryDriver"));
    if (factory == nullptr) {
        why_ = path + " exports no FactoryDriver";
        return false;
    }
    driver_ = factory(serviceName.c_str());
    if (driver_ == nullptr || driver_->initialize() != 1) {
        why_ = "the driver did not initialise";
        return false;
    }
    return true;
}

bool DriverHost::service(const Endpoint& e, DataService& out) {
    out = DataService(serviceName_);
    if (!e.propertiesFile.empty() && !out.loadProperties(e.propertiesFile)) {
        why_ = "cannot read " + e.propertiesFile;
        return false;
    }
    // Flags win over the file.
    if (!e.dsn.empty()) out.setProperty("DSN", e.dsn);
    if (!e.user.empty()) out.setProperty("User", e.user);
    if (!e.password.empty()) out.setProperty("Password", e.password);
    if (!e.databaseType.empty()) out.setProperty("DatabaseType", e.databaseType);
    if (e.writeBigIntAsChar) out.setProperty("WriteBigIntAsChar", "true");
    if (!e.loginTimeout.empty()) out.setProperty("LoginTimeout", e.loginTimeout);
    if (!e.queryTimeout.empty()) out.setProperty("QueryTimeout", e.queryTimeout);
    return true;
}

std::string printableErrors(const std::string& errors) {
    std::string out;
    for (char c : errors)
        if (c != '\0') out += c;
    while (!out.empty() && (out.front() == '\n' || out.back() == '\n')) {
        if (out.front() == '\n') out.erase(out.begin());
        else out.pop_back();
    }
    return out;
}

} // namespace orlodbc
