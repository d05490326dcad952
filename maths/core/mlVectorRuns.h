#pragma once

#include "maths/core/mlRun.h"
#include "maths/core/mlVector.h"

// Vectors and slices as runs. For use inside the library.

inline mlDenseRun<double> ml_run(mlVector & v) { return {v.data()}; }
inline mlDenseRun<double const> ml_run(mlVector const & v) { return {v.data()}; }
inline mlStridedRun<double> ml_run(mlSlice & s) { return {s.data(), s.start(), s.stride()}; }
inline mlStridedRun<double const> ml_run(mlSlice const & s) { return {s.data(), s.start(), s.stride()}; }

/// x += factor y, the product rounded first.
struct mlAddMultiple {
    double factor;
    void operator()(double & x, double y) const { x += factor * y; }
};

/// In a checked build, stops when an operand has fewer elements than the operation reads.
inline void ml_check_length([[maybe_unused]] char const * operation, [[maybe_unused]] int wanted,
                            [[maybe_unused]] int given) {
    MATHS_CHECK(given >= wanted, "%s: %d elements wanted, %d given", operation, wanted, given);
}
