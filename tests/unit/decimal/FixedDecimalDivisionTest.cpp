// Long division on 16-bit limbs and its signed 128-bit front.
#include <gtest/gtest.h>

#include "DecimalTestSupport.h"
#include "datatypes/FixedDecimalValue.h"

using namespace DataTypes;
using namespace decimaltest;

namespace {

// Divides through longdivmod128 and compares with the quotient and remainder given.
void checkDivision(i128 a, i128 b, i128 q, i128 r, bool ok = true) {
    unsigned long long aHigh, aLow, bHigh, bLow, qHigh, qLow, rHigh, rLow;
    toWords(a, aHigh, aLow);
    toWords(b, bHigh, bLow);
    const std::string label = toString(a) + " / " + toString(b);
    EXPECT_EQ(longdivmod128(aLow, aHigh, bLow, bHigh, qLow, qHigh, rLow, rHigh), ok) << label;
    if (!ok) return;
    EXPECT_EQ(toString(fromWords(qHigh, qLow)), toString(q)) << label;
    EXPECT_EQ(toString(fromWords(rHigh, rLow)), toString(r)) << label;
}

// The routine's own rounding, from exact magnitudes.
void checkAgainstWideIntegers(i128 a, i128 b) {
    const u128 ma = a < 0 ? -static_cast<u128>(a) : static_cast<u128>(a);
    const u128 mb = b < 0 ? -static_cast<u128>(b) : static_cast<u128>(b);
    u128 q = ma / mb, r = ma % mb;  // unsigned: -(2^127 + 1) must wrap, not overflow
    if (b < 0) r = -r;
    if ((a < 0) != (b < 0)) q = ~q;
    checkDivision(a, b, static_cast<i128>(q), static_cast<i128>(r));
}

TEST(DecimalDivision, SignRules) {
    const struct { i128 a, b, q, r; } cases[] = {
        {-7, 2, -4, 1}, {7, -2, -4, -1}, {-6, 3, -3, 0}, {-7, -2, 3, -1}, {7, 2, 3, 1}, {0, -5, -1, 0}, {-5, 7, -1, 5},
    };
    for (const auto& c : cases) checkDivision(c.a, c.b, c.q, c.r);
    checkDivision(7, 0, 0, 0, false);
}

TEST(DecimalDivision, RandomAgainstWideIntegers) {
    std::mt19937_64 rng(42);
    const i128 minValue = static_cast<i128>(static_cast<u128>(1) << 127);  // -2^127
    const i128 edges[] = {1, -1, 65535, 65536, -65536, static_cast<i128>(pow10u(34)), minValue, minValue + 1,
                          ~minValue};
    for (i128 a : edges)
        for (i128 b : edges) checkAgainstWideIntegers(a, b);
    // Rare steps of the long division that random operands seldom reach: an
    // estimate lowered twice, and one still too high that must add b back.
    checkAgainstWideIntegers(fromWords(0x7ffffffe, 0x00007ffffffff644), 0x8001ffff);
    checkAgainstWideIntegers(fromWords(0x7fff00000001, 0x00017fff00020001), fromWords(0x80000000, 0x80000002ffffffff));
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
        // Bit lengths chosen apart so that every limb count of a and b meets.
        const int aBits = static_cast<int>(rng() % 127) + 1, bBits = static_cast<int>(rng() % 127) + 1;
        i128 a = static_cast<i128>((static_cast<u128>(rng()) << 64 | rng()) >> (128 - aBits));
        i128 b = static_cast<i128>((static_cast<u128>(rng()) << 64 | rng()) >> (128 - bBits));
        if (b == 0) b = 3;
        if (rng() & 1) a = -a;
        if (rng() & 1) b = -b;
        checkAgainstWideIntegers(a, b);
    }
}

TEST(DecimalDivision, LimbPrimitivesAndPaths) {
    const unsigned short a[] = {0xFFFF, 0xFFFF, 0x0001};
    unsigned short out[4] = {};
    unsigned count = 99;
    mul1(a, 3, 0xFFFF, out, count);  // 0x1FFFFFFFF * 0xFFFF = 0x1 FFFD FFFF 0001: a carry limb
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(static_cast<unsigned long long>(out[3]) << 48 | static_cast<unsigned long long>(out[2]) << 32 |
                  static_cast<unsigned long long>(out[1]) << 16 | out[0],
              0x1FFFDFFFF0001ull);
    mul1(a, 0, 7, out, count);
    EXPECT_EQ(count, 0u);
    unsigned short rest = 9;
    divmod1(a, 3, 0, out, 0, rest);  // no trap
    EXPECT_EQ(rest, 0);

    unsigned short q[8], r[8];
    unsigned qCount = 77, rCount = 77;
    const unsigned short small[] = {5, 1}, big[] = {1, 2, 3};
    // a plainly smaller: no quotient, a itself as remainder.
    ASSERT_TRUE(longdivmod(small, 2, big, 3, q, qCount, r, rCount));
    EXPECT_EQ(qCount, 0u);
    EXPECT_EQ(rCount, 2u);
    EXPECT_EQ(r[1] << 16 | r[0], 0x10005);

    // One limb in b: quotientCount stays as the caller left it.
    const unsigned short six[] = {6, 0, 1}, three[] = {3}, threePadded[] = {3, 0};  // 2^32 + 6 = 3 * 0x55555557 + 1
    qCount = 0;
    ASSERT_TRUE(longdivmod(six, 3, three, 1, q, qCount, r, rCount));
    EXPECT_EQ(qCount, 0u);
    EXPECT_EQ(q[1] << 16 | q[0], 0x55555557);
    EXPECT_EQ(rCount, 1u);
    EXPECT_EQ(r[0], 1);
    // A leading zero limb in b is no divisor limb.
    q[1] = 0;
    ASSERT_TRUE(longdivmod(six, 3, threePadded, 2, q, qCount, r, rCount));
    EXPECT_EQ(q[1], 0x5555);
    EXPECT_FALSE(longdivmod(six, 3, three, 0, q, qCount, r, rCount));
}

} // namespace
