#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "ConversionTestSupport.h"
#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

constexpr unsigned long kFailed = 0xFFFFFFFFu;

struct Failure {
    unsigned int word;
    const char* text;
    const char* message;
    unsigned long size;          // room at `out`
    const char* format = nullptr;  // date, timestamp, bigdatetime and time format alike
};

const char* const kDateFormat = convtest::kPrintedDateFormat;

// Every message of the conversions in, each from at least one bad input.
const Failure kFailures[] = {
    {INT16, "x12", "integer constant does not begin with a legal character", 8},
    {INT16, " 1", "integer constant does not begin with a legal character", 8},
    {INT16, "1 ", "integer constant does not end with a legal character", 8},
    {INT16, "40000", "16-bit integer constant out of range", 8},
    {INT16, "-32769", "16-bit integer constant out of range", 8},
    {INTEGER, "x12", "integer constant does not begin with a legal character", 8},
    {INTEGER, "12x", "integer constant does not end with a legal character", 8},
    {INTEGER, "-", "integer constant does not end with a legal character", 8},
    {INTEGER, "", "integer constant does not begin with a legal character", 8},
    {INTEGER, "2147483648", "integer constant out of range", 8},
    {INTEGER, "-99999999999999999999", "integer constant out of range", 8},
    {LONG, " 1", "long constant does not begin with a legal character", 8},
    {LONG, "1.0", "long constant does not end with a legal character", 8},
    {LONG, "+", "long constant does not end with a legal character", 8},
    {LONG, "9223372036854775808", "long constant out of range", 8},
    {LONG, "-9223372036854775809", "long constant out of range", 8},
    {FLOAT, "e5", "float constant does not begin with a legal character", 8},
    {FLOAT, "1.5x", "float constant does not end with a legal character", 8},
    {FLOAT, "1e400", "float constant out of range", 8},
    {FLOAT, "-1e-400", "float constant out of range", 8},
    {INTERVAL, "-", "interval constant does not begin with a legal character", 8},
    {INTERVAL, "+x", "interval constant does not begin with a legal character", 8},
    {INTERVAL, "12 ", "interval constant does not end with a legal character", 8},
    {INTERVAL, "9223372036854775808", "integer constant out of range", 8},
    {STRING, "abc", "output buffer overflow", 3},
    {LONG, "1", "output buffer overflow", 7},
    {BOOLEAN, "1", "output buffer overflow", 0},
    {BINARY, "ABCD", "output buffer overflow", 5},
    {BINARY, "ABC", "DataType::convertFromStringAndPack() could not convert binary data from hex.", 8},
    {BINARY, "AG", "DataType::convertFromStringAndPack() could not convert binary data from hex.", 8},
    {BINARY, "A B C D", "DataType::convertFromStringAndPack() could not convert binary data from hex.", 8},
    {createFixedDecimal(5, 2), "1234.5", "input exceeds specified precision", 24},
    {FIXEDDECIMAL, "0", "input exceeds specified precision", 24},  // plain 30: precision 0
    {BOOLEAN, "t ", "not a legal boolean value", 1},
    {BOOLEAN, "", "not a legal boolean value", 1},
    {BOOLEAN, "yes please", "not a legal boolean value", 1},
    {BOOLEAN, "2", "not a legal boolean value", 1},
    {DATE, "yesterday", "date constant does not match standard format", 8, "%s"},
    {DATE, "2024-13-01 00:00:00", "date constant does not match format", 8, kDateFormat},
    {TIME, "noon", "time constant does not match standard format", 8, "%s"},
    {TIME, "24:00:00", "time constant does not match format", 8, "%H:%M:%S"},
    {TIMESTAMP, "2024-01-01", "timestamp constant does not match format", 8, kDateFormat},
    {TIMESTAMP, "x.5", "timestamp constant does not match format", 8, "%s"},
    {TIMESTAMP, "9223372036854776", "timestamp overflow", 8, "%s"},
    {TIMESTAMP, "-9223372036854776", "timestamp overflow", 8, "%s"},
    // The largest second with a fraction that would wrap the 64 bits.
    {TIMESTAMP, "9223372036854775.808", "timestamp overflow", 8, "%s"},
    {BIGDATETIME, "2024-01-01T00:00:00", "bigdatetime constant does not match format", 8, kDateFormat},
    {BIGDATETIME, "9223372036855", "bigdatetime overflow", 8, "%s"},
    {MONEY_2, " -1.5", "money constant does not begin with a legal character", 8},
    {MONEY_2, "x", "money constant does not begin with a legal character", 8},
    {MONEY_2, "", "money constant does not begin with a legal character", 8},
    {MONEY_2, "-", "money constant does not begin with a legal character", 8},
    {MONEY_4, "1.2x", "money constant does not end with a legal character", 8},
    {MONEY_4, "1,5", "money constant does not end with a legal character", 8},
    {MONEY_2, "1.-5", "money constant fractional part does not begin with a digit", 8},
    {MONEY_2, "99999999999999999999", "money constant out of range", 8},
    {MONEY, "922337203685478", "money constant out of range", 8},
    {MONEY, "922337203685477.5808", "money constant out of range", 8},
    {MONEY, "-922337203685477.5809", "money constant out of range", 8},
    {MONEY_15, "9223.372036854775808", "money constant out of range", 8},
    {MONEY_15, "-9224", "money constant out of range", 8},
    {UNKNOWN, "1", "conversion to unknown type", 8},
    {9, "1", "conversion to unknown type", 8},
    {31, "1", "conversion to unknown type", 8},
};

TEST(StringFailure, EveryMessageOfThePackedConversion) {
    for (const Failure& f : kFailures) {
        unsigned char out[32];
        std::memset(out, 0xAA, sizeof out);
        const char* error = nullptr;
        const unsigned long n =
            convertFromStringAndPack(f.word, false, f.text, out, f.size, error, f.format, f.format, f.format, f.format);
        const std::string where = typeToString(f.word) + " \"" + f.text + "\"";
        EXPECT_EQ(n, kFailed) << where;
        EXPECT_STREQ(error, f.message) << where;
        // Only the binary decoder writes before it knows; the rest leave `out` alone.
        if (typeOf(f.word) != BINARY) {
            for (unsigned char b : out) ASSERT_EQ(b, 0xAA) << where;
        }
    }
}

TEST(StringFailure, SameMessagesIntoAValue) {
    for (const Failure& f : kFailures) {
        if (f.size < 8 && typeOf(f.word) != BOOLEAN) continue;  // a value always has room
        if (typeOf(f.word) == BOOLEAN && f.size == 0) continue;
        DataValue v;
        v.int64Value = 0x1122334455667788;
        const char* error = nullptr;
        const std::string where = typeToString(f.word) + " \"" + f.text + "\"";
        EXPECT_FALSE(convertFromString(f.word, f.text, v, error, f.format, f.format, f.format, f.format)) << where;
        if (typeOf(f.word) == BINARY) {
            EXPECT_STREQ(error, "DataType::convertFromString() could not convert binary data from hex.") << where;
            EXPECT_TRUE(v.isNull) << where;
            continue;
        }
        EXPECT_STREQ(error, f.message) << where;
        EXPECT_FALSE(v.isNull) << where << ": isNull is cleared and stays cleared";
        EXPECT_EQ(v.int64Value, 0x1122334455667788) << where << ": the value is written only on success";
    }
}

TEST(StringFailure, LenientInputsThatStillPass) {
    struct Case {
        unsigned int word;
        const char* text;
        int64_t value;
    } const cases[] = {
        {MONEY_2, ".", 0},
        {MONEY_2, " .5", 0},       // blanks leave the fraction behind
        {MONEY_4, "1.2.3", 10002},  // the fraction stops at its own point
        {MONEY_2, "+1.5", 150},
        {TIMESTAMP, "1970-01-01 00:00:01.-12", 988},  // the fraction is strtol'ed as it stands
        {DATE, "1970-01-02 00:00:00 and more", 86400},  // strptime leaves the rest
    };
    for (const Case& c : cases) {
        int64_t out = 0;
        const char* error = nullptr;
        EXPECT_EQ(convertFromStringAndPack(c.word, false, c.text, reinterpret_cast<unsigned char*>(&out), 8, error,
                                           kDateFormat, nullptr, nullptr, nullptr),
                  8u)
            << c.text << ": " << (error ? error : "");
        EXPECT_EQ(out, c.value) << c.text;
    }
}

TEST(StringFailure, PackAndAppendValueReportsZero) {
    unsigned char out[16];
    const char* error = "stale";
    EXPECT_EQ(packAndAppendValue(out, sizeof out, "12", INTEGER, nullptr, nullptr, nullptr, nullptr, error), 4u);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(packAndAppendValue(out, sizeof out, "12x", INTEGER, nullptr, nullptr, nullptr, nullptr, error), 0u);
    EXPECT_STREQ(error, "integer constant does not end with a legal character");
    EXPECT_EQ(packAndAppendValue(out, 3, "abc", STRING, nullptr, nullptr, nullptr, nullptr, error), 0u);
    EXPECT_STREQ(error, "output buffer overflow");
    EXPECT_EQ(packAndAppendValue(out, 4, "abc", STRING, nullptr, nullptr, nullptr, nullptr, error), 4u);
    EXPECT_STREQ(reinterpret_cast<char*>(out), "abc");
    EXPECT_EQ(packAndAppendValue(out, sizeof out, "0102", BINARY, nullptr, nullptr, nullptr, nullptr, error), 6u);
    EXPECT_EQ(std::memcmp(out, "\0\0\0\x02\x01\x02", 6), 0);
}

} // namespace
} // namespace DataTypes
