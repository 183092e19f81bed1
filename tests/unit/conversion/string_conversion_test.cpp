#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "ConversionTestSupport.h"
#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

struct RoundTrip {
    unsigned int word;
    const char* in;
    const char* out;  // null: the text comes back as it went in
};

// Text -> packed bytes -> text; "error: <message>" when the conversion in fails.
std::string packedRoundTrip(unsigned int word, const char* text, bool swap) {
    unsigned char packed[64];
    const char* error = nullptr;
    if (static_cast<int>(convertFromStringAndPack(word, swap, text, packed, sizeof packed, error,
                                                  convtest::kPrintedDateFormat, nullptr, nullptr, nullptr)) < 0)
        return std::string("error: ") + error;
    char out[128] = "untouched";
    convertToString(word, swap, false, packed, out, sizeof out);
    return out;
}

// Text -> DataValue -> text.
std::string valueRoundTrip(unsigned int word, const char* text) {
    DataValue v;
    const char* error = nullptr;
    if (!convertFromString(word, text, v, error, convtest::kPrintedDateFormat, nullptr, nullptr, nullptr))
        return std::string("error: ") + error;
    return convtest::print(word, v);
}

// Each case goes packed, swapped and through a DataValue; all three must print `out`.
void expectRoundTrips(const RoundTrip* cases, std::size_t count) {
    for (const RoundTrip* c = cases; c != cases + count; ++c) {
        const std::string expected = c->out ? c->out : c->in;
        const std::string where = typeToString(c->word) + " \"" + c->in + "\"";
        EXPECT_EQ(packedRoundTrip(c->word, c->in, false), expected) << where << " packed";
        EXPECT_EQ(packedRoundTrip(c->word, c->in, true), expected) << where << " swapped";
        EXPECT_EQ(valueRoundTrip(c->word, c->in), expected) << where << " value";
    }
}

TEST(StringRoundTrip, EveryScalarType) {
    const unsigned int d34_0 = createFixedDecimal(34, 0), d34_34 = createFixedDecimal(34, 34);
    const unsigned int d10_2 = createFixedDecimal(10, 2), d5_3 = createFixedDecimal(5, 3);
    const RoundTrip cases[] = {
        {INT16, "-32768", nullptr},
        {INT16, "32767", nullptr},
        {INT16, "+7", "7"},
        {INTEGER, "-2147483648", nullptr},
        {INTEGER, "2147483647", nullptr},
        {LONG, "-9223372036854775808", nullptr},
        {LONG, "9223372036854775807", nullptr},
        {INTERVAL, "+9223372036854775807", "9223372036854775807"},
        {BOOLEAN, "YES", "true"},
        {BOOLEAN, " on\t", "true"},
        {BOOLEAN, "1 ", "true"},
        {BOOLEAN, "\r\nf", "false"},
        {FLOAT, ".5", "0.500000"},
        {FLOAT, "-1e-7", "0.000000"},     // below the tolerance: positive zero
        {FLOAT, "4.9e-324", "0.000000"},  // a denormal is accepted
        // Up to 1e80 fixed notation, with all the digits of the nearest double.
        {FLOAT, "1e80", "100000000000000000026609864708367276537402401181200809098131977453489758916313088.000000"},
        {FLOAT, "1e81", "9.999999999999999212818799e+80"},
        {MONEY_2, "1.567", "1.56"},  // cut, not rounded
        {MONEY_2, "-1.5", "-1.50"},
        {MONEY_2, "-.5", "-0.50"},
        {MONEY_2, "1.", "1.00"},
        {MONEY_2, " 1.5", "1.50"},
        {MONEY_4, "1.23456x", "1.2345"},  // what is cut is not looked at
        // q = INT64_MAX / factor with the largest fraction on each side.
        {MONEY, "922337203685477.5807", nullptr},
        {MONEY, "-922337203685477.5808", nullptr},
        {MONEY_15, "0.000000000000001", nullptr},
        {DATE, "1969-12-31 23:59:59", nullptr},
        {DATE, "9999-12-31 23:59:59", nullptr},
        {TIME, "23:59:59", nullptr},
        {TIMESTAMP, "1969-12-31 23:59:59.999", nullptr},  // -1 ms
        {TIMESTAMP, "1969-12-31 23:59:58.5", "1969-12-31 23:59:58.500"},
        {TIMESTAMP, "2024-02-29 12:34:56", "2024-02-29 12:34:56.000"},
        {BIGDATETIME, "1969-12-31 23:59:59.999999", nullptr},  // -1 us
        {BIGDATETIME, "1600-03-01 00:00:00.000000", nullptr},
        {BIGDATETIME, "2000-01-01 00:00:00.1234567", "2000-01-01 00:00:00.123456"},
        {d34_0, "9999999999999999999999999999999999", nullptr},
        {d34_0, "-9999999999999999999999999999999999", nullptr},
        {d34_0, "36893488147419103231", nullptr},  // 2^65 - 1: the carry of a four-digit step
        {d34_34, "0.9999999999999999999999999999999999", nullptr},
        {d10_2, "1.5", "1.50"},
        {d10_2, "0", "0.00"},
        {createFixedDecimal(5, 0), "0", "0"},
        {d5_3, "0.005", nullptr},
        {d5_3, "-0.005", nullptr},
    };
    expectRoundTrips(cases, std::size(cases));
}

TEST(StringRoundTrip, MoneyAtPrecisionZeroEndsInPointZero) {
    convtest::LegacyMoneyPrecision zero(0);
    const RoundTrip cases[] = {
        {MONEY, "5", "5.0"},
        {MONEY, "-9223372036854775808", "-9223372036854775808.0"},
        {MONEY, "9223372036854775807.", "9223372036854775807.0"},
        {MONEY, "1.5", "error: money constant fractional part does not begin with a digit"},
    };
    expectRoundTrips(cases, std::size(cases));
}

TEST(StringRoundTrip, NewStrings) {
    struct Case {
        unsigned int word;
        const char* text;  // packed from this text, else from `value`
        int64_t value;
        const char* format;
        const char* out;
    } const cases[] = {
        {STRING, "h\xC3\xA9llo world", 0, nullptr, "h\xC3\xA9llo world"},
        {BINARY, "", 0, nullptr, ""},
        {BINARY, "00ff10", 0, nullptr, "00FF10"},
        {BINARY, "a B", 0, nullptr, "AB"},
        {DATE, nullptr, -1, "%Y-%m-%d %H:%M:%S", "1969-12-31 23:59:59"},
        {DATE, nullptr, 86400, "%s", "86400"},
        {TIME, nullptr, 3723, "%H:%M:%S", "01:02:03"},
        {TIMESTAMP, nullptr, -1, "%Y-%m-%d %H:%M:%S", "1969-12-31 23:59:59.999"},
        {TIMESTAMP, nullptr, 1500, "%s", "1.500"},
        {TIMESTAMP, nullptr, 1500, "", ""},  // an empty date text gets no fraction either
        {BIGDATETIME, nullptr, -1, "%H:%M:%S", "23:59:59.999999"},
        {MONEY_2, nullptr, -150, nullptr, "-1.50"},
        {UNKNOWN, nullptr, 1, nullptr, ""},
    };
    for (const Case& c : cases) {
        unsigned char packed[64];
        const char* error = nullptr;
        std::memcpy(packed, &c.value, 8);
        if (c.text) {
            ASSERT_GE(static_cast<int>(convertFromStringAndPack(c.word, false, c.text, packed, sizeof packed, error,
                                                                nullptr, nullptr, nullptr, nullptr)), 0) << c.text;
            char out[8] = "keep";  // strings and binaries are never printed this way
            convertToString(c.word, false, false, packed, out, sizeof out);
            EXPECT_STREQ(out, "keep") << c.text;
        }
        char* text = unpackToNewString(packed, c.word, c.format, c.format, c.format, c.format);
        EXPECT_STREQ(text, c.out) << typeToString(c.word) << " " << (c.text ? c.text : "") << c.value;
        std::free(text);
    }
}

std::string printed(unsigned int word, int64_t value, bool swap = false, bool zoneSuffix = false) {
    char out[64] = "untouched";
    convertToString(word, swap, zoneSuffix, reinterpret_cast<unsigned char*>(&value), out, sizeof out);
    return out;
}

TEST(StringRoundTrip, PrintingEdges) {
    EXPECT_EQ(printed(LONG, int64_t{0x0201} << 48, true), "258");  // swapped bytes read back reversed
    EXPECT_EQ(printed(TIME, 86399, false, true), "23:59:59+00");
    EXPECT_EQ(printed(TIMESTAMP, -1, false, true), "1969-12-31 23:59:59.999+00");
    EXPECT_EQ(printed(DATE, INT64_MAX), "1970-01-01 00:00:00");  // gmtime fails: the epoch
    const unsigned long savedDateSize = g_dateSize;
    setDateSize(4);
    EXPECT_EQ(printed(DATE, (int64_t{1} << 32) | 0xFFFFFFFFu, false, true), "1969-12-31 23:59:59+00");
    setDateSize(savedDateSize);

    // The word's scale wins over the value's when the word carries a precision.
    DataValue d = convtest::valueOf(createFixedDecimal(10, 2), "1.5");
    EXPECT_EQ(convtest::print(createFixedDecimal(10, 3), d), "0.150");
    EXPECT_EQ(convtest::print(FIXEDDECIMAL, d), "1.50");
    DataValue s = convtest::valueOf(STRING, "text");
    EXPECT_EQ(convtest::print(STRING, s), "untouched");
    std::free(s.stringValue);
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
        {1e-15, "1.000000000000000e-15"},
        {0.1, "0.100000000000000"},
        {1.0, "1.00000000000000"},
        {123.456, "123.456000000000"},
        // 14 - 15 is a negative precision, which printf takes as its default of 6.
        {1e15, "1000000000000000.000000"},
        {1e16, "1.000000000000000e+16"},
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

// Run under the sanitizer build: each conversion into a value frees the copy
// it replaces and the last block is freed here, so a leak, a double free or a
// free of borrowed memory shows up there.
bool fromText(unsigned int word, const char* text, DataValue& v, const char*& error) {
    error = nullptr;
    return convertFromString(word, text, v, error, nullptr, nullptr, nullptr, nullptr);
}

TEST(StringMemory, RepeatedStringConversionsIntoOneValue) {
    // A NULL value's pointer is meaningless, so the first conversion must not free it.
    char borrowed[] = "not heap memory";
    DataValue v;
    v.stringValue = borrowed;
    const char* error = nullptr;
    const std::string longText(4096, 'x');
    for (const char* t : {"first", "", longText.c_str(), "last"}) {
        ASSERT_TRUE(fromText(STRING, t, v, error));
        EXPECT_FALSE(v.isNull);
        EXPECT_STREQ(v.stringValue, t);
        EXPECT_NE(v.stringValue, t) << "a copy, not the caller's text";
    }
    std::free(v.stringValue);
}

TEST(StringMemory, RepeatedBinaryConversionsIncludingEmptyAndFailed) {
    unsigned char borrowed[4] = {};
    DataValue v;  // NULL: its borrowed block is not freed
    v.binaryValue = {borrowed, 4};
    const char* error = nullptr;
    struct Step {
        const char* hex;
        bool ok;
        uint32_t length;
    } const steps[] = {
        {"00FF", true, 2}, {"", true, 0}, {"0a0b0c", true, 3}, {"ABC", false, 0},
        {"  ", false, 0},  // 2 characters count as 1 byte, which is not there
        {"00", true, 1},   {"AG", false, 0}, {"DEADBEEF", true, 4},
    };
    for (const Step& s : steps) {
        EXPECT_EQ(fromText(BINARY, s.hex, v, error), s.ok) << s.hex;
        EXPECT_EQ(v.isNull, !s.ok) << s.hex;
        EXPECT_EQ(v.binaryValue.length, s.length) << s.hex;
        // An empty value holds no block, and a failed one has freed its own.
        if (!s.ok || s.length == 0) {
            EXPECT_EQ(v.binaryValue.data, nullptr) << s.hex;
        }
        EXPECT_STREQ(error, s.ok ? nullptr : "DataType::convertFromString() could not convert binary data from hex.");
    }
    EXPECT_EQ(std::memcmp(v.binaryValue.data, "\xDE\xAD\xBE\xEF", 4), 0);
    std::free(v.binaryValue.data);
}

} // namespace
} // namespace DataTypes
