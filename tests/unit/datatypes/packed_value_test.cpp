#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cstring>
#include <vector>

#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

// A DataValue starts out NULL; the round trips want a value.
DataValue present() {
    DataValue v;
    v.isNull = false;
    return v;
}

// Packs `in` as `word`, checks the size, unpacks and hands back the value.
DataValue roundTrip(unsigned int word, const DataValue& in, std::vector<unsigned char>& buffer) {
    buffer.assign(64, 0xEE);
    unsigned long n = packValue(word, in, buffer.data(), buffer.size());
    EXPECT_EQ(n, getPackedSize(word, in)) << "word " << word;
    if (typeOf(word) < kTypeCount && g_column_lengths[typeOf(word)] != 0) {
        EXPECT_EQ(n, g_column_lengths[typeOf(word)]) << "word " << word;
    }
    EXPECT_EQ(buffer[n], 0xEE) << "wrote past its size, word " << word;
    DataValue out;
    unpackValue(word, buffer.data(), out);
    EXPECT_FALSE(out.isNull);
    return out;
}

TEST(PackedValue, ScalarsRoundTripAtTheirEdges) {
    std::vector<unsigned char> buf;
    for (int16_t v : {int16_t(INT16_MIN), int16_t(-1), int16_t(0), int16_t(INT16_MAX)}) {
        DataValue in = present();
        in.int16Value = v;
        EXPECT_EQ(roundTrip(INT16, in, buf).int16Value, v);
    }
    for (int32_t v : {INT32_MIN, -1, INT32_MAX}) {
        DataValue in = present();
        in.int32Value = v;
        EXPECT_EQ(roundTrip(INTEGER, in, buf).int32Value, v);
    }
    const unsigned int eightByteTypes[] = {LONG, DATE, MONEY, TIMESTAMP, MONEY_1, MONEY_15, INTERVAL, BIGDATETIME, TIME};
    for (unsigned int t : eightByteTypes) {
        for (int64_t v : {INT64_MIN, int64_t(-1), INT64_MAX}) {
            DataValue in = present();
            in.int64Value = v;
            EXPECT_EQ(roundTrip(t, in, buf).int64Value, v) << t;
        }
    }
    for (double v : {-DBL_MAX, -0.0, DBL_MIN, DBL_MAX}) {
        DataValue in = present();
        in.doubleValue = v;
        double back = roundTrip(FLOAT, in, buf).doubleValue;
        EXPECT_EQ(std::memcmp(&back, &v, 8), 0) << v;
    }
    for (bool v : {false, true}) {
        DataValue in = present();
        in.boolValue = v;
        EXPECT_EQ(roundTrip(BOOLEAN, in, buf).boolValue, v);
    }
}

TEST(PackedValue, StringAndBinaryPointIntoThePackedBytes) {
    std::vector<unsigned char> buf;
    DataValue in = present();
    char text[] = "h\xC3\xA9llo";
    in.stringValue = text;
    DataValue s = roundTrip(STRING, in, buf);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(s.stringValue), buf.data());
    EXPECT_STREQ(s.stringValue, text);

    in.stringValue = nullptr;  // packs as the empty text
    EXPECT_STREQ(roundTrip(STRING, in, buf).stringValue, "");

    unsigned char bytes[] = {0x00, 0xFF, 0x10};
    in.binaryValue = {bytes, 3};
    DataValue b = roundTrip(BINARY, in, buf);
    EXPECT_EQ(b.binaryValue.data, buf.data() + 4);
    EXPECT_EQ(b.binaryValue.length, 3u);
    EXPECT_EQ(std::memcmp(b.binaryValue.data, bytes, 3), 0);
    EXPECT_EQ(buf[0] | buf[1] | buf[2], 0);
    EXPECT_EQ(buf[3], 3);

    in.binaryValue = {nullptr, 7};  // empty either way
    EXPECT_EQ(roundTrip(BINARY, in, buf).binaryValue.length, 0u);
}

TEST(PackedValue, PackRefusesWhatItCannotWrite) {
    unsigned char out[8] = {};
    DataValue v;
    v.int64Value = 1;
    v.isNull = false;
    EXPECT_EQ(packValue(LONG, v, out, 7), 0u);
    EXPECT_EQ(packValue(LONG, v, out, 8), 8u);
    EXPECT_EQ(packValue(UNKNOWN, v, out, 8), 0u);
    EXPECT_EQ(packValue(9, v, out, 8), 0u);
    EXPECT_EQ(packValue(31, v, out, 8), 0u);
    EXPECT_EQ(packValue(FIXEDDECIMAL, v, out, 8), 0u);
    char text[] = "12345678";
    v.stringValue = text;
    EXPECT_EQ(packValue(STRING, v, out, 8), 0u);  // the NUL needs a ninth byte
    v.isNull = true;
    EXPECT_EQ(packValue(LONG, v, out, 8), 0u);
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
    EXPECT_EQ(std::memcmp(&byWord.decimalValue, packed, 16), 0);
    EXPECT_EQ(std::memcmp(reinterpret_cast<unsigned char*>(&byWord.decimalValue) + 18, packed + 18, 6), 0);

    unsigned int plain = FIXEDDECIMAL;
    DataValue byPlainWord;
    unpackValue(plain, packed, byPlainWord);
    EXPECT_EQ(std::memcmp(&byPlainWord.decimalValue, packed, 24), 0);

    DataValue byEnum;
    TypeEnum type = FIXEDDECIMAL;
    unpackValue(type, packed, byEnum);
    EXPECT_EQ(std::memcmp(&byEnum.decimalValue, packed, 24), 0);

    // A word with precision but scale 0 still overrides.
    DataValue scaleZero;
    unpackValue(createFixedDecimal(7, 0), packed, scaleZero);
    EXPECT_EQ(scaleZero.decimalValue.scale, 0);
    EXPECT_EQ(scaleZero.decimalValue.precision, 7);

    // Packing writes the value's own fields back out.
    unsigned char again[24];
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
    EXPECT_EQ(v.int16Value, int16_t(0xABCD));
    EXPECT_EQ(static_cast<uint64_t>(v.int64Value) >> 16, 0x112233445566u);

    unsigned char junk[24];
    std::memset(junk, 0x5A, sizeof junk);
    for (unsigned int t : {6u, 9u, 31u, 200u}) {
        v.int64Value = 42;
        v.isNull = true;
        unpackValue(t, junk, v);
        EXPECT_FALSE(v.isNull) << t;
        EXPECT_EQ(v.int64Value, 42) << t;
    }
}

TEST(PackedValue, BinaryLengthIsBigEndian) {
    const unsigned char b256[] = {0x00, 0x00, 0x01, 0x00};
    const unsigned char big[] = {0xFF, 0x00, 0x00, 0x01};
    EXPECT_EQ(getLengthFromPackedBinary(b256), 256u);
    EXPECT_EQ(getLengthFromPackedBinary(big), 0xFF000001u);
    EXPECT_EQ(getLengthFromPackedBinary(nullptr), 0u);
    unsigned char out[4];
    putLengthOfPackedBinary(out, 0xFF000001u);
    EXPECT_EQ(std::memcmp(out, big, 4), 0);
}

// ---- BinaryValue::compare -----------------------------------------------------------

TEST(BinaryValueCompare, EmptyFirstThenBytesThenLength) {
    unsigned char ab[] = {'a', 'b'}, abc[] = {'a', 'b', 'c'}, b[] = {'b'}, hi[] = {0xFF};
    struct Case {
        BinaryValue left, right;
        int sign;
    };
    const Case cases[] = {
        {{nullptr, 5}, {ab, 0}, 0},
        {{nullptr, 0}, {ab, 2}, -1},
        {{ab, 2}, {ab, 0}, 1},
        {{ab, 2}, {ab, 2}, 0},
        {{ab, 2}, {abc, 3}, -1},
        {{abc, 3}, {ab, 2}, 1},
        {{abc, 3}, {b, 1}, -1},
        {{hi, 1}, {abc, 3}, 1},  // bytes compare unsigned
    };
    for (const Case& c : cases) {
        int r = c.left.compare(c.right);
        EXPECT_EQ((r > 0) - (r < 0), c.sign)
            << "lengths " << c.left.length << " vs " << c.right.length;
    }
}

} // namespace
} // namespace DataTypes
