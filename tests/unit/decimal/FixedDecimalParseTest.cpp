// Text and doubles into fixed decimals: the lenient text reader, the strict
// double road, and the precision limits at both ends of the range.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "DecimalTestSupport.h"
#include "datatypes/FixedDecimalValue.h"

using namespace DataTypes;
using namespace decimaltest;

namespace {

// `integer`: the stored integer, or nullptr when not checked.
struct TextCase { int precision, scale; const char* text; bool ok; const char* integer; };

void checkText(const TextCase& c) {
    FixedDecimalValue d{};
    const bool ok = d.setDecimalValue(c.precision, c.scale, c.text);
    SCOPED_TRACE(testing::Message() << '"' << c.text << "\" as (" << c.precision << "," << c.scale << ")");
    EXPECT_EQ(ok, c.ok);
    EXPECT_EQ(d.precisionScale(), c.precision << 8 | c.scale);
    if (c.integer != nullptr) {
        EXPECT_EQ(toString(valueOf(d)), c.integer);
    }
}

TEST(DecimalText, Leniencies) {
    const TextCase cases[] = {
        {5, 2, "123.456", true, "12345"},  // digits past the scale drop, no rounding
        {5, 2, "1234.5", false, nullptr},  // 123450 is not below 10^5
        {5, 2, " 1,5 ", true, "150"},
        {5, 2, "-1.5x", true, "150"},  // junk hides the sign
        {5, 2, "abc", true, "0"},
        {5, 2, "", true, "0"},
        {5, 2, "1.5-", true, "-150"},
        {5, 2, "-1.5-", true, "150"},
        {5, 2, "+1.5+", true, "150"},
        {5, 2, " - 1.5", true, "0"},  // a blank after the sign is junk before any digit
        {5, 2, "-.5", true, "-50"},
        {5, 0, "7.9", true, "7"},
        {5, 2, "1\t", true, "100"},  // only the space is a blank
        {34, 0, "1e81", true, "1"},
        {10, 4, "000000000000000000000000000000012.5", true, "125000"},  // leading zeros count as digits
        {34, 10, "-123456789012345678901234.0123456789", true, "-1234567890123456789012340123456789"},
        {34, 34, "0.1234567890123456789012345678901234567", true, "1234567890123456789012345678901234"},
        // 2^127 - 1 and -2^127 are the ends of the 128-bit form.
        {40, 0, "170141183460469231731687303715884105727", true, "170141183460469231731687303715884105727"},
        {40, 0, "-170141183460469231731687303715884105728", true, "-170141183460469231731687303715884105728"},
        {40, 0, "170141183460469231731687303715884105728", false, nullptr},
        {40, 0, "-170141183460469231731687303715884105729", false, nullptr},
        // The guard stops the reading before a digit could lose a bit.
        {40, 0, "999999999999999999999999999999999999999", false, nullptr},
        {40, 10, "17014118346046923173168730371588410.5727", false, nullptr},
        {0, 0, "0", false, "0"},  // precision 0: everything overflows
    };
    for (const auto& c : cases) checkText(c);
}

TEST(DecimalText, PrecisionLimitsAtBothEnds) {
    // For each declared type: the largest magnitude that fits and the next one.
    for (int precision = 1; precision <= 34 && !HasFailure(); ++precision) {
        for (int scale : {0, precision / 2, precision}) {
            const i128 limit = static_cast<i128>(pow10u(precision));
            for (int sign : {1, -1}) {
                const std::string fits = decimalText(sign * (limit - 1), scale);
                const std::string over = decimalText(sign * limit, scale);
                checkText({precision, scale, fits.c_str(), true, toString(sign * (limit - 1)).c_str()});
                checkText({precision, scale, over.c_str(), false, nullptr});
            }
        }
    }
}

TEST(DecimalDouble, SetFromDouble) {
    const struct { int precision, scale; double value; bool ok; const char* integer; } cases[] = {
        {10, 2, 1.005, true, "100"},  // the formatter rounds the binary value 1.00499999...
        {10, 2, -2.5, true, "-250"},
        {20, 10, -5e-7, true, "0"},  // below 1e-6 is 0 even where the scale would show it
        {5, 2, 999.994, true, "99999"},
        {5, 2, -999.996, false, nullptr},  // rounds to 1000.00
        {34, 0, 1e81, false, nullptr},     // the exponent is junk to this road
        {34, 0, 1e80, false, nullptr},     // 81 digits
        {38, 0, 1e37, true, "9999999999999999538762658202121142272"},  // every digit of the binary value
        {34, 0, std::numeric_limits<double>::quiet_NaN(), false, nullptr},
        {34, 0, -std::numeric_limits<double>::infinity(), false, nullptr},
    };
    for (const auto& c : cases) {
        FixedDecimalValue d{};
        EXPECT_EQ(d.setDecimalValue(c.precision, c.scale, c.value), c.ok) << c.value << " at scale " << c.scale;
        if (c.integer != nullptr) {
            EXPECT_EQ(toString(valueOf(d)), c.integer) << c.value;
        }
    }
}

// Decimal -> double -> decimal keeps every digit while the value has at most
// 15 significant digits, at every scale.
TEST(DecimalDouble, RoundTripKeepsDigits) {
    std::mt19937_64 rng(7);
    for (int i = 0; i < 5000; ++i) {
        const int scale = static_cast<int>(rng() % 35);
        const i128 value = static_cast<i128>(randomMagnitude(rng, 15)) * ((rng() & 1) ? -1 : 1);
        unsigned long long high, low;
        toWords(value, high, low);
        double asDouble = 0;
        decimal_getDouble(high, low, scale, asDouble);
        if (std::fabs(asDouble) < 1e-6) continue;  // below the cut-off everything reads as 0
        FixedDecimalValue back{};
        ASSERT_TRUE(back.setDecimalValue(34, scale, asDouble)) << decimalText(value, scale);
        ASSERT_EQ(toString(valueOf(back)), toString(value)) << decimalText(value, scale) << " via " << asDouble;
    }
}

} // namespace
