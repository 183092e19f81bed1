// The type core: type words, their names, classification, packed sizes and
// the process-wide size settings. No ODBC in here, and nothing allocates but
// the std::string results of the name functions.
#pragma once
#include <cstdint>
#include <string>

#include "datatypes/TypeEnum.h"

namespace DataTypes {

// ---- Names -----------------------------------------------------------------
// A FIXEDDECIMAL word names itself "decimal(p,s)" from its own precision and
// scale (plain 30 is "decimal(0,0)"; scale above precision gives ""). Precision
// or scale above 34 has no name and gives "" as well. Any low byte outside the
// table gives "N/A" (lower-case forms) or "UNKNOWN" (upper-case forms).

std::string typeToString(const unsigned int& word);
// The pointer is to static text, valid for the life of the process.
const char* typeToStringUpper(const unsigned int& word);
// As typeToString, but INTEGER, LONG and FLOAT are "int32", "int64", "double".
std::string typeToLegacyString(const unsigned int& word);
const char* typeToLegacyStringUpper(const unsigned int& word);
// The host's constant name for the type ("&intConst", ...), or "N/A".
std::string typeToTypeConstString(const unsigned int& word);

// The type word for a lower-case name ("int32", "money(3)", "decimal(10,2)").
// Case-sensitive; an unknown name gives UNKNOWN (6). Any text that contains
// "decimal" is read as a fixed decimal without range checks.
unsigned int stringToType(const std::string& name);

// 30 | (scale & 63) << 8 | (precision & 16383) << 14; no range check.
unsigned int createFixedDecimal(int precision, int scale);

// ---- Classification ----------------------------------------------------------
// Kept as they always were, odd members included: UNKNOWN counts as numeric, as
// an integer and as a date; BOOLEAN counts as an integer.

// Neither STRING, BINARY nor the gap 9: every low byte 0..30 but 5, 9, 28.
bool numericType(const unsigned int& word);
// INT16, INTEGER, LONG, UNKNOWN, BOOLEAN.
bool integerType(const unsigned int& word);
// DATE, UNKNOWN, BIGDATETIME (not TIMESTAMP, not TIME).
bool genericDateType(const unsigned int& word);

// ---- Packed sizes and alignment ------------------------------------------------

// Fixed size in bytes of a packed value by TypeEnum value; 0 for STRING,
// BINARY, UNKNOWN and the gap.
extern const uint32_t g_column_lengths[kTypeCount];

// The column length, or 1 where it is 0. FIXEDDECIMAL gives 24, which is no
// power of two (its mask is 23): that is how the packed rows have always been laid out.
unsigned long getAlignment(const unsigned int& word);
unsigned int getAlignmentMask(const unsigned int& word);

// "decimal(p,s)" / "DECIMAL(p,s)" at [p * 35 + s] for 0 <= s <= p <= 34;
// every other entry is "". Static for the life of the process.
constexpr unsigned int kDecimalNameCount = (kMaxDecimalPrecision + 1) * (kMaxDecimalPrecision + 1);
extern const char* const decimalLower[kDecimalNameCount];
extern const char* const decimalUpper[kDecimalNameCount];

// ---- Process-wide size settings --------------------------------------------------
// Plain globals, unguarded: set them during configuration, before any thread
// converts values.

extern unsigned long g_dateSize;              // bytes of a DATE read by convertToString: 4 or 8
extern unsigned long g_timeSize;              // bytes of a TIME read by convertToString; no setter
extern unsigned long g_legacyMoneyPrecision;  // fraction digits of MONEY
extern long g_legacyMoneyFactor;              // 10 ^ g_legacyMoneyPrecision
extern unsigned long g_decimalSize;           // fraction digits of a printed FLOAT
extern double g_tolerance;                    // 10 ^ -g_decimalSize; smaller magnitudes print as 0

// Only 4 and 8 are taken; anything else is ignored.
void setDateSize(unsigned long size);
// n above 18 is ignored (10^18 is the largest factor that fits 64 bits).
void setLegacyMoneyPrecision(unsigned long n);
// Not range-checked.
void setDecimalSize(unsigned long n);
unsigned long getDecimalSize();

// Fraction digits of a money type: g_legacyMoneyPrecision for MONEY, n for
// MONEY_n, 0 for any other type.
unsigned long getMoneyPrecision(const unsigned int& word);
// 10 ^ getMoneyPrecision for money types (g_legacyMoneyFactor for MONEY), 1 otherwise.
long getMoneyFactor(const unsigned int& word);

} // namespace DataTypes

// Values, their packed form and binary hex text come with the type words.
#include "datatypes/BinaryHex.h"
#include "datatypes/DataValue.h"
#include "datatypes/FixedDecimalValue.h"
#include "datatypes/PackedValue.h"
// Text conversion, casting and comparison work on those.
#include "datatypes/Casting.h"
#include "datatypes/Comparison.h"
#include "datatypes/StringConversion.h"
