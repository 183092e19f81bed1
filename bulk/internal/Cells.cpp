#include "bulk/internal/Cells.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>

#include "bulk/internal/Report.h"
#include "datatypes/DataTypes.h"
#include "format/Calendar.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

using namespace DataTypes;

namespace {

// Seconds of the date and time fields, read as UTC. The rest of the tm is
// cleared: years before 1970 go through mktime, which reads all of it. From
// 1970 on, tm2sec's own arithmetic without the tm, once a cell.
long secondsOf(const SQL_TIMESTAMP_STRUCT& ts) {
    if (ts.year >= 1970)
        return secondsFrom1970(ts.year - 1900, ts.month - 1, ts.day, ts.hour, ts.minute, ts.second);
    tm t;
    std::memset(&t, 0, sizeof t);
    t.tm_year = ts.year - 1900;
    t.tm_mon = ts.month - 1;
    t.tm_mday = ts.day;
    t.tm_hour = ts.hour;
    t.tm_min = ts.minute;
    t.tm_sec = ts.second;
    return tm2sec(&t);
}

// Seconds and a forward-counting fraction (in `unit`ths) of a signed count of
// `unit`ths of a second: -1 ms is second -1 plus 999 ms.
void splitUnits(int64_t value, int64_t unit, int64_t& seconds, int64_t& fraction) {
    fraction = value % unit;
    if (fraction < 0) fraction = -fraction;
    seconds = value / unit;
    if (value < 0 && fraction != 0) {
        fraction = unit - fraction;
        seconds = (value - fraction) / unit;
    }
}

} // namespace

bool timestampOf(unsigned int word, int64_t value, SQL_TIMESTAMP_STRUCT& ts) {
    int64_t seconds = value, fraction = 0, nanosPerUnit = 0;
    if (typeOf(word) == TIMESTAMP) {
        splitUnits(value, 1000, seconds, fraction);
        nanosPerUnit = 1000000;
    } else if (typeOf(word) == BIGDATETIME) {
        splitUnits(value, 1000000, seconds, fraction);
        nanosPerUnit = 1000;
    }
    time_t t = static_cast<time_t>(seconds);
    tm fields;
    if (DataTypes::zoneSafeGmtime(&t, &fields) == nullptr) return false;
    ts.year = static_cast<SQLSMALLINT>(fields.tm_year + 1900);
    ts.month = static_cast<SQLUSMALLINT>(fields.tm_mon + 1);
    ts.day = static_cast<SQLUSMALLINT>(fields.tm_mday);
    ts.hour = static_cast<SQLUSMALLINT>(fields.tm_hour);
    ts.minute = static_cast<SQLUSMALLINT>(fields.tm_min);
    ts.second = static_cast<SQLUSMALLINT>(fields.tm_sec);
    ts.fraction = static_cast<SQLUINTEGER>(fraction * nanosPerUnit);
    return true;
}

void timeOf(int64_t value, SQL_TIME_STRUCT& t) {
    t.hour = static_cast<SQLUSMALLINT>(value / 3600);
    t.minute = static_cast<SQLUSMALLINT>((value % 3600) / 60);
    t.second = static_cast<SQLUSMALLINT>(value % 60);
}

bool storeTimeValue(unsigned int word, const SQL_TIMESTAMP_STRUCT& ts, void* target) {
    int64_t value;
    switch (typeOf(word)) {
    case DATE:
        // The time of day that the driver delivers stays in.
        value = secondsOf(ts);
        break;
    case TIMESTAMP:
        value = static_cast<int64_t>(secondsOf(ts)) * 1000 + ts.fraction / 1000000;
        break;
    case BIGDATETIME:
        value = static_cast<int64_t>(secondsOf(ts)) * 1000000 + ts.fraction / 1000;
        break;
    case TIME:
        value = ts.hour * 3600 + ts.minute * 60 + ts.second;
        break;
    default:
        return false;
    }
    std::memcpy(target, &value, sizeof value);
    return true;
}

bool plainInteger(const char* text, SQLLEN length, int64_t least, int64_t most, int64_t& out) {
    const char* p = text;
    const char* end = text + length;
    const bool negative = p < end && *p == '-';
    if (negative) ++p;
    const SQLLEN digits = end - p;
    if (digits < 1 || digits > 18 || (*p == '0' && (digits > 1 || negative))) return false;
    int64_t value = 0;
    for (; p < end; ++p) {
        const unsigned d = static_cast<unsigned char>(*p) - '0';
        if (d > 9) return false;
        value = value * 10 + d;
    }
    if (negative) value = -value;
    if (value < least || value > most) return false;
    out = value;
    return true;
}

namespace {

// Powers of ten that a double holds exactly.
const double kExactTens[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                             1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// A decimal text whose digits make an integer of at most 2^53 and whose
// power of ten is at most 22 either way: one multiplication or division of
// two exact doubles, which IEEE arithmetic rounds correctly, as strtod does.
// False when the text is longer or not of the form
// "[-]digits[.digits][e[+-]digits]".
bool shortDecimal(const char* p, const char* end, double& out) {
    const bool negative = p < end && *p == '-';
    if (negative) ++p;
    uint64_t mantissa = 0;
    const char* q = p;
    for (unsigned d; q < end && (d = static_cast<unsigned char>(*q) - '0') <= 9; ++q) mantissa = mantissa * 10 + d;
    long digits = q - p;
    int exponent = 0;
    if (q < end && *q == '.') {
        const char* f = ++q;
        for (unsigned d; q < end && (d = static_cast<unsigned char>(*q) - '0') <= 9; ++q) mantissa = mantissa * 10 + d;
        digits += q - f;
        exponent = -static_cast<int>(q - f);
    }
    // Up to 19 digits can't overflow the mantissa.
    if (digits == 0 || digits > 19 || mantissa > (uint64_t(1) << 53)) return false;
    if (q < end) {
        if (*q != 'e' && *q != 'E') return false;
        ++q;
        const bool down = q < end && *q == '-';
        if (q < end && (*q == '-' || *q == '+')) ++q;
        if (q == end || end - q > 4) return false;
        int e = 0;
        for (; q < end; ++q) {
            const unsigned d = static_cast<unsigned char>(*q) - '0';
            if (d > 9) return false;
            e = e * 10 + static_cast<int>(d);
        }
        exponent += down ? -e : e;
    }
    double value = static_cast<double>(mantissa);
    if (mantissa != 0) {
        if (exponent < -22 || exponent > 22) return false;
        value = exponent < 0 ? value / kExactTens[-exponent] : value * kExactTens[exponent];
    }
    out = negative ? -value : value;
    return true;
}

} // namespace

bool plainDouble(const char* text, SQLLEN length, double& out) {
    if (length < 1) return false;
    // Its own grammar is a narrower one than the one below.
    if (shortDecimal(text, text + length, out)) return true;
    for (SQLLEN k = 0; k < length; ++k) {
        const char c = text[k];
        const bool exponentSign = c == '+' && k > 0 && (text[k - 1] == 'e' || text[k - 1] == 'E');
        if (!((c >= '0' && c <= '9') || c == '.' || c == '-' || c == 'e' || c == 'E' || exponentSign)) return false;
    }
    double value = 0;
    const std::from_chars_result r = std::from_chars(text, text + length, value, std::chars_format::general);
    if (r.ec != std::errc() || r.ptr != text + length || !std::isfinite(value)) return false;
    out = value;
    return true;
}

namespace {

// `n` digits at `p` as a number; false at anything but a digit.
bool digitsAt(const char* p, int n, unsigned& out) {
    unsigned value = 0;
    for (int k = 0; k < n; ++k) {
        const unsigned d = static_cast<unsigned char>(p[k]) - '0';
        if (d > 9) return false;
        value = value * 10 + d;
    }
    out = value;
    return true;
}

unsigned daysIn(unsigned year, unsigned month) {
    static const unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : days[month - 1];
}

} // namespace

namespace {

// Eight bytes of text in text order, the first in the low byte.
inline uint64_t eightAt(const char* p) {
    uint64_t x;
    std::memcpy(&x, p, sizeof x);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    x = __builtin_bswap64(x);
#endif
    return x;
}

// Eight bytes XORed with the pattern they should match (digits against '0',
// separators against themselves): zero where a separator is right, 0 to 9
// where a digit is. True when every byte is so and `separators` (a mask of
// the separator bytes) finds nothing else. A byte of 0x80 or above is caught
// by `x` itself; the carry it may pass on only spoils a check that already
// fails.
inline bool plainBytes(uint64_t x, uint64_t separators) {
    return (((x + 0x7676767676767676u) | x) & 0x8080808080808080u) == 0 && (x & separators) == 0;
}

inline unsigned byteOf(uint64_t x, int k) { return static_cast<unsigned>(x >> (8 * k)) & 0xFF; }

} // namespace

// Eight bytes at a time: it runs for every time cell of a block.
bool plainTimestamp(const char* text, SQLLEN length, SQL_TIMESTAMP_STRUCT& ts) {
    if (length != 10 && length < 19) return false;
    // "YYYY-MM-" against "0000-00-".
    const uint64_t date = eightAt(text) ^ 0x2D30302D30303030u;
    const unsigned d8 = static_cast<unsigned char>(text[8]) - '0', d9 = static_cast<unsigned char>(text[9]) - '0';
    if (!plainBytes(date, 0xFF0000FF00000000u) || d8 > 9 || d9 > 9) return false;
    const unsigned year = byteOf(date, 0) * 1000 + byteOf(date, 1) * 100 + byteOf(date, 2) * 10 + byteOf(date, 3);
    const unsigned month = byteOf(date, 5) * 10 + byteOf(date, 6), day = d8 * 10 + d9;
    unsigned hour = 0, minute = 0, second = 0, fraction = 0;
    if (length > 10) {
        // " " then "HH:MM:SS" against "00:00:00".
        const uint64_t time = eightAt(text + 11) ^ 0x30303A30303A3030u;
        if (text[10] != ' ' || !plainBytes(time, 0x0000FF0000FF0000u)) return false;
        hour = byteOf(time, 0) * 10 + byteOf(time, 1);
        minute = byteOf(time, 3) * 10 + byteOf(time, 4);
        second = byteOf(time, 6) * 10 + byteOf(time, 7);
    }
    if (year == 0 || month < 1 || month > 12 || day < 1 || day > daysIn(year, month) || hour > 23 || minute > 59 ||
        second > 59)
        return false;
    if (length > 19) {
        const SQLLEN places = length - 20;
        if (text[19] != '.' || places < 1 || places > 9 || !digitsAt(text + 20, static_cast<int>(places), fraction))
            return false;
        for (SQLLEN k = places; k < 9; ++k) fraction *= 10;
    }
    ts.year = static_cast<SQLSMALLINT>(year);
    ts.month = static_cast<SQLUSMALLINT>(month);
    ts.day = static_cast<SQLUSMALLINT>(day);
    ts.hour = static_cast<SQLUSMALLINT>(hour);
    ts.minute = static_cast<SQLUSMALLINT>(minute);
    ts.second = static_cast<SQLUSMALLINT>(second);
    ts.fraction = fraction;
    return true;
}

int packDecimalText(unsigned int word, const char* text, void* target, long& length, DBError* error) {
    const unsigned long room = typeOf(word) == FIXEDDECIMAL ? 24 : 8;
    const char* message = nullptr;
    unsigned long n = convertFromStringAndPack(word, false, text, static_cast<unsigned char*>(target), room, message,
                                               nullptr, nullptr, nullptr, nullptr);
    if (static_cast<int32_t>(n) < 0) {
        reportLibrary(error, message ? message : "");
        return -1;
    }
    length = static_cast<long>(room);
    return 0;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
