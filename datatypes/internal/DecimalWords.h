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
// Decimal magnitudes and the smaller powers of ten fit one word, so the
// products with a zero high word take the short way.
inline void mul128x128(uint64_t aHigh, uint64_t aLow, uint64_t bHigh, uint64_t bLow, uint64_t out[4]) {
    uint64_t h00, l00;
    mulWords(aLow, bLow, h00, l00);
    out[0] = l00;
    if (aHigh == 0 || bHigh == 0) {
        // One side is a single word w, the other (x1, x0): w*x0 + (w*x1 << 64).
        const uint64_t w = aHigh == 0 ? aLow : bLow;
        const uint64_t x1 = aHigh == 0 ? bHigh : aHigh;
        uint64_t h1, l1;
        mulWords(w, x1, h1, l1);
        uint64_t w1 = h00;
        const uint64_t c = addWord(w1, l1);
        out[1] = w1;
        out[2] = h1 + c;
        out[3] = 0;
        return;
    }
    uint64_t h01, l01, h10, l10, h11, l11;
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
// the product could lose a bit. Times ten is 8x + 2x: two shifts, no multiply.
inline bool mulTenAdd(unsigned long long& high, unsigned long long& low, unsigned digit) {
    if (high > 0x0CCCCCCCCCCCCCCCull) return false;
    const uint64_t times8 = low << 3;
    uint64_t newLow = times8;
    uint64_t carry = (low >> 61) + (low >> 63) + addWord(newLow, low << 1);
    carry += addWord(newLow, digit);
    high = high * 10 + carry;
    low = newLow;
    return true;
}

} // namespace internal
} // namespace DataTypes
