#include "datatypes/Casting.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "datatypes/DataTypes.h"
#include "datatypes/FixedDecimalValue.h"

namespace DataTypes {

namespace {

constexpr unsigned int kGap = 9;
// 35 << 14: the first word whose precision field is above 34.
constexpr unsigned int kFirstOversizedDecimal = 573440;

bool isNumberedMoney(unsigned int type) { return type >= MONEY_1 && type <= MONEY_15; }
bool isMoney(unsigned int type) { return type == MONEY || isNumberedMoney(type); }

// The 64-bit types that count in whole units of some kind.
bool isWideInteger(unsigned int type) {
    return type == LONG || type == DATE || type == TIMESTAMP || type == INTERVAL || type == BIGDATETIME ||
           type == TIME;
}

struct Digits {
    int integer;
    int scale;
};

// Integer digits and scale of a type, for merging it with a decimal.
Digits digitsOf(unsigned int word) {
    const unsigned int type = typeOf(word);
    if (type == INTEGER) return {10, 0};
    if (isWideInteger(type)) return {19, 0};
    if (isMoney(type)) {
        const int n = static_cast<int>(getMoneyPrecision(word));
        return {19 - n, n};
    }
    if (type == BOOLEAN) return {1, 0};
    if (type == FIXEDDECIMAL) {
        const int p = static_cast<int>(precisionOf(word));
        const int s = static_cast<int>(scaleOf(word));
        return {p - s, s};
    }
    return {0, 0};  // INT16 and the rest bring no digits
}

// The larger integer digits and the larger scale; beyond 34 digits the
// scale gives way.
unsigned int mergeToDecimal(unsigned int a, unsigned int b) {
    const Digits da = digitsOf(a);
    const Digits db = digitsOf(b);
    const int integer = std::max(da.integer, db.integer);
    const int scale = std::max(da.scale, db.scale);
    if (integer + scale > static_cast<int>(kMaxDecimalPrecision)) {
        // A malformed decimal word may bring more than 34 integer digits; the
        // scale then stops at 0.
        return createFixedDecimal(kMaxDecimalPrecision, std::max(0, static_cast<int>(kMaxDecimalPrecision) - integer));
    }
    return createFixedDecimal(integer + scale, scale);
}

bool storeResultType(unsigned int& out, int precision, int scale) {
    out = createFixedDecimal(precision, scale);
    return out < kFirstOversizedDecimal;
}

// ---- cast helpers --------------------------------------------------------------

constexpr double kTwo63 = 9.223372036854776e+18;

// Unchecked products wrap as the 64-bit registers do, without undefined behaviour.
int64_t wrapMul(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

// v * factor when v lies within INT64_MAX / factor and INT64_MIN / factor.
bool checkedMul(int64_t v, int64_t factor, int64_t& out) {
    if (v > LLONG_MAX / factor || v < LLONG_MIN / factor) return false;
    out = v * factor;
    return true;
}

bool checkedNarrow(int64_t v, int32_t& out) {
    if (v < INT_MIN || v > INT_MAX) return false;
    out = static_cast<int32_t>(v);
    return true;
}

// Truncation of a double checked against the 64-bit range; 2^63 itself does
// not fit and NaN fails every comparison.
bool checkedTruncate(double d, int64_t& out) {
    if (!(d >= -kTwo63 && d < kTwo63)) return false;
    out = static_cast<int64_t>(d);
    return true;
}

// The unchecked truncation gives what the processor's conversion gives for
// values out of range: the smallest 64-bit number.
int64_t uncheckedTruncate(double d) {
    int64_t v;
    return checkedTruncate(d, v) ? v : LLONG_MIN;
}

int64_t dayRemainder(int64_t v) { return v % 86400; }  // keeps the sign of v

// The scale of a decimal value: the word's when it carries a precision.
int decimalScale(unsigned int word, const FixedDecimalValue& d) {
    return (word & kPrecisionMask) != 0 ? static_cast<int>(scaleOf(word)) : d.scale;
}

// Integer sources (everything held as a plain number) into any target.
// `v` is the source's number, `source` its type, `f` its money factor or 1.
uint8_t castNumber(DataValue& r, int64_t v, unsigned int source, unsigned int from, unsigned int to) {
    const unsigned int target = typeOf(to);
    const bool moneySource = isMoney(source);
    const int64_t f = moneySource ? getMoneyFactor(from) : 1;
    switch (target) {
    case INTEGER: {
        if (source == LONG) return checkedNarrow(v, r.int32Value) ? kCastDone : kCastOutOfRange;
        if (moneySource) return checkedNarrow(v / f, r.int32Value) ? kCastDone : kCastOutOfRange;
        if (source == BOOLEAN) {
            r.int32Value = v != 0 ? 1 : 0;
            return kCastDone;
        }
        r.int32Value = static_cast<int32_t>(static_cast<uint32_t>(v));  // the low 32 bits
        return kCastDone;
    }
    case LONG:
        r.int64Value = moneySource ? v / f : v;
        return kCastDone;
    case FLOAT:
        r.doubleValue = moneySource ? static_cast<double>(v) / static_cast<double>(f) : static_cast<double>(v);
        return kCastDone;
    case DATE:
        if (moneySource) r.int64Value = v / f;
        else if (source == TIMESTAMP) r.int64Value = v / 1000;
        else if (source == INTERVAL || source == BIGDATETIME) r.int64Value = v / 1000000;
        else r.int64Value = v;
        return kCastDone;
    case TIMESTAMP:
        if (moneySource) r.int64Value = v / f;
        else if (source == DATE || source == TIME) r.int64Value = wrapMul(v, 1000);
        else if (source == INTERVAL || source == BIGDATETIME) r.int64Value = v / 1000;
        else r.int64Value = v;
        return kCastDone;
    case BOOLEAN:
        r.boolValue = v > 0;
        return kCastDone;
    case INTERVAL:
    case BIGDATETIME:
        if (moneySource) {
            r.int64Value = v / f;
        } else if (source == DATE) {
            if (target == INTERVAL && (v > 9223372036854LL || v < -9223372036854LL)) return kCastOutOfRange;
            r.int64Value = wrapMul(v, 1000000);
        } else if (source == TIMESTAMP) {
            r.int64Value = wrapMul(v, 1000);
        } else if (source == TIME) {
            r.int64Value = wrapMul(v, 1000000);
        } else {
            r.int64Value = v;
        }
        return kCastDone;
    case TIME:
        if (moneySource) r.int64Value = dayRemainder(v / f);
        else if (source == TIMESTAMP) r.int64Value = dayRemainder(v / 1000);
        else if (source == INTERVAL || source == BIGDATETIME) r.int64Value = dayRemainder(v / 1000000);
        else if (source == BOOLEAN) r.int64Value = v;
        else r.int64Value = dayRemainder(v);
        return kCastDone;
    case FIXEDDECIMAL: {
        FixedDecimalValue d{};  // spare bytes zero, so equal values hash alike
        const int p = static_cast<int>(precisionOf(to));
        const int s = static_cast<int>(scaleOf(to));
        if (moneySource) {
            // Money keeps its cents: the raw number is shifted from the money's
            // places to the decimal's. The one cast that nulls its value.
            d.setPrecisionScale(p, s);
            unsigned long long high = 0, low = 0;
            long raw = v;
            const bool ok = decimal_setFromInt64(high, low, raw, 0) &&
                            decimal_shift(high, low, s - static_cast<int>(getMoneyPrecision(from)));
            d.high = static_cast<int64_t>(high);
            d.low = low;
            r.decimalValue = d;
            if (!ok || d.checkPrecisionOverflow()) {
                r.isNull = true;
                return kCastOutOfRange;
            }
            return kCastDone;
        }
        // The 32-bit sources go in as int, the rest as long.
        bool ok;
        if (source == INTEGER || source == BOOLEAN || source == TIME) ok = d.setDecimalValue(p, s, static_cast<int>(v));
        else ok = d.setDecimalValue(p, s, static_cast<long>(v));
        if (!ok) return kCastOutOfRange;
        r.decimalValue = d;
        return kCastDone;
    }
    default:  // money targets
        if (moneySource) {
            const int64_t F = getMoneyFactor(to);
            if (f < F) r.int64Value = wrapMul(v, F / f);
            else if (f > F) r.int64Value = v / (f / F);
            return kCastDone;
        }
        if (source == INTEGER || source == LONG || source == TIME) {
            return checkedMul(v, getMoneyFactor(to), r.int64Value) ? kCastDone : kCastOutOfRange;
        }
        r.int64Value = wrapMul(v, getMoneyFactor(to));
        return kCastDone;
    }
}

uint8_t castFloat(DataValue& r, double d, unsigned int to) {
    const unsigned int target = typeOf(to);
    switch (target) {
    case INTEGER:
        // The upper bound is exclusive: 2147483647.0 itself does not pass.
        if (!(d >= -2147483648.0 && d < 2147483647.0)) return kCastOutOfRange;
        r.int32Value = static_cast<int32_t>(d);
        return kCastDone;
    case DATE:
        r.int64Value = uncheckedTruncate(d);
        return kCastDone;
    case BOOLEAN:
        r.boolValue = d > 0.0;
        return kCastDone;
    case FIXEDDECIMAL: {
        FixedDecimalValue v{};
        if (!v.setDecimalValue(static_cast<int>(precisionOf(to)), static_cast<int>(scaleOf(to)), d))
            return kCastOutOfRange;
        r.decimalValue = v;
        return kCastDone;
    }
    case LONG:
    case TIMESTAMP:
    case INTERVAL:
    case BIGDATETIME:
    case TIME:  // no day remainder from a double
        return checkedTruncate(d, r.int64Value) ? kCastDone : kCastOutOfRange;
    default:  // money
        return checkedTruncate(d * static_cast<double>(getMoneyFactor(to)), r.int64Value) ? kCastDone
                                                                                          : kCastOutOfRange;
    }
}

// `keep` is set when a failed cast must still store `r`: a decimal that was
// rescaled but overflows its new precision stays rescaled.
uint8_t castDecimal(DataValue& r, unsigned int from, unsigned int to, bool& keep) {
    const FixedDecimalValue d = r.decimalValue;
    const unsigned long long high = static_cast<unsigned long long>(d.high);
    const unsigned long long low = d.low;
    const int scale = decimalScale(from, d);
    const unsigned int target = typeOf(to);
    switch (target) {
    case INTEGER: {
        int out = 0;
        if (!decimal_getInt(high, low, scale, out)) return kCastOutOfRange;
        r.int32Value = out;
        return kCastDone;
    }
    case FLOAT:
        decimal_getDouble(high, low, scale, r.doubleValue);
        return kCastDone;
    case DATE: {
        long out = 0;
        if (!decimal_getDate(high, low, scale, out)) return kCastOutOfRange;
        r.int64Value = out;
        return kCastDone;
    }
    case BOOLEAN:
        r.boolValue = d.high >= 0 && (d.high != 0 || d.low != 0);
        return kCastDone;
    case FIXEDDECIMAL: {
        unsigned long long h = high, l = low;
        if (!decimal_shift(h, l, static_cast<int>(scaleOf(to)) - scale)) return kCastOutOfRange;
        FixedDecimalValue v = d;
        v.high = static_cast<int64_t>(h);
        v.low = l;
        v.setPrecisionScale(static_cast<int>(precisionOf(to)), static_cast<int>(scaleOf(to)));
        r.decimalValue = v;
        keep = true;
        return v.checkPrecisionOverflow() ? kCastOutOfRange : kCastDone;
    }
    default: {
        // LONG, the time types and money: a 64-bit integer; money keeps
        // as many places as its precision.
        const int shift = isMoney(target) ? scale - static_cast<int>(getMoneyPrecision(to)) : scale;
        long out = 0;
        if (!decimal_getInt64(high, low, shift, out)) return kCastOutOfRange;
        r.int64Value = out;
        return kCastDone;
    }
    }
}

bool isCastable(unsigned int type) {
    return type < kTypeCount && type != INT16 && type != STRING && type != UNKNOWN && type != kGap &&
           type != BINARY;
}

} // namespace

bool getFixedDecimalAdditionResultType(unsigned int& out, const unsigned int& a, const unsigned int& b) {
    const int pa = static_cast<int>(precisionOf(a)), sa = static_cast<int>(scaleOf(a));
    const int pb = static_cast<int>(precisionOf(b)), sb = static_cast<int>(scaleOf(b));
    const int scale = std::max(sa, sb);
    return storeResultType(out, std::max(pa - sa, pb - sb) + 1 + scale, scale);
}

bool getFixedDecimalSubtractionResultType(unsigned int& out, const unsigned int& a, const unsigned int& b) {
    return getFixedDecimalAdditionResultType(out, a, b);
}

bool getFixedDecimalMultiplicationResultType(unsigned int& out, const unsigned int& a, const unsigned int& b) {
    const int pa = static_cast<int>(precisionOf(a)), sa = static_cast<int>(scaleOf(a));
    const int pb = static_cast<int>(precisionOf(b)), sb = static_cast<int>(scaleOf(b));
    return storeResultType(out, pa + pb + 1, sa + sb);
}

bool getFixedDecimalDivisionResultType(unsigned int& out, const unsigned int& a, const unsigned int& b) {
    const int pa = static_cast<int>(precisionOf(a)), sa = static_cast<int>(scaleOf(a));
    const int pb = static_cast<int>(precisionOf(b)), sb = static_cast<int>(scaleOf(b));
    return storeResultType(out, pa + pb + sb + 1, pb + sa + 1);
}

unsigned int maximizeTypeToFixedDecimal(unsigned int& word) {
    const unsigned int type = typeOf(word);
    if (type == INTEGER) word = createFixedDecimal(10, 0);
    else if (isWideInteger(type)) word = createFixedDecimal(19, 0);
    else if (isMoney(type)) word = createFixedDecimal(19, static_cast<int>(getMoneyPrecision(word)));
    else if (type == BOOLEAN) word = createFixedDecimal(1, 0);
    else word = FIXEDDECIMAL;  // a decimal too: plain 30 defers to the value
    return word;
}

bool maximizeType(unsigned int& a, const unsigned int& b) {
    const unsigned int ta = typeOf(a), tb = typeOf(b);
    if (ta == kGap || tb == kGap) return false;
    if (tb == UNKNOWN) return true;
    if (ta == UNKNOWN) {
        a = b;
        return true;
    }
    if (ta == STRING || ta == BINARY || tb == STRING || tb == BINARY) return a == b;
    if (ta == FLOAT || tb == FLOAT) {
        a = FLOAT;
        return true;
    }
    if (ta == FIXEDDECIMAL || tb == FIXEDDECIMAL) {
        a = mergeToDecimal(a, b);
        return true;
    }
    if (a == b) return true;
    // Money meets BOOLEAN, and INTEGER while a 32-bit number times the
    // factor still fits 64 bits (at most 9 places); nothing else.
    if (ta == MONEY) return tb == BOOLEAN || (tb == INTEGER && g_legacyMoneyPrecision <= 9);
    if (tb == MONEY) {
        if (ta == BOOLEAN || (ta == INTEGER && g_legacyMoneyPrecision <= 9)) {
            a = MONEY;
            return true;
        }
        return false;
    }
    if (isNumberedMoney(ta)) return tb == BOOLEAN || (tb == INTEGER && getMoneyPrecision(a) <= 9);
    if (isNumberedMoney(tb)) {
        if (ta == BOOLEAN || (ta == INTEGER && getMoneyPrecision(b) <= 9)) {
            a = b;
            return true;
        }
        return false;
    }
    // The widest time or integer type of the two wins, INT16 giving way to any
    // of them. With neither side in the list only a leading BOOLEAN meets the
    // other: (BOOLEAN, INT16) is true and (INT16, BOOLEAN) false, and that
    // asymmetry is kept.
    for (unsigned int t : {BIGDATETIME, TIMESTAMP, DATE, TIME, INTERVAL, LONG, INTEGER}) {
        if (ta == t || tb == t) {
            a = t;
            return true;
        }
    }
    return ta == BOOLEAN;
}

void maximizeAnyType(unsigned int& a, const unsigned int& b) {
    const unsigned int ta = typeOf(a), tb = typeOf(b);
    auto either = [&](unsigned int t) { return ta == t || tb == t; };
    if (either(BINARY)) {
        a = BINARY;
        return;
    }
    if (either(STRING)) {
        a = STRING;
        return;
    }
    if (either(FLOAT)) {
        a = FLOAT;
        return;
    }
    if (either(FIXEDDECIMAL)) {
        a = mergeToDecimal(a, b);
        return;
    }
    for (unsigned int t : {BIGDATETIME, TIMESTAMP, DATE, TIME, INTERVAL, LONG}) {
        if (either(t)) {
            a = t;
            return;
        }
    }
    if (isMoney(ta) || isMoney(tb)) {
        if (isMoney(ta) && isMoney(tb)) {
            // Fewer places win; at a tie a MONEY_n beats MONEY.
            const unsigned long pa = getMoneyPrecision(a), pb = getMoneyPrecision(b);
            if (pb < pa || (pb == pa && ta == MONEY)) a = b;
        } else if (isMoney(tb)) {
            a = b;
        }
        return;
    }
    for (unsigned int t : {INTEGER, INT16, BOOLEAN, UNKNOWN}) {
        if (either(t)) {
            a = t;
            return;
        }
    }
}

uint8_t cast(DataValue* value, unsigned int from, unsigned int to) {
    if (value == nullptr || value->isNull) return kCastDone;
    const unsigned int source = typeOf(from), target = typeOf(to);
    if (source >= kTypeCount || target >= kTypeCount) return kCastDone;
    if (!isCastable(source) || !isCastable(target)) return kCastDone;
    if (source == target && !isMoney(source) && source != FIXEDDECIMAL) return kCastDone;

    // Worked on a copy: a failed cast leaves the value as it was, but for the
    // decimal targets that say otherwise.
    DataValue r = *value;
    uint8_t code;
    if (source == FLOAT) {
        code = castFloat(r, value->doubleValue, to);
    } else if (source == FIXEDDECIMAL) {
        bool keep = false;
        code = castDecimal(r, from, to, keep);
        if (keep) {
            *value = r;
            return code;
        }
    } else {
        int64_t v;
        if (source == INTEGER || source == TIME) v = value->int32Value;  // TIME is read as 32 bits here
        else if (source == BOOLEAN) v = *reinterpret_cast<const unsigned char*>(&value->boolValue);
        else v = value->int64Value;
        code = castNumber(r, v, source, from, to);
        if (r.isNull) {  // money that did not fit a decimal
            *value = r;
            return code;
        }
    }
    if (code == kCastDone) *value = r;
    return code;
}

} // namespace DataTypes
