#include "ConversionTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace convtest {

namespace {

// Dates before 1970 go through mktime, which follows the process zone: the
// driver sets TZ=UTC, and so do these tests, before any conversion runs.
struct UtcZone {
    UtcZone() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
} const g_utcZone;

} // namespace

DataTypes::DataValue valueOf(unsigned int word, const char* text) {
    DataTypes::DataValue v;
    const char* error = nullptr;
    EXPECT_TRUE(DataTypes::convertFromString(word, text, v, error, kPrintedDateFormat, nullptr, nullptr, nullptr))
        << DataTypes::typeToString(word) << " \"" << text << "\": " << (error ? error : "");
    return v;
}

std::string print(unsigned int word, DataTypes::DataValue& value) {
    char out[128] = "untouched";
    DataTypes::convertToString(word, false, false, value, out, sizeof out);
    return out;
}

} // namespace convtest
