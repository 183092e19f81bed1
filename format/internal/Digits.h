// Digits written backwards into a caller's stack buffer, as printf's "%0*lld"
// would print them: the width counts the minus sign, zeros go between sign and
// digits, and a number wider than `width` is never cut.
#pragma once
#include <cstdint>

namespace DataTypes {
namespace internal {

// Room for any 64-bit number with its sign, at widths up to 24.
constexpr int kDigitsBuffer = 32;

// Writes `value` so that it ends just before `end`; returns its first character.
inline char* formatPadded(char* end, int64_t value, int width) {
    char* p = end;
    // The magnitude as unsigned, so the lowest 64-bit value has one too.
    uint64_t m = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
    do {
        *--p = static_cast<char>('0' + m % 10);
        m /= 10;
    } while (m != 0);
    const int sign = value < 0 ? 1 : 0;
    if (width > kDigitsBuffer - 2) width = kDigitsBuffer - 2;
    while (end - p + sign < width) *--p = '0';
    if (sign) *--p = '-';
    return p;
}

} // namespace internal
} // namespace DataTypes
