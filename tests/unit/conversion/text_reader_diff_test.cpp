// The integer and timestamp readers of the conversions in, against the C
// library and the calendar helpers they stand in for: generated texts, the
// same value or the same message both ways.
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>

#include "datatypes/DataTypes.h"
#include "format/Calendar.h"

namespace DataTypes {
namespace {

constexpr unsigned long kFailed = 0xFFFFFFFFu;

// What a conversion gave: the packed value or the message.
struct Outcome {
    bool ok = false;
    int64_t value = 0;
    std::string message;
    bool operator==(const Outcome& o) const { return ok == o.ok && value == o.value && message == o.message; }
};

std::ostream& operator<<(std::ostream& out, const Outcome& o) {
    return o.ok ? out << "value " << o.value : out << "\"" << o.message << "\"";
}

Outcome packed(unsigned int word, const std::string& text, const char* format) {
    unsigned char out[8] = {};
    const char* error = nullptr;
    Outcome o;
    const unsigned long n = convertFromStringAndPack(word, false, text.c_str(), out, sizeof out, error, format,
                                                     nullptr, nullptr, nullptr);
    if (n == kFailed) {
        o.message = error;
        return o;
    }
    o.ok = true;
    if (n == 2) o.value = *reinterpret_cast<int16_t*>(out);
    else if (n == 4) o.value = *reinterpret_cast<int32_t*>(out);
    else std::memcpy(&o.value, out, 8);
    return o;
}

Outcome failed(const char* message) {
    Outcome o;
    o.message = message;
    return o;
}

Outcome succeeded(int64_t value) {
    Outcome o;
    o.ok = true;
    o.value = value;
    return o;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isSign(char c) { return c == '-' || c == '+'; }

// The integer types as strtol and strtoll judge them.
Outcome integerByStrtol(unsigned int word, const char* text) {
    const bool interval = word == INTERVAL;
    const char* kind = word == LONG ? "long" : interval ? "interval" : "integer";
    const bool begins = interval ? isDigit(text[0]) || (isSign(text[0]) && isDigit(text[1]))
                                 : isDigit(text[0]) || isSign(text[0]);
    if (!begins) return failed((std::string(kind) + " constant does not begin with a legal character").c_str());
    char* end = nullptr;
    errno = 0;
    const long long v = std::strtoll(text, &end, 10);
    if (*end != '\0') return failed((std::string(kind) + " constant does not end with a legal character").c_str());
    const long long lo = word == INT16 ? -32768 : word == INTEGER ? INT_MIN : LLONG_MIN;
    const long long hi = word == INT16 ? 32767 : word == INTEGER ? INT_MAX : LLONG_MAX;
    if (errno == ERANGE || v < lo || v > hi) {
        return failed(word == INT16 ? "16-bit integer constant out of range"
                      : word == LONG ? "long constant out of range"
                                     : "integer constant out of range");
    }
    return succeeded(v);
}

// TIMESTAMP and BIGDATETIME as splitTimestamp, strptime, tm2sec and strtol
// read them, heap blocks and all.
Outcome timestampBySplit(unsigned int word, const char* text, const char* format) {
    const bool big = word == BIGDATETIME;
    char* whole = nullptr;
    char* fraction = nullptr;
    (big ? splitBigdatetime : splitTimestamp)(text, whole, fraction);
    int64_t seconds = 0;
    bool read;
    if (std::strcmp(format, "%s") == 0) {
        long s = 0;
        read = std::sscanf(text, "%ld", &s) == 1;
        seconds = s;
    } else {
        tm fields;
        read = DataTypes::strptime(whole, format, &fields) != nullptr;
        if (read) seconds = tm2sec(&fields);
    }
    const int64_t limit = big ? 9223372036854LL : 9223372036854775LL;
    Outcome o;
    if (!read) {
        o = failed(big ? "bigdatetime constant does not match format" : "timestamp constant does not match format");
    } else if (seconds > limit || seconds < -limit) {
        o = failed(big ? "bigdatetime overflow" : "timestamp overflow");
    } else {
        const int32_t units = static_cast<int32_t>(std::strtol(fraction, nullptr, 10));
        int64_t value = 0;
        if (__builtin_add_overflow(seconds * (big ? 1000000 : 1000), static_cast<int64_t>(units), &value))
            o = failed(big ? "bigdatetime overflow" : "timestamp overflow");
        else
            o = succeeded(value);
    }
    std::free(whole);
    std::free(fraction);
    return o;
}

// Digits with a sign, leading zeros, junk and blanks in places, and the
// lengths at which 16, 32 and 64 bits run out.
std::string integerText(std::mt19937_64& rng) {
    static const char* const kEdges[] = {
        "32767", "32768", "-32768", "-32769", "2147483647", "2147483648", "-2147483648", "-2147483649",
        "9223372036854775807", "9223372036854775808", "-9223372036854775808", "-9223372036854775809",
        "18446744073709551615", "18446744073709551616", "99999999999999999999", "-0", "+0", "0", "",
        "-", "+", "+-1", "--1", " 1", "1 ", "0x10", "1e3", "00000000000000000000000000000042",
    };
    if (rng() % 4 == 0) return kEdges[rng() % (sizeof kEdges / sizeof kEdges[0])];
    std::string t;
    switch (rng() % 6) {
    case 0: t = "-"; break;
    case 1: t = "+"; break;
    default: break;
    }
    if (rng() % 5 == 0) t.append(rng() % 4, '0');
    const std::size_t digits = rng() % 22;
    for (std::size_t i = 0; i < digits; ++i) t += static_cast<char>('0' + rng() % 10);
    if (rng() % 6 == 0) {
        static const char kJunk[] = " x.-+\t9e";
        t.insert(rng() % (t.size() + 1), 1, kJunk[rng() % (sizeof kJunk - 1)]);
    }
    return t;
}

TEST(TextReaders, IntegersReadAsTheCLibraryReadsThem) {
    std::mt19937_64 rng(4242);
    int mismatches = 0;
    for (int i = 0; i < 200000 && mismatches < 10; ++i) {
        const std::string text = integerText(rng);
        for (unsigned int word : {INT16, INTEGER, LONG, INTERVAL}) {
            const Outcome want = integerByStrtol(word, text.c_str());
            const Outcome got = packed(word, text, nullptr);
            if (got == want) continue;
            ++mismatches;
            ADD_FAILURE() << "word " << word << " text \"" << text << "\": want " << want << ", got " << got;
        }
    }
    EXPECT_EQ(0, mismatches);
}

// Timestamps around the epoch and the far years, with fractions short, long,
// blank-riddled, signed or junk, extra points, and wholes longer than any
// stack buffer the reader may keep.
std::string timestampText(std::mt19937_64& rng, bool epochForm) {
    std::string t;
    char buffer[64];
    if (epochForm) {
        std::snprintf(buffer, sizeof buffer, "%lld", static_cast<long long>(rng() % 20000000000ull) - 10000000000LL);
        t = buffer;
    } else {
        std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", static_cast<int>(rng() % 10000),
                      static_cast<int>(rng() % 14), static_cast<int>(rng() % 33), static_cast<int>(rng() % 25),
                      static_cast<int>(rng() % 61), static_cast<int>(rng() % 63));
        t = buffer;
    }
    static const char* const kTails[] = {"", ".", ".5", ".12", ".123", ".1234567", ". 5 6", ".-12", ".+3", ".x",
                                         ".9999999", ".000001", "1.2.3", ".5\t", ". ", ".1 2 3 4 5 6 7"};
    if (rng() % 10 == 0) t.insert(rng() % (t.size() + 1), 1, " .x:-"[rng() % 5]);
    if (rng() % 20 == 0) t = std::string(40 + rng() % 60, ' ') + t;  // a long whole
    return t + kTails[rng() % (sizeof kTails / sizeof kTails[0])];
}

TEST(TextReaders, TimestampsReadAsTheSplitAndCalendarHelpersReadThem) {
    const char* zone = std::getenv("TZ");
    const std::string savedZone = zone ? zone : "";
    std::mt19937_64 rng(777);
    int mismatches = 0;
    for (const char* tz : {"UTC", "America/New_York"}) {
        setenv("TZ", tz, 1);
        tzset();
        for (int i = 0; i < 40000 && mismatches < 10; ++i) {
            const bool epochForm = i % 5 == 0;
            const char* format = epochForm ? "%s" : "%Y-%m-%d %H:%M:%S";
            const std::string text = timestampText(rng, epochForm);
            for (unsigned int word : {TIMESTAMP, BIGDATETIME}) {
                const Outcome want = timestampBySplit(word, text.c_str(), format);
                const Outcome got = packed(word, text, format);
                if (got == want) continue;
                ++mismatches;
                ADD_FAILURE() << tz << " word " << word << " text \"" << text << "\": want " << want << ", got " << got;
            }
        }
    }
    if (zone) setenv("TZ", savedZone.c_str(), 1);
    else unsetenv("TZ");
    tzset();
    EXPECT_EQ(0, mismatches);
}

} // namespace
} // namespace DataTypes
