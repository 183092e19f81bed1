#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "format/NumericFormatParser.h"

namespace DataTypes {
namespace {

struct MaskCase {
    double value;
    const char* mask;
    const char* expected;
};

void expectMasks(std::initializer_list<MaskCase> cases) {
    for (const MaskCase& k : cases) {
        std::string out;
        NumberToString(k.value, k.mask, out);
        EXPECT_EQ(out, k.expected) << "value " << k.value << " mask [" << k.mask << "]";
    }
}

TEST(NumberMask, DigitsSignsAndSeparators) {
    expectMasks({
        {12, "999", "  12"}, {-12, "999", " -12"}, {0, "999", "   0"}, // the first blank is the sign's place
        {12, "000", " 012"}, {0.5, "99.99", "   .50"}, {0.5, "00.99", " 00.50"},
        {0.5, "9.99", "  .50"}, {-0.5, "9.99", " -.50"},
        {1234, "9,999", " 1,234"}, {12, "9,999", "    12"},
        {2.5, "9", " 3"}, {-2.5, "9", "-3"}, // half away from zero
        {12, "S999", " +12"}, {-12, "S999", " -12"}, {0, "999S", "  0+"}, {-12, "999S", " 12-"},
        {12, "$999", "  $12"}, {-12, "$999", " -$12"},
        {12, "FM999", "12"}, {12, "FMS999", "+12"}, {12, "SFM999", "+12"}, {12, "9FM99", "12"},
        {12, "9F9", " 12"}, {-1234.5, "FM9,999.99", "-1,234.50"},
        {1e19, "99999999999999999999.9", " 10000000000000000000.0"}, // past 64 bits only without a point
    });
}

TEST(NumberMask, Scientific) {
    expectMasks({
        {1234.5, "9.99EEEE", "1.23E+03"}, {-1234.5, "9.99EEEE", "-1.23E+03"}, {1234.5, "S9.99EEEE", "1.23E+03"},
        {1e100, "9.9EEEE", "1.0E+100"}, {0.000125, "9.99eeee", "1.25E-04"},
    });
}

// A row of '#', one longer than the whole mask text.
TEST(NumberMask, RowOfHashesWhenTheMaskDoesNotFit) {
    expectMasks({
        {1234, "999", "####"}, {-1234, "999", "####"}, // the size check
        {999.6, "999", "####"}, // rounds to 1000: the leftover text
        {12, "S999S", "######"}, {12, "9S99", "#####"}, {12, "99FM9", "######"}, {12, "99X", "####"},
        {0.5, ".99", "####"}, {12, "SF9", "####"}, {12, "F9", "###"}, {12, "9,9EEEE", "########"},
        {12, "9EEEE9", "#######"}, {12, "9E", "###"}, {12, ",999", "#####"}, {12, "9.,99", "######"},
        {12, "", "#"}, {std::nan(""), "999", "####"},
        {std::numeric_limits<double>::infinity(), "9.99EEEE", "#########"},
    });
    std::string out = "old";
    NumberToString(1234, "999", out);
    EXPECT_EQ(out, "####") << "a failure replaces what out held";
}

} // namespace
} // namespace DataTypes
