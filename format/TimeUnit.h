// Units of the server's interval settings and values: unit words to codes,
// counts to seconds or microseconds, and the largest count of each unit that
// a signed 64-bit count of microseconds holds.
#pragma once
#include <string>

namespace DataTypes {

enum TimeUnit : int {
    TIME_UNIT_NONE = 0,    // for a null word
    TIME_UNIT_UNKNOWN = 1, // for any word not known
    MICROSECOND = 2,
    MILLISECOND = 3,
    SECOND = 4,
    MINUTE = 5,
    HOUR = 6,
    DAY = 7,
};

// Exact, upper case words only: "SEC" is SECOND, "Seconds" is unknown.
TimeUnit getTimeUnit(const char* word);
// "MICROSECOND" ... "DAY"; "UNKNOWN" outside MICROSECOND..DAY.
std::string getTimeUnitStr(TimeUnit unit);
// A count in seconds, or -1: negative counts, counts below one second of the
// two fine units, and products beyond 31 bits are refused, not rounded.
int getSeconds(TimeUnit unit, int count);
// A count in microseconds, with the sign of `count`; false (result untouched)
// for units outside MICROSECOND..DAY or a magnitude above getTimeUnitMax.
bool getMicroSeconds(TimeUnit unit, long count, long& result);
// The largest count of the unit that fits; 0 outside MICROSECOND..DAY.
long getTimeUnitMax(TimeUnit unit);
// getTimeUnitMax and its negation as text ("0" for both outside the range).
std::string getTimeUnitMaxStr(TimeUnit unit);
std::string getTimeUnitMinStr(TimeUnit unit);

} // namespace DataTypes
