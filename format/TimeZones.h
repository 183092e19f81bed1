// Zone helpers of the mask conversions, through ICU. A zone is an ICU zone
// identifier; a null pointer (and for isValidTimezone an empty text) is UTC.
// Every call creates and deletes its own ICU zones: no cache, no shared state.
#pragma once

namespace DataTypes {

// Converts `microseconds` as read on the clock of zone `from` to the clock of
// zone `to`. Works in milliseconds: the last three digits of the input are
// lost. The daylight test of `from` looks at the moment less its raw offset
// only, so within a few hours of a change it may see the other side.
// `result` is always stored; false when a name is not ICU's own identifier
// (ICU's fallback zone was used) or ICU failed the daylight test.
bool toTimeZone(long microseconds, const char* from, const char* to, long& result);

// True for null, "" and a name that ICU gives back byte for byte as the
// identifier of the zone it creates: case differences and unknown names fail.
bool isValidTimezone(const char* zone);

} // namespace DataTypes
