#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>
#include <vector>

#include "maths/core/mlMatrix.h"
#include "maths/core/mlRandom.h"

// The one place that makes the matrices of tests: kinds that are hard in different ways, reproducible from a seed.

/// What stands in row i, column j.
using Element = std::function<double(int i, int j)>;

inline Element uniform(double scale, long seed) {
    return [scale, random = mlRandom(seed)](int, int) mutable { return scale * random.uniform(-1.0, 1.0); };
}

inline Element one_of(std::vector<double> values, long seed) {
    return
        [values, random = mlRandom(seed)](int, int) mutable { return values[int(random.uniform() * values.size())]; };
}

inline mlMatrix matrix_of(int rows, int cols, Element const & element) {
    mlMatrix m(rows, cols);
    for (int k = 0; k < rows * cols; ++k)
        m[k] = element(k / cols, k % cols);
    return m;
}

/// Element (i, j) with i <= j is element(i, j).
inline mlMatrix symmetric_matrix(int n, Element const & element) {
    mlMatrix m(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; ++j)
            m(i, j) = m(j, i) = element(i, j);
    return m;
}

/// Elements uniform in [-1, 1).
inline mlMatrix random_matrix(int rows, int cols, long seed) { return matrix_of(rows, cols, uniform(1.0, seed)); }

inline void fill_random(mlMatrix & m, int rows, int cols, long seed) { m.become(random_matrix(rows, cols, seed)); }

inline void fill_random(mlVector & v, int n, long seed) {
    v.clear(0);
    v.become(utConvert, random_matrix(1, n, seed).data(), n);
}

/// Small integers, so that the rank is exact; column 2 is zero.
inline double rank_two(int i, int j) { return (i % 3 - 1.0) * (j % 5 - 2.0) + (i % 7 - 3.0) * (j % 2); }

/// Matrices of order n that are hard in different ways, with their names. The first five are regular.
inline std::vector<std::pair<char const *, Element>> families(int n, long seed = 1) {
    Element const x = uniform(1.0, seed);
    auto const graded = [=](double decades, int k) { return std::pow(10.0, -decades * k / std::max(n - 1, 1)); };
    return {
        {"identity", [](int i, int j) { return i == j; }},
        {"random", x},
        {"graded rows", [=](int i, int j) { return x(i, j) * graded(8, i); }},
        {"graded columns", [=](int i, int j) { return x(i, j) * graded(8, j); }},
        {"nearly of rank one", [=](int i, int j) { return 1.0 + 1e-7 * x(i, j); }},
        {"zero row", [=](int i, int j) { return i == n / 2 ? 0.0 : x(i, j); }},
        {"graded over 300 decades", [=](int i, int j) { return x(i, j) * graded(150, i + j); }},
        {"rank two", rank_two},
        {"reflection", [=](int i, int j) { return (i == j) - 2.0 / n; }}, // every value is 1, but for a border
        {"near overflow", uniform(1e305, seed)},
        {"near underflow", uniform(1e-290, seed)},
    };
}
