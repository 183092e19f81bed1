// Equality, ordering and hashing of values, consistent with each other:
// values that are equal hash alike, and lessThan orders each type's values
// (FLOAT NaN and -0.0, and STRING under a non-C collation aside).
#pragma once

#include "datatypes/DataValue.h"

namespace DataTypes {

// False when either value is NULL (two NULLs are not equal) and for
// UNKNOWN, 9 and low bytes above 30. FLOAT uses ==, so NaN is unequal to
// itself; decimals must share scale and precision to be equal.
bool equalValues(DataValue& a, DataValue& b, const unsigned int& type);

// A three-way comparison of two packed values, despite its name: below 0,
// 0 or above 0. Null pointers, UNKNOWN, 9 and low bytes above 30 give 0;
// FLOAT NaN against anything gives 0. STRING is strcoll, any magnitude.
// Decimals compare their raw integers, so both must have the same scale.
int lessThan(unsigned char* a, unsigned char* b, const unsigned int& type);

// The bytes to hash for `value` and their count in `size`; null with size 0
// for NULL, UNKNOWN, 9, above 30 and an empty BINARY. A decimal hashes all
// 24 bytes, so its spare bytes must be zero for equal values to hash alike.
const void* getRawValueForHash(DataValue& value, const unsigned int& type, int& size);

} // namespace DataTypes
