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

std::string packedRoundTrip(unsigned int word, const char* text, bool swap) {
    unsigned char packed[64];
    const char* error = nullptr;
    const unsigned long n = DataTypes::convertFromStringAndPack(word, swap, text, packed, sizeof packed, error,
                                                                kPrintedDateFormat, nullptr, nullptr, nullptr);
    if (static_cast<int>(n) < 0) return std::string("error: ") + (error ? error : "(none)");
    char out[128] = "untouched";
    DataTypes::convertToString(word, swap, false, packed, out, sizeof out);
    return out;
}

std::string valueRoundTrip(unsigned int word, const char* text) {
    DataTypes::DataValue v;
    const char* error = nullptr;
    if (!DataTypes::convertFromString(word, text, v, error, kPrintedDateFormat, nullptr, nullptr, nullptr))
        return std::string("error: ") + (error ? error : "(none)");
    return print(word, v);
}

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
