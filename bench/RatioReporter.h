// A console reporter that keeps the CPU time of each benchmark (the median
// when it is repeated) and prints, at the end, the ratio of each of ours to
// its reference from the same run, beside the ceiling we hold it to.
#pragma once
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace benchratio {

struct Pair {
    const char* ours;
    const char* reference;
    double ceiling;
};

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            const std::string name = run.run_name.function_name;
            if (run.run_type == Run::RT_Aggregate) {
                if (run.aggregate_name == "median") medians_[name] = run.GetAdjustedCPUTime();
            } else {
                singles_[name] = run.GetAdjustedCPUTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // Prints a line per pair that ran; returns how many ran above their ceiling.
    int printRatios(const std::vector<Pair>& pairs) {
        int over = 0;
        std::printf("\nCPU time against the reference in this run:\n");
        for (const Pair& p : pairs) {
            const double ours = timeOf(p.ours), reference = timeOf(p.reference);
            if (ours <= 0 || reference <= 0) continue;
            const double ratio = ours / reference;
            if (ratio > p.ceiling) ++over;
            std::printf("  %-40s / %-34s %6.3f (at most %.2f)%s\n", p.ours, p.reference, ratio, p.ceiling,
                        ratio > p.ceiling ? "  OVER" : "");
        }
        return over;
    }

private:
    double timeOf(const std::string& name) const {
        auto m = medians_.find(name);
        if (m != medians_.end()) return m->second;
        auto s = singles_.find(name);
        return s != singles_.end() ? s->second : 0.0;
    }

    std::map<std::string, double> medians_, singles_;
};

// main() of a benchmark program that ends with the ratios of `pairs`.
inline int runWithRatios(int argc, char** argv, const std::vector<Pair>& pairs) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios(pairs);
    benchmark::Shutdown();
    return 0;
}

} // namespace benchratio
