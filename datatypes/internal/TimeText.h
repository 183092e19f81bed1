// Shared pieces of the date and time conversions: format defaults, the "%s"
// epoch form, UTC calendar fields and fractions of a second.
#pragma once
#include <cstdint>
#include <ctime>

namespace DataTypes {
namespace internal {

// The formats the conversions in actually use; never null.
struct TextFormats {
    const char* date;
    const char* timestamp;
    const char* bigdatetime;
    const char* time;
};

// Null date -> g_date_format, null timestamp -> the date format, null
// bigdatetime -> the timestamp format, null time -> g_time_format.
TextFormats resolveFormats(const char* date, const char* timestamp, const char* bigdatetime, const char* time);

// True for exactly "%s" (the terminator is compared too, so "%sZ" is an
// ordinary format): the text is epoch seconds as a number.
bool isEpochFormat(const char* format);

// UTC calendar fields of `seconds`. When gmtime_r fails (the year does not
// fit) the epoch is tried instead; false only if that fails as well.
bool utcFields(int64_t seconds, tm& fields);

// Splits a count of 1/unit seconds into whole seconds and a fraction that
// always counts forward from the earlier second: -1 ms is -1 s and 999.
void splitUnits(int64_t value, int64_t unit, int64_t& whole, int64_t& fraction);

} // namespace internal
} // namespace DataTypes
