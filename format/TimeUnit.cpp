#include "format/TimeUnit.h"

#include <cstring>

#include "format/internal/Digits.h"

namespace DataTypes {
namespace {

struct UnitRow {
    const char* name;
    long micros;
    long max;
    const char* words[3];
};

// Indexed by unit - MICROSECOND.
constexpr UnitRow kUnits[] = {
    {"MICROSECOND", 1L, 9223372036854775807L, {"MICROS", "MICROSECOND", "MICROSECONDS"}},
    {"MILLISECOND", 1000L, 9223372036854775L, {"MILLIS", "MILLISECOND", "MILLISECONDS"}},
    {"SECOND", 1000000L, 9223372036854L, {"SEC", "SECOND", "SECONDS"}},
    {"MINUTE", 60000000L, 153722867280L, {"MIN", "MINUTE", "MINUTES"}},
    {"HOUR", 3600000000L, 2562047788L, {"HR", "HOUR", "HOURS"}},
    {"DAY", 86400000000L, 106751991L, {"DAY", "DAYS", nullptr}},
};

const UnitRow* row(TimeUnit unit) {
    return (unit >= MICROSECOND && unit <= DAY) ? &kUnits[unit - MICROSECOND] : nullptr;
}

std::string text(long value) {
    char buf[internal::kDigitsBuffer];
    char* end = buf + sizeof buf;
    return std::string(internal::formatPadded(end, value, 0), end);
}

} // namespace

TimeUnit getTimeUnit(const char* word) {
    if (word == nullptr) return TIME_UNIT_NONE;
    for (int u = MICROSECOND; u <= DAY; ++u)
        for (const char* w : kUnits[u - MICROSECOND].words)
            if (w != nullptr && strcmp(w, word) == 0) return static_cast<TimeUnit>(u);
    return TIME_UNIT_UNKNOWN;
}

std::string getTimeUnitStr(TimeUnit unit) {
    try {
        const UnitRow* r = row(unit);
        return r != nullptr ? r->name : "UNKNOWN";
    } catch (...) {
        return std::string();
    }
}

int getSeconds(TimeUnit unit, int count) {
    if (count < 0) return -1;
    // The upper limits are where the product still fits 31 bits.
    switch (unit) {
    case MICROSECOND: return count <= 999999 ? -1 : count / 1000000;
    case MILLISECOND: return count <= 999 ? -1 : count / 1000;
    case SECOND: return count;
    case MINUTE: return count > 35791394 ? -1 : count * 60;
    case HOUR: return count > 596523 ? -1 : count * 3600;
    case DAY: return count > 24855 ? -1 : count * 86400;
    default: return -1;
    }
}

bool getMicroSeconds(TimeUnit unit, long count, long& result) {
    const UnitRow* r = row(unit);
    if (r == nullptr) return false;
    // The magnitude as unsigned: the lowest 64-bit count has one too.
    const unsigned long magnitude = count < 0 ? 0ul - static_cast<unsigned long>(count) : static_cast<unsigned long>(count);
    if (unit != MICROSECOND && magnitude > static_cast<unsigned long>(r->max)) return false;
    const unsigned long product = magnitude * static_cast<unsigned long>(r->micros);
    result = count < 0 ? static_cast<long>(0ul - product) : static_cast<long>(product);
    return true;
}

long getTimeUnitMax(TimeUnit unit) {
    const UnitRow* r = row(unit);
    return r != nullptr ? r->max : 0;
}

std::string getTimeUnitMaxStr(TimeUnit unit) {
    try {
        return text(getTimeUnitMax(unit));
    } catch (...) {
        return std::string();
    }
}

std::string getTimeUnitMinStr(TimeUnit unit) {
    try {
        return text(-getTimeUnitMax(unit));
    } catch (...) {
        return std::string();
    }
}

} // namespace DataTypes
