// Number masks such as "S999,999.00" or "FM9.99EEEE", for the host. A mask
// that can't be applied, or a number that doesn't fit it, is answered not
// with an error but with a row of '#' one longer than the mask: callers take
// that text as the answer.
#pragma once
#include <cstdint>
#include <string>

namespace DataTypes {

// Prints `value` through `mask` into `out` (pass it empty).
void NumberToString(double value, const char* mask, std::string& out);

class NumericFormatParser {
public:
    // The mask is not kept here; ParseToString gets its own copy.
    NumericFormatParser(double value, std::string mask);

    // Appends the sign and digits to `out`; any failure replaces all of `out`
    // by BrokenHashString(). An empty mask, NaN and infinities are failures.
    void ParseToString(std::string mask, std::string& out);
    // '#' times the length of the mask given to ParseToString, plus one.
    std::string BrokenHashString();

private:
    bool Walk(size_t from, int64_t integerPlaces, int64_t fractionPlaces, std::string& out);
    bool Scientific(int64_t integerPlaces, int64_t fractionPlaces, std::string& out);

    double m_value;
    int64_t m_digitsPrinted = 0; // forced zeros count; the lone 0 of an all-blank number does not
    char m_previous = 0;         // mask character handled last
    std::string m_text;          // the number as the C format printed it
    std::string m_mask;          // upper case
};

} // namespace DataTypes
