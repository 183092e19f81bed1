// Helpers shared by the conversion tests.
#pragma once
#include <string>

#include "datatypes/DataTypes.h"

namespace convtest {

// convertToString prints dates as "YYYY-MM-DD HH:MM:SS"; reading that back needs this format.
constexpr const char* kPrintedDateFormat = "%Y-%m-%d %H:%M:%S";

// A value of `word` read from text (printed date format); fails the test on error.
DataTypes::DataValue valueOf(unsigned int word, const char* text);
// convertToString of a value; "untouched" when nothing is printed.
std::string print(unsigned int word, DataTypes::DataValue& value);

// Money settings restored on scope exit.
struct LegacyMoneyPrecision {
    explicit LegacyMoneyPrecision(unsigned long n) : saved(DataTypes::g_legacyMoneyPrecision) {
        DataTypes::setLegacyMoneyPrecision(n);
    }
    ~LegacyMoneyPrecision() { DataTypes::setLegacyMoneyPrecision(saved); }
    unsigned long saved;
};

} // namespace convtest
