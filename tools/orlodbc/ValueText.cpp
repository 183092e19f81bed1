#include "tools/orlodbc/ValueText.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace orlodbc {

namespace {

constexpr int64_t kMicrosPerSecond = 1000000;
constexpr int64_t kMicrosPerDay = 86400 * kMicrosPerSecond;

// Rounds toward minus infinity, so that a moment before 1970 falls on the
// day (and the second) it lies in rather than the one after.
int64_t floorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0); }

struct Civil {
    int64_t year;
    int month;
    int day;
};

// Year, month and day of a day count from 1970-01-01, counting years from
// 1 March so that the leap day falls at their end.
Civil civilFromDays(int64_t days) {
    days += 719468;  // 0000-03-01 to 1970-01-01
    const int64_t era = floorDiv(days, 146097);
    const int64_t dayOfEra = days - era * 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t mp = (5 * dayOfYear + 2) / 153;
    const int day = static_cast<int>(dayOfYear - (153 * mp + 2) / 5 + 1);
    const int month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

// Writes v in decimal, zero-padded to at least `width` digits; returns the end.
char* putDigits(char* p, uint64_t v, int width) {
    char digits[20];
    char* const end = std::to_chars(digits, digits + sizeof digits, v).ptr;
    for (int n = static_cast<int>(end - digits); n < width; ++n) *p++ = '0';
    return std::copy(digits, end, p);
}

// Formatting by hand: these run for every date and time a copy writes as
// column arrays, where snprintf took a ninth of a table's copy.
char* putDay(char* p, int64_t days) {
    const Civil c = civilFromDays(days);
    if (c.year < 0) *p++ = '-';
    p = putDigits(p, static_cast<uint64_t>(c.year < 0 ? -c.year : c.year), 4);
    *p++ = '-';
    p = putDigits(p, static_cast<uint64_t>(c.month), 2);
    *p++ = '-';
    return putDigits(p, static_cast<uint64_t>(c.day), 2);
}

// "HH:MM:SS" and the fraction of microseconds from midnight; the hours go
// on past 23 for a span longer than a day.
char* putClock(char* p, int64_t micros) {
    uint64_t m = static_cast<uint64_t>(micros);
    if (micros < 0) {
        *p++ = '-';
        m = 0 - m;
    }
    const uint64_t seconds = m / kMicrosPerSecond;
    p = putDigits(p, seconds / 3600, 2);
    *p++ = ':';
    p = putDigits(p, seconds / 60 % 60, 2);
    *p++ = ':';
    p = putDigits(p, seconds % 60, 2);
    uint64_t fraction = m % kMicrosPerSecond;
    if (fraction != 0) {
        int digits = 6;
        while (fraction % 10 == 0) {
            fraction /= 10;
            --digits;
        }
        *p++ = '.';
        p = putDigits(p, fraction, digits);
    }
    return p;
}

} // namespace

std::string doubleText(double value) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value < 0 ? "-Infinity" : "Infinity";
    char text[64];
    const std::to_chars_result r = std::to_chars(text, text + sizeof text, value);
    std::string out(text, r.ptr);
    if (out.find_first_of(".e") == std::string::npos) out += ".0";
    return out;
}

std::string realText(double value) {
    if (!std::isfinite(value) || std::fabs(value) > 3.4028234663852886e38 ||
        static_cast<double>(static_cast<float>(value)) != value)
        return doubleText(value);
    char text[64];
    const std::to_chars_result r = std::to_chars(text, text + sizeof text, static_cast<float>(value));
    std::string out(text, r.ptr);
    if (out.find_first_of(".e") == std::string::npos) out += ".0";
    return out;
}

char* putDate(char* out, int64_t micros) { return putDay(out, floorDiv(micros, kMicrosPerDay)); }

char* putTimestamp(char* out, int64_t micros) {
    const int64_t days = floorDiv(micros, kMicrosPerDay);
    char* p = putDay(out, days);
    *p++ = ' ';
    return putClock(p, micros - days * kMicrosPerDay);
}

char* putTime(char* out, int64_t micros) { return putClock(out, micros); }

std::string dateText(int64_t micros) {
    char text[kMomentChars];
    return std::string(text, putDate(text, micros));
}

std::string timestampText(int64_t micros) {
    char text[kMomentChars];
    return std::string(text, putTimestamp(text, micros));
}

std::string timeText(int64_t micros) {
    char text[kMomentChars];
    return std::string(text, putTime(text, micros));
}

int booleanFromText(const std::string& text) {
    std::string word;
    for (char ch : text) word += static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    if (word == "1" || word == "-1" || word == "t" || word == "true") return 1;
    if (word == "0" || word == "f" || word == "false") return 0;
    return -1;
}

} // namespace orlodbc
