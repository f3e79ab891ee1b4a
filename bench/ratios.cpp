#include "ratios.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

/// Keeps the time per item of every repetition beside printing it.
class Reporter : public benchmark::ConsoleReporter {
  public:
    using Samples = std::map<std::string, std::vector<double>>;

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            const auto items = run.counters.find("items_per_second");
            const double seconds = items != run.counters.end()
                                       ? 1 / items->second.value
                                       : run.real_accumulated_time / static_cast<double>(run.iterations);
            samples[run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args) +
                    (run.run_name.threads.empty() ? "" : "/" + run.run_name.threads)]
                .push_back(seconds * 1e9);
        }
    }

    Samples samples;
};

/// What else the machine does only ever adds to a time, so the fastest repetition tells most about the work itself.
double fastest(const std::vector<double>& values) {
    return *std::min_element(values.begin(), values.end());
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// "row_fetch/dtk/10000" with side "sqlite": "row_fetch/sqlite/10000".
std::string with_side(const std::string& name, const std::string& side) {
    const auto from = name.find('/');
    const auto to = name.find('/', from + 1);
    return name.substr(0, from + 1) + side + (to == std::string::npos ? "" : name.substr(to));
}

void print(const Reporter::Samples& samples, const char* baseline) {
    std::printf("\n%-32s %12s %12s %8s %11s\n", "work", "ns per item", baseline, "ratio", "of medians");
    for (const auto& [name, values] : samples) {
        const auto base = samples.find(with_side(name, baseline));
        if (base == samples.end() || base->first == name) continue;
        const double mine = fastest(values);
        const double other = fastest(base->second);
        std::printf("%-32s %12.1f %12.1f %8.3f %11.3f\n", name.c_str(), mine, other, mine / other,
                    median(values) / median(base->second));
    }
}

} // namespace

int run_with_ratios(int argc, char** argv, const char* baseline) {
    // Repetitions of all sides take turns, so that what else the machine does meets all of them alike; many short ones,
    // so that some are undisturbed.
    std::vector<char*> arguments(argv, argv + argc);
    std::string repetitions = "--benchmark_repetitions=40";
    std::string shortest = "--benchmark_min_time=0.02";
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, {repetitions.data(), shortest.data(), interleaved.data()});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    print(reporter.samples, baseline);
    return 0;
}
