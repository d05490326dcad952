#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include "maths/core/mlMatrix.h"
#include "maths/core/mlRandom.h"

// The one place that makes the matrices of tests: kinds that are hard in different ways, reproducible from a seed.

enum class Kind {
    identity,
    random,
    graded_rows,
    graded_cols,
    nearly_singular,
    zero_row,
    graded_300_decades,
    rank_two,
    repeated_values,
    near_overflow,
    near_underflow
};

inline char const * name_of(Kind kind) {
    return std::array{
        "identity",    "random",   "graded rows",     "graded columns", "nearly singular", "zero row",
        "300 decades", "rank two", "repeated values", "near overflow",  "near underflow"}[static_cast<int>(kind)];
}

/// m becomes rows x cols with elements uniform in [-1, 1).
inline void fill_random(mlMatrix & m, int rows, int cols, long seed) {
    mlRandom random(seed);
    m.become(rows, cols);
    for (double & x : m)
        x = random.uniform(-1.0, 1.0);
}

inline mlMatrix random_matrix(int rows, int cols, long seed) {
    mlMatrix m;
    fill_random(m, rows, cols, seed);
    return m;
}

inline void fill_random(mlVector & v, int n, long seed) {
    v.clear(0);
    v.become(utConvert, random_matrix(1, n, seed).data(), n);
}

/// What stands in row i, column j.
using Element = std::function<double(int i, int j)>;

inline Element uniform(double scale, long seed) {
    return [scale, random = mlRandom(seed)](int, int) mutable { return scale * random.uniform(-1.0, 1.0); };
}

inline Element one_of(std::vector<double> values, long seed) {
    return
        [values, random = mlRandom(seed)](int, int) mutable { return values[int(random.uniform() * values.size())]; };
}

/// Element (i, j) with i <= j is element(i, j).
inline mlMatrix symmetric_matrix(int n, Element const & element) {
    mlMatrix m(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; ++j)
            m(i, j) = m(j, i) = element(i, j);
    return m;
}

inline mlMatrix matrix_of(Kind kind, int rows, int cols, long seed = 1) {
    mlMatrix m = random_matrix(rows, cols, seed);
    double const last_row = std::max(rows - 1, 1), last_col = std::max(cols - 1, 1);
    auto const element = [&](double x, int r, int c) {
        switch (kind) {
        case Kind::random: break;
        case Kind::identity: return r == c ? 1.0 : 0.0;
        case Kind::graded_rows: return x * std::pow(10.0, -8 * r / last_row);
        case Kind::graded_cols: return x * std::pow(10.0, -8 * c / last_col);
        case Kind::nearly_singular: // the last row is the first one but for a speck
            return r > 0 && r == rows - 1 ? m(0, c) + 1e-10 * x : x;
        case Kind::zero_row: return r == rows / 2 ? 0.0 : x;
        case Kind::graded_300_decades: return x * std::pow(10.0, -150 * (r / last_row + c / last_col));
        case Kind::rank_two: // small integers, so that the rank is exact; column 2 is zero
            return (r % 3 - 1.0) * (c % 5 - 2.0) + (r % 7 - 3.0) * (c % 2);
        case Kind::repeated_values: // a reflection 1 - 2 h h^T / h^T h: every value is 1, but for a border
            return (r == c ? 1.0 : 0.0) - 2.0 / std::max(rows, cols);
        case Kind::near_overflow: return x * 1e305;
        case Kind::near_underflow: return x * 1e-290;
        }
        return x;
    };
    for (int k = 0; k < rows * cols; ++k)
        m[k] = element(m[k], k / cols, k % cols);
    return m;
}
