// Test-side helpers: the compiler's 128-bit integers serve as an independent
// reference for the word-pair arithmetic under test.
#pragma once
#include <cstdint>
#include <random>
#include <string>

#include "datatypes/FixedDecimalValue.h"

namespace decimaltest {

using i128 = __int128;
using u128 = unsigned __int128;

inline u128 pow10u(int k) {
    u128 v = 1;
    while (k-- > 0) v *= 10;
    return v;
}

inline i128 fromWords(unsigned long long high, unsigned long long low) {
    return static_cast<i128>(static_cast<u128>(high) << 64 | low);
}

inline void toWords(i128 v, unsigned long long& high, unsigned long long& low) {
    high = static_cast<unsigned long long>(static_cast<u128>(v) >> 64);
    low = static_cast<unsigned long long>(v);
}

inline i128 valueOf(const DataTypes::FixedDecimalValue& d) {
    return fromWords(static_cast<unsigned long long>(d.high), d.low);
}

inline std::string toString(i128 v) {
    u128 m = v < 0 ? -static_cast<u128>(v) : static_cast<u128>(v);
    std::string s;
    do s.insert(s.begin(), static_cast<char>('0' + static_cast<int>(m % 10)));
    while ((m /= 10) != 0);
    return v < 0 ? "-" + s : s;
}

// The decimal text of `v` at `scale` places: "-0.0042" for (-42, 4).
inline std::string decimalText(i128 v, int scale) {
    std::string digits = toString(v < 0 ? -v : v);
    if (scale > 0) {
        if (static_cast<int>(digits.size()) <= scale) digits.insert(0, scale + 1 - digits.size(), '0');
        digits.insert(digits.size() - scale, ".");
    }
    return (v < 0 ? "-" : "") + digits;
}

// A magnitude with a uniformly chosen number of digits, 1 to maxDigits.
inline u128 randomMagnitude(std::mt19937_64& rng, int maxDigits) {
    const int digits = static_cast<int>(rng() % maxDigits) + 1;
    return (static_cast<u128>(rng()) << 64 | rng()) % pow10u(digits);
}

} // namespace decimaltest
