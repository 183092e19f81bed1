// Values to text and text to values, for every type word.
//
// Failures of the conversions in are reported through `error`, a pointer to
// constant text that the caller must not free; nothing here throws or logs.
// Dates and times are read with DataTypes::strptime and a strptime-style
// format, and printed as UTC calendar fields.
//
// Format arguments on the way in may be null: a null date format means
// g_date_format, a null timestamp format the date format, a null bigdatetime
// format the timestamp format, and a null time format g_time_format. A format
// that is exactly "%s" means epoch seconds as a plain number ("%ld").
#pragma once

#include "datatypes/DataValue.h"

namespace DataTypes {

namespace TolmTypes {
// Entry i holds the four ASCII digits of i with leading zeros, "0000" to
// "9999", without terminators: decimals print four digits per step.
extern const char four2ascii[10000][4];
} // namespace TolmTypes

// Formats one packed value into `out` (at most `size` bytes with the NUL).
// `swap`: the packed scalar is in the opposite byte order. `zoneSuffix`:
// "+00" goes behind dates, times, timestamps and bigdatetimes.
// STRING, BINARY, UNKNOWN, 9 and low bytes above 30 leave `out` untouched.
// A DATE or TIME is read with g_dateSize or g_timeSize bytes (4 = signed
// 32-bit). An impossible date prints as the epoch or as the empty string.
void convertToString(const unsigned int& word, bool swap, bool zoneSuffix, unsigned char* packed, char* out,
                     unsigned long size);
// The same for a value. A NULL value, a STRING and a BINARY leave `out`
// untouched: a caller that wants "" for NULL writes it itself.
void convertToString(const unsigned int& word, bool swap, bool zoneSuffix, DataValue& value, char* out,
                     unsigned long size);

// A FLOAT with about 15 significant digits: "%0.15e" for magnitudes up to
// 1e-15 and from 1e16, else fixed notation. NULL gives "". `word` is unused.
void convertDoubleToString(const unsigned int& word, bool swap, DataValue& value, char* out,
                           unsigned long size);

// Parses `text` by the type word and writes its packed form at `out`, which
// holds `size` bytes. Returns the bytes written, or 0xFFFFFFFF (-1 as a signed
// 32-bit number) with `error` set; `out` may then hold partial bytes.
// `swap` reverses the bytes of the scalar result (not a BINARY's length).
unsigned long convertFromStringAndPack(const unsigned int& word, bool swap, const char* text, unsigned char* out,
                                       unsigned long size, const char*& error, const char* dateFormat,
                                       const char* timestampFormat, const char* bigdatetimeFormat,
                                       const char* timeFormat);

// Parses `text` into `value`. A STRING or BINARY value owns a malloc'ed copy
// and frees the one it held before (unless it was NULL): never convert into a
// value that borrows its text from packed bytes. For the other types isNull is
// cleared first and stays cleared on failure; the value is written only on success.
bool convertFromString(const unsigned int& word, const char* text, DataValue& value, const char*& error,
                       const char* dateFormat, const char* timestampFormat, const char* bigdatetimeFormat,
                       const char* timeFormat);

// A malloc'ed text of a packed value, for the caller to free. Dates, times,
// timestamps and bigdatetimes are printed with strftime and the given formats
// (a null format takes the default of the conversions in); strings are
// copied, binaries become upper-case hex, all else prints as convertToString.
// Null only when memory runs out.
char* unpackToNewString(unsigned char* packed, const unsigned int& word, const char* dateFormat,
                        const char* timestampFormat, const char* bigdatetimeFormat, const char* timeFormat);

} // namespace DataTypes
