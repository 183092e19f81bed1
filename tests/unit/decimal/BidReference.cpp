// The only file that sees the reference library's headers. The archive was
// built with the rounding mode and the status flags as arguments and results
// returned by value; the three macros below say so, and a mismatch shows as
// wrong words in the cross-check rather than at link time.
#define DECIMAL_CALL_BY_REFERENCE 0
#define DECIMAL_GLOBAL_ROUNDING 0
#define DECIMAL_GLOBAL_EXCEPTION_FLAGS 0
#include <bid_conf.h>
#include <bid_functions.h>

#include "BidReference.h"

namespace bidref {

bool fromString(const char* text, uint64_t out[2]) {
    _IDEC_flags flags = 0;
    BID_UINT128 value = bid128_from_string(const_cast<char*>(text), BID_ROUNDING_TO_NEAREST, &flags);
    out[0] = value.w[0];
    out[1] = value.w[1];
    return flags == 0;
}

std::string toString(const uint64_t in[2]) {
    BID_UINT128 value;
    value.w[0] = in[0];
    value.w[1] = in[1];
    _IDEC_flags flags = 0;
    char text[64] = {};
    bid128_to_string(text, value, &flags);
    return text;
}

} // namespace bidref
