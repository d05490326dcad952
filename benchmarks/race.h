#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

using Values = std::vector<double>;

/// Times the operation, which writes its results into `found`, a vector or matrix of any library, once they are those
/// expected, to 1e-9 of the largest.
template <class Found, class Operation>
void race(benchmark::State & state, Values const & expected, Found & found, Operation operation) {
    operation();
    bool const complete = static_cast<std::size_t>(found.size()) == expected.size();
    double largest = 0.0, difference = 0.0;
    for (std::size_t i = 0; complete && i < expected.size(); ++i) {
        largest = std::max(largest, std::fabs(expected[i]));
        difference = std::max(difference, std::fabs(expected[i] - found.data()[i]));
    }
    if (!complete || !(difference <= 1e-9 * largest)) {
        state.SkipWithError("the libraries disagree");
        return;
    }
    for (auto _ : state) {
        operation();
        benchmark::DoNotOptimize(found.data());
        benchmark::ClobberMemory();
    }
}
