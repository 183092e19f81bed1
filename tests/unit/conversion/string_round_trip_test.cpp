#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "ConversionTestSupport.h"
#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

using convtest::packedRoundTrip;
using convtest::valueRoundTrip;

struct RoundTrip {
    unsigned int word;
    const char* in;
    const char* out;  // null: the text comes back as it went in
};

// One line per case: both roads, packed and DataValue, must print `out`.
void expectRoundTrips(const RoundTrip* cases, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const RoundTrip& c = cases[i];
        const std::string expected = c.out ? c.out : c.in;
        EXPECT_EQ(packedRoundTrip(c.word, c.in), expected) << typeToString(c.word) << " \"" << c.in << "\" packed";
        EXPECT_EQ(valueRoundTrip(c.word, c.in), expected) << typeToString(c.word) << " \"" << c.in << "\" value";
        EXPECT_EQ(packedRoundTrip(c.word, c.in, true), expected) << typeToString(c.word) << " \"" << c.in << "\" swapped";
    }
}

TEST(StringRoundTrip, IntegersAtTheirLimits) {
    static const RoundTrip cases[] = {
        {INT16, "-32768", nullptr},
        {INT16, "32767", nullptr},
        {INT16, "+7", "7"},
        {INTEGER, "-2147483648", nullptr},
        {INTEGER, "2147483647", nullptr},
        {INTEGER, "007", "7"},
        {LONG, "-9223372036854775808", nullptr},
        {LONG, "9223372036854775807", nullptr},
        {INTERVAL, "-9223372036854775808", nullptr},
        {INTERVAL, "+9223372036854775807", "9223372036854775807"},
        {BOOLEAN, "YES", "true"},
        {BOOLEAN, " on\t", "true"},
        {BOOLEAN, "1 ", "true"},
        {BOOLEAN, "Off", "false"},
        {BOOLEAN, "\r\nf", "false"},
    };
    expectRoundTrips(cases, std::size(cases));
}

TEST(StringRoundTrip, FloatsPrintWithTheDecimalSizeOrInExponentForm) {
    static const RoundTrip cases[] = {
        {FLOAT, "1.5", "1.500000"},
        {FLOAT, "-2.25", "-2.250000"},
        {FLOAT, ".5", "0.500000"},
        {FLOAT, "1e-7", "0.000000"},    // below the tolerance: zero
        {FLOAT, "-1e-7", "0.000000"},   // and positive zero
        {FLOAT, "4.9e-324", "0.000000"},  // a denormal is accepted
        // Up to 1e80 fixed notation, with all the digits of the nearest double.
        {FLOAT, "1e80", "100000000000000000026609864708367276537402401181200809098131977453489758916313088.000000"},
        {FLOAT, "1e81", "9.999999999999999212818799e+80"},
        {FLOAT, "-1.7976931348623157e308", "-1.797693134862315708145274e+308"},
    };
    expectRoundTrips(cases, std::size(cases));
}

TEST(StringRoundTrip, MoneyAtTheEdgesOfEachFactor) {
    static const RoundTrip cases[] = {
        {MONEY_2, "1.5", "1.50"},
        {MONEY_2, "1.567", "1.56"},  // cut, not rounded
        {MONEY_2, "-1.5", "-1.50"},
        {MONEY_2, ".5", "0.50"},
        {MONEY_2, "-.5", "-0.50"},
        {MONEY_2, "1.", "1.00"},
        {MONEY_2, " 1.5", "1.50"},
        {MONEY_2, "-0.01", "-0.01"},
        {MONEY_4, "1.23456x", "1.2345"},  // what is cut is not looked at
        {MONEY, "1.2345", nullptr},
        // q = INT64_MAX / factor with the largest fraction on each side.
        {MONEY, "922337203685477.5807", nullptr},
        {MONEY, "-922337203685477.5808", nullptr},
        {MONEY_1, "922337203685477580.7", nullptr},
        {MONEY_1, "-922337203685477580.8", nullptr},
        {MONEY_15, "9223.372036854775807", nullptr},
        {MONEY_15, "-9223.372036854775808", nullptr},
        {MONEY_15, "0.000000000000001", nullptr},
    };
    expectRoundTrips(cases, std::size(cases));
}

TEST(StringRoundTrip, MoneyAtPrecisionZeroEndsInPointZero) {
    convtest::LegacyMoneyPrecision zero(0);
    static const RoundTrip cases[] = {
        {MONEY, "5", "5.0"},
        {MONEY, "-9223372036854775808", "-9223372036854775808.0"},
        {MONEY, "9223372036854775807.", "9223372036854775807.0"},
    };
    expectRoundTrips(cases, std::size(cases));
}

TEST(StringRoundTrip, DatesAndTimesIncludingBefore1970) {
    static const RoundTrip cases[] = {
        {DATE, "1970-01-01 00:00:00", nullptr},
        {DATE, "1969-12-31 23:59:59", nullptr},
        {DATE, "1900-01-01 00:00:00", nullptr},
        {DATE, "2038-01-19 03:14:08", nullptr},
        {DATE, "9999-12-31 23:59:59", nullptr},
        {TIME, "00:00:00", nullptr},
        {TIME, "23:59:59", nullptr},
        {TIMESTAMP, "1970-01-01 00:00:00.001", nullptr},
        {TIMESTAMP, "1969-12-31 23:59:59.999", nullptr},  // -1 ms
        {TIMESTAMP, "1969-12-31 23:59:58.5", "1969-12-31 23:59:58.500"},
        {TIMESTAMP, "2024-02-29 12:34:56", "2024-02-29 12:34:56.000"},
        {TIMESTAMP, "9999-12-31 23:59:59.999", nullptr},
        {BIGDATETIME, "1970-01-01 00:00:00.000001", nullptr},
        {BIGDATETIME, "1969-12-31 23:59:59.999999", nullptr},  // -1 us
        {BIGDATETIME, "1600-03-01 00:00:00.000000", nullptr},
        {BIGDATETIME, "2000-01-01 00:00:00.1234567", "2000-01-01 00:00:00.123456"},
    };
    expectRoundTrips(cases, std::size(cases));
}

TEST(StringRoundTrip, DecimalsUpTo34Digits) {
    const unsigned int d34_0 = createFixedDecimal(34, 0), d34_34 = createFixedDecimal(34, 34);
    const unsigned int d10_2 = createFixedDecimal(10, 2), d34_2 = createFixedDecimal(34, 2);
    const RoundTrip cases[] = {
        {d34_0, "9999999999999999999999999999999999", nullptr},
        {d34_0, "-9999999999999999999999999999999999", nullptr},
        {d34_34, "0.9999999999999999999999999999999999", nullptr},
        {d34_34, "-0.0000000000000000000000000000000001", nullptr},
        {d34_2, "-12345678901234567890123456789012.34", nullptr},
        {d10_2, "1.5", "1.50"},
        {d10_2, "0", "0.00"},
        {d10_2, "-0.05", "-0.05"},
        {d10_2, "12345678.9", "12345678.90"},
        {createFixedDecimal(5, 0), "0", "0"},
        {createFixedDecimal(5, 3), "0.005", nullptr},
        {createFixedDecimal(5, 3), "-0.005", nullptr},
    };
    expectRoundTrips(cases, std::size(cases));
}

TEST(StringRoundTrip, StringsAndBinariesThroughNewStrings) {
    struct Case {
        unsigned int word;
        const char* in;
        const char* out;
    } const cases[] = {
        {STRING, "", ""},
        {STRING, "h\xC3\xA9llo world", "h\xC3\xA9llo world"},
        {BINARY, "", ""},
        {BINARY, "00ff10", "00FF10"},
        {BINARY, "a B", "AB"},
    };
    for (const Case& c : cases) {
        unsigned char packed[64];
        const char* error = nullptr;
        ASSERT_GE(static_cast<int>(convertFromStringAndPack(c.word, false, c.in, packed, sizeof packed, error,
                                                            nullptr, nullptr, nullptr, nullptr)),
                  0)
            << c.in;
        char* text = unpackToNewString(packed, c.word, nullptr, nullptr, nullptr, nullptr);
        EXPECT_STREQ(text, c.out) << c.in;
        std::free(text);
        char out[8] = "keep";
        convertToString(c.word, false, false, packed, out, sizeof out);  // never printed this way
        EXPECT_STREQ(out, "keep");
    }
}

TEST(StringRoundTrip, NewStringsOfTimesUseTheirFormats) {
    struct Case {
        unsigned int word;
        int64_t value;
        const char* format;
        const char* out;
    } const cases[] = {
        {DATE, -1, "%Y-%m-%d %H:%M:%S", "1969-12-31 23:59:59"},
        {DATE, 86400, "%s", "86400"},
        {DATE, 86400, "%d.%m.%Y", "02.01.1970"},
        {TIME, 3723, "%H:%M:%S", "01:02:03"},
        {TIMESTAMP, -1, "%Y-%m-%d %H:%M:%S", "1969-12-31 23:59:59.999"},
        {TIMESTAMP, 1500, "%s", "1.500"},
        {TIMESTAMP, 1500, "", ""},  // an empty date text gets no fraction either
        {BIGDATETIME, -1, "%H:%M:%S", "23:59:59.999999"},
        {BIGDATETIME, 1000001, "%s", "1.000001"},
        {MONEY_2, -150, nullptr, "-1.50"},
        {LONG, INT64_MIN, nullptr, "-9223372036854775808"},
    };
    for (const Case& c : cases) {
        unsigned char packed[8];
        std::memcpy(packed, &c.value, 8);
        char* text = unpackToNewString(packed, c.word, c.format, c.format, c.format, c.format);
        EXPECT_STREQ(text, c.out) << typeToString(c.word) << " " << c.value;
        std::free(text);
    }
}

TEST(StringRoundTrip, EpochSecondsFormat) {
    struct Case {
        unsigned int word;
        const char* in;
        int64_t value;
    } const cases[] = {
        {DATE, "-86400", -86400},
        {TIME, "3600", 3600},
        {TIMESTAMP, "12.250", 12250},
        {TIMESTAMP, "-1.500", -500},  // the fraction is added, not mirrored
        {BIGDATETIME, "2.5", 2500000},
    };
    for (const Case& c : cases) {
        int64_t packed = 0;
        const char* error = nullptr;
        EXPECT_EQ(convertFromStringAndPack(c.word, false, c.in, reinterpret_cast<unsigned char*>(&packed), 8, error,
                                           "%s", nullptr, nullptr, "%s"),
                  8u)
            << c.in;
        EXPECT_EQ(packed, c.value) << c.in;
    }
    // Only exactly "%s" is the epoch form: "%s " is an ordinary (failing) format.
    int64_t packed = 0;
    const char* error = nullptr;
    EXPECT_EQ(convertFromStringAndPack(DATE, false, "5", reinterpret_cast<unsigned char*>(&packed), 8, error, "%s ",
                                       nullptr, nullptr, nullptr),
              0xFFFFFFFFu);
    EXPECT_STREQ(error, "date constant does not match format");
}

TEST(StringRoundTrip, PrintingEdges) {
    char out[64];
    // Swapped packed bytes are read back in the opposite order.
    const unsigned char swapped[8] = {0, 0, 0, 0, 0, 0, 0x01, 0x02};
    convertToString(LONG, true, false, const_cast<unsigned char*>(swapped), out, sizeof out);
    EXPECT_STREQ(out, "258");

    // The zone suffix and a DATE read as 4 bytes.
    int64_t seconds = 86399;
    convertToString(TIME, false, true, reinterpret_cast<unsigned char*>(&seconds), out, sizeof out);
    EXPECT_STREQ(out, "23:59:59+00");
    int64_t ms = -1;
    convertToString(TIMESTAMP, false, true, reinterpret_cast<unsigned char*>(&ms), out, sizeof out);
    EXPECT_STREQ(out, "1969-12-31 23:59:59.999+00");
    const unsigned long savedDateSize = g_dateSize;
    setDateSize(4);
    int64_t wide = (int64_t{1} << 32) | 0xFFFFFFFFu;  // low 32 bits: -1
    convertToString(DATE, false, true, reinterpret_cast<unsigned char*>(&wide), out, sizeof out);
    EXPECT_STREQ(out, "1969-12-31 23:59:59+00");
    setDateSize(savedDateSize);

    // A date gmtime cannot express prints as the epoch.
    int64_t huge = INT64_MAX;
    convertToString(DATE, false, false, reinterpret_cast<unsigned char*>(&huge), out, sizeof out);
    EXPECT_STREQ(out, "1970-01-01 00:00:00");

    // The word's scale wins over the value's when the word carries a precision.
    DataValue d = convtest::valueOf(createFixedDecimal(10, 2), "1.5");
    EXPECT_EQ(convtest::print(createFixedDecimal(10, 3), d), "0.150");
    EXPECT_EQ(convtest::print(FIXEDDECIMAL, d), "1.50");
}

TEST(StringRoundTrip, NegativeMoneyStaysInsideAFullBuffer) {
    int64_t v = -150;
    for (unsigned long size = 1; size <= 6; ++size) {
        // A heap block of exactly `size` bytes, so the sanitizer sees any overrun.
        char* out = static_cast<char*>(std::malloc(size));
        convertToString(MONEY_2, false, false, reinterpret_cast<unsigned char*>(&v), out, size);
        EXPECT_EQ(std::string(out), std::string("-1.50").substr(0, size - 1)) << size;
        std::free(out);
    }
}

TEST(StringRoundTrip, DoublesWithFifteenSignificantDigits) {
    struct Case {
        double value;
        const char* out;
    } const cases[] = {
        {0.0, "0.000000000000000e+00"},
        {1e-16, "1.000000000000000e-16"},
        {1e-15, "1.000000000000000e-15"},
        {0.1, "0.100000000000000"},
        {-0.5, "-0.500000000000000"},
        {1.0, "1.00000000000000"},
        {123.456, "123.456000000000"},
        // 14 - 15 is a negative precision, which printf takes as its default of 6.
        {1e15, "1000000000000000.000000"},
        {99999.5, "99999.5000000000"},
        {1e16, "1.000000000000000e+16"},
        {-1e300, "-1.000000000000000e+300"},
    };
    for (const Case& c : cases) {
        DataValue v;
        v.isNull = false;
        v.doubleValue = c.value;
        char out[64] = "untouched";
        convertDoubleToString(FLOAT, false, v, out, sizeof out);
        EXPECT_STREQ(out, c.out) << c.value;
    }
    DataValue null;
    char out[8] = "x";
    convertDoubleToString(FLOAT, false, null, out, sizeof out);
    EXPECT_STREQ(out, "");
}

} // namespace
} // namespace DataTypes
