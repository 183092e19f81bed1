#include "tools/orlodbc/ValueText.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

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

std::string dayText(int64_t days) {
    const Civil c = civilFromDays(days);
    char text[32];
    std::snprintf(text, sizeof text, c.year < 0 ? "%05lld-%02d-%02d" : "%04lld-%02d-%02d",
                  static_cast<long long>(c.year), c.month, c.day);
    return text;
}

// "HH:MM:SS" and the fraction of microseconds from midnight; the hours go
// on past 23 for a span longer than a day.
std::string clockText(int64_t micros) {
    std::string sign;
    if (micros < 0) {
        sign = "-";
        micros = -micros;
    }
    const int64_t seconds = micros / kMicrosPerSecond;
    char text[48];
    int n = std::snprintf(text, sizeof text, "%02lld:%02d:%02d", static_cast<long long>(seconds / 3600),
                          static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
    int64_t fraction = micros % kMicrosPerSecond;
    if (fraction != 0) {
        int digits = 6;
        while (fraction % 10 == 0) {
            fraction /= 10;
            --digits;
        }
        std::snprintf(text + n, sizeof text - n, ".%0*lld", digits, static_cast<long long>(fraction));
    }
    return sign + text;
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

std::string dateText(int64_t micros) { return dayText(floorDiv(micros, kMicrosPerDay)); }

std::string timestampText(int64_t micros) {
    const int64_t days = floorDiv(micros, kMicrosPerDay);
    return dayText(days) + " " + clockText(micros - days * kMicrosPerDay);
}

std::string timeText(int64_t micros) { return clockText(micros); }

int booleanFromText(const std::string& text) {
    std::string word;
    for (char ch : text) word += static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    if (word == "1" || word == "-1" || word == "t" || word == "true") return 1;
    if (word == "0" || word == "f" || word == "false") return 0;
    return -1;
}

} // namespace orlodbc
