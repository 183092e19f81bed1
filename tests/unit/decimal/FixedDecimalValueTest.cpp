// The precision test, the integer setters and the result types.
#include <gtest/gtest.h>

#include <climits>

#include "DecimalTestSupport.h"
#include "datatypes/FixedDecimalValue.h"

using namespace DataTypes;
using namespace decimaltest;

namespace {

FixedDecimalValue makeDecimal(i128 value, int precision, int scale) {
    FixedDecimalValue d{};
    unsigned long long high, low;
    toWords(value, high, low);
    d.high = static_cast<int64_t>(high);
    d.low = low;
    d.setPrecisionScale(precision, scale);
    return d;
}

TEST(DecimalValue, CheckPrecisionOverflow) {
    const i128 p34 = static_cast<i128>(pow10u(34));
    const struct { i128 value; int precision; bool overflow; } cases[] = {
        {99999, 5, false},     {100000, 5, true},     {-99999, 5, false}, {-100000, 5, true},
        {0, 0, true},          {-1, 0, true},         {p34 - 1, 34, false}, {-p34, 34, true},
        {-(static_cast<i128>(1) << 126), 38, false},  {p34 * 10000, 38, true}, {p34 * 1000, 60, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(makeDecimal(c.value, c.precision, 0).checkPrecisionOverflow(), c.overflow)
            << toString(c.value) << " at precision " << c.precision;
    }
}

TEST(DecimalValue, SetFromIntegers) {
    FixedDecimalValue d{};
    EXPECT_TRUE(d.setDecimalValue(10, 2, -12345678L));
    EXPECT_EQ(toString(valueOf(d)), "-1234567800");
    EXPECT_EQ(d.precisionScale(), 10 << 8 | 2);
    EXPECT_FALSE(d.setDecimalValue(10, 3, 12345678L));  // 11 digits in a precision of 10
    EXPECT_EQ(d.precisionScale(), 10 << 8 | 3);        // the field is stored whatever follows
    EXPECT_TRUE(d.setDecimalValue(19, 0, LONG_MIN));
    EXPECT_FALSE(d.setDecimalValue(34, 20, LONG_MAX));  // the shift itself overflows
    EXPECT_TRUE(d.setDecimalValue(38, 28, INT_MIN));
    EXPECT_EQ(toString(valueOf(d)), "-2147483648" + std::string(28, '0'));
    EXPECT_FALSE(d.setDecimalValue(9, 0, INT_MIN));
}

TEST(DecimalValue, ResultTypes) {
    using F = FixedDecimalValue;
    // a starts as 7, b as 3; aAfter is a's integer afterwards.
    const struct { bool (F::*op)(F&, F&); int aPrecision, aScale, bPrecision, bScale; bool ok;
                   int precision, scale; i128 aAfter; } cases[] = {
        {&F::toAdditionResultType, 10, 2, 5, 4, true, 13, 4, 700},
        {&F::toAdditionResultType, 5, 4, 10, 2, true, 13, 4, 7},
        {&F::toSubtractionResultType, 20, 0, 20, 10, true, 31, 10, 70000000000},
        {&F::toAdditionResultType, 30, 0, 30, 10, false, 30, 0, 7},  // 41 digits
        {&F::toMultiplicationResultType, 10, 2, 5, 3, true, 16, 5, 7000},
        {&F::toMultiplicationResultType, 20, 2, 14, 3, false, 20, 2, 7},  // 35 digits
        {&F::toDivisionResultType, 10, 2, 5, 3, true, 19, 8, 7000000},
        {&F::toDivisionResultType, 20, 2, 10, 4, false, 20, 2, 7},  // 35 digits
    };
    for (const auto& c : cases) {
        F a = makeDecimal(7, c.aPrecision, c.aScale), b = makeDecimal(3, c.bPrecision, c.bScale), self{};
        SCOPED_TRACE(testing::Message() << "case (" << c.aPrecision << "," << c.aScale << ") (" << c.bPrecision
                                        << "," << c.bScale << ") to (" << c.precision << "," << c.scale << ")");
        EXPECT_EQ((self.*c.op)(a, b), c.ok);
        EXPECT_EQ(a.precisionScale(), c.precision << 8 | c.scale);
        EXPECT_EQ(toString(valueOf(a)), toString(c.aAfter));
        EXPECT_EQ(toString(valueOf(b)), "3");
        EXPECT_EQ(b.precisionScale(), c.bPrecision << 8 | c.bScale);
    }
    // 34 digits: the precision rule passes, but shifting by b's scale cannot.
    F a = makeDecimal(-static_cast<i128>(pow10u(33)), 3, 0), b = makeDecimal(1, 2, 10), self{};
    EXPECT_FALSE(self.toMultiplicationResultType(a, b));
    EXPECT_EQ(a.precisionScale(), 3 << 8 | 0);
}

TEST(DecimalValue, SameAndMaxScale) {
    FixedDecimalValue self{};
    FixedDecimalValue a = makeDecimal(-1500, 5, 3), b = makeDecimal(2, 5, 1);
    EXPECT_TRUE(self.toSameScale(a, b));  // downward truncates
    EXPECT_EQ(toString(valueOf(a)), "-15");
    EXPECT_EQ(a.scale, 3);  // the field is not written

    a = makeDecimal(4, 5, 0);
    b = makeDecimal(2, 5, 3);
    EXPECT_EQ(FixedDecimalValue::toMaxScale(a, b), 3);
    EXPECT_EQ(toString(valueOf(a)), "4000");
    EXPECT_EQ(FixedDecimalValue::toMaxScale(b, a), 3);  // a's field still says 0: shifted again
    EXPECT_EQ(toString(valueOf(a)), "4000000");
    b = makeDecimal(static_cast<i128>(pow10u(37)), 38, 0);
    a = makeDecimal(5, 5, 2);
    EXPECT_EQ(FixedDecimalValue::toMaxScale(a, a), 2);
    EXPECT_EQ(FixedDecimalValue::toMaxScale(a, b), -1);  // 10^39 needs more than 128 bits
}

} // namespace
