#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

struct DecodeCase {
    const char* hex;
    unsigned int size;
    long result;
    const char* bytes;  // expected output (result bytes), or the error text
};

void checkDecode(const DecodeCase& c) {
    unsigned char out[16];
    std::memset(out, 0, sizeof out);
    const char* error = nullptr;
    long r = convertBinaryFromHexString(c.hex, out, c.size, error);
    SCOPED_TRACE(testing::Message() << '"' << (c.hex ? c.hex : "(null)") << "\" size " << c.size);
    EXPECT_EQ(r, c.result);
    if (r >= 0) {
        EXPECT_EQ(error, nullptr);
        EXPECT_EQ(std::memcmp(out, c.bytes, static_cast<size_t>(r)), 0);
    } else {
        EXPECT_STREQ(error, c.bytes);
    }
}

TEST(HexDecode, Cases) {
    const DecodeCase cases[] = {
        {"", 16, 0, ""},
        {nullptr, 16, 0, ""},
        {" \t\r\n", 16, 0, ""},
        {"00ff7F", 16, 3, "\x00\xFF\x7F"},
        {"A B", 16, 1, "\xAB"},
        {"\tA\nb\r C d ", 16, 2, "\xAB\xCD"},
        {"ABCD", 2, 2, "\xAB\xCD"},
        {"ABC", 16, -1, "Odd number of characters in hex string"},
        {"ABCD", 1, -1, "Output buffer too small"},
        {"AB", 0, -1, "Output buffer too small"},
        {"AG", 16, -1, "Invalid hex character"},
        {"0x10", 16, -1, "Invalid hex character"},
        {"AB\v", 16, -1, "Invalid hex character"},  // only tab, space, CR, LF are white space
        {"A-", 16, -1, "Invalid hex character"},
    };
    for (const DecodeCase& c : cases) checkDecode(c);
}

TEST(HexDecode, BytesBeforeAFailureStay) {
    unsigned char out[4] = {0, 0, 0, 0};
    const char* error = nullptr;
    EXPECT_EQ(convertBinaryFromHexString("ABCD", out, 1, error), -1);
    EXPECT_EQ(out[0], 0xAB);
    EXPECT_EQ(out[1], 0);
}

TEST(HexEncode, BufferSizeAtTheEdge) {
    const unsigned char data[] = {0x00, 0x9A, 0xFF};
    char out[8];
    const char* error = nullptr;
    std::memset(out, 'x', sizeof out);
    EXPECT_EQ(convertBinaryToHexString(7, data, 3, out, error), 6);
    EXPECT_EQ(error, nullptr);
    EXPECT_STREQ(out, "009AFF");

    std::memset(out, 'x', sizeof out);
    EXPECT_EQ(convertBinaryToHexString(6, data, 3, out, error), -1);
    EXPECT_STREQ(error, "output buffer is too small for binary to hex-string conversion");
    EXPECT_EQ(std::string(out, 4), "009A");  // what fitted stays

    error = nullptr;
    EXPECT_EQ(convertBinaryToHexString(1, data, 0, out, error), 0);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(convertBinaryToHexString(0, data, 0, out, error), -1);
    EXPECT_NE(error, nullptr);

    error = nullptr;
    EXPECT_EQ(convertBinaryToHexString(8, data, 3, nullptr, error), -1);
    EXPECT_EQ(error, nullptr);
}

TEST(HexEncode, BothDirectionsOverEveryByte) {
    unsigned char all[256];
    for (int i = 0; i < 256; ++i) all[i] = static_cast<unsigned char>(i);
    std::string text;
    convertBinaryToHexString(all, 256, text);
    ASSERT_EQ(text.size(), 512u);
    EXPECT_EQ(text.substr(0, 6), "000102");
    EXPECT_EQ(text.substr(506), "FDFEFF");

    char buffer[513];
    const char* error = nullptr;
    ASSERT_EQ(convertBinaryToHexString(getHexStringSizeForBuffer(256, 0, 0), all, 256, buffer, error), 512);
    EXPECT_EQ(text, buffer);

    unsigned char back[256];
    ASSERT_EQ(getBinaryDataSizeFromHexString(buffer), 256u);
    ASSERT_EQ(convertBinaryFromHexString(buffer, back, 256, error), 256);
    EXPECT_EQ(std::memcmp(back, all, 256), 0);

    text = "junk";
    convertBinaryToHexString(nullptr, 4, text);
    EXPECT_EQ(text, "");
}

TEST(HexSizes, Cases) {
    EXPECT_EQ(getBinaryDataSizeFromHexString(nullptr), 0u);
    EXPECT_EQ(getBinaryDataSizeFromHexString("ABC"), 1u);
    // White space counts here but not in the decoder: 3 against 2 decoded bytes.
    EXPECT_EQ(getBinaryDataSizeFromHexString("A B"), 1u);
    EXPECT_EQ(getBinaryDataSizeFromHexString("A B C D"), 3u);

    EXPECT_EQ(getHexStringSizeForBuffer(0, 0, 0), 1u);
    EXPECT_EQ(getHexStringSizeForBuffer(10, 0, 0), 21u);
    EXPECT_EQ(getHexStringSizeForBuffer(10, 4, 0), 21u + 10 / 4 + 1);
    EXPECT_EQ(getHexStringSizeForBuffer(10, 0, 3), 21u + 2 * (10 / 3) + 2);
    EXPECT_EQ(getHexStringSizeForBuffer(10, 4, 3), 21u + 3 + 8);
}

} // namespace
} // namespace DataTypes
