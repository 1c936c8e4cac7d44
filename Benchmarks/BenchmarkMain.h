#pragma once

#include <QCoreApplication>

#include <benchmark/benchmark.h>

/// Runs the benchmarks that the command line selects inside a QCoreApplication, which the engine's
/// script runs and coroutines need. Returns the program's exit status.
inline int runBenchmarks(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

/// Runs a benchmark at `n`, 2n and 4n and fits its complexity: the time must double, not quadruple,
/// with the size. For BENCHMARK(...)->Apply(doublingFrom<n>).
template<int64_t n> void doublingFrom(benchmark::internal::Benchmark *benchmark)
{
    benchmark->RangeMultiplier(2)->Range(n, 4 * n)->Unit(benchmark::kMillisecond)->Complexity();
}
