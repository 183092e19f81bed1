// The precision test, the integer setters and the result types.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

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

TEST(DecimalValue, StoredFieldLayout) {
    FixedDecimalValue d = makeDecimal(-1, 10, 2);
    unsigned char bytes[24];
    std::memcpy(bytes, &d, sizeof bytes);
    EXPECT_EQ(bytes[16], 2);
    EXPECT_EQ(bytes[17], 10);
    EXPECT_EQ(d.precisionScale(), 10 << 8 | 2);
    EXPECT_TRUE(d.isNegative());
}

TEST(DecimalValue, CheckPrecisionOverflow) {
    const i128 p34 = static_cast<i128>(pow10u(34));
    struct Case {
        i128 value;
        int precision;
        bool overflow;
    } const cases[] = {
        {99999, 5, false},        {100000, 5, true},   {-99999, 5, false}, {-100000, 5, true},
        {0, 0, true},             {-1, 0, true},       {5, 0, true},       {p34 - 1, 34, false},
        {p34, 34, true},          {-p34 + 1, 34, false}, {-p34, 34, true}, {static_cast<i128>(1) << 126, 38, false},
        {-(static_cast<i128>(1) << 126), 38, false}, {p34 * 10000, 38, true}, {9, 1, false},
        {10, 1, true},            {p34 * 1000, 60, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(makeDecimal(c.value, c.precision, 0).checkPrecisionOverflow(), c.overflow)
            << toString(c.value) << " at precision " << c.precision;
    }
}

TEST(DecimalValue, SetFromIntegers) {
    FixedDecimalValue d{};
    EXPECT_TRUE(d.setDecimalValue(10, 2, 12345678L));
    EXPECT_EQ(toString(valueOf(d)), "1234567800");
    EXPECT_EQ(d.precisionScale(), 10 << 8 | 2);
    EXPECT_FALSE(d.setDecimalValue(10, 3, 12345678L));  // 11 digits in a precision of 10
    EXPECT_EQ(d.precisionScale(), 10 << 8 | 3);        // the field is stored whatever follows
    EXPECT_TRUE(d.setDecimalValue(19, 0, LONG_MIN));
    EXPECT_FALSE(d.setDecimalValue(34, 20, LONG_MAX));  // the shift itself overflows
    EXPECT_TRUE(d.setDecimalValue(10, 0, INT_MIN));
    EXPECT_EQ(toString(valueOf(d)), "-2147483648");
    EXPECT_FALSE(d.setDecimalValue(9, 0, INT_MIN));
    EXPECT_FALSE(d.setDecimalValue(0, 0, 0));
}

struct ResultTypeCase {
    const char* name;
    bool (FixedDecimalValue::*op)(FixedDecimalValue&, FixedDecimalValue&);
    int aPrecision, aScale, bPrecision, bScale;
    bool ok;
    int precision, scale;
    i128 aAfter;  // a's integer afterwards, starting from 7
};

TEST(DecimalValue, ResultTypes) {
    using F = FixedDecimalValue;
    const ResultTypeCase cases[] = {
        {"add", &F::toAdditionResultType, 10, 2, 5, 4, true, 13, 4, 700},
        {"add", &F::toAdditionResultType, 5, 4, 10, 2, true, 13, 4, 7},
        {"sub", &F::toSubtractionResultType, 20, 0, 20, 10, true, 31, 10, 70000000000},
        {"add", &F::toAdditionResultType, 30, 0, 30, 10, false, 30, 0, 7},  // 41 digits
        {"mul", &F::toMultiplicationResultType, 10, 2, 5, 3, true, 16, 5, 7000},
        {"mul", &F::toMultiplicationResultType, 20, 2, 14, 3, false, 20, 2, 7},  // 35 digits
        {"div", &F::toDivisionResultType, 10, 2, 5, 3, true, 19, 8, 7000000},
        {"div", &F::toDivisionResultType, 20, 2, 10, 3, true, 34, 13, 700000000000},
        {"div", &F::toDivisionResultType, 20, 2, 10, 4, false, 20, 2, 7},  // 35 digits
    };
    for (const auto& c : cases) {
        FixedDecimalValue a = makeDecimal(7, c.aPrecision, c.aScale);
        FixedDecimalValue b = makeDecimal(3, c.bPrecision, c.bScale);
        FixedDecimalValue self{};
        const std::string label = std::string(c.name) + " (" + std::to_string(c.aPrecision) + "," +
                                  std::to_string(c.aScale) + ") (" + std::to_string(c.bPrecision) + "," +
                                  std::to_string(c.bScale) + ")";
        EXPECT_EQ((self.*c.op)(a, b), c.ok) << label;
        EXPECT_EQ(a.precision, c.precision) << label;
        EXPECT_EQ(a.scale, c.scale) << label;
        EXPECT_EQ(toString(valueOf(a)), toString(c.aAfter)) << label;
        EXPECT_EQ(toString(valueOf(b)), "3") << label;
        EXPECT_EQ(b.precisionScale(), c.bPrecision << 8 | c.bScale) << label;
    }
}

TEST(DecimalValue, ResultTypeShiftOverflowKeepsField) {
    // 34 digits of a: the precision rule passes, but shifting by b's scale cannot.
    FixedDecimalValue a = makeDecimal(-static_cast<i128>(pow10u(33)), 3, 0);
    FixedDecimalValue b = makeDecimal(1, 2, 10);
    FixedDecimalValue self{};
    EXPECT_FALSE(self.toMultiplicationResultType(a, b));
    EXPECT_EQ(a.precisionScale(), 3 << 8 | 0);
}

TEST(DecimalValue, SameAndMaxScale) {
    FixedDecimalValue self{};
    FixedDecimalValue a = makeDecimal(-15, 5, 1), b = makeDecimal(2, 5, 3);
    EXPECT_TRUE(self.toSameScale(a, b));
    EXPECT_EQ(toString(valueOf(a)), "-1500");
    EXPECT_EQ(a.scale, 1);  // the field is not written

    a = makeDecimal(-1500, 5, 3);
    b = makeDecimal(2, 5, 1);
    EXPECT_TRUE(self.toSameScale(a, b));  // downward truncates
    EXPECT_EQ(toString(valueOf(a)), "-15");

    a = makeDecimal(4, 5, 0);
    b = makeDecimal(2, 5, 3);
    EXPECT_EQ(FixedDecimalValue::toMaxScale(a, b), 3);
    EXPECT_EQ(toString(valueOf(a)), "4000");
    EXPECT_EQ(a.scale, 0);
    EXPECT_EQ(FixedDecimalValue::toMaxScale(b, a), 3);  // equal integers now, scales still differ
    EXPECT_EQ(toString(valueOf(a)), "4000000");

    a = makeDecimal(5, 5, 2);
    b = makeDecimal(4, 5, 2);
    EXPECT_EQ(FixedDecimalValue::toMaxScale(a, b), 2);
    b = makeDecimal(static_cast<i128>(pow10u(37)), 38, 0);
    EXPECT_EQ(FixedDecimalValue::toMaxScale(a, b), -1);  // 10^39 needs more than 128 bits
}

} // namespace
