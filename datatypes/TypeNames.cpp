// Type words to names and back.
#include <cstdlib>
#include <cstring>

#include "datatypes/DataTypes.h"

namespace DataTypes {

namespace {

struct TypeNames {
    const char* lower;        // typeToString
    const char* upper;        // typeToStringUpper
    const char* legacyLower;  // typeToLegacyString
    const char* legacyUpper;  // typeToLegacyStringUpper
    const char* typeConst;    // typeToTypeConstString
};

// Row 30 is a placeholder: fixed decimals take their names from decimalLower/Upper.
constexpr TypeNames kNames[kTypeCount] = {
    {"int16", "INT16", "int16", "INT16", "&intConst"},
    {"integer", "INTEGER", "int32", "INT32", "&intConst"},
    {"long", "LONG", "int64", "INT64", "&intConst"},
    {"float", "FLOAT", "double", "DOUBLE", "&floatConst"},
    {"date", "DATE", "date", "DATE", "&dateConst"},
    {"string", "STRING", "string", "STRING", "&stringConst"},
    {"N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"},
    {"money", "MONEY", "money", "MONEY", "&moneyConst"},
    {"timestamp", "TIMESTAMP", "timestamp", "TIMESTAMP", "&timestampConst"},
    {"N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"},
    {"boolean", "BOOLEAN", "boolean", "BOOLEAN", "&boolConst"},
    {"money(1)", "MONEY(1)", "money(1)", "MONEY(1)", "&moneyConst"},
    {"money(2)", "MONEY(2)", "money(2)", "MONEY(2)", "&moneyConst"},
    {"money(3)", "MONEY(3)", "money(3)", "MONEY(3)", "&moneyConst"},
    {"money(4)", "MONEY(4)", "money(4)", "MONEY(4)", "&moneyConst"},
    {"money(5)", "MONEY(5)", "money(5)", "MONEY(5)", "&moneyConst"},
    {"money(6)", "MONEY(6)", "money(6)", "MONEY(6)", "&moneyConst"},
    {"money(7)", "MONEY(7)", "money(7)", "MONEY(7)", "&moneyConst"},
    {"money(8)", "MONEY(8)", "money(8)", "MONEY(8)", "&moneyConst"},
    {"money(9)", "MONEY(9)", "money(9)", "MONEY(9)", "&moneyConst"},
    {"money(10)", "MONEY(10)", "money(10)", "MONEY(10)", "&moneyConst"},
    {"money(11)", "MONEY(11)", "money(11)", "MONEY(11)", "&moneyConst"},
    {"money(12)", "MONEY(12)", "money(12)", "MONEY(12)", "&moneyConst"},
    {"money(13)", "MONEY(13)", "money(13)", "MONEY(13)", "&moneyConst"},
    {"money(14)", "MONEY(14)", "money(14)", "MONEY(14)", "&moneyConst"},
    {"money(15)", "MONEY(15)", "money(15)", "MONEY(15)", "&moneyConst"},
    {"interval", "INTERVAL", "interval", "INTERVAL", "&intervalConst"},
    {"bigdatetime", "BIGDATETIME", "bigdatetime", "BIGDATETIME", "&bigdatetimeConst"},
    {"binary", "BINARY", "binary", "BINARY", "&binaryConst"},
    {"time", "TIME", "time", "TIME", "&timeConst"},
    {"", "", "", "", "&fixeddecimalConst"},
};

constexpr TypeNames kNoType = {"N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A"};

const TypeNames& namesOf(unsigned int word) {
    unsigned int type = typeOf(word);
    return type < kTypeCount ? kNames[type] : kNoType;
}

// A fixed decimal's name by the word's own precision and scale. Words with
// precision or scale beyond the tables have no name rather than a wild read.
const char* decimalName(const char* const* table, unsigned int word) {
    unsigned int precision = precisionOf(word);
    unsigned int scale = scaleOf(word);
    if (precision > kMaxDecimalPrecision || scale > kMaxDecimalPrecision) return "";
    return table[precision * (kMaxDecimalPrecision + 1) + scale];
}

// The order matters only in that it is the order the names were always tried in.
struct NamedType {
    const char* name;
    unsigned int word;
};
constexpr NamedType kNamedTypes[] = {
    {"boolean", BOOLEAN},   {"int16", INT16},        {"int32", INTEGER},      {"integer", INTEGER},
    {"int64", LONG},        {"long", LONG},          {"money", MONEY},        {"money(1)", MONEY_1},
    {"money(2)", MONEY_2},  {"money(3)", MONEY_3},   {"money(4)", MONEY_4},   {"money(5)", MONEY_5},
    {"money(6)", MONEY_6},  {"money(7)", MONEY_7},   {"money(8)", MONEY_8},   {"money(9)", MONEY_9},
    {"money(10)", MONEY_10}, {"money(11)", MONEY_11}, {"money(12)", MONEY_12}, {"money(13)", MONEY_13},
    {"money(14)", MONEY_14}, {"money(15)", MONEY_15}, {"interval", INTERVAL},  {"double", FLOAT},
    {"float", FLOAT},       {"time", TIME},          {"date", DATE},          {"timestamp", TIMESTAMP},
    {"bigdatetime", BIGDATETIME}, {"string", STRING}, {"binary", BINARY},
};

} // namespace

std::string typeToString(const unsigned int& word) {
    if (typeOf(word) == FIXEDDECIMAL) return decimalName(decimalLower, word);
    return namesOf(word).lower;
}

const char* typeToStringUpper(const unsigned int& word) {
    if (typeOf(word) == FIXEDDECIMAL) return decimalName(decimalUpper, word);
    return namesOf(word).upper;
}

std::string typeToLegacyString(const unsigned int& word) {
    if (typeOf(word) == FIXEDDECIMAL) return decimalName(decimalLower, word);
    return namesOf(word).legacyLower;
}

const char* typeToLegacyStringUpper(const unsigned int& word) {
    if (typeOf(word) == FIXEDDECIMAL) return decimalName(decimalUpper, word);
    return namesOf(word).legacyUpper;
}

std::string typeToTypeConstString(const unsigned int& word) { return namesOf(word).typeConst; }

unsigned int createFixedDecimal(int precision, int scale) {
    return FIXEDDECIMAL | (static_cast<unsigned int>(scale) & 63u) << kScaleShift |
           (static_cast<unsigned int>(precision) & 16383u) << kPrecisionShift;
}

unsigned int stringToType(const std::string& name) {
    for (const NamedType& t : kNamedTypes) {
        if (name == t.name) return t.word;
    }
    if (name.find("decimal") == std::string::npos) return UNKNOWN;

    // The fields are cut out with unsigned arithmetic on the search results, a
    // failed search counting as -1: a missing "(" starts the precision at the
    // front of the name, a missing or misplaced "," or ")" runs a field to the
    // end. Each field as cut ends at ",", ")" or the end of the name, none of
    // which strtol reads past, so reading in place gives what reading the cut
    // substring would, without allocating.
    const std::string::size_type open = name.find('(');
    const std::string::size_type comma = name.find(',');
    const char* text = name.c_str();
    long precision = std::strtol(text + (open + 1), nullptr, 10);
    long scale = std::strtol(text + (comma + 1), nullptr, 10);
    return createFixedDecimal(static_cast<int>(precision), static_cast<int>(scale));
}

} // namespace DataTypes
