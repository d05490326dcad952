#include <benchmark/benchmark.h>

#include "benchmarks/ratio_reporter.h"

int main(int argc, char ** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

    RatioReporter reporter;
    std::size_t const count = benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return count == 0 || reporter.failed() ? 1 : 0;
}
