// decimal128 encoding, cross-checked word for word against the reference
// library (reached through BidReference, which keeps its types apart).
#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "BidReference.h"
#include "DecimalTestSupport.h"
#include "datatypes/FixedDecimalValue.h"

using namespace DataTypes;
using namespace decimaltest;

namespace {

std::string hexWords(const uint64_t w[2]) {
    char text[40];
    std::snprintf(text, sizeof text, "%016llx:%016llx", static_cast<unsigned long long>(w[1]),
                  static_cast<unsigned long long>(w[0]));
    return text;
}

// One value through text, our encoder and decoder, and the reference parser.
void crossCheck(i128 value, int scale) {
    const std::string text = decimalText(value, scale);
    FixedDecimalValue d{};
    ASSERT_TRUE(d.setDecimalValue(34, scale, text.c_str())) << text;
    ASSERT_EQ(toString(valueOf(d)), toString(value)) << text;

    uint64_t reference[2], fromCoefficient[2];
    ASSERT_TRUE(bidref::fromString(text.c_str(), reference)) << text;
    const std::string coefficientForm = toString(value) + "E-" + std::to_string(scale);
    ASSERT_TRUE(bidref::fromString(coefficientForm.c_str(), fromCoefficient)) << coefficientForm;
    ASSERT_EQ(hexWords(reference), hexWords(fromCoefficient)) << text;

    unsigned long long high = static_cast<unsigned long long>(d.high), low = d.low;
    BID_UINT128 ours{};
    ASSERT_TRUE(toBID128(high, low, scale, ours)) << text;
    const uint64_t oursWords[2] = {ours.w[0], ours.w[1]};
    ASSERT_EQ(hexWords(oursWords), hexWords(reference)) << text << " reference reads " << bidref::toString(reference);
    ASSERT_EQ(toString(fromWords(high, low)), toString(value < 0 ? -value : value)) << text << ": pair stays negated";

    BID_UINT128 in{{reference[0], reference[1]}};
    ASSERT_TRUE(fromBID128(high, low, in));
    ASSERT_EQ(toString(fromWords(high, low)), toString(value)) << text << " back from decimal128";
}

TEST(DecimalBid128, EdgeValuesAtEveryScale) {
    const i128 maxCoefficient = static_cast<i128>(pow10u(34)) - 1;
    const i128 values[] = {0, 1, -1, 9, -10, static_cast<i128>(pow10u(33)), -static_cast<i128>(pow10u(33)),
                           maxCoefficient, -maxCoefficient, static_cast<i128>(1) << 64,
                           -(static_cast<i128>(1) << 64), (static_cast<i128>(1) << 64) - 1,
                           static_cast<i128>(pow10u(19)), 1234567890123456789LL};
    for (int scale = 0; scale <= 34; ++scale) {
        for (i128 v : values) {
            crossCheck(v, scale);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(DecimalBid128, RandomValues) {
    std::mt19937_64 rng(1121);
    for (int i = 0; i < 5000; ++i) {
        const int scale = static_cast<int>(rng() % 35);
        const i128 magnitude = static_cast<i128>(randomMagnitude(rng, 34));
        crossCheck((rng() & 1) ? -magnitude : magnitude, scale);
        if (HasFatalFailure()) return;
    }
}

TEST(DecimalBid128, NegativeZeroAndSignedExample) {
    // Our zero never carries a sign; a reference negative zero reads back as 0.
    for (int scale : {0, 2, 34}) {
        const std::string text = "-" + decimalText(0, scale);
        uint64_t negativeZero[2], positiveZero[2];
        ASSERT_TRUE(bidref::fromString(text.c_str(), negativeZero));
        ASSERT_TRUE(bidref::fromString(decimalText(0, scale).c_str(), positiveZero));
        EXPECT_NE(negativeZero[1] >> 63, 0u) << text;
        unsigned long long high = 0, low = 0;
        BID_UINT128 ours{};
        ASSERT_TRUE(toBID128(high, low, scale, ours));
        const uint64_t oursWords[2] = {ours.w[0], ours.w[1]};
        EXPECT_EQ(hexWords(oursWords), hexWords(positiveZero)) << text;
        fromBID128(high, low, BID_UINT128{{negativeZero[0], negativeZero[1]}});
        EXPECT_EQ(high | low, 0u) << text;
    }

    unsigned long long high = ~0ull, low = ~0ull;  // -1 at scale 2
    BID_UINT128 out{};
    ASSERT_TRUE(toBID128(high, low, 2, out));
    EXPECT_EQ(out.w[1], 1ull << 63 | 6174ull << 49);
    EXPECT_EQ(out.w[0], 1u);
    EXPECT_EQ(high | low, 1u);  // the caller's pair stays negated

    high = 1ull << 49;  // 2^113: beyond the 113-bit coefficient
    low = 0;
    EXPECT_FALSE(toBID128(high, low, 0, out));
    high = (1ull << 49) - 1;
    low = ~0ull;
    EXPECT_TRUE(toBID128(high, low, 0, out));
    EXPECT_FALSE(toBID128(high, low, 6177, out));  // no biased exponent below 0
}

} // namespace
