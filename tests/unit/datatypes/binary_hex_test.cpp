#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

TEST(HexDecode, Cases) {
    // `bytes`: what `out` holds afterwards, its first 2 bytes on failure.
    const struct { const char* hex; unsigned int size; long result; const char *bytes, *error; } cases[] = {
        {"", 16, 0, "", nullptr},
        {nullptr, 16, 0, "", nullptr},
        {" \t\r\n", 16, 0, "", nullptr},
        {"00ff7F", 16, 3, "\x00\xFF\x7F", nullptr},
        {"\tA\nb\r C d ", 16, 2, "\xAB\xCD", nullptr},  // white space even inside a pair
        {"ABCD", 2, 2, "\xAB\xCD", nullptr},
        {"ABC", 16, -1, "\xAB", "Odd number of characters in hex string"},
        {"ABCD", 1, -1, "\xAB", "Output buffer too small"},  // the first byte stays
        {"AG", 16, -1, "\0", "Invalid hex character"},
        {"0x10", 16, -1, "\0", "Invalid hex character"},
        {"AB\v", 16, -1, "\xAB", "Invalid hex character"},  // only tab, space, CR, LF are white space
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << (c.hex ? c.hex : "(null)") << "\" size " << c.size);
        unsigned char out[16] = {};
        const char* error = nullptr;
        EXPECT_EQ(convertBinaryFromHexString(c.hex, out, c.size, error), c.result);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(out), c.result >= 0 ? c.result : 2),
                  std::string(c.bytes, c.result >= 0 ? c.result : 2));
        EXPECT_STREQ(error, c.error);
    }
}

TEST(HexEncode, BufferSizeAtTheEdge) {
    const unsigned char data[] = {0x00, 0x9A, 0xFF};
    char out[8];
    const char* error = nullptr;
    EXPECT_EQ(convertBinaryToHexString(7, data, 3, out, error), 6);
    EXPECT_EQ(error, nullptr);
    EXPECT_STREQ(out, "009AFF");

    std::memset(out, 'x', sizeof out);
    EXPECT_EQ(convertBinaryToHexString(6, data, 3, out, error), -1);
    EXPECT_STREQ(error, "output buffer is too small for binary to hex-string conversion");
    EXPECT_EQ(std::string(out, 5), "009Ax");  // what fitted stays

    error = nullptr;
    EXPECT_EQ(convertBinaryToHexString(1, data, 0, out, error), 0);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(convertBinaryToHexString(0, data, 0, out, error), -1);
    EXPECT_NE(error, nullptr);
    error = nullptr;
    EXPECT_EQ(convertBinaryToHexString(8, data, 3, nullptr, error), -1);
    EXPECT_EQ(error, nullptr);
}

TEST(HexEncode, BothDirectionsOverEveryByte) {
    unsigned char all[256], back[256];
    for (int i = 0; i < 256; ++i) all[i] = static_cast<unsigned char>(i);
    std::string text = "junk";
    convertBinaryToHexString(all, 256, text);
    EXPECT_EQ(text.substr(0, 6) + text.substr(506), "000102FDFEFF");

    char buffer[513];
    const char* error = nullptr;
    ASSERT_EQ(convertBinaryToHexString(getHexStringSizeForBuffer(256, 0, 0), all, 256, buffer, error), 512);
    EXPECT_EQ(text, buffer);
    ASSERT_EQ(getBinaryDataSizeFromHexString(buffer), 256u);
    ASSERT_EQ(convertBinaryFromHexString(buffer, back, 256, error), 256);
    EXPECT_EQ(std::memcmp(back, all, 256), 0);

    convertBinaryToHexString(nullptr, 4, text);
    EXPECT_EQ(text, "");
}

TEST(HexSizes, Cases) {
    EXPECT_EQ(getBinaryDataSizeFromHexString(nullptr), 0u);
    // White space counts here but not in the decoder: 3 against 2 decoded bytes.
    EXPECT_EQ(getBinaryDataSizeFromHexString("A B"), 1u);
    EXPECT_EQ(getBinaryDataSizeFromHexString("A B C D"), 3u);
    EXPECT_EQ(getHexStringSizeForBuffer(10, 0, 0), 21u);
    EXPECT_EQ(getHexStringSizeForBuffer(10, 4, 0), 21u + 10 / 4 + 1);
    EXPECT_EQ(getHexStringSizeForBuffer(10, 0, 3), 21u + 2 * (10 / 3) + 2);
}

} // namespace
} // namespace DataTypes
