#include "format/Calendar.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "host/DataService.h"

namespace DataTypes {

namespace {

char s_defaultDateFormat[] = "%Y-%m-%dT%H:%M:%S";
char s_defaultTimeFormat[] = "%H:%M:%S";

// Days from 1 March to the first of each month, by tm_mon: the year is
// counted from March so that the leap day falls at its end.
constexpr int kDaysFromMarch[12] = {306, 337, 0, 31, 61, 92, 122, 153, 184, 214, 245, 275};

// Days from 1 March 1900 to 1 January 1970 in the same count.
constexpr int kEpochDays = 25508;

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Both halves as malloc blocks; the fraction is `digits` characters, '0'
// where the text runs short, cut (not rounded) where it runs long.
bool splitAtLastPoint(const char* text, size_t digits, char*& whole, char*& fraction) {
    whole = nullptr;
    fraction = nullptr;
    if (text == nullptr) text = "";
    const char* point = std::strrchr(text, '.');
    size_t wholeLength = point ? static_cast<size_t>(point - text) : std::strlen(text);

    whole = static_cast<char*>(std::malloc(wholeLength + 1));
    fraction = static_cast<char*>(std::malloc(digits + 1));
    if (whole == nullptr || fraction == nullptr) {
        std::free(whole);
        std::free(fraction);
        whole = nullptr;
        fraction = nullptr;
        return false;
    }
    intl_strlcpy(whole, text, wholeLength + 1);
    std::memset(fraction, '0', digits);
    fraction[digits] = '\0';
    if (point != nullptr) {
        size_t n = 0;
        for (const char* p = point + 1; *p != '\0' && n < digits; ++p) {
            if (!isBlank(*p)) fraction[n++] = *p;
        }
    }
    return true;
}

// Whether the process zone is the one the bulk connections set, TZ=UTC. There
// mktime is UTC arithmetic, which is quicker done here: mktime looks the zone
// up again on every call.
bool isUtcZone() {
    const char* zone = std::getenv("TZ");
    return zone != nullptr && std::strcmp(zone, "UTC") == 0;
}

// A record whose fields lie in their usual ranges, with no daylight-saving
// claim, as strptime makes them: mktime in UTC only normalises such a one by
// plain arithmetic, which utcSeconds repeats. Others go to mktime itself.
bool isPlainRecord(const tm& t) {
    return t.tm_year >= -1900 && t.tm_mon >= 0 && t.tm_mon <= 11 && t.tm_mday >= 1 && t.tm_mday <= 31 &&
           t.tm_hour >= 0 && t.tm_hour <= 23 && t.tm_min >= 0 && t.tm_min <= 59 && t.tm_sec >= 0 && t.tm_sec <= 61 &&
           t.tm_isdst == 0;
}

// Seconds of a plain record in the proleptic Gregorian calendar, days past
// the month's end running on into the next one, as mktime counts them in UTC.
long utcSeconds(const tm& t) {
    // Years counted from 1 March, so that the leap day falls at the end.
    const int64_t year = static_cast<int64_t>(t.tm_year) + 1900 - (t.tm_mon < 2 ? 1 : 0);
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfYear = kDaysFromMarch[t.tm_mon] + t.tm_mday - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    const int64_t days = era * 146097 + dayOfEra - 719468;  // 719468: 0000-03-01 to 1970-01-01
    return static_cast<long>(((days * 24 + t.tm_hour) * 60 + t.tm_min) * 60 + t.tm_sec);
}

} // namespace

char* g_date_format = s_defaultDateFormat;
bool g_date_format_allocated = false;
char* g_time_format = s_defaultTimeFormat;

void setDateFormat(char* format) {
    if (format == nullptr) return;
    // Copy first: when memory runs out the old format stays in force rather
    // than leaving readers a null pointer.
    char* copy = strdup(format);
    if (copy == nullptr) return;
    if (g_date_format_allocated) std::free(g_date_format);
    g_date_format = copy;
    g_date_format_allocated = true;
}

std::shared_mutex& processZoneLock() {
    static std::shared_mutex lock;
    return lock;
}

tm* zoneSafeGmtime(const time_t* t, tm* out) {
    std::shared_lock<std::shared_mutex> zone(processZoneLock());
    return gmtime_r(t, out);
}

long tm2sec(const tm* t) {
    if (t == nullptr) return -1;
    if (t->tm_year <= 69) {
        // Before 1970 the C library decides, in the process zone; mktime
        // normalises its own copy, the caller's record stays as it was.
        std::shared_lock<std::shared_mutex> zone(processZoneLock());
        if (isUtcZone() && isPlainRecord(*t)) return utcSeconds(*t);
        tm local = *t;
        return static_cast<long>(mktime(&local));
    }
    return secondsFrom1970(t->tm_year, t->tm_mon, t->tm_mday, t->tm_hour, t->tm_min, t->tm_sec);
}

long secondsFrom1970(int year, int month, int day, int hour, int minute, int second) {
    if (month < 0 || month > 11) return -1;
    int32_t y = year - (month < 2 ? 1 : 0);
    // The day count is a 32-bit sum; it wraps (rather than trapping) for
    // absurd years, and a wrapped count turns negative and gives -1 below or
    // a wrong date, as it always has.
    uint32_t days = static_cast<uint32_t>(y) * 365u + static_cast<uint32_t>(y / 4) -
                    static_cast<uint32_t>(y / 100) + static_cast<uint32_t>((y / 100 + 3) / 4) +
                    static_cast<uint32_t>(kDaysFromMarch[month]) + static_cast<uint32_t>(day) - 1u -
                    static_cast<uint32_t>(kEpochDays);
    int64_t seconds = ((static_cast<int64_t>(static_cast<int32_t>(days)) * 24 + hour) * 60 + minute) * 60 + second;
    return seconds < 0 ? -1 : static_cast<long>(seconds);
}

bool splitTimestamp(const char* text, char*& whole, char*& fraction) {
    return splitAtLastPoint(text, 3, whole, fraction);
}

bool splitBigdatetime(const char* text, char*& whole, char*& fraction) {
    return splitAtLastPoint(text, 6, whole, fraction);
}

} // namespace DataTypes
