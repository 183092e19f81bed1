// convertToString and convertFromStringAndPack per type, each beside the C
// library call that does the nearest plain job (snprintf, strtoll, strtod,
// gmtime_r + snprintf, strptime + timegm). Inputs cycle through a table of
// 1024 values so one branch pattern does not flatter either side.
#include <benchmark/benchmark.h>

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "bench/RatioReporter.h"
#include "datatypes/DataTypes.h"

using namespace DataTypes;

namespace {

constexpr std::size_t kCount = 1024;
const char* const kDateFormat = "%Y-%m-%d %H:%M:%S";

struct Inputs {
    std::vector<int64_t> longs, money, millis;
    std::vector<std::string> integerTexts;
    std::vector<double> doubles;
    std::vector<FixedDecimalValue> decimals;
    std::vector<std::string> longTexts, doubleTexts, moneyTexts, decimalTexts, timestampTexts;
};

const unsigned int kDecimal = createFixedDecimal(34, 4);

const Inputs& inputs() {
    static const Inputs in = [] {
        Inputs r;
        std::mt19937_64 rng(42);
        char text[128];
        for (std::size_t i = 0; i < kCount; ++i) {
            const int64_t l = static_cast<int64_t>(rng()) >> (rng() % 60);
            r.longs.push_back(l);
            r.longTexts.push_back(std::to_string(l));
            r.integerTexts.push_back(std::to_string(static_cast<int32_t>(l)));

            const double d = std::ldexp(static_cast<double>(rng() % 1000000) - 500000, static_cast<int>(rng() % 40) - 20);
            r.doubles.push_back(d);
            std::snprintf(text, sizeof text, "%.17g", d);
            r.doubleTexts.push_back(text);

            const int64_t m = static_cast<int64_t>(rng() % 2000000000000ull) - 1000000000000ll;
            r.money.push_back(m);
            convertToString(MONEY_4, false, false, reinterpret_cast<unsigned char*>(const_cast<int64_t*>(&m)), text,
                            sizeof text);
            r.moneyTexts.push_back(text);

            // Decimals of 1 to 34 digits.
            std::string digits = std::to_string(rng() % 9 + 1);
            const std::size_t length = rng() % 34;
            while (digits.size() <= length) digits += static_cast<char>('0' + rng() % 10);
            if (rng() & 1) digits.insert(0, "-");
            if (digits.size() > 5) digits.insert(digits.size() - 4, ".");
            FixedDecimalValue v{};
            v.setDecimalValue(34, 4, digits.c_str());
            r.decimals.push_back(v);
            r.decimalTexts.push_back(digits);

            const int64_t ms = static_cast<int64_t>(rng() % 4102444800000ull) - 2208988800000ll;  // 1900..2100
            r.millis.push_back(ms);
            convertToString(TIMESTAMP, false, false, reinterpret_cast<unsigned char*>(const_cast<int64_t*>(&ms)), text,
                            sizeof text);
            r.timestampTexts.push_back(text);
        }
        setenv("TZ", "UTC", 1);
        tzset();
        return r;
    }();
    return in;
}

template <typename T>
void printOurs(benchmark::State& state, unsigned int word, const std::vector<T>& values) {
    char out[128];
    std::size_t i = 0;
    for (auto _ : state) {
        convertToString(word, false, false, reinterpret_cast<unsigned char*>(const_cast<T*>(&values[i++ % kCount])),
                        out, sizeof out);
        benchmark::DoNotOptimize(out);
    }
}

void parseOurs(benchmark::State& state, unsigned int word, const std::vector<std::string>& texts) {
    unsigned char out[32];
    const char* error = nullptr;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(convertFromStringAndPack(word, false, texts[i++ % kCount].c_str(), out, sizeof out,
                                                          error, kDateFormat, nullptr, nullptr, nullptr));
        benchmark::DoNotOptimize(out);
    }
}

// ---- integers ----
void BM_Long_ConvertToString(benchmark::State& s) { printOurs(s, LONG, inputs().longs); }
void BM_Long_Snprintf(benchmark::State& state) {
    const auto& v = inputs().longs;
    char out[128];
    std::size_t i = 0;
    for (auto _ : state) {
        std::snprintf(out, sizeof out, "%lld", static_cast<long long>(v[i++ % kCount]));
        benchmark::DoNotOptimize(out);
    }
}
void BM_Long_ConvertFromStringAndPack(benchmark::State& s) { parseOurs(s, LONG, inputs().longTexts); }
void BM_Long_Strtoll(benchmark::State& state) {
    const auto& t = inputs().longTexts;
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(std::strtoll(t[i++ % kCount].c_str(), nullptr, 10));
}

void BM_Integer_ConvertFromStringAndPack(benchmark::State& s) { parseOurs(s, INTEGER, inputs().integerTexts); }
void BM_Integer_Strtol(benchmark::State& state) {
    const auto& t = inputs().integerTexts;
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(std::strtol(t[i++ % kCount].c_str(), nullptr, 10));
}

// ---- doubles ----
void BM_Float_ConvertToString(benchmark::State& s) { printOurs(s, FLOAT, inputs().doubles); }
void BM_Float_Snprintf(benchmark::State& state) {
    const auto& v = inputs().doubles;
    char out[128];
    std::size_t i = 0;
    for (auto _ : state) {
        std::snprintf(out, sizeof out, "%0.*f", 6, v[i++ % kCount]);
        benchmark::DoNotOptimize(out);
    }
}
void BM_Float_ConvertFromStringAndPack(benchmark::State& s) { parseOurs(s, FLOAT, inputs().doubleTexts); }
void BM_Float_Strtod(benchmark::State& state) {
    const auto& t = inputs().doubleTexts;
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(std::strtod(t[i++ % kCount].c_str(), nullptr));
}

// ---- money (4 places) ----
void BM_Money_ConvertToString(benchmark::State& s) { printOurs(s, MONEY_4, inputs().money); }
void BM_Money_Snprintf(benchmark::State& state) {
    const auto& v = inputs().money;
    char out[128];
    std::size_t i = 0;
    for (auto _ : state) {
        const long long m = v[i++ % kCount];
        const long long a = m < 0 ? -m : m;
        std::snprintf(out, sizeof out, "%s%lld.%04lld", m < 0 ? "-" : "", a / 10000, a % 10000);
        benchmark::DoNotOptimize(out);
    }
}
void BM_Money_ConvertFromStringAndPack(benchmark::State& s) { parseOurs(s, MONEY_4, inputs().moneyTexts); }
void BM_Money_StrtollTwice(benchmark::State& state) {  // whole part and fraction, no checks
    const auto& t = inputs().moneyTexts;
    std::size_t i = 0;
    for (auto _ : state) {
        char* end = nullptr;
        const char* text = t[i++ % kCount].c_str();
        long long whole = std::strtoll(text, &end, 10);
        long long fraction = *end == '.' ? std::strtoll(end + 1, nullptr, 10) : 0;
        benchmark::DoNotOptimize(whole * 10000 + fraction);
    }
}

// ---- decimals, decimal(34,4) ----
void BM_Decimal_ConvertToString(benchmark::State& s) { printOurs(s, kDecimal, inputs().decimals); }
void BM_Decimal_SnprintfTwoWords(benchmark::State& state) {
    // The reference splits the magnitude at 10^19 with the compiler's 128-bit
    // division and prints both halves: the plain way without a digit table.
    const auto& v = inputs().decimals;
    char out[128];
    std::size_t i = 0;
    for (auto _ : state) {
        const FixedDecimalValue& d = v[i++ % kCount];
        __int128 x = static_cast<__int128>(static_cast<unsigned __int128>(static_cast<uint64_t>(d.high)) << 64 | d.low);
        const bool negative = x < 0;
        unsigned __int128 m = negative ? -static_cast<unsigned __int128>(x) : static_cast<unsigned __int128>(x);
        const unsigned long long lo = static_cast<unsigned long long>(m % 10000000000000000000ull);
        const unsigned long long hi = static_cast<unsigned long long>(m / 10000000000000000000ull);
        if (hi != 0) std::snprintf(out, sizeof out, "%s%llu%019llu", negative ? "-" : "", hi, lo);
        else std::snprintf(out, sizeof out, "%s%llu", negative ? "-" : "", lo);
        benchmark::DoNotOptimize(out);
    }
}
void BM_Decimal_ConvertFromStringAndPack(benchmark::State& s) { parseOurs(s, kDecimal, inputs().decimalTexts); }
void BM_Decimal_Strtod(benchmark::State& state) {  // the same texts, read as inexact doubles
    const auto& t = inputs().decimalTexts;
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(std::strtod(t[i++ % kCount].c_str(), nullptr));
}

// ---- timestamps ----
void BM_Timestamp_ConvertToString(benchmark::State& s) { printOurs(s, TIMESTAMP, inputs().millis); }
void BM_Timestamp_GmtimeSnprintf(benchmark::State& state) {
    const auto& v = inputs().millis;
    char out[128];
    std::size_t i = 0;
    for (auto _ : state) {
        const int64_t ms = v[i++ % kCount];
        const time_t seconds = static_cast<time_t>(ms / 1000 - (ms % 1000 < 0 ? 1 : 0));
        const int fraction = static_cast<int>(((ms % 1000) + 1000) % 1000);
        tm f;
        gmtime_r(&seconds, &f);
        std::snprintf(out, sizeof out, "%04d-%02d-%02d %02d:%02d:%02d.%03d", f.tm_year + 1900, f.tm_mon + 1,
                      f.tm_mday, f.tm_hour, f.tm_min, f.tm_sec, fraction);
        benchmark::DoNotOptimize(out);
    }
}
void BM_Timestamp_ConvertFromStringAndPack(benchmark::State& s) { parseOurs(s, TIMESTAMP, inputs().timestampTexts); }
void BM_Timestamp_StrptimeTimegm(benchmark::State& state) {
    const auto& t = inputs().timestampTexts;
    std::size_t i = 0;
    for (auto _ : state) {
        tm f{};
        const char* rest = ::strptime(t[i++ % kCount].c_str(), kDateFormat, &f);
        const long ms = rest && *rest == '.' ? std::strtol(rest + 1, nullptr, 10) : 0;
        benchmark::DoNotOptimize(static_cast<int64_t>(timegm(&f)) * 1000 + ms);
    }
}

} // namespace

BENCHMARK(BM_Long_ConvertToString);
BENCHMARK(BM_Long_Snprintf);
BENCHMARK(BM_Long_ConvertFromStringAndPack);
BENCHMARK(BM_Long_Strtoll);
BENCHMARK(BM_Integer_ConvertFromStringAndPack);
BENCHMARK(BM_Integer_Strtol);
BENCHMARK(BM_Float_ConvertToString);
BENCHMARK(BM_Float_Snprintf);
BENCHMARK(BM_Float_ConvertFromStringAndPack);
BENCHMARK(BM_Float_Strtod);
BENCHMARK(BM_Money_ConvertToString);
BENCHMARK(BM_Money_Snprintf);
BENCHMARK(BM_Money_ConvertFromStringAndPack);
BENCHMARK(BM_Money_StrtollTwice);
BENCHMARK(BM_Decimal_ConvertToString);
BENCHMARK(BM_Decimal_SnprintfTwoWords);
BENCHMARK(BM_Decimal_ConvertFromStringAndPack);
BENCHMARK(BM_Decimal_Strtod);
BENCHMARK(BM_Timestamp_ConvertToString);
BENCHMARK(BM_Timestamp_GmtimeSnprintf);
BENCHMARK(BM_Timestamp_ConvertFromStringAndPack);
BENCHMARK(BM_Timestamp_StrptimeTimegm);

int main(int argc, char** argv) {
    return benchratio::runWithRatios(argc, argv,
                                     {
                                         {"BM_Long_ConvertFromStringAndPack", "BM_Long_Strtoll", 1.1},
                                         {"BM_Integer_ConvertFromStringAndPack", "BM_Integer_Strtol", 1.1},
                                         {"BM_Timestamp_ConvertFromStringAndPack", "BM_Timestamp_StrptimeTimegm", 1.1},
                                     });
}
