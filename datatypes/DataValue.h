// The in-memory form of a typed value. The type lives apart, in a type word;
// the struct is copied bit by bit and frees nothing itself.
#pragma once
#include <cstdint>

#include "datatypes/FixedDecimalValue.h"

namespace DataTypes {

struct BinaryValue {
    unsigned char* data;  // first byte; null or length 0 means empty
    uint32_t length;

    // Empty sorts first; otherwise memcmp over the shorter, then the shorter is smaller.
    int compare(const BinaryValue& other) const;
};

struct DataValue {
    union {
        int16_t int16Value;
        int32_t int32Value;
        int64_t int64Value;
        double doubleValue;
        bool boolValue;
        char* stringValue;
        BinaryValue binaryValue;
        FixedDecimalValue decimalValue;
    };
    bool isNull;

    DataValue() : decimalValue{0, 0, 0, 0, {0, 0, 0, 0, 0, 0}}, isNull(true) {}
};
static_assert(sizeof(DataValue) == 32, "24-byte union and the null flag");

} // namespace DataTypes
