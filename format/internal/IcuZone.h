// Small owners of ICU zone objects: every zone made here is deleted on every
// way out, which the raw createTimeZone/delete pairs of the zone functions
// made easy to miss.
#pragma once
#include <memory>
#include <string>

#include <unicode/timezone.h>
#include <unicode/unistr.h>

namespace DataTypes {
namespace internal {

using ZonePtr = std::unique_ptr<icu::TimeZone>;

// The UnicodeString of a zone name as the caller wrote it (bytes taken as UTF-8).
icu::UnicodeString zoneName(const char* name);
// TimeZone::createTimeZone of `name`, or of "UTC" for a null pointer. ICU answers
// an unknown name with its fallback zone; null only when memory runs out.
ZonePtr createZone(const char* name);
std::string toUtf8(const icu::UnicodeString& text);
std::string zoneId(const icu::TimeZone& zone);

} // namespace internal
} // namespace DataTypes
