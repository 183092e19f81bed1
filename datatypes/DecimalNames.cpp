// The names of all fixed-decimal types, "decimal(0,0)" to "decimal(34,34)".
// Built at compile time, so the tables are constant data before any static
// constructor runs and typeToStringUpper can hand out the pointers.
#include "datatypes/DataTypes.h"

namespace DataTypes {

namespace {

constexpr unsigned int kSide = kMaxDecimalPrecision + 1;

// "decimal(34,34)" plus the terminator is 15 bytes.
struct DecimalNameText {
    char text[kDecimalNameCount][16];
    constexpr const char* at(unsigned int i) const { return text[i]; }
};

constexpr char* putNumber(char* out, unsigned int n) {
    if (n >= 10) *out++ = static_cast<char>('0' + n / 10);
    *out++ = static_cast<char>('0' + n % 10);
    return out;
}

constexpr DecimalNameText buildDecimalNames(const char (&word)[8]) {
    DecimalNameText t{};
    for (unsigned int p = 0; p < kSide; ++p) {
        for (unsigned int s = 0; s <= p; ++s) {
            char* out = t.text[p * kSide + s];
            for (unsigned int i = 0; i < 7; ++i) *out++ = word[i];
            *out++ = '(';
            out = putNumber(out, p);
            *out++ = ',';
            out = putNumber(out, s);
            *out++ = ')';
            // The rest of the row is already zero; rows with s > p stay "".
        }
    }
    return t;
}

constexpr DecimalNameText kLowerText = buildDecimalNames("decimal");
constexpr DecimalNameText kUpperText = buildDecimalNames("DECIMAL");

} // namespace

// One initializer per entry, i from 0 to 1224, spelled out by the preprocessor
// so the pointer arrays are constant-initialised too.
#define ORL_DN_7(T, b) T.at(b), T.at(b + 1), T.at(b + 2), T.at(b + 3), T.at(b + 4), T.at(b + 5), T.at(b + 6)
#define ORL_DN_35(T, b) ORL_DN_7(T, b), ORL_DN_7(T, b + 7), ORL_DN_7(T, b + 14), ORL_DN_7(T, b + 21), ORL_DN_7(T, b + 28)
#define ORL_DN_245(T, b) \
    ORL_DN_35(T, b), ORL_DN_35(T, b + 35), ORL_DN_35(T, b + 70), ORL_DN_35(T, b + 105), \
    ORL_DN_35(T, b + 140), ORL_DN_35(T, b + 175), ORL_DN_35(T, b + 210)
#define ORL_DN_1225(T) \
    ORL_DN_245(T, 0), ORL_DN_245(T, 245), ORL_DN_245(T, 490), ORL_DN_245(T, 735), ORL_DN_245(T, 980)

const char* const decimalLower[kDecimalNameCount] = {ORL_DN_1225(kLowerText)};
const char* const decimalUpper[kDecimalNameCount] = {ORL_DN_1225(kUpperText)};

#undef ORL_DN_1225
#undef ORL_DN_245
#undef ORL_DN_35
#undef ORL_DN_7

static_assert(kDecimalNameCount == 1225, "35 x 35 entries");

} // namespace DataTypes
