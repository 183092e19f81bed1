#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

bool fromText(unsigned int word, const char* text, DataValue& v, const char*& error) {
    error = nullptr;
    return convertFromString(word, text, v, error, nullptr, nullptr, nullptr, nullptr);
}

// Run under the sanitizer build: every step frees the copy it replaces, and
// the one block left at the end is freed by its holder, so a leak or a double
// free shows up there.
TEST(StringMemory, RepeatedStringConversionsIntoOneValue) {
    DataValue v;
    const char* error = nullptr;
    std::string longText(4096, 'x');
    const char* texts[] = {"first", "", longText.c_str(), "h\xC3\xA9", "last"};
    for (int round = 0; round < 50; ++round) {
        for (const char* t : texts) {
            ASSERT_TRUE(fromText(STRING, t, v, error));
            EXPECT_FALSE(v.isNull);
            EXPECT_STREQ(v.stringValue, t);
            EXPECT_NE(v.stringValue, t) << "a copy, not the caller's text";
        }
    }
    std::free(v.stringValue);
}

TEST(StringMemory, RepeatedBinaryConversionsIncludingEmptyAndFailed) {
    DataValue v;
    const char* error = nullptr;
    struct Step {
        const char* hex;
        bool ok;
        uint32_t length;
    } const steps[] = {
        {"00FF", true, 2}, {"", true, 0},     {"0a0b0c", true, 3}, {"ABC", false, 0},
        {"  ", false, 0}  /* 2 characters count as 1 byte, which is not there */,   {"A B C D", false, 0}, {"AG", false, 0}, {"DEADBEEF", true, 4},
    };
    for (int round = 0; round < 50; ++round) {
        for (const Step& s : steps) {
            EXPECT_EQ(fromText(BINARY, s.hex, v, error), s.ok) << s.hex;
            EXPECT_EQ(v.isNull, !s.ok) << s.hex;
            EXPECT_EQ(v.binaryValue.length, s.length) << s.hex;
            if (s.ok && s.length == 0) {
                EXPECT_EQ(v.binaryValue.data, nullptr) << "no block for an empty value";
            }
            if (!s.ok) {
                EXPECT_STREQ(error, "DataType::convertFromString() could not convert binary data from hex.");
                EXPECT_EQ(v.binaryValue.data, nullptr) << "the failed block is gone";
            }
        }
    }
    EXPECT_EQ(std::memcmp(v.binaryValue.data, "\xDE\xAD\xBE\xEF", 4), 0);
    std::free(v.binaryValue.data);
}

TEST(StringMemory, NullValuesAreNotFreed) {
    // A NULL value's pointer is meaningless, so the first conversion must not free it.
    DataValue v;
    char borrowed[] = "not heap memory";
    v.stringValue = borrowed;
    v.isNull = true;
    const char* error = nullptr;
    ASSERT_TRUE(fromText(STRING, "copy", v, error));
    std::free(v.stringValue);

    DataValue b;
    b.binaryValue = {reinterpret_cast<unsigned char*>(borrowed), 4};
    b.isNull = true;
    ASSERT_TRUE(fromText(BINARY, "01", b, error));
    std::free(b.binaryValue.data);
}

TEST(StringMemory, NewStringsAreTheCallers) {
    unsigned char packed[16];
    const char* error = nullptr;
    for (unsigned int word : {STRING, BINARY, DATE, TIMESTAMP, BIGDATETIME, TIME, LONG, MONEY}) {
        const char* text = word == STRING ? "abc" : word == BINARY ? "0102" : "0";
        ASSERT_GE(static_cast<int>(convertFromStringAndPack(word, false, text, packed, sizeof packed, error, "%s",
                                                            "%s", "%s", "%s")),
                  0)
            << word;
        for (int i = 0; i < 20; ++i) std::free(unpackToNewString(packed, word, "%s", "%s", "%s", "%s"));
    }
}

} // namespace
} // namespace DataTypes
