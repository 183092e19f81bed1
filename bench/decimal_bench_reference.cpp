// The reference decimal128 parser, timed in the same run as ours. It lives
// apart because its BID_UINT128 and ours share a name.
#define DECIMAL_CALL_BY_REFERENCE 0
#define DECIMAL_GLOBAL_ROUNDING 0
#define DECIMAL_GLOBAL_EXCEPTION_FLAGS 0
#include <bid_conf.h>
#include <bid_functions.h>

#include <benchmark/benchmark.h>

#include "decimal_bench_texts.h"

namespace {

void BM_Reference_bid128_from_string(benchmark::State& state) {
    const auto& texts = decimalbench::texts();
    size_t i = 0;
    for (auto _ : state) {
        _IDEC_flags flags = 0;
        BID_UINT128 value =
            bid128_from_string(const_cast<char*>(texts[i].text.c_str()), BID_ROUNDING_TO_NEAREST, &flags);
        benchmark::DoNotOptimize(value);
        i = (i + 1) % texts.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Reference_bid128_from_string);

} // namespace
