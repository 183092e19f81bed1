// Decimal digits of 128-bit fixed decimals, four at a time.
#pragma once
#include <cstddef>
#include <cstdint>

namespace DataTypes {
namespace internal {

// Room for any text formatDecimal writes: 40 digits of a 128-bit magnitude,
// zeros up to a scale of 255 (the scale byte is not range-checked), the point,
// a leading zero, the sign and the NUL.
constexpr std::size_t kDecimalTextSize = 304;

// Writes the two's-complement (high, low) divided by 10^scale into `buf`
// (kDecimalTextSize bytes) and returns the text length. Trailing zeros of the
// fraction stay ("1.50", "0.00"); a fraction gets a "0" ahead of the point.
std::size_t formatDecimal(uint64_t high, uint64_t low, unsigned scale, char* buf);

} // namespace internal
} // namespace DataTypes
