#include "support/DriverLoader.h"

#include <dlfcn.h>

#include <cstdlib>

namespace orltest {

DriverLoader::DriverLoader() {
    const char* env = std::getenv("ORL_DRIVER_PATH");
    std::string path = env && *env ? env : ORL_DRIVER_PATH;
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) {
        error_ = dlerror();
        return;
    }
    auto factory = reinterpret_cast<KORVEL::Orl::DB::FactoryDriverFn>(dlsym(handle_, "FactoryDriver"));
    if (factory == nullptr) {
        error_ = "FactoryDriver not exported";
        return;
    }
    driver_ = factory("orl-test");
}

DriverLoader::~DriverLoader() {
    delete driver_;
    // The library stays loaded: unloading it under the sanitizers loses the
    // symbols of leak reports, and the process ends soon anyway.
}

} // namespace orltest
