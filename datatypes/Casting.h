// How two types meet: fixed-decimal result types, the common type of two
// operands, and moving a value from one type to another in place.
#pragma once
#include <cstdint>

#include "datatypes/DataValue.h"

namespace DataTypes {

// Result codes of cast.
constexpr uint8_t kCastDone = 0;         // done, or nothing to do
constexpr uint8_t kCastOutOfRange = 5;   // the value does not fit the target

// The decimal word of a + b, a - b, a * b and a / b for decimal words `a` and
// `b`. `out` is written either way; false when its precision exceeds 34.
bool getFixedDecimalAdditionResultType(unsigned int& out, const unsigned int& a, const unsigned int& b);
bool getFixedDecimalSubtractionResultType(unsigned int& out, const unsigned int& a, const unsigned int& b);
bool getFixedDecimalMultiplicationResultType(unsigned int& out, const unsigned int& a, const unsigned int& b);
bool getFixedDecimalDivisionResultType(unsigned int& out, const unsigned int& a, const unsigned int& b);

// Replaces `word` by the smallest decimal that holds its type (INTEGER
// decimal(10,0), the 64-bit types decimal(19,0), money decimal(19,n),
// BOOLEAN decimal(1,0)); anything else, a decimal included, becomes plain 30.
unsigned int maximizeTypeToFixedDecimal(unsigned int& word);

// The strict rule for the operands of an expression: true when `a` and `b`
// can meet, with `a` then the common type. Not symmetric: BOOLEAN meets
// INT16 only when it comes first, and different money types never meet.
bool maximizeType(unsigned int& a, const unsigned int& b);

// The lenient rule for columns merged from several sources: `a` always
// becomes a type that both can be shown in (BINARY, then STRING win).
void maximizeAnyType(unsigned int& a, const unsigned int& b);

// Converts `value` from type `from` to type `to` in place. Returns
// kCastOutOfRange when the value does not fit, and leaves it unchanged then,
// except that a decimal target keeps its new precision on a precision
// overflow and money that does not fit a decimal becomes NULL. NULL values,
// strings, binaries, INT16 and unknown types are left alone with kCastDone.
// Moves between the time types scale their units; the others copy the raw
// number (LONG to TIMESTAMP keeps the count as it is).
uint8_t cast(DataValue* value, unsigned int from, unsigned int to);

} // namespace DataTypes
