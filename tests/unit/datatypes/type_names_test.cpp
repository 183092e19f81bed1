#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "datatypes/DataTypes.h"

namespace DataTypes {
namespace {

// ---- Names -------------------------------------------------------------------

struct NameCase {
    unsigned int word;
    const char* lower;
    const char* upper;
    const char* legacyLower;
    const char* legacyUpper;
    const char* typeConst;
};

void checkNames(const NameCase& c) {
    SCOPED_TRACE(testing::Message() << "word 0x" << std::hex << c.word);
    EXPECT_EQ(typeToString(c.word), c.lower);
    EXPECT_STREQ(typeToStringUpper(c.word), c.upper);
    EXPECT_EQ(typeToLegacyString(c.word), c.legacyLower);
    EXPECT_STREQ(typeToLegacyStringUpper(c.word), c.legacyUpper);
    EXPECT_EQ(typeToTypeConstString(c.word), c.typeConst);
}

TEST(TypeNames, SpellingsWhereTheyDiffer) {
    const NameCase cases[] = {
        {INTEGER, "integer", "INTEGER", "int32", "INT32", "&intConst"},
        {LONG, "long", "LONG", "int64", "INT64", "&intConst"},
        {FLOAT, "float", "FLOAT", "double", "DOUBLE", "&floatConst"},
        {UNKNOWN, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"},
        {9, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"},
        {31, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"},
        {255, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"},
        {MONEY_15, "money(15)", "MONEY(15)", "money(15)", "MONEY(15)", "&moneyConst"},
        {FIXEDDECIMAL, "decimal(0,0)", "DECIMAL(0,0)", "decimal(0,0)", "DECIMAL(0,0)", "&fixeddecimalConst"},
        {0x2821E, "decimal(10,2)", "DECIMAL(10,2)", "decimal(10,2)", "DECIMAL(10,2)", "&fixeddecimalConst"},
        {createFixedDecimal(34, 34), "decimal(34,34)", "DECIMAL(34,34)", "decimal(34,34)", "DECIMAL(34,34)",
         "&fixeddecimalConst"},
        // Scale above precision has an empty name; so has anything past the tables.
        {createFixedDecimal(2, 5), "", "", "", "", "&fixeddecimalConst"},
        {createFixedDecimal(35, 0), "", "", "", "", "&fixeddecimalConst"},
        {createFixedDecimal(40, 35), "", "", "", "", "&fixeddecimalConst"},
    };
    for (const NameCase& c : cases) checkNames(c);
}

// Every named type reads back from its lower-case name; only FLOAT's legacy
// name and the decimal forms need the second spelling.
TEST(TypeNames, EveryNameReadsBack) {
    for (unsigned int t = 0; t < kTypeCount; ++t) {
        if (t == UNKNOWN || t == 9) continue;
        SCOPED_TRACE(t);
        EXPECT_EQ(stringToType(typeToString(t)), t);
        EXPECT_EQ(stringToType(typeToLegacyString(t)), t);
        EXPECT_NE(typeToTypeConstString(t), "N/A");
    }
    for (int p = 0; p <= 34; ++p) {
        for (int s = 0; s <= p; ++s) {
            unsigned int w = createFixedDecimal(p, s);
            ASSERT_EQ(stringToType(typeToString(w)), w) << p << "," << s;
            std::string upper = typeToStringUpper(w);
            for (char& ch : upper) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
            ASSERT_EQ(upper, typeToString(w));
        }
    }
}

TEST(TypeNames, DecimalTablesAreIndexedByPrecisionThenScale) {
    EXPECT_STREQ(decimalLower[0], "decimal(0,0)");
    EXPECT_STREQ(decimalLower[10 * 35 + 2], "decimal(10,2)");
    EXPECT_STREQ(decimalUpper[34 * 35 + 34], "DECIMAL(34,34)");
    EXPECT_STREQ(decimalLower[1], "");
    EXPECT_STREQ(decimalUpper[2 * 35 + 5], "");
    int empty = 0;
    for (unsigned int i = 0; i < kDecimalNameCount; ++i) {
        ASSERT_NE(decimalLower[i], nullptr);
        ASSERT_NE(decimalUpper[i], nullptr);
        if (decimalLower[i][0] == '\0') ++empty;
    }
    EXPECT_EQ(empty, 1225 - 630);
    // The upper-case name is handed out as a pointer into the table.
    EXPECT_EQ(typeToStringUpper(createFixedDecimal(7, 3)), decimalUpper[7 * 35 + 3]);
}

// ---- stringToType ---------------------------------------------------------------

TEST(StringToType, Oddities) {
    struct Case {
        const char* name;
        unsigned int word;
    };
    const Case cases[] = {
        {"double", FLOAT},
        {"float", FLOAT},
        {"int32", INTEGER},
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
        {"decimal(5,2)", createFixedDecimal(5, 2)},
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
    for (const Case& c : cases) {
        EXPECT_EQ(stringToType(c.name), c.word) << '"' << c.name << '"';
    }
}

TEST(TypeWord, FixedDecimalLayout) {
    EXPECT_EQ(createFixedDecimal(10, 2), 0x2821Eu);
    unsigned int w = createFixedDecimal(16383, 63);
    EXPECT_EQ(typeOf(w), FIXEDDECIMAL);
    EXPECT_EQ(scaleOf(w), 63u);
    EXPECT_EQ(precisionOf(w), 16383u);
    EXPECT_EQ(w >> 28, 0u);
    EXPECT_EQ(createFixedDecimal(16384 + 5, 64 + 2), createFixedDecimal(5, 2));
    EXPECT_EQ(createFixedDecimal(-1, -1), createFixedDecimal(16383, 63));
}

// ---- Predicates --------------------------------------------------------------------

TEST(Predicates, MembersByLowByte) {
    std::string numeric, integer, date;
    for (unsigned int t = 0; t < 256; ++t) {
        // Upper bits are ignored, as for a fixed decimal's precision and scale.
        unsigned int w = t | (createFixedDecimal(12, 4) & ~kTypeMask);
        if (numericType(w)) numeric += std::to_string(t) + " ";
        if (integerType(w)) integer += std::to_string(t) + " ";
        if (genericDateType(w)) date += std::to_string(t) + " ";
    }
    EXPECT_EQ(numeric,
              "0 1 2 3 4 6 7 8 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 29 30 ");
    EXPECT_EQ(integer, "0 1 2 6 10 ");
    EXPECT_EQ(date, "4 6 27 ");
}

// ---- Sizes and alignment --------------------------------------------------------------

TEST(Alignment, FollowsColumnLengths) {
    for (unsigned int t = 0; t < kTypeCount; ++t) {
        SCOPED_TRACE(t);
        unsigned long expected = g_column_lengths[t] ? g_column_lengths[t] : 1;
        EXPECT_EQ(getAlignment(t), expected);
        EXPECT_EQ(getAlignmentMask(t), expected - 1);
    }
    EXPECT_EQ(getAlignment(createFixedDecimal(10, 2)), 24u);
    EXPECT_EQ(getAlignmentMask(FIXEDDECIMAL), 23u);
    EXPECT_EQ(getAlignment(31), 1u);
    EXPECT_EQ(getAlignment(200), 1u);
    EXPECT_EQ(g_column_lengths[STRING] + g_column_lengths[BINARY] + g_column_lengths[UNKNOWN] +
                  g_column_lengths[9],
              0u);
}

// ---- Settings -------------------------------------------------------------------------

class Settings : public testing::Test {
protected:
    void TearDown() override {
        setDateSize(8);
        setLegacyMoneyPrecision(4);
        setDecimalSize(6);
    }
};

TEST_F(Settings, DateSizeTakesOnlyFourOrEight) {
    EXPECT_EQ(g_dateSize, 8u);
    EXPECT_EQ(g_timeSize, 8u);
    setDateSize(4);
    EXPECT_EQ(g_dateSize, 4u);
    for (unsigned long bad : {0ul, 2ul, 5ul, 16ul}) {
        setDateSize(bad);
        EXPECT_EQ(g_dateSize, 4u) << bad;
    }
    setDateSize(8);
    EXPECT_EQ(g_dateSize, 8u);
}

TEST_F(Settings, LegacyMoney) {
    EXPECT_EQ(getMoneyPrecision(MONEY), 4u);
    EXPECT_EQ(getMoneyFactor(MONEY), 10000);
    setLegacyMoneyPrecision(19);
    EXPECT_EQ(g_legacyMoneyPrecision, 4u);
    EXPECT_EQ(g_legacyMoneyFactor, 10000);
    setLegacyMoneyPrecision(18);
    EXPECT_EQ(g_legacyMoneyFactor, 1000000000000000000L);
    setLegacyMoneyPrecision(0);
    EXPECT_EQ(getMoneyPrecision(MONEY), 0u);
    EXPECT_EQ(getMoneyFactor(MONEY), 1);
    // The numbered kinds don't follow the setting.
    EXPECT_EQ(getMoneyFactor(MONEY_4), 10000);
}

TEST(Money, PrecisionAndFactorByType) {
    long factor = 1;
    for (unsigned int t = MONEY_1; t <= MONEY_15; ++t) {
        factor *= 10;
        EXPECT_EQ(getMoneyPrecision(t), t - 10);
        EXPECT_EQ(getMoneyFactor(t), factor);
    }
    EXPECT_EQ(getMoneyFactor(MONEY_15), 1000000000000000L);
    for (unsigned int t : {0u, 6u, 8u, 10u, 26u, 30u, 255u}) {
        EXPECT_EQ(getMoneyPrecision(t), 0u) << t;
        EXPECT_EQ(getMoneyFactor(t), 1) << t;
    }
}

TEST_F(Settings, DecimalSizeSetsTolerance) {
    EXPECT_EQ(getDecimalSize(), 6u);
    EXPECT_EQ(g_tolerance, 0.000001);
    setDecimalSize(2);
    EXPECT_EQ(getDecimalSize(), 2u);
    EXPECT_EQ(g_tolerance, 0.01);
    setDecimalSize(0);
    EXPECT_EQ(g_tolerance, 1.0);
    setDecimalSize(400);
    EXPECT_EQ(g_tolerance, 0.0);
    setDecimalSize(~0ul);
    EXPECT_EQ(g_tolerance, 0.0);
}

} // namespace
} // namespace DataTypes
