#include "format/internal/IcuZone.h"

#include <unicode/stringpiece.h>

namespace DataTypes {
namespace internal {

icu::UnicodeString zoneName(const char* name) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(name != nullptr ? name : "UTC"));
}

ZonePtr createZone(const char* name) { return ZonePtr(icu::TimeZone::createTimeZone(zoneName(name))); }

std::string toUtf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

std::string zoneId(const icu::TimeZone& zone) {
    icu::UnicodeString id;
    zone.getID(id);
    return toUtf8(id);
}

} // namespace internal
} // namespace DataTypes
