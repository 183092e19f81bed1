#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "ConversionTestSupport.h"
#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

// One type's values in ascending order, as text.
struct Ordered {
    unsigned int word;
    std::vector<const char*> texts;
};

std::vector<Ordered> orderedValues() {
    const unsigned int d = createFixedDecimal(34, 4);
    return {
        {INT16, {"-32768", "-1", "0", "1", "32767"}},
        {INTEGER, {"-2147483648", "-2", "0", "2147483647"}},
        {LONG, {"-9223372036854775808", "-1", "0", "9223372036854775807"}},
        {INTERVAL, {"-5", "0", "5"}},
        {FLOAT, {"-1e300", "-1.5", "0", "1e-300", "1.5", "1e300"}},
        {BOOLEAN, {"false", "true"}},
        {MONEY_2, {"-92233720368547758.08", "-0.01", "0", "0.01", "92233720368547758.07"}},
        {MONEY, {"-1.5", "1.5"}},
        {DATE, {"1900-01-01 00:00:00", "1969-12-31 23:59:59", "1970-01-01 00:00:00", "2100-01-01 00:00:00"}},
        {TIME, {"00:00:00", "12:00:00", "23:59:59"}},
        {TIMESTAMP, {"1969-12-31 23:59:59.998", "1969-12-31 23:59:59.999", "1970-01-01 00:00:00.000"}},
        {BIGDATETIME, {"1969-12-31 23:59:59.999999", "1970-01-01 00:00:00.000000", "1970-01-01 00:00:00.000001"}},
        {d, {"-999999999999999999999999999999.9999", "-18446744073709551616", "-1", "-0.0001", "0",
             "0.0001", "18446744073709551615", "18446744073709551616", "999999999999999999999999999999.9999"}},
        {STRING, {"", "A", "AB", "B", "a"}},
        {BINARY, {"", "00", "0000", "01", "FF"}},
    };
}

// Packs a value from text into its own buffer (binaries and strings vary in size).
std::vector<unsigned char> pack(unsigned int word, const char* text) {
    std::vector<unsigned char> out(64);
    const char* error = nullptr;
    const unsigned long n = convertFromStringAndPack(word, false, text, out.data(), out.size(), error,
                                                     convtest::kPrintedDateFormat, nullptr, nullptr, nullptr);
    EXPECT_GE(static_cast<int>(n), 0) << text << ": " << (error ? error : "");
    return out;
}

DataValue i64Value(int64_t x) {
    DataValue v;
    v.isNull = false;
    v.int64Value = x;
    return v;
}

DataValue doubleValue(double x) {
    DataValue v;
    v.isNull = false;
    v.doubleValue = x;
    return v;
}

int sign(int x) { return (x > 0) - (x < 0); }

std::string hashBytes(DataValue& v, unsigned int word) {
    int size = -1;
    const void* p = getRawValueForHash(v, word, size);
    if (p == nullptr) return size == 0 ? std::string("<null>") : std::string("<null with size>");
    return std::string(static_cast<const char*>(p), static_cast<std::size_t>(size));
}

void freeOwned(unsigned int word, DataValue& v) {
    if (v.isNull) return;
    if (word == STRING) std::free(v.stringValue);
    if (word == BINARY) std::free(v.binaryValue.data);
}

TEST(Comparison, OrderEqualityAndHashAgreeOnEachType) {
    ASSERT_NE(std::setlocale(LC_COLLATE, "C"), nullptr);  // strcoll as strcmp
    for (const Ordered& t : orderedValues()) {
        const std::string type = typeToString(t.word);
        std::vector<std::vector<unsigned char>> packed;
        for (const char* s : t.texts) packed.push_back(pack(t.word, s));
        for (std::size_t i = 0; i < t.texts.size(); ++i) {
            // Two values made apart from the same text: equal, and hashed alike.
            DataValue a = convtest::valueOf(t.word, t.texts[i]);
            for (std::size_t j = 0; j < t.texts.size(); ++j) {
                DataValue b = convtest::valueOf(t.word, t.texts[j]);
                const std::string where = type + " " + t.texts[i] + " vs " + t.texts[j];
                const int expected = i < j ? -1 : (i > j ? 1 : 0);
                EXPECT_EQ(sign(lessThan(packed[i].data(), packed[j].data(), t.word)), expected) << where;
                EXPECT_EQ(equalValues(a, b, t.word), i == j) << where;
                if (i == j) EXPECT_EQ(hashBytes(a, t.word), hashBytes(b, t.word)) << where;
                else if (hashBytes(a, t.word) == hashBytes(b, t.word)) ADD_FAILURE() << where << ": same hash bytes";
                freeOwned(t.word, b);
            }
            freeOwned(t.word, a);
        }
    }
}

TEST(Comparison, NullsAreNeverEqualAndHashToNothing) {
    for (unsigned int word : {unsigned(INT16), unsigned(INTEGER), unsigned(LONG), unsigned(FLOAT), unsigned(STRING),
                              unsigned(BINARY), unsigned(BOOLEAN), unsigned(TIMESTAMP), unsigned(MONEY_3),
                              createFixedDecimal(5, 2)}) {
        DataValue a, b;  // NULL
        EXPECT_FALSE(equalValues(a, b, word)) << word;
        DataValue one = i64Value(1);
        EXPECT_FALSE(equalValues(a, one, word)) << word;
        EXPECT_FALSE(equalValues(one, a, word)) << word;
        int size = -1;
        EXPECT_EQ(getRawValueForHash(a, word, size), nullptr) << word;
        EXPECT_EQ(size, 0) << word;
    }
    unsigned char x[8] = {1};
    EXPECT_EQ(lessThan(nullptr, x, LONG), 0);
    EXPECT_EQ(lessThan(x, nullptr, LONG), 0);
}

TEST(Comparison, TypesWithoutValues) {
    DataValue a = i64Value(1), b = i64Value(1);
    unsigned char x[8] = {1}, y[8] = {2};
    for (unsigned int word : {6u, 9u, 31u, 255u}) {
        EXPECT_FALSE(equalValues(a, b, word)) << word;
        EXPECT_EQ(lessThan(x, y, word), 0) << word;
        int size = -1;
        EXPECT_EQ(getRawValueForHash(a, word, size), nullptr) << word;
        EXPECT_EQ(size, 0) << word;
    }
}

TEST(Comparison, FloatEdges) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    DataValue n1 = doubleValue(nan), n2 = doubleValue(nan);
    EXPECT_FALSE(equalValues(n1, n2, FLOAT));
    EXPECT_EQ(lessThan(reinterpret_cast<unsigned char*>(&n1), reinterpret_cast<unsigned char*>(&n2), FLOAT), 0);
    DataValue one = doubleValue(1.0);
    EXPECT_EQ(lessThan(reinterpret_cast<unsigned char*>(&n1), reinterpret_cast<unsigned char*>(&one), FLOAT), 0);

    // -0.0 == 0.0, but the hash takes the stored bytes, which differ.
    DataValue pz = doubleValue(0.0), nz = doubleValue(-0.0);
    EXPECT_TRUE(equalValues(pz, nz, FLOAT));
    EXPECT_NE(hashBytes(pz, FLOAT), hashBytes(nz, FLOAT));
    EXPECT_EQ(lessThan(reinterpret_cast<unsigned char*>(&pz), reinterpret_cast<unsigned char*>(&nz), FLOAT), 0);

    // No tolerance: values that print alike are still different.
    DataValue a = doubleValue(1.0), b = doubleValue(1.0 + 1e-12);
    EXPECT_FALSE(equalValues(a, b, FLOAT));
}

TEST(Comparison, DecimalsAtDifferentScalesDiffer) {
    DataValue a = convtest::valueOf(createFixedDecimal(10, 1), "1.0");
    DataValue b = convtest::valueOf(createFixedDecimal(10, 2), "1.00");
    EXPECT_FALSE(equalValues(a, b, FIXEDDECIMAL));
    EXPECT_NE(hashBytes(a, FIXEDDECIMAL), hashBytes(b, FIXEDDECIMAL));
}

TEST(Comparison, EmptyBinaries) {
    DataValue empty;
    empty.isNull = false;
    empty.binaryValue = {nullptr, 0};
    int size = -1;
    EXPECT_EQ(getRawValueForHash(empty, BINARY, size), nullptr);
    EXPECT_EQ(size, 0);
    unsigned char dataless[4] = {};
    DataValue other;
    other.isNull = false;
    other.binaryValue = {dataless, 0};
    EXPECT_TRUE(equalValues(empty, other, BINARY));
}

} // namespace
} // namespace DataTypes
