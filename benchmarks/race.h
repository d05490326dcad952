#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

using Values = std::vector<double>;

/// Times the operation, which writes its results into `found`, once they are those expected, to 1e-9 of the largest.
template <class Operation>
void race(benchmark::State & state, Values const & expected, Values & found, Operation operation) {
    operation();
    double largest = 0.0, difference = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        largest = std::max(largest, std::fabs(expected[i]));
        difference = std::max(difference, std::fabs(expected[i] - found[i]));
    }
    if (found.size() != expected.size() || !(difference <= 1e-9 * largest)) {
        state.SkipWithError("the libraries disagree");
        return;
    }
    for (auto _ : state) {
        operation();
        benchmark::DoNotOptimize(found.data());
        benchmark::ClobberMemory();
    }
}
