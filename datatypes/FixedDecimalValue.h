// A fixed decimal: a 128-bit two's-complement integer scaled by 10^-scale,
// at most 34 digits. Stored high word first (not little-endian 128-bit order).
#pragma once
#include <cstdint>

namespace DataTypes {

struct FixedDecimalValue {
    int64_t high;       // bytes 0..7: high word, carries the sign
    uint64_t low;       // bytes 8..15
    uint8_t scale;      // byte 16
    uint8_t precision;  // byte 17
    uint8_t spare[6];   // bytes 18..23: no meaning, copied along
};
static_assert(sizeof(FixedDecimalValue) == 24, "packed form of a fixed decimal is 24 bytes");

} // namespace DataTypes
