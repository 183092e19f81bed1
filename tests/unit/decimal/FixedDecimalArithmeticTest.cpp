// Rescaling, the constant tables and the integer and double conversions.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "DecimalTestSupport.h"
#include "datatypes/FixedDecimalValue.h"

using namespace DataTypes;
using namespace decimaltest;

namespace {

TEST(DecimalTables, PowersAndReciprocals) {
    EXPECT_EQ(powersOfTen[0][0] | powersOfTen[0][1], 0u);
    for (int k = 1; k <= 38; ++k) {
        const u128 p = static_cast<u128>(powersOfTen[k][1]) << 64 | powersOfTen[k][0];
        ASSERT_TRUE(p == pow10u(k)) << "10^" << k;
        const u128 r = static_cast<u128>(reciprocalPowersOfTen[k][1]) << 64 | reciprocalPowersOfTen[k][0];
        // r = ceil(2^128 / p) exactly when r * p wraps to a value below p.
        ASSERT_TRUE(r != 0 && r * p < p && (r - 1) * p > r * p) << "reciprocal of 10^" << k;
    }
}

struct ShiftCase {
    i128 value;
    int count;
    bool ok;
    i128 expected;  // on failure: the magnitude left behind
};

void checkShift(const ShiftCase& c) {
    unsigned long long high, low;
    toWords(c.value, high, low);
    const bool ok = decimal_shift(high, low, c.count);
    EXPECT_EQ(ok, c.ok) << toString(c.value) << " shifted by " << c.count;
    EXPECT_EQ(toString(fromWords(high, low)), toString(c.expected)) << toString(c.value) << " shifted by " << c.count;
}

TEST(DecimalShift, EdgeCases) {
    const i128 big = static_cast<i128>(pow10u(34)) - 1;
    const i128 minValue = static_cast<i128>(static_cast<u128>(1) << 127);  // -2^127
    const ShiftCase cases[] = {
        {5, -1, true, 0},
        {-5, -1, true, 0},
        {15, -1, true, 1},
        {-15, -1, true, -1},
        {123456789, -40, true, 0},
        {-123456789, -39, true, 0},
        {big, -34, true, 0},  // all-nines: the reciprocal alone would give 1
        {-big, -34, true, 0},
        {big, -33, true, 9},
        {big, -1, true, big / 10},
        {minValue, -1, true, minValue / 10},
        {minValue, -38, true, -1},
        {42, 0, true, 42},
        {-42, 0, true, -42},
        {1, 38, true, static_cast<i128>(pow10u(38))},
        {3, 38, true, static_cast<i128>(3 * pow10u(38))},  // uses bit 127; not checked here
        {4, 38, false, 4},
        {-4, 38, false, 4},  // the pair keeps the magnitude
        {1, 39, false, 1},
        {0, 45, true, 0},
        {-7, 3, true, -7000},
    };
    for (const auto& c : cases) checkShift(c);
}

TEST(DecimalShift, RandomAgainstWideIntegers) {
    std::mt19937_64 rng(20261121);
    const u128 maxU = ~static_cast<u128>(0);
    for (int i = 0; i < 20000; ++i) {
        u128 magnitude = randomMagnitude(rng, 38);
        const bool negative = (rng() & 1) != 0;
        const int count = static_cast<int>(rng() % 77) - 38;
        if (count < 0 && (rng() & 1)) {
            // Dropped digits all nines: where a bare reciprocal product comes out one too high.
            const u128 p = pow10u(-count);
            magnitude = magnitude / p * p + (p - 1);
            if (magnitude >= pow10u(38)) magnitude -= p;
        }
        ShiftCase c{negative ? -static_cast<i128>(magnitude) : static_cast<i128>(magnitude), count, true, 0};
        if (count >= 0) {
            const u128 p = pow10u(count);
            c.ok = magnitude <= maxU / p;
            const u128 product = c.ok ? magnitude * p : magnitude;
            c.expected = static_cast<i128>(negative && c.ok ? -product : product);
        } else {
            const u128 q = magnitude / pow10u(-count);
            c.expected = static_cast<i128>(negative ? -q : q);
        }
        checkShift(c);
        if (HasFailure()) break;
    }
}

struct IntCase {
    i128 value;
    int scale;
    bool ok64;
    long out64;
    bool ok32;
    int out32;
};

TEST(DecimalIntegers, GetInt64AndInt) {
    const i128 two63 = static_cast<i128>(1) << 63;
    const IntCase cases[] = {
        {12345, 2, true, 123, true, 123},
        {-12399, 2, true, -123, true, -123},
        {two63 - 1, 0, true, LONG_MAX, false, -1},
        {two63, 0, false, LONG_MIN, false, 0},  // the truncated low word still lands in out
        {-two63, 0, true, LONG_MIN, false, 0},
        {-two63 - 1, 0, false, LONG_MAX, false, -1},
        {3000000000, 0, true, 3000000000L, true, static_cast<int>(3000000000u - 4294967296LL)},
        {4294967296, 0, true, 4294967296L, false, 0},
        {-2147483648LL, 0, true, -2147483648L, true, INT_MIN},
        {-2147483649LL, 0, true, -2147483649L, true, INT_MAX},  // sign word matches: wraps
        {static_cast<i128>(pow10u(34)) - 1, 34, true, 0, true, 0},
        {static_cast<i128>(pow10u(30)) * 7, 30, true, 7, true, 7},
    };
    for (const auto& c : cases) {
        unsigned long long high, low;
        toWords(c.value, high, low);
        long out64 = 99;
        int out32 = 99;
        long outDate = 99;
        EXPECT_EQ(decimal_getInt64(high, low, c.scale, out64), c.ok64) << toString(c.value);
        EXPECT_EQ(out64, c.out64) << toString(c.value);
        EXPECT_EQ(decimal_getDate(high, low, c.scale, outDate), c.ok64) << toString(c.value);
        EXPECT_EQ(outDate, c.out64) << toString(c.value);
        EXPECT_EQ(decimal_getInt(high, low, c.scale, out32), c.ok32) << toString(c.value);
        EXPECT_EQ(out32, c.out32) << toString(c.value);
    }
}

TEST(DecimalIntegers, SetFromIntegers) {
    unsigned long long high, low;
    long v = -3;
    ASSERT_TRUE(decimal_setFromInt64(high, low, v, 2));
    EXPECT_EQ(toString(fromWords(high, low)), "-300");
    v = LONG_MIN;
    ASSERT_TRUE(decimal_setFromInt64(high, low, v, 0));
    EXPECT_EQ(toString(fromWords(high, low)), "-9223372036854775808");
    v = LONG_MAX;
    EXPECT_TRUE(decimal_setFromInt64(high, low, v, 19));
    EXPECT_FALSE(decimal_setFromInt64(high, low, v, 20));  // 9.2e38 needs more than 128 bits
    int i = INT_MIN;
    ASSERT_TRUE(decimal_setFromInt(high, low, i, 28));
    EXPECT_EQ(toString(fromWords(high, low)), "-2147483648" + std::string(28, '0'));
}

TEST(DecimalDouble, GetDouble) {
    struct Case {
        i128 value;
        int scale;
        double expected;
    };
    const Case cases[] = {
        {12345, 2, 12345.0 * 1e-2},  // multiplied by the inexact 1e-2, not divided
        {-1, 34, -1e-34},
        {7, 31, 7.0 * 1e-31},
        {static_cast<i128>(1) << 64, 0, 18446744073709551616.0},
        {-(static_cast<i128>(3) << 64) - 5, 0, -(3.0 * 18446744073709551616.0 + 5.0)},
        {0, 10, 0.0},
    };
    for (const auto& c : cases) {
        unsigned long long high, low;
        toWords(c.value, high, low);
        double out = 0;
        decimal_getDouble(high, low, c.scale, out);
        EXPECT_EQ(out, c.expected) << toString(c.value) << " at scale " << c.scale;
    }
}

} // namespace
