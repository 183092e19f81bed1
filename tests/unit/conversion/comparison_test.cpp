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
        {FLOAT, {"-1e300", "-1.5", "0", "1e-300", "1.5", "1e300"}},  // no tolerance: 0 and 1e-300 differ
        {BOOLEAN, {"false", "true"}},
        {MONEY_2, {"-92233720368547758.08", "-0.01", "0", "0.01", "92233720368547758.07"}},
        {MONEY, {"-1.5", "1.5"}},
        {DATE, {"1900-01-01 00:00:00", "1969-12-31 23:59:59", "1970-01-01 00:00:00", "2100-01-01 00:00:00"}},
        {TIME, {"00:00:00", "12:00:00", "23:59:59"}},
        {TIMESTAMP, {"1969-12-31 23:59:59.998", "1969-12-31 23:59:59.999", "1970-01-01 00:00:00.000"}},
        {BIGDATETIME, {"1969-12-31 23:59:59.999999", "1970-01-01 00:00:00.000000", "1970-01-01 00:00:00.000001"}},
        {d, {"-999999999999999999999999999999.9999", "-18446744073709551616", "-1", "-0.0001", "0",
             "0.0001", "922337203685477.5808", "18446744073709551615", "18446744073709551616", "999999999999999999999999999999.9999"}},
        {STRING, {"", "A", "AB", "B", "a"}},
        {BINARY, {"", "00", "0000", "01", "FF"}},
    };
}

DataValue number(int64_t x) {
    DataValue v;
    v.isNull = false;
    v.int64Value = x;
    return v;
}

DataValue real(double x) {
    DataValue v = number(0);
    v.doubleValue = x;
    return v;
}

std::string hashBytes(DataValue& v, unsigned int word) {
    int size = -1;
    const void* p = getRawValueForHash(v, word, size);
    if (p == nullptr) return "<null, size " + std::to_string(size) + ">";
    return std::string(static_cast<const char*>(p), static_cast<std::size_t>(size));
}

void freeOwned(unsigned int word, DataValue& v) {
    if (word == STRING) std::free(v.stringValue);
    if (word == BINARY) std::free(v.binaryValue.data);
}

TEST(Comparison, OrderEqualityAndHashAgreeOnEachType) {
    ASSERT_NE(std::setlocale(LC_COLLATE, "C"), nullptr);  // strcoll as strcmp
    for (const Ordered& t : orderedValues()) {
        const std::string type = typeToString(t.word);
        std::vector<std::vector<unsigned char>> packed;
        for (const char* text : t.texts) {
            packed.emplace_back(64);
            const char* error = nullptr;
            ASSERT_LE(convertFromStringAndPack(t.word, false, text, packed.back().data(), 64, error,
                                               convtest::kPrintedDateFormat, nullptr, nullptr, nullptr), 64u) << text;
        }
        for (std::size_t i = 0; i < t.texts.size(); ++i) {
            // Two values made apart from the same text: equal, and hashed alike.
            DataValue a = convtest::valueOf(t.word, t.texts[i]);
            for (std::size_t j = 0; j < t.texts.size(); ++j) {
                DataValue b = convtest::valueOf(t.word, t.texts[j]);
                const std::string where = type + " " + t.texts[i] + " vs " + t.texts[j];
                const int order = lessThan(packed[i].data(), packed[j].data(), t.word);
                EXPECT_EQ((order > 0) - (order < 0), i < j ? -1 : (i > j ? 1 : 0)) << where;
                EXPECT_EQ(equalValues(a, b, t.word), i == j) << where;
                EXPECT_EQ(hashBytes(a, t.word) == hashBytes(b, t.word), i == j) << where << ": hash bytes";
                freeOwned(t.word, b);
            }
            freeOwned(t.word, a);
        }
    }
}

// NULL values and the types without values: never equal, no hash bytes, order 0.
TEST(Comparison, NullsAndTypesWithoutValues) {
    unsigned char x[8] = {1}, y[8] = {2};
    DataValue null, one = number(1), alsoOne = number(1);
    for (unsigned int word : {unsigned(INT16), unsigned(FLOAT), unsigned(STRING), unsigned(BINARY), unsigned(MONEY_3),
                              createFixedDecimal(5, 2), 6u, 9u, 31u}) {
        const bool typed = word != 6 && word != 9 && word != 31;
        EXPECT_FALSE(equalValues(null, null, word)) << word;
        EXPECT_FALSE(equalValues(one, null, word)) << word;
        EXPECT_EQ(hashBytes(null, word), "<null, size 0>") << word;
        if (typed) continue;
        EXPECT_FALSE(equalValues(one, alsoOne, word)) << word;
        EXPECT_EQ(lessThan(x, y, word), 0) << word;
        EXPECT_EQ(hashBytes(one, word), "<null, size 0>") << word;
    }
    EXPECT_EQ(lessThan(nullptr, x, LONG), 0);
    EXPECT_EQ(lessThan(x, nullptr, LONG), 0);
}

TEST(Comparison, EdgesOfFloatsDecimalsAndBinaries) {
    DataValue n1 = real(std::numeric_limits<double>::quiet_NaN()), n2 = n1, one = real(1.0);
    auto bytes = [](DataValue& v) { return reinterpret_cast<unsigned char*>(&v); };
    EXPECT_FALSE(equalValues(n1, n2, FLOAT));
    EXPECT_EQ(lessThan(bytes(n1), bytes(n2), FLOAT), 0);
    EXPECT_EQ(lessThan(bytes(n1), bytes(one), FLOAT), 0);
    // -0.0 == 0.0, but the hash takes the stored bytes, which differ.
    DataValue pz = real(0.0), nz = real(-0.0);
    EXPECT_TRUE(equalValues(pz, nz, FLOAT));
    EXPECT_NE(hashBytes(pz, FLOAT), hashBytes(nz, FLOAT));

    // The same raw integer at another scale, or at another precision, is another value.
    DataValue a = convtest::valueOf(createFixedDecimal(10, 1), "1.0");
    for (unsigned int word : {createFixedDecimal(10, 2), createFixedDecimal(11, 1)}) {
        DataValue b = convtest::valueOf(word, word == createFixedDecimal(10, 2) ? "0.10" : "1.0");
        EXPECT_FALSE(equalValues(a, b, FIXEDDECIMAL)) << typeToString(word);
        EXPECT_NE(hashBytes(a, FIXEDDECIMAL), hashBytes(b, FIXEDDECIMAL)) << typeToString(word);
    }

    unsigned char dataless[4] = {};
    DataValue empty = number(0), other = number(0);
    empty.binaryValue = {nullptr, 0};
    other.binaryValue = {dataless, 0};
    EXPECT_EQ(hashBytes(empty, BINARY), "<null, size 0>");
    EXPECT_TRUE(equalValues(empty, other, BINARY));
}

} // namespace
} // namespace DataTypes
