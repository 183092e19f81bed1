// A narrow bridge to the reference decimal128 library. Raw words only cross
// it, in plain arrays with word 0 the low word, because the library's own
// BID_UINT128 must never meet ours in one translation unit.
#pragma once
#include <cstdint>
#include <string>

namespace bidref {

// Parses `text` with the reference parser (round to nearest); false if the
// reference raised any flag, that is the text was not exact.
bool fromString(const char* text, uint64_t out[2]);

// The reference's own text of a decimal128 value, e.g. "-100E-2".
std::string toString(const uint64_t in[2]);

} // namespace bidref
