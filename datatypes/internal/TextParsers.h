// Readers of the accepted text of each scalar type. Each reads the whole
// text and either succeeds or sets `error` to the constant message of the
// conversions in; none skips blanks or other characters its type does not allow.
#pragma once
#include <cstdint>

namespace DataTypes {
namespace internal {

bool parseInt16(const char* text, int16_t& out, const char*& error);
bool parseInt32(const char* text, int32_t& out, const char*& error);
bool parseInt64(const char* text, int64_t& out, const char*& error);
bool parseInterval(const char* text, int64_t& out, const char*& error);
// strtod; a denormal result is accepted, an underflow to 0 or an overflow is not.
bool parseDouble(const char* text, double& out, const char*& error);
// "t", "true", "y", "yes", "on", "1" and "f", "false", "n", "no", "off", "0"
// in any case, with blanks ahead and behind (none behind t, f, y and n).
bool parseBoolean(const char* text, bool& out, const char*& error);
// Money of the type word `word`: its factor scales the whole part, the
// fraction is cut (not rounded) to the type's precision.
bool parseMoney(const char* text, unsigned int word, int64_t& out, const char*& error);

// DATE (isTime false) or TIME seconds by `format`.
bool parseDateSeconds(const char* text, const char* format, bool isTime, int64_t& out, const char*& error);
// TIMESTAMP (unit 1000) or BIGDATETIME (unit 1000000) by `format`.
bool parseTimestamp(const char* text, const char* format, int64_t& out, const char*& error);
bool parseBigdatetime(const char* text, const char* format, int64_t& out, const char*& error);

} // namespace internal
} // namespace DataTypes
