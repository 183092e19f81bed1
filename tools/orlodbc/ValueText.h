// The text of a query value as orlodbc prints it: one form per kind of value,
// whatever database it came from and whatever zone the machine is in, and
// exact, so that a reader parses back the very value the database holds.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace orlodbc {

// The shortest text that reads back as the same double. A whole number keeps
// ".0" so that it reads as a float ("100.0", "-0.0"); the values no decimal
// text holds print as "NaN", "Infinity" and "-Infinity".
std::string doubleText(double value);

// The same for a single-precision column's value, which reaches the tool
// widened to a double: the shortest text that reads back as the same float
// ("0.1", where the widened double is 0.10000000149011612). A value no float
// holds exactly didn't come from one and prints as doubleText.
std::string realText(double value);

// Calendar fields in UTC (proleptic Gregorian) of microseconds since
// 1970-01-01 00:00:00, in ISO form: "YYYY-MM-DD", "YYYY-MM-DD HH:MM:SS" and
// "HH:MM:SS" for a time. A fraction of a second follows the seconds as up to
// six digits without trailing zeros, and not at all when zero. A time is
// microseconds from midnight; a span past a day runs on in the hours
// ("838:59:59") and one before midnight takes a sign.
std::string dateText(int64_t micros);
std::string timestampText(int64_t micros);
std::string timeText(int64_t micros);

// The same written into `out`, which holds kMomentChars; each returns the
// end of what it wrote (no NUL).
constexpr size_t kMomentChars = 64;
char* putDate(char* out, int64_t micros);
char* putTimestamp(char* out, int64_t micros);
char* putTime(char* out, int64_t micros);

// What a database's text of a boolean says: 1 true, 0 false, -1 neither.
// Takes the spellings the ODBC drivers hand out for a boolean described as
// text ("1", "0", "-1", "t", "f", "true", "false", any case).
int booleanFromText(const std::string& text);

} // namespace orlodbc
