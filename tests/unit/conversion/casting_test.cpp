#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "ConversionTestSupport.h"
#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

DataValue blank() {
    DataValue v;
    v.isNull = false;
    v.decimalValue = FixedDecimalValue{};
    return v;
}
DataValue i32(int32_t x) { DataValue v = blank(); v.int32Value = x; return v; }
DataValue i64(int64_t x) { DataValue v = blank(); v.int64Value = x; return v; }
DataValue f64(double x) { DataValue v = blank(); v.doubleValue = x; return v; }
DataValue boolean(bool x) { DataValue v = blank(); v.boolValue = x; return v; }
DataValue dec(unsigned int word, const char* text) { return convtest::valueOf(word, text); }

const unsigned int D10_2 = createFixedDecimal(10, 2);
const unsigned int D34_0 = createFixedDecimal(34, 0);
constexpr uint8_t kOk = kCastDone;
constexpr uint8_t kRange = kCastOutOfRange;
constexpr bool kAsFrom = true;  // a failed cast: the value must still read as its old type

struct CastCase {
    unsigned int from;
    DataValue in;
    unsigned int to;
    DataValue out;
    uint8_t code;
    bool asFrom;
};

// The cells of the cast table that take a branch of their own, with the range failures.
TEST(Cast, CellsOfTheTable) {
    const CastCase cases[] = {
        {INTEGER, i32(-7), LONG, i64(-7), kOk, false},
        {INTEGER, i32(-7), FLOAT, f64(-7.0), kOk, false},
        {INTEGER, i32(5), MONEY_2, i64(500), kOk, false},
        {INTEGER, i32(INT32_MAX), MONEY_15, i32(INT32_MAX), kRange, kAsFrom},
        {INTEGER, i32(-3), BOOLEAN, boolean(false), kOk, false},
        {INTEGER, i32(3), BOOLEAN, boolean(true), kOk, false},
        {INTEGER, i32(100000), TIME, i64(13600), kOk, false},
        {INTEGER, i32(5), D10_2, dec(D10_2, "5"), kOk, false},
        {INTEGER, i32(123456), createFixedDecimal(5, 0), i32(123456), kRange, kAsFrom},
        {LONG, i64(-2147483648LL), INTEGER, i32(INT32_MIN), kOk, false},
        {LONG, i64(2147483647LL), INTEGER, i32(INT32_MAX), kOk, false},
        {LONG, i64(2147483648LL), INTEGER, i64(2147483648LL), kRange, kAsFrom},
        {LONG, i64(3), DATE, i64(3), kOk, false},
        {LONG, i64(922337203685477LL), MONEY, i64(9223372036854770000LL), kOk, false},
        {LONG, i64(922337203685478LL), MONEY, i64(922337203685478LL), kRange, kAsFrom},
        {LONG, i64(-922337203685478LL), MONEY, i64(-922337203685478LL), kRange, kAsFrom},
        {LONG, i64(5), TIMESTAMP, i64(5), kOk, false},  // copied unscaled
        {LONG, i64(100000), TIME, i64(13600), kOk, false},
        {LONG, i64(-1), TIME, i64(-1), kOk, false},
        {LONG, i64(INT64_MAX), createFixedDecimal(19, 0), dec(createFixedDecimal(19, 0), "9223372036854775807"), kOk, false},
        {LONG, i64(INT64_MAX), createFixedDecimal(18, 0), i64(INT64_MAX), kRange, kAsFrom},
        {FLOAT, f64(2147483647.0), INTEGER, f64(2147483647.0), kRange, kAsFrom},
        {FLOAT, f64(2147483646.0), INTEGER, i32(2147483646), kOk, false},
        {FLOAT, f64(-2147483648.0), INTEGER, i32(INT32_MIN), kOk, false},
        {FLOAT, f64(-2147483649.0), INTEGER, f64(-2147483649.0), kRange, kAsFrom},
        {FLOAT, f64(1.999), LONG, i64(1), kOk, false},
        {FLOAT, f64(-1.999), LONG, i64(-1), kOk, false},
        {FLOAT, f64(9.223372036854776e18), LONG, f64(9.223372036854776e18), kRange, kAsFrom},
        {FLOAT, f64(-9.223372036854776e18), LONG, i64(INT64_MIN), kOk, false},
        {FLOAT, f64(1e30), DATE, i64(INT64_MIN), kOk, false},  // unchecked
        {FLOAT, f64(1.239), MONEY_2, i64(123), kOk, false},
        {FLOAT, f64(1e17), MONEY_2, f64(1e17), kRange, kAsFrom},
        {FLOAT, f64(-0.5), BOOLEAN, boolean(false), kOk, false},
        {FLOAT, f64(0.5), BOOLEAN, boolean(true), kOk, false},
        {FLOAT, f64(1e19), INTERVAL, f64(1e19), kRange, kAsFrom},
        {FLOAT, f64(86401.5), TIME, i64(86401), kOk, false},  // no day remainder
        {FLOAT, f64(1.25), D10_2, dec(D10_2, "1.25"), kOk, false},
        {FLOAT, f64(1e81), D34_0, f64(1e81), kRange, kAsFrom},
        {DATE, i64((int64_t{1} << 32) + 1), INTEGER, i32(1), kOk, false},
        {DATE, i64(INT64_MAX), MONEY_2, i64(-100), kOk, false},  // unchecked: wraps
        {DATE, i64(1), TIMESTAMP, i64(1000), kOk, false},
        {DATE, i64(1), INTERVAL, i64(1000000), kOk, false},
        {DATE, i64(-9223372036854LL), INTERVAL, i64(-9223372036854000000LL), kOk, false},
        {DATE, i64(9223372036855LL), INTERVAL, i64(9223372036855LL), kRange, kAsFrom},
        {DATE, i64(9223372036855LL), BIGDATETIME, i64(-9223372036854551616LL), kOk, false},  // unchecked
        {MONEY_2, i64(-150), INTEGER, i32(-1), kOk, false},
        {MONEY_1, i64(21474836480LL), INTEGER, i64(21474836480LL), kRange, kAsFrom},
        {MONEY_2, i64(999), LONG, i64(9), kOk, false},
        {MONEY_2, i64(150), FLOAT, f64(1.5), kOk, false},
        {MONEY_2, i64(150), DATE, i64(1), kOk, false},
        {MONEY_2, i64(150), MONEY_4, i64(15000), kOk, false},
        {MONEY_4, i64(15678), MONEY_2, i64(156), kOk, false},
        {MONEY, i64(15678), MONEY_4, i64(15678), kOk, false},
        {MONEY_2, i64(150), TIMESTAMP, i64(1), kOk, false},
        {MONEY_2, i64(-1), BOOLEAN, boolean(false), kOk, false},
        {MONEY_2, i64(150), INTERVAL, i64(1), kOk, false},
        {MONEY_2, i64(8640100), TIME, i64(1), kOk, false},
        {MONEY_2, i64(12345), createFixedDecimal(10, 4), dec(createFixedDecimal(10, 4), "123.45"), kOk, false},
        {MONEY_2, i64(12345), createFixedDecimal(10, 1), dec(createFixedDecimal(10, 1), "123.4"), kOk, false},
        {D10_2, dec(D10_2, "12.34"), INTEGER, i32(12), kOk, false},
        {D10_2, dec(D10_2, "-12.34"), LONG, i64(-12), kOk, false},
        {D10_2, dec(D10_2, "12.5"), FLOAT, f64(12.5), kOk, false},
        {D10_2, dec(D10_2, "86400.99"), DATE, i64(86400), kOk, false},
        {D10_2, dec(D10_2, "12.34"), MONEY_1, i64(123), kOk, false},
        {D10_2, dec(D10_2, "12.34"), MONEY_4, i64(123400), kOk, false},
        {D10_2, dec(D10_2, "-0.5"), BOOLEAN, boolean(false), kOk, false},
        {D10_2, dec(D10_2, "0.5"), BOOLEAN, boolean(true), kOk, false},
        {D10_2, dec(D10_2, "0"), BOOLEAN, boolean(false), kOk, false},
        {D10_2, dec(D10_2, "1.5"), TIME, i64(1), kOk, false},
        // decimal_getInt reports success from 2^31 to 2^32 - 1 and wraps: kept.
        {D34_0, dec(D34_0, "3000000000"), INTEGER, i32(-1294967296), kOk, false},
        {D34_0, dec(D34_0, "-99999999999"), INTEGER, dec(D34_0, "-99999999999"), kRange, kAsFrom},
        {D34_0, dec(D34_0, "9223372036854775808"), LONG, dec(D34_0, "9223372036854775808"), kRange, kAsFrom},
        {D10_2, dec(D10_2, "12.34"), createFixedDecimal(10, 3), dec(createFixedDecimal(10, 3), "12.34"), kOk, false},
        {D10_2, dec(D10_2, "-12.39"), createFixedDecimal(10, 1), dec(createFixedDecimal(10, 1), "-12.3"), kOk, false},
        {D34_0, dec(D34_0, "1000000000000000000000000000000000"), createFixedDecimal(34, 10),
         dec(D34_0, "1000000000000000000000000000000000"), kRange, kAsFrom},
        {BOOLEAN, boolean(true), INTEGER, i32(1), kOk, false},
        {BOOLEAN, boolean(true), MONEY_2, i64(100), kOk, false},
        {BOOLEAN, boolean(true), createFixedDecimal(1, 0), dec(createFixedDecimal(1, 0), "1"), kOk, false},
        {TIMESTAMP, i64(1500), DATE, i64(1), kOk, false},
        {TIMESTAMP, i64(-1500), DATE, i64(-1), kOk, false},
        {TIMESTAMP, i64(3), MONEY_2, i64(300), kOk, false},  // raw milliseconds times the factor
        {TIMESTAMP, i64(1500), INTERVAL, i64(1500000), kOk, false},
        {TIMESTAMP, i64(90000000), TIME, i64(3600), kOk, false},
        {INTERVAL, i64(1500000), DATE, i64(1), kOk, false},
        {INTERVAL, i64(1500000), TIMESTAMP, i64(1500), kOk, false},
        {INTERVAL, i64(5), BIGDATETIME, i64(5), kOk, false},
        {BIGDATETIME, i64(-86401000000LL), TIME, i64(-1), kOk, false},
        {TIME, i64((int64_t{1} << 32) + 5), LONG, i64(5), kOk, false},  // read as 32 bits
        {TIME, i64(2), TIMESTAMP, i64(2000), kOk, false},
        {TIME, i64(2), INTERVAL, i64(2000000), kOk, false},
        {TIME, i64(INT32_MAX), MONEY_15, i64(INT32_MAX), kRange, kAsFrom},
    };
    for (const CastCase& c : cases) {
        const std::string where = typeToString(c.from) + " -> " + typeToString(c.to) + " row " +
                                  std::to_string(&c - cases + 1);
        DataValue v = c.in, expected = c.out;
        EXPECT_EQ(cast(&v, c.from, c.to), c.code) << where;
        EXPECT_FALSE(v.isNull) << where;
        EXPECT_TRUE(equalValues(v, expected, c.asFrom ? c.from : c.to)) << where << ": value not as expected";
    }
}

TEST(Cast, SpecialOutcomes) {
    // Outside the table: nothing changes.
    const unsigned int skipped[][2] = {
        {INT16, LONG}, {STRING, LONG}, {UNKNOWN, LONG}, {9, LONG},   {BINARY, LONG}, {LONG, INT16},  {LONG, STRING},
        {LONG, UNKNOWN}, {LONG, 9},    {LONG, BINARY},  {31, LONG}, {LONG, 31},     {LONG, LONG},   {TIME, TIME},
    };
    for (const auto& p : skipped) {
        DataValue v = i64(0x0102030405060708);
        EXPECT_EQ(cast(&v, p[0], p[1]), kOk) << p[0] << " -> " << p[1];
        EXPECT_EQ(v.int64Value, 0x0102030405060708) << p[0] << " -> " << p[1];
    }
    DataValue null;
    null.int64Value = 42;
    EXPECT_EQ(cast(&null, LONG, INTEGER), kOk);
    EXPECT_TRUE(null.isNull);
    EXPECT_EQ(null.int64Value, 42);

    // Money that does not fit a decimal becomes NULL.
    for (unsigned int to : {createFixedDecimal(3, 2), unsigned(FIXEDDECIMAL)}) {
        DataValue v = i64(12345);
        EXPECT_EQ(cast(&v, MONEY_2, to), kRange) << to;
        EXPECT_TRUE(v.isNull) << to;
    }
    // A decimal rescaled but too wide for its new precision stays rescaled;
    // plain 30 has precision 0, at which every value overflows.
    DataValue narrowed = dec(D10_2, "12.34");
    EXPECT_EQ(cast(&narrowed, D10_2, createFixedDecimal(2, 1)), kRange);
    EXPECT_EQ(narrowed.decimalValue.low, 123u);
    EXPECT_EQ(narrowed.decimalValue.precision, 2);
    DataValue plain = dec(D10_2, "1.5");
    EXPECT_EQ(cast(&plain, D10_2, FIXEDDECIMAL), kRange);
    EXPECT_EQ(plain.decimalValue.precision, 0);
    EXPECT_EQ(plain.decimalValue.low, 1u);

    for (unsigned int to : {INTEGER, LONG, TIME, MONEY_2}) {
        DataValue v = f64(std::numeric_limits<double>::quiet_NaN());
        EXPECT_EQ(cast(&v, FLOAT, to), kRange) << to;
        EXPECT_TRUE(std::isnan(v.doubleValue)) << to;
    }
}

TEST(MaximizeType, StrictRule) {
    struct Case {
        unsigned int a, b;
        bool ok;
        unsigned int result;
    } const cases[] = {
        {9, LONG, false, 9}, {LONG, UNKNOWN, true, LONG},
        {UNKNOWN, MONEY_3, true, MONEY_3}, {STRING, STRING, true, STRING},
        {STRING, BINARY, false, STRING}, {LONG, STRING, false, LONG},
        {STRING, FLOAT, false, STRING}, {INT16, FLOAT, true, FLOAT},
        {createFixedDecimal(30, 10), LONG, true, createFixedDecimal(30, 10)},
        {createFixedDecimal(34, 20), LONG, true, createFixedDecimal(34, 15)},
        {INTEGER, D10_2, true, createFixedDecimal(12, 2)}, {MONEY_4, D10_2, true, createFixedDecimal(19, 4)},
        {INT16, D10_2, true, D10_2}, {INT16, INT16, true, INT16},
        {MONEY_2, MONEY_2, true, MONEY_2}, {MONEY, BOOLEAN, true, MONEY},
        {MONEY, INTEGER, true, MONEY}, {MONEY, LONG, false, MONEY},
        {INTEGER, MONEY, true, MONEY}, {LONG, MONEY, false, LONG},
        {MONEY_2, MONEY_3, false, MONEY_2}, {MONEY_9, INTEGER, true, MONEY_9},
        {MONEY_10, INTEGER, false, MONEY_10}, {INTEGER, MONEY_10, false, INTEGER},
        {INTEGER, MONEY_9, true, MONEY_9}, {BOOLEAN, MONEY_12, true, MONEY_12},
        {MONEY_2, INT16, false, MONEY_2}, {DATE, TIMESTAMP, true, TIMESTAMP},
        {BIGDATETIME, TIMESTAMP, true, BIGDATETIME}, {TIME, DATE, true, DATE},
        {INTERVAL, TIME, true, TIME}, {LONG, INTERVAL, true, INTERVAL},
        {INTEGER, LONG, true, LONG}, {BOOLEAN, INTEGER, true, INTEGER},
        {BOOLEAN, INT16, true, BOOLEAN}, {INT16, BOOLEAN, false, INT16},  // the asymmetry is kept
        {INT16, INTEGER, true, INTEGER}, {DATE, INT16, true, DATE},
    };
    for (const Case& c : cases) {
        unsigned int a = c.a;
        EXPECT_EQ(maximizeType(a, c.b), c.ok) << typeToString(c.a) << " with " << typeToString(c.b);
        EXPECT_EQ(a, c.result) << typeToString(c.a) << " with " << typeToString(c.b);
    }
    convtest::LegacyMoneyPrecision ten(10);
    unsigned int a = MONEY;
    EXPECT_FALSE(maximizeType(a, INTEGER));
    a = INTEGER;
    EXPECT_FALSE(maximizeType(a, MONEY));
    a = MONEY;
    EXPECT_TRUE(maximizeType(a, D10_2));
    EXPECT_EQ(a, createFixedDecimal(19, 10));
}

TEST(MaximizeAnyType, LenientRule) {
    const unsigned int cases[][3] = {
        {LONG, BINARY, BINARY}, {STRING, BINARY, BINARY}, {LONG, STRING, STRING},
        {D10_2, FLOAT, FLOAT}, {D10_2, MONEY_3, createFixedDecimal(19, 3)}, {INT16, D10_2, D10_2},
        {TIMESTAMP, BIGDATETIME, BIGDATETIME}, {DATE, TIME, DATE}, {LONG, MONEY_2, LONG},
        {MONEY_3, MONEY_5, MONEY_3}, {MONEY_5, MONEY_3, MONEY_3},
        {MONEY, MONEY_4, MONEY_4},  // a tie: the numbered one
        {MONEY_5, MONEY, MONEY},    // legacy 4 places are fewer
        {MONEY, INTEGER, MONEY}, {INT16, MONEY_7, MONEY_7}, {BOOLEAN, INTEGER, INTEGER},
        {BOOLEAN, INT16, INT16}, {UNKNOWN, BOOLEAN, BOOLEAN}, {UNKNOWN, 9, UNKNOWN}, {9, 9, 9},
    };
    for (const auto& c : cases) {
        unsigned int a = c[0];
        maximizeAnyType(a, c[1]);
        EXPECT_EQ(a, c[2]) << typeToString(c[0]) << " with " << typeToString(c[1]);
    }
}

TEST(FixedDecimalTypes, ResultTypesAndSmallestHoldingDecimal) {
    struct Case {
        bool (*op)(unsigned int&, const unsigned int&, const unsigned int&);
        unsigned int a, b;
        int precision, scale;
        bool ok;
    } const cases[] = {
        {getFixedDecimalSubtractionResultType, D10_2, createFixedDecimal(5, 4), 13, 4, true},
        {getFixedDecimalAdditionResultType, createFixedDecimal(34, 0), createFixedDecimal(1, 0), 35, 0, false},
        {getFixedDecimalMultiplicationResultType, createFixedDecimal(20, 2), createFixedDecimal(14, 2), 35, 4, false},
        {getFixedDecimalMultiplicationResultType, createFixedDecimal(20, 2), createFixedDecimal(13, 2), 34, 4, true},
        {getFixedDecimalDivisionResultType, createFixedDecimal(10, 2), createFixedDecimal(5, 1), 17, 8, true},
    };
    for (const Case& c : cases) {
        unsigned int out = 0;
        EXPECT_EQ(c.op(out, c.a, c.b), c.ok) << typeToString(c.a) << " " << typeToString(c.b);
        EXPECT_EQ(out, createFixedDecimal(c.precision, c.scale)) << typeToString(c.a) << " " << typeToString(c.b);
    }
    // The smallest decimal that holds a type; a decimal itself becomes plain 30.
    const unsigned int smallest[][2] = {{INTEGER, 163870}, {TIME, 311326}, {BOOLEAN, 16414}, {D10_2, FIXEDDECIMAL},
                                        {MONEY, createFixedDecimal(19, 4)}, {MONEY_15, createFixedDecimal(19, 15)}};
    for (const auto& c : smallest) {
        unsigned int w = c[0];
        EXPECT_EQ(maximizeTypeToFixedDecimal(w), c[1]) << c[0];
        EXPECT_EQ(w, c[1]) << c[0];
    }
}

} // namespace
} // namespace DataTypes
