// Classification, packed sizes and the process-wide size settings.
#include "datatypes/DataTypes.h"

#include <cmath>

namespace DataTypes {

const uint32_t g_column_lengths[kTypeCount] = {
    2, 4, 8, 8, 8, 0, 0, 8, 8, 0,  //  0..9: INT16 .. the gap
    1,                             // 10: BOOLEAN
    8, 8, 8, 8, 8, 8, 8, 8, 8, 8,  // 11..20: MONEY_1 .. MONEY_10
    8, 8, 8, 8, 8,                 // 21..25: MONEY_11 .. MONEY_15
    8, 8, 0, 8, 24,                // 26..30: INTERVAL, BIGDATETIME, BINARY, TIME, FIXEDDECIMAL
};

namespace {

// The column lengths once more with a closing 0, as getAlignment has always read them.
constexpr uint32_t kAlignments[kTypeCount + 1] = {
    2, 4, 8, 8, 8, 0, 0, 8, 8, 0, 1, 8, 8, 8, 8, 8,
    8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 0, 8, 24, 0,
};

constexpr unsigned int kNumericMask = 0x6FFFFDDF;  // 0..30 but 5, 9, 28
constexpr unsigned int kIntegerMask = 0x447;       // 0, 1, 2, 6, 10
constexpr unsigned int kDateMask = 0x8000050;      // 4, 6, 27

bool inMask(unsigned int word, unsigned int last, unsigned int mask) {
    unsigned int type = typeOf(word);
    return type <= last && (mask >> type & 1u) != 0;
}

bool isNumberedMoney(unsigned int type) { return type >= MONEY_1 && type <= MONEY_15; }

} // namespace

bool numericType(const unsigned int& word) { return inMask(word, 30, kNumericMask); }
bool integerType(const unsigned int& word) { return inMask(word, 10, kIntegerMask); }
bool genericDateType(const unsigned int& word) { return inMask(word, 27, kDateMask); }

unsigned long getAlignment(const unsigned int& word) {
    unsigned int type = typeOf(word);
    // Low bytes past the table have no packed form; treat them like the gaps.
    uint32_t a = type < kTypeCount + 1 ? kAlignments[type] : 0;
    return a != 0 ? a : 1;
}

unsigned int getAlignmentMask(const unsigned int& word) {
    return static_cast<unsigned int>(getAlignment(word) - 1);
}

unsigned long g_dateSize = 8;
unsigned long g_timeSize = 8;
unsigned long g_legacyMoneyPrecision = 4;
long g_legacyMoneyFactor = 10000;
unsigned long g_decimalSize = 6;
double g_tolerance = 0.000001;

void setDateSize(unsigned long size) {
    if (size == 4 || size == 8) g_dateSize = size;
}

void setLegacyMoneyPrecision(unsigned long n) {
    if (n > 18) return;
    int64_t factor = 1;
    for (unsigned long i = 0; i < n; ++i) factor *= 10;
    g_legacyMoneyPrecision = n;
    g_legacyMoneyFactor = static_cast<long>(factor);
}

void setDecimalSize(unsigned long n) {
    g_decimalSize = n;
    // The double nearest 10^-n, which a running product of tens misses by an
    // ulp from n = 23 on. n is unchecked; far enough out the tolerance is 0.
    g_tolerance = std::pow(10.0, -static_cast<double>(n));
}

unsigned long getDecimalSize() { return g_decimalSize; }

unsigned long getMoneyPrecision(const unsigned int& word) {
    unsigned int type = typeOf(word);
    if (type == MONEY) return g_legacyMoneyPrecision;
    if (isNumberedMoney(type)) return type - 10;
    return 0;
}

long getMoneyFactor(const unsigned int& word) {
    unsigned int type = typeOf(word);
    if (type == MONEY) return g_legacyMoneyFactor;
    if (!isNumberedMoney(type)) return 1;
    long factor = 1;
    for (unsigned int i = 10; i < type; ++i) factor *= 10;
    return factor;
}

} // namespace DataTypes
