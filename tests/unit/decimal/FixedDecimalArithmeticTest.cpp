// Rescaling and the integer and double conversions.
#include <gtest/gtest.h>

#include <climits>

#include "DecimalTestSupport.h"
#include "datatypes/FixedDecimalValue.h"

using namespace DataTypes;
using namespace decimaltest;

namespace {

// On failure `expected` is the magnitude left behind.
struct ShiftCase { i128 value; int count; bool ok; i128 expected; };

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
        {15, -1, true, 1},  // truncation, no rounding
        {123456789, -40, true, 0},
        {-123456789, -39, true, 0},
        {big, -34, true, 0},  // all-nines: the reciprocal alone would give 1
        {minValue, -1, true, minValue / 10},
        {minValue, -38, true, -1},
        {3, 38, true, static_cast<i128>(3 * pow10u(38))},  // uses bit 127; not checked here
        {-4, 38, false, 4},  // the pair keeps the magnitude
        {1, 39, false, 1},
        {0, 45, true, 0},
    };
    for (const auto& c : cases) checkShift(c);
}

TEST(DecimalShift, RandomAgainstWideIntegers) {
    std::mt19937_64 rng(20261121);
    const u128 maxU = ~static_cast<u128>(0);
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
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
    }
}

TEST(DecimalIntegers, GetInt64AndInt) {
    const i128 two63 = static_cast<i128>(1) << 63;
    const struct { i128 value; int scale; bool ok64; long out64; bool ok32; int out32; } cases[] = {
        {-12399, 2, true, -123, true, -123},
        {two63 - 1, 0, true, LONG_MAX, false, -1},
        {two63, 0, false, LONG_MIN, false, 0},  // the truncated low word still lands in out
        {-two63, 0, true, LONG_MIN, false, 0},
        {-two63 - 1, 0, false, LONG_MAX, false, -1},
        {3000000000, 0, true, 3000000000L, true, static_cast<int>(3000000000u - 4294967296LL)},
        {4294967296, 0, true, 4294967296L, false, 0},
        {-2147483649LL, 0, true, -2147483649L, true, INT_MAX},  // sign word matches: wraps
        {static_cast<i128>(pow10u(34)) - 1, 34, true, 0, true, 0},
    };
    for (const auto& c : cases) {
        unsigned long long high, low;
        toWords(c.value, high, low);
        long out64 = 99, outDate = 99;
        int out32 = 99;
        EXPECT_EQ(decimal_getInt64(high, low, c.scale, out64), c.ok64) << toString(c.value);
        EXPECT_EQ(out64, c.out64) << toString(c.value);
        EXPECT_EQ(decimal_getDate(high, low, c.scale, outDate), c.ok64) << toString(c.value);
        EXPECT_EQ(outDate, c.out64) << toString(c.value);
        EXPECT_EQ(decimal_getInt(high, low, c.scale, out32), c.ok32) << toString(c.value);
        EXPECT_EQ(out32, c.out32) << toString(c.value);
    }
}

TEST(DecimalDouble, GetDouble) {
    const struct { i128 value; int scale; double expected; } cases[] = {
        {12345, 2, 12345.0 * 1e-2},  // multiplied by the inexact 1e-2, not divided
        {-1, 34, -1e-34},            // past the scales a table of 10^-30 would cover
        {-(static_cast<i128>(3) << 64) - 5, 0, -(3.0 * 18446744073709551616.0 + 5.0)},
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
