// Packed values: a value as plain bytes, as it sits inside a packed row.
//
// Sizes are those of g_column_lengths; a STRING is its text with the NUL, a
// BINARY a 4-byte big-endian length followed by the bytes. Scalars are in host
// order. A null pointer in place of the packed bytes stands for NULL.
#pragma once

#include "datatypes/DataValue.h"
#include "datatypes/TypeEnum.h"

namespace DataTypes {

// Unpacks one value by the low byte of the type. A null `packed` only sets
// isNull. Scalars are copied into the union (a narrower type leaves the upper
// bytes of the union as they were); STRING and BINARY point into `packed`,
// which must outlive the value. UNKNOWN, 9 and low bytes above 30 leave the
// union untouched.
//
// For a FIXEDDECIMAL word that carries a precision, the word's scale and
// precision replace those in the packed bytes; plain 30 keeps the packed ones.
void unpackValue(const unsigned int& word, unsigned char* packed, DataValue& value);
// As above, always keeping the scale and precision of the packed bytes.
void unpackValue(const TypeEnum& type, unsigned char* packed, DataValue& value);

// The big-endian length ahead of a packed BINARY; 0 for a null pointer.
unsigned int getLengthFromPackedBinary(const unsigned char* packed);

// Bytes the packed form of `value` takes: the column length, the text and its
// NUL for a STRING, 4 + length for a BINARY; 0 for NULL and for types without
// a packed form (UNKNOWN, 9, above 30).
unsigned long getPackedSize(const unsigned int& word, const DataValue& value);

// The reverse of unpackValue: writes the packed form of `value` at `out` and
// returns the bytes written, or 0 when it is NULL, has no packed form or does
// not fit in `size`. A FIXEDDECIMAL goes out with its own scale and precision.
unsigned long packValue(const unsigned int& word, const DataValue& value, unsigned char* out,
                        unsigned long size);

// Packs one value given as text at `out` (room `size`) and returns the bytes
// written, or 0 with `error` set; `error` is cleared first. A STRING is copied
// with its NUL; every other type goes through convertFromStringAndPack with
// the given formats (null ones take the defaults) and no byte swap. Despite
// the name nothing is appended: the caller moves on by the result.
unsigned long packAndAppendValue(unsigned char* out, unsigned long size, const char* text, const unsigned int& word,
                                 const char* dateFormat, const char* timestampFormat, const char* bigdatetimeFormat,
                                 const char* timeFormat, const char*& error);

// Writes the big-endian length ahead of a packed BINARY (4 bytes at `packed`).
void putLengthOfPackedBinary(unsigned char* packed, unsigned int length);

} // namespace DataTypes
