// Word-pair arithmetic behind the fixed decimals. Products are built from
// 32-bit partial products so that no 128-bit integer type is needed.
#pragma once
#include <cstdint>

namespace DataTypes {
namespace internal {

// Two's-complement negation across both words.
inline void negateWords(unsigned long long& high, unsigned long long& low) {
    low = ~low + 1;
    high = ~high + (low == 0 ? 1 : 0);
}

inline bool isNegativeWords(unsigned long long high) { return (high >> 63) != 0; }

// a * b as (high, low).
inline void mulWords(uint64_t a, uint64_t b, uint64_t& high, uint64_t& low) {
    const uint64_t a0 = a & 0xFFFFFFFFu, a1 = a >> 32;
    const uint64_t b0 = b & 0xFFFFFFFFu, b1 = b >> 32;
    const uint64_t p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
    const uint64_t mid = (p00 >> 32) + (p01 & 0xFFFFFFFFu) + (p10 & 0xFFFFFFFFu);
    low = (p00 & 0xFFFFFFFFu) | (mid << 32);
    high = p11 + (p01 >> 32) + (p10 >> 32) + (mid >> 32);
}

// sum += x, returning the carry out.
inline uint64_t addWord(uint64_t& sum, uint64_t x) {
    sum += x;
    return sum < x ? 1 : 0;
}

// The full 256-bit product of two 128-bit numbers, out[0] least significant.
inline void mul128x128(uint64_t aHigh, uint64_t aLow, uint64_t bHigh, uint64_t bLow, uint64_t out[4]) {
    uint64_t h00, l00, h01, l01, h10, l10, h11, l11;
    mulWords(aLow, bLow, h00, l00);
    out[0] = l00;
    if ((aHigh | bHigh) == 0) {  // the common case: both fit one word
        out[1] = h00;
        out[2] = out[3] = 0;
        return;
    }
    mulWords(aLow, bHigh, h01, l01);
    mulWords(aHigh, bLow, h10, l10);
    mulWords(aHigh, bHigh, h11, l11);
    uint64_t w1 = h00;
    uint64_t c2 = addWord(w1, l01) + addWord(w1, l10);
    uint64_t w2 = l11;
    uint64_t c3 = addWord(w2, h01) + addWord(w2, h10) + addWord(w2, c2);
    out[1] = w1;
    out[2] = w2;
    out[3] = h11 + c3;
}

// The low 128 bits of a 128 x 128 product.
inline void mulLow128(uint64_t aHigh, uint64_t aLow, uint64_t bHigh, uint64_t bLow, uint64_t& high,
                      uint64_t& low) {
    uint64_t h;
    mulWords(aLow, bLow, h, low);
    high = h + aLow * bHigh + aHigh * bLow;
}

// (high, low) * 10 + digit, or false if the high word is past the point where
// the product could lose a bit.
inline bool mulTenAdd(unsigned long long& high, unsigned long long& low, unsigned digit) {
    if (high > 0x0CCCCCCCCCCCCCCCull) return false;
    uint64_t carry, newLow;
    mulWords(low, 10, carry, newLow);
    carry += addWord(newLow, digit);
    high = high * 10 + carry;
    low = newLow;
    return true;
}

} // namespace internal
} // namespace DataTypes
