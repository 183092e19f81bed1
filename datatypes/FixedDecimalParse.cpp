// Text and doubles into fixed decimals. Both go through one hand-written
// reader; they differ in what they forgive afterwards.
#include <climits>
#include <cmath>

#include "datatypes/FixedDecimalValue.h"
#include "datatypes/internal/DecimalWords.h"
#include "host/DataService.h"

namespace DataTypes {

namespace {

// What the reader saw: the magnitude, the sign, how many digits counted and
// whether anything but blanks and signs followed the number.
struct DecimalReading {
    unsigned long long high = 0;
    unsigned long long low = 0;
    bool negative = false;
    bool overflow = false;
    bool trailingJunk = false;
    int digits = 0;
};

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

inline const char* skipBlanks(const char* p) {
    while (*p == ' ') ++p;  // only the space character counts as a blank
    return p;
}

// Appends one digit; false once 128 bits can no longer hold the next product.
inline bool appendDigit(DecimalReading& r, unsigned digit) {
    // Nineteen digits always fit the low word, so the common case never
    // touches the high word.
    if (r.digits < 19) {
        r.low = r.low * 10 + digit;
    } else if (!internal::mulTenAdd(r.high, r.low, digit)) {
        return false;
    }
    ++r.digits;
    return true;
}

// Reads up to `limit` digits, two at a time while the low word alone holds
// them, which halves the multiply chain the common short numbers wait on.
inline const char* readDigits(const char* p, int limit, DecimalReading& r) {
    while (limit >= 2 && r.digits <= 17 && isDigit(p[0]) && isDigit(p[1])) {
        r.low = r.low * 100 + static_cast<unsigned>(p[0] - '0') * 10 + static_cast<unsigned>(p[1] - '0');
        r.digits += 2;
        p += 2;
        limit -= 2;
    }
    for (; limit > 0 && isDigit(*p); ++p, --limit) {
        if (!appendDigit(r, static_cast<unsigned>(*p - '0'))) {
            r.overflow = true;
            return p;
        }
    }
    return p;
}

// Reads [blanks][sign]digits[(.|,)digits][blanks][sign][blanks], keeping
// exactly `scale` decimal places: further fraction digits are dropped, not
// rounded, and missing ones are filled with zeros.
void readDecimal(const char* p, int scale, DecimalReading& r) {
    int remaining = scale;
    p = skipBlanks(p);
    if (*p == '+') {
        ++p;
    } else if (*p == '-') {
        r.negative = true;
        ++p;
    }
    p = readDigits(p, INT_MAX, r);
    if (r.overflow) return;
    // Both separate the fraction; there is no thousands separator.
    if (*p == '.' || *p == ',') ++p;
    if (remaining > 0) {
        const char* fractionStart = p;
        p = readDigits(p, remaining, r);
        if (r.overflow) return;
        remaining -= static_cast<int>(p - fractionStart);
    }
    while (isDigit(*p)) ++p;
    for (; remaining > 0; --remaining) {
        if (r.high == 0 && r.low <= 0x1999999999999999ull) {
            r.low *= 10;
        } else if (!internal::mulTenAdd(r.high, r.low, 0)) {
            r.overflow = true;
            return;
        }
    }
    // A trailing sign is accepted; a second "-" flips the first back.
    p = skipBlanks(p);
    if (*p == '+') {
        ++p;
    } else if (*p == '-') {
        r.negative = !r.negative;
        ++p;
    }
    p = skipBlanks(p);
    r.trailingJunk = *p != '\0';
}

// Applies the sign; false if the magnitude reached bit 127 (-2^127 itself fits).
bool applySign(const DecimalReading& r, unsigned long long& high, unsigned long long& low) {
    high = r.high;
    low = r.low;
    if (r.negative) {
        internal::negateWords(high, low);
        const long long signedHigh = static_cast<long long>(high);
        return !(signedHigh > 0 || (signedHigh == 0 && low != 0));
    }
    return !internal::isNegativeWords(high);
}

} // namespace

bool FixedDecimalValue::setDecimalValue(int newPrecision, int newScale, const char* text) {
    setPrecisionScale(newPrecision, newScale);
    high = 0;
    low = 0;
    if (text == nullptr) return false;

    DecimalReading r;
    readDecimal(text, newScale, r);
    if (r.overflow) return false;

    unsigned long long h = r.high, l = r.low;
    // Junk after the number, or no digit at all, is no failure here: the
    // magnitude read so far stands, without its sign.
    if (!r.trailingJunk && r.digits > 0 && !applySign(r, h, l)) return false;
    high = static_cast<int64_t>(h);
    low = l;
    return !checkPrecisionOverflow();
}

bool FixedDecimalValue::setDecimalValue(int newPrecision, int newScale, double value) {
    setPrecisionScale(newPrecision, newScale);
    const double magnitude = std::fabs(value);
    if (magnitude < 1e-6) value = 0.0;  // NaN compares false and passes through

    // The formatter's rounding of the last place is the one rounding on any
    // road into a decimal. Printed exponents and the letters of NaN and
    // infinity are junk below and fail; so do values above 1e80.
    char buffer[64];
    if (magnitude > 1e80)
        intl_snprintf(buffer, sizeof buffer, "%0.25g", value);
    else
        intl_snprintf(buffer, sizeof buffer, "%0.*f", newScale, value);

    DecimalReading r;
    readDecimal(buffer, newScale, r);
    if (r.overflow || r.trailingJunk || r.digits == 0) return false;

    unsigned long long h, l;
    if (!applySign(r, h, l)) return false;
    high = static_cast<int64_t>(h);
    low = l;
    return !checkPrecisionOverflow();
}

} // namespace DataTypes
