// What the bulk benchmarks share: their settings from the environment, the
// driver loaded as the server loads it, and the rows the write benchmarks
// send (integer, double, varchar(20) text, timestamp and numeric(12,2),
// packed as the server packs them).
#pragma once
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "datatypes/DataTypes.h"
#include "host/Driver.h"
#include "host/PreparedStatement.h"

inline std::string env(const char* name, const char* fallback) {
    const char* v = std::getenv(name);
    return v && *v ? v : fallback;
}

// The driver from the library's FactoryDriver, or null with the reason told.
inline KORVEL::Orl::DB::Driver* loadBenchDriver(const char* defaultPath) {
    void* library = dlopen(env("ORL_DRIVER_PATH", defaultPath).c_str(), RTLD_NOW | RTLD_LOCAL);
    auto factory =
        library ? reinterpret_cast<KORVEL::Orl::DB::FactoryDriverFn>(dlsym(library, "FactoryDriver")) : nullptr;
    if (!factory) {
        std::fprintf(stderr, "cannot load the driver: %s\n", dlerror());
        return nullptr;
    }
    return factory("bench");
}

inline std::vector<KORVEL::Orl::DB::RowInternal2*> packedWriteRows(int count) {
    using namespace DataTypes;
    std::vector<KORVEL::Orl::DB::RowInternal2*> rows;
    const unsigned int words[] = {INTEGER, FLOAT, STRING, BIGDATETIME, createFixedDecimal(12, 2)};
    for (int k = 0; k < count; ++k) {
        char text[24], decimal[24];
        std::snprintf(text, sizeof text, "%020d", k);
        std::snprintf(decimal, sizeof decimal, "%d.%02d", k, k % 100);
        DataValue v[5];
        v[0].int32Value = k;
        v[1].doubleValue = k * 0.5;
        v[2].stringValue = text;
        v[3].int64Value = (1704067200LL + k) * 1000000;
        const char* problem = nullptr;
        convertFromString(words[4], decimal, v[4], problem, nullptr, nullptr, nullptr, nullptr);
        size_t size = 56 + 4 * 5;
        for (int j = 0; j < 5; ++j) size += getPackedSize(words[j], v[j]);
        unsigned char* block = static_cast<unsigned char*>(std::calloc(1, size));
        int32_t offset = 56 + 4 * 5;
        for (int j = 0; j <= 5; ++j) {
            std::memcpy(block + 48 + 4 * j, &offset, 4);
            if (j < 5) offset += static_cast<int32_t>(packValue(words[j], v[j], block + offset, size - offset));
        }
        const uint32_t header[4] = {static_cast<uint32_t>(size), 1, 0, 5};
        std::memcpy(block, header, sizeof header);
        rows.push_back(reinterpret_cast<KORVEL::Orl::DB::RowInternal2*>(block));
    }
    return rows;
}
