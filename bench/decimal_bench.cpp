// Hot paths of decimal conversion: text parsing, rescaling and the decimal128
// encoding. The reference parser runs in the same executable
// (decimal_bench_reference.cpp) on the same texts.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/RatioReporter.h"
#include "datatypes/DataTypes.h"
#include "datatypes/FixedDecimalValue.h"
#include "decimal_bench_texts.h"

using DataTypes::FixedDecimalValue;

namespace {

const std::vector<FixedDecimalValue>& parsedValues() {
    static const std::vector<FixedDecimalValue> all = [] {
        std::vector<FixedDecimalValue> out;
        for (const auto& t : decimalbench::texts()) {
            FixedDecimalValue d{};
            d.setDecimalValue(34, t.scale, t.text.c_str());
            out.push_back(d);
        }
        return out;
    }();
    return all;
}

void BM_DecimalFromText(benchmark::State& state) {
    const auto& texts = decimalbench::texts();
    size_t i = 0;
    FixedDecimalValue d{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(d.setDecimalValue(34, texts[i].scale, texts[i].text.c_str()));
        benchmark::DoNotOptimize(d);
        i = (i + 1) % texts.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_DecimalFromText);

// The same texts through the type core's entry for text, as the drivers
// read decimals: the word carries precision and scale.
void BM_DecimalConvertFromString(benchmark::State& state) {
    const auto& texts = decimalbench::texts();
    std::vector<unsigned int> words;
    for (const auto& t : texts) words.push_back(DataTypes::createFixedDecimal(34, t.scale));
    size_t i = 0;
    DataTypes::DataValue v;
    const char* error = nullptr;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            DataTypes::convertFromString(words[i], texts[i].text.c_str(), v, error, nullptr, nullptr, nullptr, nullptr));
        benchmark::DoNotOptimize(v);
        i = (i + 1) % texts.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_DecimalConvertFromString);

void BM_ToBID128(benchmark::State& state) {
    const auto& values = parsedValues();
    size_t i = 0;
    DataTypes::BID_UINT128 out{};
    for (auto _ : state) {
        unsigned long long high = static_cast<unsigned long long>(values[i].high), low = values[i].low;
        benchmark::DoNotOptimize(DataTypes::toBID128(high, low, values[i].scale, out));
        benchmark::DoNotOptimize(out);
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ToBID128);

// Rescaling by the argument's count; downward counts go through the
// reciprocal table, upward ones through the 256-bit product.
void BM_DecimalShift(benchmark::State& state) {
    const auto& values = parsedValues();
    const int count = static_cast<int>(state.range(0));
    size_t i = 0;
    for (auto _ : state) {
        unsigned long long high = static_cast<unsigned long long>(values[i].high), low = values[i].low;
        benchmark::DoNotOptimize(DataTypes::decimal_shift(high, low, count));
        benchmark::DoNotOptimize(high);
        benchmark::DoNotOptimize(low);
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_DecimalShift)->Arg(2)->Arg(4)->Arg(-2)->Arg(-20)->Arg(-34);

} // namespace

int main(int argc, char** argv) {
    return benchratio::runWithRatios(
        argc, argv,
        {
            {"BM_DecimalConvertFromString", "BM_Reference_bid128_from_string", 1.0},
            {"BM_DecimalFromText", "BM_Reference_bid128_from_string", 1.0},
        });
}
