// A fixed decimal: a 128-bit two's-complement integer scaled by 10^-scale,
// at most 34 digits. Stored high word first (not little-endian 128-bit order).
//
// The 128-bit value is always handled as a (high, low) pair of 64-bit words so
// that nothing depends on a compiler's 128-bit integer type. No function here
// throws or logs: each answers with its bool (true = success unless told
// otherwise) and leaves the wording of a failure to the caller.
#pragma once
#include <cstdint>

namespace DataTypes {

// A decimal128 value in its binary-integer encoding: w[0] the low word, w[1]
// the high word (sign, 14-bit biased exponent, top 49 coefficient bits).
struct BID_UINT128 {
    unsigned long long w[2];
};

// 10^k and ceil(2^128 / 10^k) for k = 1..38, each {low, high}. Entry 0 is
// {0, 0}: there is no entry for k = 0, which is what makes precision 0 overflow.
extern const unsigned long long powersOfTen[39][2];
extern const unsigned long long reciprocalPowersOfTen[39][2];

struct FixedDecimalValue {
    int64_t high;       // bytes 0..7: high word, carries the sign
    uint64_t low;       // bytes 8..15
    uint8_t scale;      // byte 16
    uint8_t precision;  // byte 17
    uint8_t spare[6];   // bytes 18..23: no meaning, copied along

    // Scale and precision as the one 16-bit field `precision << 8 | scale`.
    uint16_t precisionScale() const { return static_cast<uint16_t>(precision << 8 | scale); }
    void setPrecisionScale(int newPrecision, int newScale) {
        scale = static_cast<uint8_t>(newScale);
        precision = static_cast<uint8_t>(newPrecision);
    }

    bool isNegative() const { return high < 0; }

    // True if |value| is not below 10^precision. Precision 0 has no power in
    // the table and counts as 10^0 = 0, so at precision 0 every value, zero
    // included, overflows. Precisions above 38 never overflow.
    bool checkPrecisionOverflow() const;

    // Each stores precision and scale first, whatever follows, then the value
    // times 10^scale; false if that overflows 128 bits or the precision.
    bool setDecimalValue(int precision, int scale, long value);
    bool setDecimalValue(int precision, int scale, int value);
    // Rounds through "%0.*f" at `scale` places; |value| < 1e-6 becomes 0, and
    // values above 1e80, NaN and infinities fail.
    bool setDecimalValue(int precision, int scale, double value);
    // Lenient: digits past the scale are dropped, "." and "," both separate the
    // fraction, a trailing sign counts (and flips a leading one), junk after the
    // number is ignored together with the sign, and a text without digits is 0.
    bool setDecimalValue(int precision, int scale, const char* text);

    // The result types of the four operations. They change only `a` (shifted
    // so that raw integers can be combined, and given the new precision and
    // scale) and read `b`; the object they are called on plays no part. False
    // if the new precision exceeds 34 or the shift overflows; `a`'s precision
    // and scale then stay, though a failed shift leaves its magnitude behind.
    bool toAdditionResultType(FixedDecimalValue& a, FixedDecimalValue& b);
    bool toSubtractionResultType(FixedDecimalValue& a, FixedDecimalValue& b);
    bool toMultiplicationResultType(FixedDecimalValue& a, FixedDecimalValue& b);
    bool toDivisionResultType(FixedDecimalValue& a, FixedDecimalValue& b);

    // Shifts `a`'s integer to `b`'s scale; `a`'s scale field is not written.
    bool toSameScale(FixedDecimalValue& a, FixedDecimalValue& b);
    // Shifts the operand with the smaller scale up to the larger and returns
    // that scale, or -1 if the shift overflows. Neither scale field is written.
    static int toMaxScale(FixedDecimalValue& a, FixedDecimalValue& b);
};
static_assert(sizeof(FixedDecimalValue) == 24, "packed form of a fixed decimal is 24 bytes");

// Multiplies (high, low) by 10^count. Downward it truncates toward zero and
// below -38 gives 0. False if the product needs more than 128 bits; the pair
// then holds the magnitude, not the value, and must be regarded as spoiled.
// Bit 127 is not checked: a large positive result may read as negative.
bool decimal_shift(unsigned long long& high, unsigned long long& low, const int& count);

// value * 10^scale into the pair; what decimal_shift returned.
bool decimal_setFromInt64(unsigned long long& high, unsigned long long& low, long& value, int scale);
bool decimal_setFromInt(unsigned long long& high, unsigned long long& low, int& value, int scale);

// The truncated integer part. `out` gets the low word (32 bits for getInt)
// even when the result is false. decimal_getInt tests the high word's sign and
// not bit 31, so 2^31..2^32-1 pass and wrap negative.
bool decimal_getInt64(unsigned long long high, unsigned long long low, const int& scale, long& out);
bool decimal_getDate(unsigned long long high, unsigned long long low, const int& scale, long& out);
bool decimal_getInt(unsigned long long high, unsigned long long low, const int& scale, int& out);

// The integer as a double, multiplied (not divided) by the double nearest 10^-scale.
void decimal_getDouble(const unsigned long long& high, const unsigned long long& low, const int& scale,
                       double& out);

// Encodes value / 10^scale as decimal128 (coefficient |value|, exponent
// -scale, never the large-coefficient form). A negative pair is negated in
// place and stays so. False if |value| needs more than 113 bits or the
// exponent is out of the encoding's range.
bool toBID128(unsigned long long& high, unsigned long long& low, int scale, BID_UINT128& out);
// The signed coefficient of `in`; its exponent is ignored. Always true.
bool fromBID128(unsigned long long& high, unsigned long long& low, const BID_UINT128& in);

// Limb arithmetic: non-negative integers as 16-bit limbs, least significant first.
// Divides a[0..count) by `divisor` into count quotient limbs and the
// remainder. The fifth argument is unused. A zero divisor writes nothing and
// gives remainder 0.
void divmod1(const unsigned short* a, unsigned int count, unsigned short divisor, unsigned short* quotient,
             unsigned int, unsigned short& remainder);
// a * factor into out (room for count + 1 limbs); outCount is count, count + 1
// with a final carry, or 0 for an empty input.
void mul1(const unsigned short* a, unsigned int count, unsigned short factor, unsigned short* out,
          unsigned int& outCount);
// Knuth's division. `quotient` and `remainder` need room for aCount limbs.
// When b has a single limb quotientCount is not set: clear it beforehand.
// Leading zero limbs of b are ignored. False for a zero divisor.
bool longdivmod(const unsigned short* a, unsigned int aCount, const unsigned short* b, unsigned int bCount,
                unsigned short* quotient, unsigned int& quotientCount, unsigned short* remainder,
                unsigned int& remainderCount);
// Signed 128-bit division with a rounding of its own: the remainder takes
// the divisor's sign, and when the signs differ the quotient is
// -(|a| / |b| + 1) even for exact quotients (-6 / 3 = -3, -7 / 2 = -4 rem 1).
bool longdivmod128(unsigned long long aLow, unsigned long long aHigh, unsigned long long bLow,
                   unsigned long long bHigh, unsigned long long& quotientLow, unsigned long long& quotientHigh,
                   unsigned long long& remainderLow, unsigned long long& remainderHigh);

} // namespace DataTypes
