#pragma once

#include <benchmark/benchmark.h>

/// Runs what is no part of the work that is measured.
template <class Operation> void untimed(benchmark::State& state, Operation operation) {
    state.PauseTiming();
    operation();
    state.ResumeTiming();
}

/// Runs the registered benchmarks, interleaved and repeated, and prints behind Google Benchmark's own lines a table of
/// ratios. The name of a benchmark is "work/side" or "work/side/..."; every side of a work is compared with the
/// baseline's.
/// @return the exit status of the process
int run_with_ratios(int argc, char** argv, const char* baseline);
