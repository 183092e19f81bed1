#include "datatypes/internal/TimeText.h"

#include <cstring>

#include "format/Calendar.h"

namespace DataTypes {
namespace internal {

TextFormats resolveFormats(const char* date, const char* timestamp, const char* bigdatetime, const char* time) {
    TextFormats f;
    f.date = date ? date : g_date_format;
    f.timestamp = timestamp ? timestamp : f.date;
    f.bigdatetime = bigdatetime ? bigdatetime : f.timestamp;
    f.time = time ? time : g_time_format;
    // setDateFormat may have stored a null after a failed strdup.
    if (f.date == nullptr) f.date = "";
    if (f.timestamp == nullptr) f.timestamp = f.date;
    if (f.bigdatetime == nullptr) f.bigdatetime = f.timestamp;
    if (f.time == nullptr) f.time = "";
    return f;
}

// strcmp stops at a shorter format, where a three-byte memcmp could read past it.
bool isEpochFormat(const char* format) { return format != nullptr && std::strcmp(format, "%s") == 0; }

bool utcFields(int64_t seconds, tm& fields) {
    const time_t t = static_cast<time_t>(seconds);
    if (DataTypes::zoneSafeGmtime(&t, &fields) != nullptr) return true;
    const time_t epoch = 0;
    return DataTypes::zoneSafeGmtime(&epoch, &fields) != nullptr;
}

void splitUnits(int64_t value, int64_t unit, int64_t& whole, int64_t& fraction) {
    whole = value / unit;
    const int64_t rest = value % unit;
    fraction = rest < 0 ? -rest : rest;
    if (value < 0 && fraction != 0) {
        // (value - (unit - fraction)) / unit, without the overflow that
        // subtraction has near the smallest 64-bit value.
        fraction = unit - fraction;
        whole -= 1;
    }
}

} // namespace internal
} // namespace DataTypes
