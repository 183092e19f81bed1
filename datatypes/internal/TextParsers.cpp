#include "datatypes/internal/TextParsers.h"

#include <cctype>
#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "datatypes/DataTypes.h"
#include "datatypes/internal/TimeText.h"
#include "format/Calendar.h"

namespace DataTypes {
namespace internal {

namespace {

struct IntegerMessages {
    const char* begin;
    const char* end;
    const char* range;
};

constexpr IntegerMessages kInt16Messages = {
    "integer constant does not begin with a legal character",
    "integer constant does not end with a legal character",
    "16-bit integer constant out of range",
};
constexpr IntegerMessages kInt32Messages = {
    "integer constant does not begin with a legal character",
    "integer constant does not end with a legal character",
    "integer constant out of range",
};
constexpr IntegerMessages kInt64Messages = {
    "long constant does not begin with a legal character",
    "long constant does not end with a legal character",
    "long constant out of range",
};
// INTERVAL keeps the integer wording for its range failure.
constexpr IntegerMessages kIntervalMessages = {
    "interval constant does not begin with a legal character",
    "interval constant does not end with a legal character",
    "integer constant out of range",
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isSign(char c) { return c == '-' || c == '+'; }

// The integer at the start of a text, read as strtol reads base 10 from a
// text whose first character is no blank: an optional sign, then digits up to
// the first other character. All the digits are passed over even past 64 bits,
// and a sign without digits reads nothing, leaving `end` at the text's start.
// By hand rather than by strtol: this is the hot path of every integer read,
// and the C library's locale and base handling cost more than the digits.
struct IntegerText {
    const char* end;
    uint64_t magnitude;
    bool negative;
    bool overflow;  // the magnitude passed 2^64 - 1
};

IntegerText readInteger(const char* text) {
    IntegerText r{text, 0, false, false};
    const char* p = text;
    if (isSign(*p)) r.negative = *p++ == '-';
    const char* digits = p;
    uint64_t m = 0;
    // Nineteen digits can't pass 2^64 - 1: only a longer run needs the checks.
    for (int n = 0; n < 19 && isDigit(*p); ++n, ++p) m = m * 10 + static_cast<unsigned>(*p - '0');
    for (; isDigit(*p); ++p) {
        if (__builtin_mul_overflow(m, 10u, &m) || __builtin_add_overflow(m, static_cast<unsigned>(*p - '0'), &m))
            r.overflow = true;
    }
    if (p == digits) return r;
    r.end = p;
    r.magnitude = m;
    return r;
}

// Whether the reading lies in [-lowMagnitude, high].
bool withinRange(const IntegerText& r, uint64_t lowMagnitude, uint64_t high) {
    return !r.overflow && r.magnitude <= (r.negative ? lowMagnitude : high);
}

int64_t signedValue(const IntegerText& r) {
    return static_cast<int64_t>(r.negative ? 0 - r.magnitude : r.magnitude);
}

// The 16- and 32-bit types: out of range is beyond 64 bits or outside [lo, hi].
bool parseNarrow(const char* text, long lo, long hi, const IntegerMessages& m, long& out, const char*& error) {
    if (!isSign(text[0]) && !isDigit(text[0])) {
        error = m.begin;
        return false;
    }
    const IntegerText r = readInteger(text);
    // A lone sign leaves `end` on the sign, so it fails here and not above.
    if (*r.end != '\0') {
        error = m.end;
        return false;
    }
    if (!withinRange(r, 0 - static_cast<uint64_t>(lo), static_cast<uint64_t>(hi))) {
        error = m.range;
        return false;
    }
    out = static_cast<long>(signedValue(r));
    return true;
}

// LONG and INTERVAL: out of range is what strtoll clamps to its extremes.
bool parseWide(const char* text, const IntegerMessages& m, int64_t& out, const char*& error) {
    const IntegerText r = readInteger(text);
    if (*r.end != '\0') {
        error = m.end;
        return false;
    }
    if (!withinRange(r, 9223372036854775808ull, 9223372036854775807ull)) {
        error = m.range;
        return false;
    }
    out = signedValue(r);
    return true;
}

bool isBooleanBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// What splitTimestamp and splitBigdatetime make of a text, without their two
// heap blocks for a text of usual length: the part before the last point and
// `digits` fraction characters, the non-blank ones behind it padded with '0'.
class SplitTime {
public:
    SplitTime(const char* text, std::size_t digits) {
        const char* point = std::strrchr(text, '.');
        const std::size_t length = point ? static_cast<std::size_t>(point - text) : std::strlen(text);
        if (length >= sizeof shortWhole) {
            longWhole = static_cast<char*>(std::malloc(length + 1));
            if (longWhole == nullptr) return;
        }
        char* whole = longWhole ? longWhole : shortWhole;
        std::memcpy(whole, text, length);
        whole[length] = '\0';
        std::memset(fraction_, '0', digits);
        fraction_[digits] = '\0';
        if (point != nullptr) {
            std::size_t n = 0;
            for (const char* p = point + 1; *p != '\0' && n < digits; ++p)
                if (!isTimeBlank(*p)) fraction_[n++] = *p;
        }
        whole_ = whole;
    }
    ~SplitTime() { std::free(longWhole); }
    SplitTime(const SplitTime&) = delete;
    SplitTime& operator=(const SplitTime&) = delete;

    // False only when a long text's copy could not be allocated.
    bool ok() const { return whole_ != nullptr; }
    const char* whole() const { return whole_; }
    // strtol of the fraction: any characters but blanks stand there, so a
    // sign or junk is read as the C library reads it, and six digits can't overflow.
    long fractionValue() const {
        const char* p = fraction_;
        bool negative = false;
        if (isSign(*p)) negative = *p++ == '-';
        long v = 0;
        for (; isDigit(*p); ++p) v = v * 10 + (*p - '0');
        return negative ? -v : v;
    }

private:
    static bool isTimeBlank(char c) {
        return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
    }

    char shortWhole[64];
    char* longWhole = nullptr;
    const char* whole_ = nullptr;
    char fraction_[8];
};

struct FractionalTimeKind {
    std::size_t digits;
    int64_t unit;
    int64_t limit;  // largest magnitude of the whole seconds
    const char* splitMessage;
    const char* formatMessage;
    const char* overflowMessage;
};

constexpr FractionalTimeKind kTimestampKind = {
    3,
    1000,
    9223372036854775LL,
    "could not split timestamp into datetime and millisecond portions.",
    "timestamp constant does not match format",
    "timestamp overflow",
};
constexpr FractionalTimeKind kBigdatetimeKind = {
    6,
    1000000,
    9223372036854LL,
    "could not split bigdatetime into datetime and microsecond portions.",
    "bigdatetime constant does not match format",
    "bigdatetime overflow",
};

bool readEpochSeconds(const char* text, int64_t& out) {
    long seconds = 0;
    if (std::sscanf(text, "%ld", &seconds) != 1) return false;
    out = seconds;
    return true;
}

bool readFormattedSeconds(const char* text, const char* format, int64_t& out) {
    tm fields;
    if (DataTypes::strptime(text, format, &fields) == nullptr) return false;
    out = tm2sec(&fields);
    return true;
}

bool parseFractionalTime(const char* text, const char* format, const FractionalTimeKind& kind, int64_t& out,
                         const char*& error) {
    const SplitTime split(text, kind.digits);
    if (!split.ok()) {
        error = kind.splitMessage;
        return false;
    }
    int64_t seconds = 0;
    // The epoch form reads the seconds from the whole text, point and all.
    const bool read = isEpochFormat(format) ? readEpochSeconds(text, seconds)
                                            : readFormattedSeconds(split.whole(), format, seconds);
    if (!read) {
        error = kind.formatMessage;
        return false;
    }
    if (seconds > kind.limit || seconds < -kind.limit) {
        error = kind.overflowMessage;
        return false;
    }
    // Added whatever the sign: the fraction of a negative time does not mirror.
    const int32_t units = static_cast<int32_t>(split.fractionValue());
    int64_t value = 0;
    // The limit leaves room for the whole seconds only; a large fraction on
    // the largest second would wrap, and is an overflow as well.
    if (__builtin_add_overflow(seconds * kind.unit, static_cast<int64_t>(units), &value)) {
        error = kind.overflowMessage;
        return false;
    }
    out = value;
    return true;
}

} // namespace

bool parseInt16(const char* text, int16_t& out, const char*& error) {
    long v = 0;
    if (!parseNarrow(text, -32768, 32767, kInt16Messages, v, error)) return false;
    out = static_cast<int16_t>(v);
    return true;
}

bool parseInt32(const char* text, int32_t& out, const char*& error) {
    long v = 0;
    if (!parseNarrow(text, -2147483648L, 2147483647L, kInt32Messages, v, error)) return false;
    out = static_cast<int32_t>(v);
    return true;
}

bool parseInt64(const char* text, int64_t& out, const char*& error) {
    if (!isSign(text[0]) && !isDigit(text[0])) {
        error = kInt64Messages.begin;
        return false;
    }
    return parseWide(text, kInt64Messages, out, error);
}

bool parseInterval(const char* text, int64_t& out, const char*& error) {
    // Unlike the other integers a sign must be followed by a digit.
    if (!isDigit(text[0]) && !(isSign(text[0]) && isDigit(text[1]))) {
        error = kIntervalMessages.begin;
        return false;
    }
    return parseWide(text, kIntervalMessages, out, error);
}

bool parseDouble(const char* text, double& out, const char*& error) {
    if (!isSign(text[0]) && text[0] != '.' && !isDigit(text[0])) {
        error = "float constant does not begin with a legal character";
        return false;
    }
    char* end = nullptr;
    errno = 0;
    const double v = std::strtod(text, &end);
    if (*end != '\0') {
        error = "float constant does not end with a legal character";
        return false;
    }
    if (errno == ERANGE && (v == 0.0 || std::fabs(v) > DBL_MAX)) {
        error = "float constant out of range";
        return false;
    }
    out = v;
    return true;
}

bool parseBoolean(const char* text, bool& out, const char*& error) {
    static constexpr struct {
        const char* word;
        bool value;
    } kWords[] = {
        {"t", true}, {"true", true}, {"y", true}, {"yes", true}, {"on", true}, {"1", true},
        {"f", false}, {"false", false}, {"n", false}, {"no", false}, {"off", false}, {"0", false},
    };
    const char* p = text;
    while (isBooleanBlank(*p)) ++p;
    const char* wordEnd = p;
    while (*wordEnd != '\0' && !isBooleanBlank(*wordEnd)) ++wordEnd;
    const std::size_t length = static_cast<std::size_t>(wordEnd - p);
    const char* rest = wordEnd;
    while (isBooleanBlank(*rest)) ++rest;
    if (length != 0 && *rest == '\0') {
        for (const auto& w : kWords) {
            if (std::strlen(w.word) != length || strncasecmp(p, w.word, length) != 0) continue;
            // The single letters take no blanks behind them; "1" and "0" do.
            if (length == 1 && std::isalpha(static_cast<unsigned char>(*p)) && wordEnd != rest) break;
            out = w.value;
            return true;
        }
    }
    error = "not a legal boolean value";
    return false;
}

bool parseMoney(const char* text, unsigned int word, int64_t& out, const char*& error) {
    static const char* const kBegin = "money constant does not begin with a legal character";
    static const char* const kEnd = "money constant does not end with a legal character";
    static const char* const kRange = "money constant out of range";
    const long factor = getMoneyFactor(word);
    const unsigned long precision = getMoneyPrecision(word);

    const char* p = text;
    while (std::isspace(static_cast<unsigned char>(*p))) ++p;
    char c = *p;
    const char* e = text;
    // A sign is looked for at the text's own start and not behind the
    // blanks, so " -1.5" fails as not beginning legally while " 1.5" passes.
    if (c == '-' || c == '+') {
        c = text[1];
        e = text + 1;
    }
    long long whole = 0;
    if (c != '.') {
        if (!isDigit(c)) {
            error = kBegin;
            return false;
        }
        char* end = nullptr;
        errno = 0;
        whole = std::strtoll(text, &end, 10);
        e = end;
        if (*e != '.' && *e != '\0') {
            error = kEnd;
            return false;
        }
        if (errno == ERANGE && (whole == LLONG_MAX || whole == LLONG_MIN)) {
            error = kRange;
            return false;
        }
    }

    long long fraction = 0;
    // Blanks and then ".5" leave e on the first blank: the fraction is 0.
    if (*e == '.' && e[1] != '\0') {
        char digits[20];  // at most 18 places (the legacy precision's limit) and the NUL
        const std::size_t places = precision < sizeof digits - 1 ? precision : sizeof digits - 1;
        std::memset(digits, '0', places);
        digits[places] = '\0';
        const std::size_t available = std::strlen(e + 1);
        // Cut, not rounded; what lies beyond the type's places is not looked at.
        std::memcpy(digits, e + 1, available < places ? available : places);
        if (!isDigit(digits[0])) {
            error = "money constant fractional part does not begin with a digit";
            return false;
        }
        char* end = nullptr;
        errno = 0;
        fraction = std::strtoll(digits, &end, 10);
        if (errno == ERANGE && (fraction == LLONG_MAX || fraction == LLONG_MIN)) {
            error = kRange;
            return false;
        }
        if (*end != '.' && *end != '\0') {
            error = kEnd;
            return false;
        }
    }

    if (factor >= 2) {
        const long long q = LLONG_MAX / factor;
        // The magnitude of the smallest 64-bit value, as an unsigned number.
        const unsigned long long minMagnitude = 9223372036854775808ull;
        if (whole > q || whole < -q) {
            error = kRange;
            return false;
        }
        if ((whole == q && fraction > LLONG_MAX % factor) ||
            (whole == -q && static_cast<unsigned long long>(fraction) >
                                minMagnitude % static_cast<unsigned long long>(factor))) {
            error = kRange;
            return false;
        }
    }
    // whole * factor + fraction stays in range by the checks above; the sum
    // is formed unsigned so that the one value at the bottom edge cannot trap.
    const unsigned long long scaled = static_cast<unsigned long long>(whole) * static_cast<unsigned long long>(factor);
    const unsigned long long f = static_cast<unsigned long long>(fraction);
    out = static_cast<int64_t>(text[0] == '-' ? scaled - f : scaled + f);
    return true;
}

bool parseDateSeconds(const char* text, const char* format, bool isTime, int64_t& out, const char*& error) {
    if (isEpochFormat(format)) {
        if (readEpochSeconds(text, out)) return true;
        error = isTime ? "time constant does not match standard format" : "date constant does not match standard format";
        return false;
    }
    if (readFormattedSeconds(text, format, out)) return true;
    error = isTime ? "time constant does not match format" : "date constant does not match format";
    return false;
}

bool parseTimestamp(const char* text, const char* format, int64_t& out, const char*& error) {
    return parseFractionalTime(text, format, kTimestampKind, out, error);
}

bool parseBigdatetime(const char* text, const char* format, int64_t& out, const char*& error) {
    return parseFractionalTime(text, format, kBigdatetimeKind, out, error);
}

} // namespace internal
} // namespace DataTypes
