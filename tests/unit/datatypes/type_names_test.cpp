#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

TEST(TypeNames, SpellingsWhereTheyDiffer) {
    const struct { unsigned int word; const char *lower, *upper, *legacyLower, *legacyUpper, *typeConst; } cases[] = {
        {INTEGER, "integer", "INTEGER", "int32", "INT32", "&intConst"},
        {LONG, "long", "LONG", "int64", "INT64", "&intConst"},
        {FLOAT, "float", "FLOAT", "double", "DOUBLE", "&floatConst"},
        {UNKNOWN, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"},
        {9, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"},
        {255, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"},
        {MONEY_15, "money(15)", "MONEY(15)", "money(15)", "MONEY(15)", "&moneyConst"},
        {FIXEDDECIMAL, "decimal(0,0)", "DECIMAL(0,0)", "decimal(0,0)", "DECIMAL(0,0)", "&fixeddecimalConst"},
        {0x2821E, "decimal(10,2)", "DECIMAL(10,2)", "decimal(10,2)", "DECIMAL(10,2)", "&fixeddecimalConst"},
        // Scale above precision has an empty name; so has anything past the tables.
        {createFixedDecimal(2, 5), "", "", "", "", "&fixeddecimalConst"},
        {createFixedDecimal(40, 35), "", "", "", "", "&fixeddecimalConst"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "word 0x" << std::hex << c.word);
        EXPECT_EQ(typeToString(c.word), c.lower);
        EXPECT_STREQ(typeToStringUpper(c.word), c.upper);
        EXPECT_EQ(typeToLegacyString(c.word), c.legacyLower);
        EXPECT_STREQ(typeToLegacyStringUpper(c.word), c.legacyUpper);
        EXPECT_EQ(typeToTypeConstString(c.word), c.typeConst);
    }
}

// Every named type reads back from both of its lower-case names, and every
// decimal name is in the table at precision * 35 + scale.
TEST(TypeNames, EveryNameReadsBack) {
    for (unsigned int t = 0; t < kTypeCount; ++t) {
        if (t == UNKNOWN || t == 9) continue;
        EXPECT_EQ(stringToType(typeToString(t)), t) << t;
        EXPECT_EQ(stringToType(typeToLegacyString(t)), t) << t;
    }
    for (int p = 0; p <= 34; ++p) {
        for (int s = 0; s <= 34; ++s) {
            const char* lower = decimalLower[p * 35 + s];
            std::string upper = decimalUpper[p * 35 + s];
            for (char& ch : upper) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
            ASSERT_EQ(upper, lower) << p << "," << s;
            const std::string name = "decimal(" + std::to_string(p) + "," + std::to_string(s) + ")";
            ASSERT_EQ(lower, s > p ? "" : name);
            if (s > p) continue;
            unsigned int w = createFixedDecimal(p, s);
            ASSERT_EQ(typeToStringUpper(w), decimalUpper[p * 35 + s]);  // handed out, not copied
            ASSERT_EQ(stringToType(lower), w) << lower;
        }
    }
}

TEST(StringToType, Oddities) {
    const struct { const char* name; unsigned int word; } cases[] = {
        {"money(16)", UNKNOWN},
        // Case-sensitive, exact.
        {"INTEGER", UNKNOWN},
        {"DECIMAL(5,2)", UNKNOWN},
        {"", UNKNOWN},
        // Anything holding "decimal" is a fixed decimal, read without checks.
        {"decimal", FIXEDDECIMAL},
        {"decimal(5)", createFixedDecimal(5, 0)},
        {"xdecimal(5,2)", createFixedDecimal(5, 2)},
        {"decimal(5,2", createFixedDecimal(5, 2)},
        {"decimal( 12 , 3 )", createFixedDecimal(12, 3)},
        {"decimal(,3)", createFixedDecimal(0, 3)},
        {"decimal,4(9)", createFixedDecimal(9, 4)},
        {"9,4 decimal", createFixedDecimal(9, 4)},
        {"decimal(99,70)", createFixedDecimal(99, 70)},
        {"decimal(-1,2)", createFixedDecimal(-1, 2)},
    };
    for (const auto& c : cases) EXPECT_EQ(stringToType(c.name), c.word) << '"' << c.name << '"';
}

TEST(TypeWord, FixedDecimalFieldsAreMasked) {
    EXPECT_EQ(createFixedDecimal(10, 2), 0x2821Eu);
    EXPECT_EQ(createFixedDecimal(-1, -1), 0xFFFFF1Eu);
    EXPECT_EQ(createFixedDecimal(16384 + 5, 64 + 2), createFixedDecimal(5, 2));
}

// Classification and alignment by the low byte, upper bits ignored.
TEST(TypeWord, PredicatesAndAlignment) {
    std::string numeric, integer, date, alignment;
    for (unsigned int t = 0; t < 256; ++t) {
        unsigned int w = t | (createFixedDecimal(12, 4) & ~kTypeMask);
        if (numericType(w)) numeric += std::to_string(t) + " ";
        if (integerType(w)) integer += std::to_string(t) + " ";
        if (genericDateType(w)) date += std::to_string(t) + " ";
        if (t < 32) alignment += std::to_string(getAlignment(w)) + " ";
        EXPECT_EQ(getAlignmentMask(w), getAlignment(w) - 1) << t;
        EXPECT_EQ(getAlignment(w), t < kTypeCount && g_column_lengths[t] ? g_column_lengths[t] : 1) << t;
    }
    EXPECT_EQ(numeric, "0 1 2 3 4 6 7 8 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 29 30 ");
    EXPECT_EQ(integer, "0 1 2 6 10 ");
    EXPECT_EQ(date, "4 6 27 ");
    EXPECT_EQ(alignment, "2 4 8 8 8 1 1 8 8 1 1 8 8 8 8 8 8 8 8 8 8 8 8 8 8 8 8 8 1 8 24 1 ");
}

TEST(Settings, SettersAndMoney) {
    setDateSize(4);
    setDateSize(2);
    EXPECT_EQ(g_dateSize, 4u);
    setDateSize(8);

    EXPECT_EQ(getMoneyFactor(MONEY), 10000);
    setLegacyMoneyPrecision(19);
    EXPECT_EQ(g_legacyMoneyPrecision, 4u);
    setLegacyMoneyPrecision(18);
    EXPECT_EQ(getMoneyFactor(MONEY), 1000000000000000000L);
    setLegacyMoneyPrecision(0);
    EXPECT_EQ(getMoneyPrecision(MONEY), 0u);
    EXPECT_EQ(getMoneyFactor(MONEY), 1);
    setLegacyMoneyPrecision(4);
    EXPECT_EQ(getMoneyPrecision(MONEY_15), 15u);
    EXPECT_EQ(getMoneyFactor(MONEY_15), 1000000000000000L);
    EXPECT_EQ(getMoneyFactor(MONEY_1), 10);
    EXPECT_EQ(getMoneyPrecision(INTERVAL) + getMoneyPrecision(BOOLEAN), 0u);
    EXPECT_EQ(getMoneyFactor(INTERVAL) * getMoneyFactor(BOOLEAN), 1);

    EXPECT_EQ(g_tolerance, 0.000001);
    setDecimalSize(2);
    EXPECT_EQ(getDecimalSize(), 2u);
    EXPECT_EQ(g_tolerance, 0.01);
    setDecimalSize(23);  // the nearest double, not a product of tens off by an ulp
    EXPECT_EQ(g_tolerance, 1e-23);
    setDecimalSize(~0ul);  // unchecked
    EXPECT_EQ(g_tolerance, 0.0);
    setDecimalSize(6);
}

} // namespace
} // namespace DataTypes
