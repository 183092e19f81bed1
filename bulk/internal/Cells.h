// What a column's fetcher makes of the bytes the driver delivers, apart from
// how they are read: the row-at-a-time fetchers (SQLGetData) and the row
// blocks (SQLBindCol arrays) both go through these, so a value is the same
// whichever way it came.
#pragma once
#include <sql.h>
#include <sqlext.h>

#include <cstddef>
#include <cstdint>

namespace KORVEL { namespace Orl { namespace DB {
class DBError;
namespace ODBC {

// Bytes of a packed row ahead of its first value, for `columns` columns:
// the 48-byte head, the offset table (one entry more than the columns) and
// the spare word behind it, which packValues zeroes.
constexpr long packedHeaderSize(size_t columns) { return static_cast<long>(4 * columns + 56); }

// First read of a text column: a text of exactly this many bytes fails row by
// row (it comes back truncated with a length that isn't above the buffer).
constexpr SQLLEN kTextFirstRead = 128;
// Room for the text of a money or fixed decimal value; 32 characters or more
// fail as truncated.
constexpr SQLLEN kDecimalTextRoom = 32;

// The 64-bit value of a date, timestamp, bigdatetime or time column (by the
// low byte of `word`) into `target`; false, and nothing stored, for any other type.
bool storeTimeValue(unsigned int word, const SQL_TIMESTAMP_STRUCT& ts, void* target);

// Packs the text of a money or decimal column into `target` (24 bytes of room
// for a fixed decimal, 8 otherwise) and sets `length` to that room. A text
// the parser refuses: source "dbaccess", its message, -1.
int packDecimalText(unsigned int word, const char* text, void* target, long& length, DBError* error);

// Numbers and times that a block reads as text and converts itself, where
// the driver's own conversion costs more than the read (SQLite's). Only
// the plainest forms are taken, those the driver is known to convert to the
// same value: anything else, false, is read again with the driver's
// conversion. An integer: an optional '-' and at most 18 digits, no
// leading zero, "-0" not, within [`least`, `most`].
bool plainInteger(const char* text, SQLLEN length, int64_t least, int64_t most, int64_t& out);
// A double: the text SQLite's driver itself hands to strtod for an
// SQL_C_DOUBLE, read as strtod reads it in the C locale, correctly rounded.
// Taken: digits, '.', an exponent, '-' signs and '+' after the exponent's
// 'e' only, the whole text, a finite value.
bool plainDouble(const char* text, SQLLEN length, double& out);
// A timestamp: "YYYY-MM-DD", "YYYY-MM-DD HH:MM:SS" or that with a '.' and
// 1 to 9 digits of fraction, a real date of the years 1 to 9999, hours to 23,
// minutes and seconds to 59.
bool plainTimestamp(const char* text, SQLLEN length, SQL_TIMESTAMP_STRUCT& ts);

// The ODBC timestamp of a DATE (seconds), TIMESTAMP (milliseconds) or
// BIGDATETIME (microseconds) value by the low byte of `word`, in UTC; before
// 1970 the fraction counts forward from the earlier whole second. False when
// the C library can't split the seconds.
bool timestampOf(unsigned int word, int64_t value, SQL_TIMESTAMP_STRUCT& ts);
// The ODBC time of a TIME value, seconds of the day.
void timeOf(int64_t value, SQL_TIME_STRUCT& t);

}}}} // namespace KORVEL::Orl::DB::ODBC
