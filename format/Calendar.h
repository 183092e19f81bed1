// Calendar helpers of the plain date conversions: the library's own strptime,
// tm2sec, splitting the fraction off a time text, and the global formats.
#pragma once
#include <ctime>
#include <shared_mutex>

namespace DataTypes {

// Format of dates for the plain conversions; starts as "%Y-%m-%dT%H:%M:%S".
extern char* g_date_format;
// Whether g_date_format is a heap copy that the next setDateFormat frees.
extern bool g_date_format_allocated;
// Format of times, "%H:%M:%S"; nothing here changes it.
extern char* g_time_format;

// Replaces g_date_format by a copy of `format` and frees the previous copy.
// Set-up only: readers may still hold the old text. A null `format`, or a
// copy that can't be allocated, leaves the current format in place.
void setDateFormat(char* format);

// The process zone (TZ and the C library's zone state) against the library's
// own time calls. The bulk connection sets TZ=UTC process-wide while other
// threads may be converting: putenv changes the environment that getenv
// reads, and tzset frees the zone text that mktime and gmtime_r use. Time
// calls hold it shared, the zone set-up exclusively.
std::shared_mutex& processZoneLock();

// gmtime_r under the shared zone lock.
tm* zoneSafeGmtime(const time_t* t, tm* out);

// Seconds since 1970-01-01 from the six date and time fields, or -1 (also
// for a null record).
// From tm_year 70 on this is UTC arithmetic (tm_mon must be 0..11, the other
// fields are not range-checked, and a negative result is -1). Earlier years go
// to mktime and so follow the process zone: callers set TZ=UTC for UTC there.
long tm2sec(const tm* t);
// tm2sec's arithmetic for tm_year 70 on, from the fields as a tm holds them
// (years from 1900, months from 0), without a tm to fill: for callers that
// convert a value a row.
long secondsFrom1970(int year, int month, int day, int hour, int minute, int second);

// A locale-free strptime, not the C library's. Resets *t to 1970-01-01
// 00:00:00 first and returns the position after the parsed text (trailing
// input is not an error), or null with *t partly filled. Null arguments give null.
// Differences from the C library's that callers rely on: composites (%c %D %R
// %r %T %X %x) restart from the defaults, dropping what came before them;
// %p compares the whole rest of the input, so it must end it; %C sets
// tm_year to n * 100; %j sets tm_yday only.
// Call it qualified: with a tm* argument, an unqualified call also finds ::strptime.
const char* strptime(const char* input, const char* format, tm* t);

// Splits "time.fraction" at the last point. `whole` gets the text before it,
// `fraction` the first 3 non-blank characters after it, padded with '0'
// ("000" without a point). Both are malloc blocks for the caller to free.
// False (both null) only when memory runs out.
bool splitTimestamp(const char* text, char*& whole, char*& fraction);
// The same with 6 fraction characters.
bool splitBigdatetime(const char* text, char*& whole, char*& fraction);

} // namespace DataTypes
