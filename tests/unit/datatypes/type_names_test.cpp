#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

TEST(TypeNames, SpellingsWhereTheyDiffer) {
    struct Case {
        unsigned int word;
        const char *lower, *upper, *legacyLower, *legacyUpper, *typeConst;
    };
    const Case cases[] = {
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
    for (const Case& c : cases) {
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
    int named = 0;
    for (int p = 0; p <= 34; ++p) {
        for (int s = 0; s <= 34; ++s) {
            const char* lower = decimalLower[p * 35 + s];
            std::string upper = decimalUpper[p * 35 + s];
            for (char& ch : upper) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
            ASSERT_EQ(upper, lower) << p << "," << s;
            if (s > p) {
                ASSERT_STREQ(lower, "") << p << "," << s;
                continue;
            }
            ++named;
            unsigned int w = createFixedDecimal(p, s);
            ASSERT_EQ(typeToStringUpper(w), decimalUpper[p * 35 + s]);  // handed out, not copied
            ASSERT_EQ(stringToType(lower), w) << lower;
        }
    }
    EXPECT_EQ(named, 630);
    EXPECT_STREQ(decimalLower[34 * 35 + 34], "decimal(34,34)");
}

TEST(StringToType, Oddities) {
    struct Case {
        const char* name;
        unsigned int word;
    };
    const Case cases[] = {
        {"money(0)", UNKNOWN},
        {"money(16)", UNKNOWN},
        // Case-sensitive, exact.
        {"INTEGER", UNKNOWN},
        {"DECIMAL(5,2)", UNKNOWN},
        {"", UNKNOWN},
        {" int16", UNKNOWN},
        // Anything holding "decimal" is a fixed decimal, read without checks.
        {"decimal", FIXEDDECIMAL},
        {"decimal(5)", createFixedDecimal(5, 0)},
        {"xdecimal(5,2)", createFixedDecimal(5, 2)},
        {"decimal(5,2", createFixedDecimal(5, 2)},
        {"decimal(2,5)", createFixedDecimal(2, 5)},
        {"decimal( 12 , 3 )", createFixedDecimal(12, 3)},
        {"decimal(,3)", createFixedDecimal(0, 3)},
        {"(7,1) is a decimal", createFixedDecimal(7, 1)},
        {"decimal,4(9)", createFixedDecimal(9, 4)},
        {"9,4 decimal", createFixedDecimal(9, 4)},
        {"decimal(99,70)", createFixedDecimal(99, 70)},
        {"decimal(-1,2)", createFixedDecimal(-1, 2)},
    };
    for (const Case& c : cases) EXPECT_EQ(stringToType(c.name), c.word) << '"' << c.name << '"';
}

TEST(TypeWord, FixedDecimalFieldsAreMasked) {
    EXPECT_EQ(createFixedDecimal(10, 2), 0x2821Eu);
    unsigned int w = createFixedDecimal(-1, -1);
    EXPECT_EQ(w, 0xFFFFF1Eu);
    EXPECT_EQ(scaleOf(w), 63u);
    EXPECT_EQ(precisionOf(w), 16383u);
    EXPECT_EQ(createFixedDecimal(16384 + 5, 64 + 2), createFixedDecimal(5, 2));
}

TEST(Predicates, MembersByLowByte) {
    std::string numeric, integer, date;
    for (unsigned int t = 0; t < 256; ++t) {
        // Upper bits don't count, as for a fixed decimal's precision and scale.
        unsigned int w = t | (createFixedDecimal(12, 4) & ~kTypeMask);
        if (numericType(w)) numeric += std::to_string(t) + " ";
        if (integerType(w)) integer += std::to_string(t) + " ";
        if (genericDateType(w)) date += std::to_string(t) + " ";
    }
    EXPECT_EQ(numeric, "0 1 2 3 4 6 7 8 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 29 30 ");
    EXPECT_EQ(integer, "0 1 2 6 10 ");
    EXPECT_EQ(date, "4 6 27 ");
}

TEST(Alignment, FollowsColumnLengths) {
    for (unsigned int t = 0; t < 256; ++t) {
        unsigned long length = t < kTypeCount ? g_column_lengths[t] : 0;
        unsigned long expected = length ? length : 1;
        EXPECT_EQ(getAlignment(t), expected) << t;
        EXPECT_EQ(getAlignmentMask(t), expected - 1) << t;
    }
    EXPECT_EQ(getAlignmentMask(createFixedDecimal(10, 2)), 23u);
}

TEST(Settings, SettersAndMoney) {
    EXPECT_EQ(g_timeSize, 8u);
    setDateSize(4);
    setDateSize(2);
    EXPECT_EQ(g_dateSize, 4u);
    setDateSize(8);
    EXPECT_EQ(g_dateSize, 8u);

    EXPECT_EQ(getMoneyFactor(MONEY), 10000);
    setLegacyMoneyPrecision(19);
    EXPECT_EQ(g_legacyMoneyPrecision, 4u);
    setLegacyMoneyPrecision(18);
    EXPECT_EQ(getMoneyFactor(MONEY), 1000000000000000000L);
    setLegacyMoneyPrecision(0);
    EXPECT_EQ(getMoneyPrecision(MONEY), 0u);
    EXPECT_EQ(getMoneyFactor(MONEY), 1);
    setLegacyMoneyPrecision(4);

    long factor = 1;
    for (unsigned int t = MONEY_1; t <= MONEY_15; ++t) {
        factor *= 10;
        EXPECT_EQ(getMoneyPrecision(t), t - 10);
        EXPECT_EQ(getMoneyFactor(t), factor);
    }
    for (unsigned int t : {0u, 6u, 10u, 26u, 255u}) {
        EXPECT_EQ(getMoneyPrecision(t), 0u) << t;
        EXPECT_EQ(getMoneyFactor(t), 1) << t;
    }

    EXPECT_EQ(g_tolerance, 0.000001);
    setDecimalSize(2);
    EXPECT_EQ(getDecimalSize(), 2u);
    EXPECT_EQ(g_tolerance, 0.01);
    setDecimalSize(23);  // the nearest double, not a product of tens off by an ulp
    EXPECT_EQ(g_tolerance, 1e-23);
    setDecimalSize(~0ul);  // unchecked, but no endless loop
    EXPECT_EQ(g_tolerance, 0.0);
    setDecimalSize(6);
}

} // namespace
} // namespace DataTypes
