// Long division on 16-bit limbs and its signed 128-bit front.
#include <gtest/gtest.h>

#include "DecimalTestSupport.h"
#include "datatypes/FixedDecimalValue.h"

using namespace DataTypes;
using namespace decimaltest;

namespace {

struct Division {
    bool ok;
    i128 quotient;
    i128 remainder;
};

Division divide(i128 a, i128 b) {
    unsigned long long aHigh, aLow, bHigh, bLow, qHigh, qLow, rHigh, rLow;
    toWords(a, aHigh, aLow);
    toWords(b, bHigh, bLow);
    Division d;
    d.ok = longdivmod128(aLow, aHigh, bLow, bHigh, qLow, qHigh, rLow, rHigh);
    d.quotient = fromWords(qHigh, qLow);
    d.remainder = fromWords(rHigh, rLow);
    return d;
}

// The contract's own rounding, from exact magnitudes.
Division expectedDivision(i128 a, i128 b) {
    const u128 ma = a < 0 ? -static_cast<u128>(a) : static_cast<u128>(a);
    const u128 mb = b < 0 ? -static_cast<u128>(b) : static_cast<u128>(b);
    u128 q = ma / mb, r = ma % mb;  // unsigned: -(2^127 + 1) must wrap, not overflow
    if (b < 0) r = -r;
    if ((a < 0) != (b < 0)) q = ~q;
    return {true, static_cast<i128>(q), static_cast<i128>(r)};
}

void checkDivision(i128 a, i128 b, const Division& want) {
    const Division got = divide(a, b);
    const std::string label = toString(a) + " / " + toString(b);
    EXPECT_EQ(got.ok, want.ok) << label;
    EXPECT_EQ(toString(got.quotient), toString(want.quotient)) << label;
    EXPECT_EQ(toString(got.remainder), toString(want.remainder)) << label;
}

TEST(DecimalDivision, SignRules) {
    const struct {
        i128 a, b, q, r;
    } cases[] = {
        {-7, 2, -4, 1}, {7, -2, -4, -1}, {-6, 3, -3, 0}, {-7, -2, 3, -1}, {7, 2, 3, 1},
        {0, 5, 0, 0},   {0, -5, -1, 0},  {5, 7, 0, 5},   {-5, 7, -1, 5},
    };
    for (const auto& c : cases) checkDivision(c.a, c.b, {true, c.q, c.r});
    EXPECT_FALSE(divide(7, 0).ok);
    EXPECT_FALSE(divide(0, 0).ok);
}

TEST(DecimalDivision, RandomAgainstWideIntegers) {
    std::mt19937_64 rng(42);
    const i128 minValue = static_cast<i128>(static_cast<u128>(1) << 127);  // -2^127
    const i128 edges[] = {1, -1, 65535, 65536, -65536, static_cast<i128>(pow10u(34)), minValue, minValue + 1,
                          ~minValue};
    for (i128 a : edges)
        for (i128 b : edges) checkDivision(a, b, expectedDivision(a, b));
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
        // Bit lengths chosen apart so that every limb count of a and b meets.
        const int aBits = static_cast<int>(rng() % 127) + 1, bBits = static_cast<int>(rng() % 127) + 1;
        i128 a = static_cast<i128>((static_cast<u128>(rng()) << 64 | rng()) >> (128 - aBits));
        i128 b = static_cast<i128>((static_cast<u128>(rng()) << 64 | rng()) >> (128 - bBits));
        if (b == 0) b = 3;
        if (rng() & 1) a = -a;
        if (rng() & 1) b = -b;
        checkDivision(a, b, expectedDivision(a, b));
    }
}

TEST(DecimalDivision, LimbPrimitives) {
    const unsigned short a[] = {0xFFFF, 0xFFFF, 0x0001};
    unsigned short out[4] = {};
    unsigned count = 99;
    mul1(a, 3, 0xFFFF, out, count);  // 0x1FFFFFFFF * 0xFFFF = 0x1 FFFD FFFF 0001: a carry limb
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(out[0], 0x0001);
    EXPECT_EQ(out[1], 0xFFFF);
    EXPECT_EQ(out[2], 0xFFFD);
    EXPECT_EQ(out[3], 0x0001);
    mul1(a, 2, 2, out, count);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(out[2], 1);
    mul1(a, 0, 7, out, count);
    EXPECT_EQ(count, 0u);

    unsigned short q[3] = {}, rest = 0;
    divmod1(a, 3, 10, q, 0, rest);  // 0x1FFFFFFFF = 8589934591
    EXPECT_EQ(static_cast<unsigned long long>(q[2]) << 32 | static_cast<unsigned long long>(q[1]) << 16 | q[0],
              858993459ull);
    EXPECT_EQ(rest, 1);
    divmod1(a, 3, 0, q, 0, rest);  // no trap
    EXPECT_EQ(rest, 0);
}

TEST(DecimalDivision, LongDivModPaths) {
    unsigned short q[8], r[8];
    unsigned qCount = 77, rCount = 77;
    const unsigned short small[] = {5, 1}, big[] = {1, 2, 3};
    // a plainly smaller: no quotient, a itself as remainder.
    ASSERT_TRUE(longdivmod(small, 2, big, 3, q, qCount, r, rCount));
    EXPECT_EQ(qCount, 0u);
    EXPECT_EQ(rCount, 2u);
    EXPECT_EQ(r[0], 5);
    EXPECT_EQ(r[1], 1);

    // One limb in b: quotientCount stays as the caller left it.
    const unsigned short a[] = {6, 0, 1};  // 2^32 + 6 = 3 * 0x55555557 + 1
    const unsigned short three[] = {3};
    qCount = 0;
    ASSERT_TRUE(longdivmod(a, 3, three, 1, q, qCount, r, rCount));
    EXPECT_EQ(qCount, 0u);
    EXPECT_EQ(q[0], 0x5557);
    EXPECT_EQ(q[1], 0x5555);
    EXPECT_EQ(rCount, 1u);
    EXPECT_EQ(r[0], 1);

    // A leading zero limb in b is no divisor limb.
    const unsigned short threePadded[] = {3, 0};
    ASSERT_TRUE(longdivmod(a, 3, threePadded, 2, q, qCount, r, rCount));
    EXPECT_EQ(q[1], 0x5555);

    EXPECT_FALSE(longdivmod(a, 3, three, 0, q, qCount, r, rCount));
}

} // namespace
