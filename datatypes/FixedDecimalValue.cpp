// The precision test, the integer setters and the result types of fixed decimals.
#include "datatypes/FixedDecimalValue.h"

#include <algorithm>

#include "datatypes/internal/DecimalWords.h"

namespace DataTypes {

namespace {

constexpr int kMaxResultPrecision = 34;

// Shifts the decimal's integer in place; the same contract as decimal_shift.
bool shiftValue(FixedDecimalValue& value, int count) {
    unsigned long long h = static_cast<unsigned long long>(value.high), l = value.low;
    const bool ok = decimal_shift(h, l, count);
    value.high = static_cast<int64_t>(h);
    value.low = l;
    return ok;
}

// Shifts `a` by `count` and gives it the new precision and scale; on any
// failure the 16-bit field stays as it was.
bool toResultType(FixedDecimalValue& a, int newPrecision, int newScale, int count) {
    if (newPrecision > kMaxResultPrecision) return false;
    if (!shiftValue(a, count)) return false;
    a.setPrecisionScale(newPrecision, newScale);
    return true;
}

} // namespace

bool FixedDecimalValue::checkPrecisionOverflow() const {
    if (precision >= 39) return false;  // 10^39 is beyond any 128-bit value
    // Entry 0 is zero, so precision 0 makes every value overflow.
    const unsigned long long pHigh = powersOfTen[precision][1];
    const unsigned long long pLow = powersOfTen[precision][0];
    if (high >= 0) {
        const int64_t limitHigh = static_cast<int64_t>(pHigh);
        return high > limitHigh || (high == limitHigh && low >= pLow);
    }
    unsigned long long nHigh = pHigh, nLow = pLow;
    internal::negateWords(nHigh, nLow);
    const int64_t limitHigh = static_cast<int64_t>(nHigh);
    return high < limitHigh || (high == limitHigh && low <= nLow);
}

bool FixedDecimalValue::setDecimalValue(int newPrecision, int newScale, long value) {
    setPrecisionScale(newPrecision, newScale);
    unsigned long long h, l;
    const bool ok = decimal_setFromInt64(h, l, value, newScale);
    high = static_cast<int64_t>(h);
    low = l;
    return ok && !checkPrecisionOverflow();
}

bool FixedDecimalValue::setDecimalValue(int newPrecision, int newScale, int value) {
    setPrecisionScale(newPrecision, newScale);
    unsigned long long h, l;
    const bool ok = decimal_setFromInt(h, l, value, newScale);
    high = static_cast<int64_t>(h);
    low = l;
    return ok && !checkPrecisionOverflow();
}

bool FixedDecimalValue::toAdditionResultType(FixedDecimalValue& a, FixedDecimalValue& b) {
    const int newScale = std::max(a.scale, b.scale);
    const int integerDigits = std::max(a.precision - a.scale, b.precision - b.scale);
    return toResultType(a, integerDigits + 1 + newScale, newScale, newScale - a.scale);
}

bool FixedDecimalValue::toSubtractionResultType(FixedDecimalValue& a, FixedDecimalValue& b) {
    return toAdditionResultType(a, b);
}

bool FixedDecimalValue::toMultiplicationResultType(FixedDecimalValue& a, FixedDecimalValue& b) {
    return toResultType(a, a.precision + b.precision + 1, a.scale + b.scale, b.scale);
}

bool FixedDecimalValue::toDivisionResultType(FixedDecimalValue& a, FixedDecimalValue& b) {
    return toResultType(a, a.precision + b.precision + b.scale + 1, b.precision + a.scale + 1,
                        b.precision + 1);
}

bool FixedDecimalValue::toSameScale(FixedDecimalValue& a, FixedDecimalValue& b) {
    if (a.scale == b.scale) return true;
    return shiftValue(a, b.scale - a.scale);
}

int FixedDecimalValue::toMaxScale(FixedDecimalValue& a, FixedDecimalValue& b) {
    if (a.scale == b.scale) return a.scale;
    FixedDecimalValue& lower = a.scale < b.scale ? a : b;
    const int maxScale = std::max(a.scale, b.scale);
    return shiftValue(lower, maxScale - lower.scale) ? maxScale : -1;
}

} // namespace DataTypes
