#include <gtest/gtest.h>

#include <cfloat>
#include <cstring>
#include <vector>

#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

// Packs `in` as `word` into exactly `size` bytes (guarded behind), unpacks it
// from there and returns what came back.
DataValue roundTrip(unsigned int word, DataValue in, unsigned long size, std::vector<unsigned char>& buf) {
    in.isNull = false;
    buf.assign(size + 1, 0xEE);
    EXPECT_EQ(packValue(word, in, buf.data(), size - 1), 0u) << "word " << word << " fits one byte short";
    EXPECT_EQ(packValue(word, in, buf.data(), size), size) << "word " << word;
    EXPECT_EQ(buf[size], 0xEE) << "wrote past its size, word " << word;
    DataValue out;
    unpackValue(word, buf.data(), out);
    EXPECT_FALSE(out.isNull);
    return out;
}

TEST(PackedValue, ScalarsRoundTrip) {
    std::vector<unsigned char> buf;
    DataValue v;
    v.int16Value = INT16_MIN;
    EXPECT_EQ(roundTrip(INT16, v, 2, buf).int16Value, INT16_MIN);
    v.int32Value = INT32_MIN;
    EXPECT_EQ(roundTrip(INTEGER, v, 4, buf).int32Value, INT32_MIN);
    v.int64Value = INT64_MIN;
    for (unsigned int t : {LONG, DATE, MONEY, TIMESTAMP, MONEY_1, MONEY_15, INTERVAL, BIGDATETIME, TIME, FLOAT})
        EXPECT_EQ(roundTrip(t, v, 8, buf).int64Value, INT64_MIN) << t;
    v.boolValue = true;
    EXPECT_TRUE(roundTrip(BOOLEAN, v, 1, buf).boolValue);
}

TEST(PackedValue, StringAndBinaryPointIntoThePackedBytes) {
    std::vector<unsigned char> buf;
    DataValue v;
    char text[] = "h\xC3\xA9llo";
    v.stringValue = text;
    DataValue s = roundTrip(STRING, v, sizeof text, buf);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(s.stringValue), buf.data());
    EXPECT_STREQ(s.stringValue, text);

    unsigned char bytes[] = {0x00, 0xFF, 0x10};
    v.binaryValue = {bytes, 3};
    DataValue b = roundTrip(BINARY, v, 7, buf);
    EXPECT_EQ(b.binaryValue.data, buf.data() + 4);
    EXPECT_EQ(b.binaryValue.length, 3u);
    EXPECT_EQ(std::memcmp(buf.data(), "\x00\x00\x00\x03\x00\xFF\x10", 7), 0);

    v.binaryValue = {nullptr, 7};  // empty: only the length goes out
    EXPECT_EQ(roundTrip(BINARY, v, 4, buf).binaryValue.length, 0u);

    unsigned char out[8] = {};
    v.isNull = true;
    EXPECT_EQ(packValue(LONG, v, out, 8), 0u);
    v.isNull = false;
    for (unsigned int t : {6u, 9u, 31u}) EXPECT_EQ(packValue(t, v, out, 8), 0u) << t;  // no packed form
}

TEST(PackedValue, FixedDecimalTakesScaleAndPrecisionFromTheWord) {
    unsigned char packed[24];
    for (int i = 0; i < 24; ++i) packed[i] = static_cast<unsigned char>(i + 1);
    packed[16] = 5;   // packed scale
    packed[17] = 20;  // packed precision

    DataValue byWord;
    unpackValue(createFixedDecimal(10, 2), packed, byWord);
    EXPECT_EQ(byWord.decimalValue.scale, 2);
    EXPECT_EQ(byWord.decimalValue.precision, 10);
    const unsigned char* raw = reinterpret_cast<const unsigned char*>(&byWord.decimalValue);
    EXPECT_EQ(std::memcmp(raw, packed, 16), 0);
    EXPECT_EQ(std::memcmp(raw + 18, packed + 18, 6), 0);

    // Plain 30, and the TypeEnum overload always, keep what the bytes say.
    DataValue byPlainWord, byEnum;
    unsigned int plain = FIXEDDECIMAL;
    TypeEnum type = FIXEDDECIMAL;
    unpackValue(plain, packed, byPlainWord);
    unpackValue(type, packed, byEnum);
    EXPECT_EQ(std::memcmp(&byPlainWord.decimalValue, packed, 24), 0);
    EXPECT_EQ(std::memcmp(&byEnum.decimalValue, packed, 24), 0);

    unsigned char again[24];  // packing writes the value's own fields
    EXPECT_EQ(packValue(createFixedDecimal(10, 2), byPlainWord, again, 24), 24u);
    EXPECT_EQ(std::memcmp(again, packed, 24), 0);
}

TEST(PackedValue, UnpackTouchesOnlyWhatTheTypeOwns) {
    DataValue v;
    v.int64Value = 0x1122334455667788;
    v.isNull = false;
    unpackValue(INT16, nullptr, v);
    EXPECT_TRUE(v.isNull);
    EXPECT_EQ(v.int64Value, 0x1122334455667788);

    unsigned char two[2] = {0xCD, 0xAB};
    unpackValue(INT16, two, v);
    EXPECT_FALSE(v.isNull);
    EXPECT_EQ(static_cast<uint64_t>(v.int64Value), 0x112233445566ABCDu);  // little-endian host

    unsigned char junk[24];
    std::memset(junk, 0x5A, sizeof junk);
    for (unsigned int t : {6u, 9u, 31u, 200u}) {
        v.int64Value = 42;
        v.isNull = true;
        unpackValue(t, junk, v);
        EXPECT_FALSE(v.isNull) << t;
        EXPECT_EQ(v.int64Value, 42) << t;
    }

    EXPECT_EQ(getLengthFromPackedBinary(reinterpret_cast<const unsigned char*>("\x00\x00\x01\x00")), 256u);
    EXPECT_EQ(getLengthFromPackedBinary(reinterpret_cast<const unsigned char*>("\xFF\x00\x00\x01")), 0xFF000001u);
    EXPECT_EQ(getLengthFromPackedBinary(nullptr), 0u);
}

TEST(BinaryValueCompare, EmptyFirstThenBytesThenLength) {
    unsigned char ab[] = {'a', 'b'}, abc[] = {'a', 'b', 'c'}, b[] = {'b'}, hi[] = {0xFF};
    const struct { BinaryValue left, right; int sign; } cases[] = {
        {{nullptr, 5}, {ab, 0}, 0},  {{nullptr, 0}, {ab, 2}, -1}, {{ab, 2}, {ab, 0}, 1},
        {{ab, 2}, {ab, 2}, 0},       {{ab, 2}, {abc, 3}, -1},     {{abc, 3}, {ab, 2}, 1},
        {{abc, 3}, {b, 1}, -1},      {{hi, 1}, {abc, 3}, 1},  // bytes compare unsigned
    };
    for (const auto& c : cases) {
        int r = c.left.compare(c.right);
        EXPECT_EQ((r > 0) - (r < 0), c.sign) << "lengths " << c.left.length << " vs " << c.right.length;
    }
}

} // namespace
} // namespace DataTypes
