// Rescaling of fixed decimals and their conversions to integers, doubles and
// decimal128.
#include <cmath>

#include "datatypes/FixedDecimalValue.h"
#include "datatypes/internal/DecimalTables.h"
#include "datatypes/internal/DecimalWords.h"

namespace DataTypes {

using internal::isNegativeWords;
using internal::negateWords;

namespace {

constexpr int kMaxPower = 38;  // the last entry of the power tables
constexpr unsigned long long kAllOnes = ~0ull;

// magnitude / 10^k, truncated. The reciprocal product can come out one too
// high when the dropped digits are all nines and the magnitude is large (for
// 10^34 - 1 over 10^34 it gives 1), so the quotient is checked by multiplying
// back: a quotient one too high leaves a "negative" remainder, which reads as
// at least 10^k in 128 bits since 10^k < 2^127.
void divideByPowerOfTen(unsigned long long& high, unsigned long long& low, int k) {
    const unsigned long long* reciprocal = reciprocalPowersOfTen[k];
    const unsigned long long* power = powersOfTen[k];
    uint64_t product[4];
    internal::mul128x128(high, low, reciprocal[1], reciprocal[0], product);
    uint64_t qHigh = product[3], qLow = product[2];

    uint64_t backHigh, backLow;
    internal::mulLow128(qHigh, qLow, power[1], power[0], backHigh, backLow);
    const uint64_t remLow = low - backLow;
    const uint64_t remHigh = high - backHigh - (low < backLow ? 1 : 0);
    if (remHigh > power[1] || (remHigh == power[1] && remLow >= power[0])) {
        qHigh -= (qLow == 0 ? 1 : 0);
        --qLow;
    }
    high = qHigh;
    low = qLow;
}

} // namespace

bool decimal_shift(unsigned long long& high, unsigned long long& low, const int& count) {
    const bool negative = isNegativeWords(high);
    if (negative) negateWords(high, low);

    if (count > 0) {
        if (count > kMaxPower) {
            // 10^39 alone exceeds 128 bits: only zero survives.
            if ((high | low) != 0) return false;
        } else {
            uint64_t product[4];
            internal::mul128x128(high, low, powersOfTen[count][1], powersOfTen[count][0], product);
            if ((product[2] | product[3]) != 0) return false;  // pair keeps the magnitude
            high = product[1];
            low = product[0];
        }
    } else if (count < 0) {
        if (count < -kMaxPower) {
            // Every 128-bit magnitude is below 10^39, so -39 and beyond give 0.
            high = low = 0;
        } else {
            divideByPowerOfTen(high, low, -count);
        }
    }

    if (negative) negateWords(high, low);
    return true;
}

bool decimal_setFromInt64(unsigned long long& high, unsigned long long& low, long& value, int scale) {
    low = static_cast<unsigned long long>(value);
    high = value < 0 ? kAllOnes : 0;
    if (scale == 0) return true;
    return decimal_shift(high, low, scale);
}

bool decimal_setFromInt(unsigned long long& high, unsigned long long& low, int& value, int scale) {
    long wide = value;
    return decimal_setFromInt64(high, low, wide, scale);
}

bool decimal_getInt64(unsigned long long high, unsigned long long low, const int& scale, long& out) {
    if (scale != 0) decimal_shift(high, low, -scale);
    out = static_cast<long>(low);
    const bool lowTop = (low >> 63) != 0;
    return (high == 0 && !lowTop) || (high == kAllOnes && lowTop);
}

bool decimal_getDate(unsigned long long high, unsigned long long low, const int& scale, long& out) {
    return decimal_getInt64(high, low, scale, out);
}

bool decimal_getInt(unsigned long long high, unsigned long long low, const int& scale, int& out) {
    if (scale != 0) decimal_shift(high, low, -scale);
    out = static_cast<int>(static_cast<uint32_t>(low));
    if (high != 0 && high != kAllOnes) return false;
    // Compared with the high word's sign, not bit 31: 2^31..2^32-1 pass and wrap.
    const uint32_t expected = high == 0 ? 0u : 0xFFFFFFFFu;
    return static_cast<uint32_t>(low >> 32) == expected;
}

void decimal_getDouble(const unsigned long long& high, const unsigned long long& low, const int& scale,
                       double& out) {
    constexpr double kTwoTo64 = 18446744073709551616.0;
    if (isNegativeWords(high)) {
        unsigned long long h = high, l = low;
        negateWords(h, l);
        out = -(static_cast<double>(h) * kTwoTo64 + static_cast<double>(l));
    } else {
        out = static_cast<double>(high) * kTwoTo64 + static_cast<double>(low);
    }
    if (scale == 0) return;
    // A multiplication by an inexact constant, not a division: callers see
    // exactly this rounding.
    const int power = -scale;
    if (power >= -internal::kDoublePowerLimit && power <= internal::kDoublePowerLimit)
        out *= internal::kDoublePowersOfTen[power + internal::kDoublePowerLimit];
    else
        out *= std::pow(10.0, power);
}

bool toBID128(unsigned long long& high, unsigned long long& low, int scale, BID_UINT128& out) {
    constexpr unsigned long long kSignBit = 1ull << 63;
    constexpr int kExponentBias = 6176;
    constexpr int kMaxBiasedExponent = 12287;  // 3 x 2^12 - 1: above it the top bits mean another form
    const unsigned long long sign = high & kSignBit;
    if (sign != 0) negateWords(high, low);  // stays negated: the caller's pair is changed
    if ((high >> 49) != 0) return false;     // the coefficient must fit 113 bits
    const int biased = kExponentBias - scale;
    if (biased < 0 || biased > kMaxBiasedExponent) return false;
    out.w[0] = low;
    out.w[1] = sign | static_cast<unsigned long long>(biased) << 49 | high;
    return true;
}

bool fromBID128(unsigned long long& high, unsigned long long& low, const BID_UINT128& in) {
    high = in.w[1] & 0x1FFFFFFFFFFFFull;
    low = in.w[0];
    if ((in.w[1] >> 63) != 0) negateWords(high, low);
    return true;
}

} // namespace DataTypes
