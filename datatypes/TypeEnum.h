// Type codes and the layout of the type word.
//
// A type word is an unsigned int: the TypeEnum value in bits 0..7, a fixed
// decimal's scale in bits 8..13 and its precision in bits 14..27; bits 28..31
// are always 0. Every type but FIXEDDECIMAL keeps its upper bits zero, so a
// whole word may be compared with a TypeEnum value.
#pragma once

namespace DataTypes {

// The numbers cross the host interface and the packed form: never renumber.
// 6 is what an unknown name or an unmapped SQL type gets; 9 is an unused gap.
enum TypeEnum : unsigned int {
    INT16 = 0,
    INTEGER = 1,
    LONG = 2,
    FLOAT = 3,
    DATE = 4,
    STRING = 5,
    UNKNOWN = 6,
    MONEY = 7,
    TIMESTAMP = 8,
    BOOLEAN = 10,
    MONEY_1 = 11,
    MONEY_2 = 12,
    MONEY_3 = 13,
    MONEY_4 = 14,
    MONEY_5 = 15,
    MONEY_6 = 16,
    MONEY_7 = 17,
    MONEY_8 = 18,
    MONEY_9 = 19,
    MONEY_10 = 20,
    MONEY_11 = 21,
    MONEY_12 = 22,
    MONEY_13 = 23,
    MONEY_14 = 24,
    MONEY_15 = 25,
    INTERVAL = 26,
    BIGDATETIME = 27,
    BINARY = 28,
    TIME = 29,
    FIXEDDECIMAL = 30,
};

// Number of TypeEnum values including the gaps (0..30).
constexpr unsigned int kTypeCount = 31;

constexpr unsigned int kTypeMask = 0xFF;             // word & kTypeMask: the TypeEnum value
constexpr unsigned int kScaleMask = 0x3F00;          // (word & kScaleMask) >> kScaleShift
constexpr unsigned int kScaleShift = 8;
constexpr unsigned int kPrecisionMask = 0xFFFC000;   // (word & kPrecisionMask) >> kPrecisionShift
constexpr unsigned int kPrecisionShift = 14;

constexpr unsigned int typeOf(unsigned int word) { return word & kTypeMask; }
constexpr unsigned int scaleOf(unsigned int word) { return (word & kScaleMask) >> kScaleShift; }
constexpr unsigned int precisionOf(unsigned int word) { return (word & kPrecisionMask) >> kPrecisionShift; }

// Largest precision (and scale) of a fixed decimal; the name tables stop there.
constexpr unsigned int kMaxDecimalPrecision = 34;

} // namespace DataTypes
