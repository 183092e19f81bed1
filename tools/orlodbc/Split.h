// How --jobs divides a source among its connections: ranges of an integer key.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "tools/orlodbc/Dialect.h"

namespace orlodbc {

// The key ranges of `jobs` jobs over [min, max]: entry i is the first key of
// job i; job i ends before entry i + 1, the last one at max.
std::vector<int64_t> splitRanges(int64_t min, int64_t max, int jobs);

// The WHERE conditions of the jobs over [min, max] of the key written as
// `quotedKey`. The first job takes everything below its end and the rows
// without a key, the last everything from its start, and each in between
// `>= start AND < end`: every row falls in exactly one range, whatever its
// value and however [min, max] was rounded (a decimal key's bounds are
// taken as integers).
std::vector<std::string> splitConditions(const std::string& quotedKey, int64_t min, int64_t max, int jobs);

// The query of the key's MIN and MAX over `source`, as integers: a decimal
// key's are cast (the ranges are open at both ends, so rounding moves no row out).
std::string boundsSql(DbKind db, const std::string& quotedKey, bool integer, const std::string& source);

// Whether a type word is a key the ranges can be taken over: an integer or
// a decimal (not a double, whose NaN falls outside every range on some databases).
bool splittable(unsigned int type);
bool integerKey(unsigned int type);

} // namespace orlodbc
