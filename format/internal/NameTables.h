// Month, day and Roman month names shared by the printing and reading
// handlers: fixed 32-byte rows, one table per Case (Mixed, Upper, Lower).
#pragma once

namespace DataTypes {
namespace internal {

using NameRow = char[32];

// Indexed [Case][tm_mon] or [Case][tm_wday].
extern const NameRow g_monthNames[3][12];
extern const NameRow g_monthAbbrevs[3][12];
extern const NameRow g_romanMonths[3][12];
extern const NameRow g_dayNames[3][7];
extern const NameRow g_dayAbbrevs[3][7];

} // namespace internal
} // namespace DataTypes
