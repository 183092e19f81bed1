// The mask conversions of the three time values, for the host. All values
// are signed 64-bit counts from 1970-01-01 00:00:00 UTC: a date in seconds, a
// timestamp in milliseconds, a bigdatetime in microseconds. Masks are those
// of TimeFormatParser; zones are ICU identifiers, null or "" meaning UTC.
#pragma once
#include <string>

namespace DataTypes {

// Print `value` through `mask` on the clock of `zone`, appending to `out`
// (pass it empty). An invalid zone, a null mask or a mask that can't be
// printed leave `out` empty. A negative bigdatetime prints skewed: its whole
// seconds are taken from the unsigned value; before 1970 only timestamps and
// dates are meaningful (a timestamp's fraction then prints negative).
void TimestampToString(long value, const char* mask, const char* zone, std::string& out);
void DateToString(long value, const char* mask, const char* zone, std::string& out);
void BigDateTimeToString(long value, const char* mask, const char* zone, std::string& out);

// Read `text` through `mask`. False on any mismatch, `result` then untouched.
// Fields are read as UTC; a zone of the mask (TZD, TZR, TZH, TZM) has its
// offset added, so "12:00 +05" reads as 17:00 UTC: not the inverse of printing.
bool TimestampFromString(const char* text, const char* mask, long& result);   // milliseconds
bool BigDateTimeFromString(const char* text, const char* mask, long& result); // microseconds
bool TimeFromString(const char* text, const char* mask, long& result);        // seconds
bool DateFromString(const char* text, const char* mask, long& result);        // seconds, as TimeFromString

} // namespace DataTypes
