// How --jobs divides a source among its connections: ranges of an integer key.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace orlodbc {

// The key ranges of `jobs` jobs over [min, max]: entry i is the first key of
// job i; job i ends before entry i + 1, the last one at max.
std::vector<int64_t> splitRanges(int64_t min, int64_t max, int jobs);

// The WHERE conditions of the jobs over [min, max] of the key written as
// `quotedKey`; rows without a key belong to the first job.
std::vector<std::string> splitConditions(const std::string& quotedKey, int64_t min, int64_t max, int jobs);

// Whether a type word is an integer the ranges can be taken over.
bool splittable(unsigned int type);

} // namespace orlodbc
