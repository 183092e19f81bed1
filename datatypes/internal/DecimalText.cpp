#include "datatypes/internal/DecimalText.h"

#include <cstring>

#include "datatypes/StringConversion.h"
#include "datatypes/internal/DecimalWords.h"

namespace DataTypes {

namespace TolmTypes {

// Spelled out by the preprocessor so the table is plain static data.
#define ORL_D1(a, b, c) {a, b, c, '0'}, {a, b, c, '1'}, {a, b, c, '2'}, {a, b, c, '3'}, {a, b, c, '4'}, \
                        {a, b, c, '5'}, {a, b, c, '6'}, {a, b, c, '7'}, {a, b, c, '8'}, {a, b, c, '9'}
#define ORL_D2(a, b) ORL_D1(a, b, '0'), ORL_D1(a, b, '1'), ORL_D1(a, b, '2'), ORL_D1(a, b, '3'), \
                     ORL_D1(a, b, '4'), ORL_D1(a, b, '5'), ORL_D1(a, b, '6'), ORL_D1(a, b, '7'), \
                     ORL_D1(a, b, '8'), ORL_D1(a, b, '9')
#define ORL_D3(a) ORL_D2(a, '0'), ORL_D2(a, '1'), ORL_D2(a, '2'), ORL_D2(a, '3'), ORL_D2(a, '4'), \
                  ORL_D2(a, '5'), ORL_D2(a, '6'), ORL_D2(a, '7'), ORL_D2(a, '8'), ORL_D2(a, '9')

const char four2ascii[10000][4] = {
    ORL_D3('0'), ORL_D3('1'), ORL_D3('2'), ORL_D3('3'), ORL_D3('4'),
    ORL_D3('5'), ORL_D3('6'), ORL_D3('7'), ORL_D3('8'), ORL_D3('9'),
};

#undef ORL_D3
#undef ORL_D2
#undef ORL_D1

} // namespace TolmTypes

namespace internal {

namespace {

// 2^64 = kTwo64Quotient * 10000 + kTwo64Remainder.
constexpr uint64_t kTwo64Quotient = 1844674407370955ull;
constexpr uint64_t kTwo64Remainder = 1616;

// Divides (high, low) by 10000 in place and returns the remainder. The high
// word's remainder r contributes r * 2^64 = r * kTwo64Quotient * 10000 +
// r * 1616, so one step needs no 128-bit division.
unsigned divideBy10000(unsigned long long& high, unsigned long long& low) {
    const uint64_t r = high % 10000;
    high /= 10000;
    uint64_t quotient = r * kTwo64Quotient;  // r < 10000 keeps this below 2^64
    uint64_t rest = low + r * kTwo64Remainder;
    if (rest < low) {
        // The sum wrapped: the lost 2^64 is one more kTwo64Quotient and 1616.
        quotient += kTwo64Quotient;
        rest += kTwo64Remainder;
    }
    quotient += rest / 10000;
    low = quotient;
    return static_cast<unsigned>(rest % 10000);
}

} // namespace

std::size_t formatDecimal(uint64_t highWord, uint64_t lowWord, unsigned scale, char* buf) {
    unsigned long long high = highWord, low = lowWord;
    const bool negative = isNegativeWords(high);
    if (negative) negateWords(high, low);

    // Digits grow leftwards from the end of `digits`.
    char digits[kDecimalTextSize];
    char* const end = digits + sizeof digits;
    char* pos = end;
    while (high != 0) {
        pos -= 4;
        std::memcpy(pos, TolmTypes::four2ascii[divideBy10000(high, low)], 4);
    }
    while (low != 0) {
        pos -= 4;
        std::memcpy(pos, TolmTypes::four2ascii[low % 10000], 4);
        low /= 10000;
    }
    if (scale > 255) scale = 255;
    while (static_cast<unsigned>(end - pos) < scale) *--pos = '0';

    const char* intBegin = pos;
    const char* const intEnd = end - scale;
    while (intBegin < intEnd && *intBegin == '0') ++intBegin;

    char* o = buf;
    if (negative) *o++ = '-';
    if (intBegin == intEnd) {
        *o++ = '0';
    } else {
        std::memcpy(o, intBegin, static_cast<std::size_t>(intEnd - intBegin));
        o += intEnd - intBegin;
    }
    if (scale != 0) {
        *o++ = '.';
        std::memcpy(o, intEnd, scale);
        o += scale;
    }
    *o = '\0';
    return static_cast<std::size_t>(o - buf);
}

} // namespace internal
} // namespace DataTypes
