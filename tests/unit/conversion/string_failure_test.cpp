#include <gtest/gtest.h>

#include <algorithm>
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
    {INT16, "40000", "16-bit integer constant out of range", 8},
    {INT16, "-32769", "16-bit integer constant out of range", 8},
    {INTEGER, "x12", "integer constant does not begin with a legal character", 8},
    {INTEGER, "12x", "integer constant does not end with a legal character", 8},
    {INTEGER, "-", "integer constant does not end with a legal character", 8},
    {INTEGER, "2147483648", "integer constant out of range", 8},
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
    {INTERVAL, "12 ", "interval constant does not end with a legal character", 8},
    {INTERVAL, "9223372036854775808", "integer constant out of range", 8},
    {STRING, "abc", "output buffer overflow", 3},
    {LONG, "1", "output buffer overflow", 7},
    {BINARY, "ABCD", "output buffer overflow", 5},
    {BINARY, "AG", "DataType::convertFromStringAndPack() could not convert binary data from hex.", 8},
    {BINARY, "A B C D", "DataType::convertFromStringAndPack() could not convert binary data from hex.", 8},
    {createFixedDecimal(5, 2), "1234.5", "input exceeds specified precision", 24},
    {FIXEDDECIMAL, "0", "input exceeds specified precision", 24},  // plain 30: precision 0
    {BOOLEAN, "t ", "not a legal boolean value", 1},
    {BOOLEAN, "", "not a legal boolean value", 1},
    {BOOLEAN, "yes please", "not a legal boolean value", 1},
    {DATE, "yesterday", "date constant does not match standard format", 8, "%s"},
    {DATE, "2024-13-01 00:00:00", "date constant does not match format", 8, kDateFormat},
    {DATE, "5", "date constant does not match format", 8, "%s "},  // only exactly "%s" reads epoch seconds
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
    {MONEY_4, "1.2x", "money constant does not end with a legal character", 8},
    {MONEY_4, "1,5", "money constant does not end with a legal character", 8},
    {MONEY_2, "1.-5", "money constant fractional part does not begin with a digit", 8},
    {MONEY_2, "99999999999999999999", "money constant out of range", 8},
    {MONEY, "922337203685478", "money constant out of range", 8},
    {MONEY, "922337203685477.5808", "money constant out of range", 8},
    {MONEY, "-922337203685477.5809", "money constant out of range", 8},
    {MONEY_15, "-9224", "money constant out of range", 8},
    {9, "1", "conversion to unknown type", 8},
};

// Each bad input fails packed and into a value: the packed form leaves `out`
// alone (but for the binary decoder), the value is not written and stays non-NULL
// (but for a binary, which becomes NULL).
TEST(StringFailure, EveryMessage) {
    for (const Failure& f : kFailures) {
        const std::string where = typeToString(f.word) + " \"" + f.text + "\"";
        unsigned char out[32];
        std::memset(out, 0xAA, sizeof out);
        const char* error = nullptr;
        EXPECT_EQ(convertFromStringAndPack(f.word, false, f.text, out, f.size, error, f.format, f.format, f.format,
                                           f.format), kFailed) << where;
        EXPECT_STREQ(error, f.message) << where;
        const bool binary = typeOf(f.word) == BINARY;
        EXPECT_TRUE(binary || std::count(out, out + sizeof out, 0xAA) == 32) << where << ": out written";
        if (std::strcmp(f.message, "output buffer overflow") == 0) continue;  // a value always has room

        DataValue v;
        v.int64Value = 0x1122334455667788;
        error = nullptr;
        EXPECT_FALSE(convertFromString(f.word, f.text, v, error, f.format, f.format, f.format, f.format)) << where;
        EXPECT_STREQ(error, binary ? "DataType::convertFromString() could not convert binary data from hex." : f.message)
            << where;
        EXPECT_EQ(v.isNull, binary) << where;
        EXPECT_TRUE(binary || v.int64Value == 0x1122334455667788) << where << ": written only on success";
    }
}

// Texts that pass although they look wrong, and the epoch-seconds form of the times.
TEST(StringFailure, OddInputsThatStillPass) {
    struct Case {
        unsigned int word;
        const char* text;
        const char* format;
        int64_t value;
    } const cases[] = {
        {MONEY_2, ".", nullptr, 0},
        {MONEY_2, " .5", nullptr, 0},       // blanks leave the fraction behind
        {MONEY_4, "1.2.3", nullptr, 10002},  // the fraction stops at its own point
        {TIMESTAMP, "1970-01-01 00:00:01.-12", kDateFormat, 988},  // the fraction is strtol'ed as it stands
        {DATE, "1970-01-02 00:00:00 and more", kDateFormat, 86400},  // strptime leaves the rest
        {DATE, "-86400", "%s", -86400},
        {TIME, "3600", "%s", 3600},
        {TIMESTAMP, "-1.500", "%s", -500},  // the fraction is added, not mirrored
        {BIGDATETIME, "2.5", "%s", 2500000},
        {DATE, "1970-01-02T00:00:00", nullptr, 86400},  // the default formats
        {TIME, "01:00:00", nullptr, 3600},
    };
    for (const Case& c : cases) {
        int64_t out = 0;
        const char* error = nullptr;
        EXPECT_EQ(convertFromStringAndPack(c.word, false, c.text, reinterpret_cast<unsigned char*>(&out), 8, error,
                                           c.format, nullptr, nullptr, c.format),
                  8u)
            << c.text << ": " << (error ? error : "");
        EXPECT_EQ(out, c.value) << c.text;
    }
    // A null bigdatetime format is the timestamp format, not the date format.
    int64_t out = 0;
    const char* error = nullptr;
    EXPECT_EQ(convertFromStringAndPack(BIGDATETIME, false, "5.5", reinterpret_cast<unsigned char*>(&out), 8, error,
                                       kDateFormat, "%s", nullptr, nullptr), 8u);
    EXPECT_EQ(out, 5500000);
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
