#include "format/TimeZones.h"

#include <cstdint>
#include <cstring>

#include "format/internal/IcuZone.h"

namespace DataTypes {

using internal::createZone;
using internal::zoneName;

bool isValidTimezone(const char* zone) {
    if (zone == nullptr || *zone == '\0') return true;
    try {
        internal::ZonePtr tz = createZone(zone);
        return tz != nullptr && internal::zoneId(*tz) == zone;
    } catch (...) {
        return false;
    }
}

bool toTimeZone(long microseconds, const char* from, const char* to, long& result) {
    internal::ZonePtr fromZone = createZone(from);
    internal::ZonePtr toZone = createZone(to);
    if (fromZone == nullptr || toZone == nullptr) return false; // out of memory: nothing to compute with
    bool bad = false;
    icu::UnicodeString id;
    if (from != nullptr && fromZone->getID(id) != zoneName(from)) bad = true;
    if (!bad && to != nullptr && toZone->getID(id) != zoneName(to)) bad = true;

    const int64_t m = microseconds / 1000;
    const int64_t r1 = fromZone->getRawOffset();
    const int64_t d1 = fromZone->getDSTSavings();
    int64_t u = m - r1;
    UErrorCode status = U_ZERO_ERROR;
    const bool fromDst = fromZone->inDaylightTime(static_cast<UDate>(u), status);
    if (U_FAILURE(status)) bad = true;
    if (fromDst) u = m - d1 - r1;

    const int64_t r2 = toZone->getRawOffset();
    const int64_t d2 = toZone->getDSTSavings();
    status = U_ZERO_ERROR;
    const bool toDst = toZone->inDaylightTime(static_cast<UDate>(u), status);
    if (U_FAILURE(status)) bad = true;
    if (toDst) u += d2;
    // Wrapping product: a count near the 64-bit ends must not be undefined.
    result = static_cast<long>(static_cast<uint64_t>(u + r2) * 1000u);
    return !bad;
}

} // namespace DataTypes
