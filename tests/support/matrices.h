#pragma once

#include <algorithm>
#include <cmath>
#include <string>

#include "maths/core/mlMatrix.h"
#include "maths/core/mlRandom.h"

// The one place that makes the matrices of tests: kinds that are hard in different ways, reproducible from a seed.

enum class Kind {
    identity,
    random,
    graded_rows,
    graded_cols,
    nearly_singular,
    huge,
    zero_row,
    graded_300_decades,
    rank_two,
    repeated_values,
    near_overflow,
    near_underflow
};

/// Without the last five, which only decompositions for any rank and range can handle.
inline constexpr Kind all_kinds[] = {Kind::identity,        Kind::random, Kind::graded_rows, Kind::graded_cols,
                                     Kind::nearly_singular, Kind::huge,   Kind::zero_row};

inline std::string name_of(Kind kind) {
    static char const * const names[] = {
        "identity",           "random",   "graded_rows",     "graded_cols",   "nearly_singular", "huge", "zero_row",
        "graded_300_decades", "rank_two", "repeated_values", "near_overflow", "near_underflow"};
    return names[static_cast<int>(kind)];
}

/// m becomes rows x cols with elements uniform in [-1, 1).
inline void fill_random(mlMatrix & m, int rows, int cols, long seed) {
    mlRandom random(seed);
    m.become(rows, cols);
    for (double & x : m)
        x = random.uniform(-1.0, 1.0);
}

inline void fill_random(mlVector & v, int n, long seed) {
    mlRandom random(seed);
    v.clear(0);
    v.expand(n);
    for (double & x : v)
        x = random.uniform(-1.0, 1.0);
}

/// m becomes a rows x cols matrix of the given kind.
inline void make_matrix(mlMatrix & m, Kind kind, int rows, int cols, long seed = 1) {
    fill_random(m, rows, cols, seed);
    auto const each = [&](auto value) {
        for (int r = 0; r < rows; ++r) {
            for (int c = 0; c < cols; ++c)
                m(r, c) = value(r, c);
        }
    };
    double const row_steps = rows > 1 ? rows - 1 : 1;
    double const col_steps = cols > 1 ? cols - 1 : 1;
    switch (kind) {
    case Kind::identity: each([](int r, int c) { return r == c ? 1.0 : 0.0; }); break;
    case Kind::random: break;
    case Kind::graded_rows: each([&](int r, int c) { return m(r, c) * std::pow(10.0, -8 * r / row_steps); }); break;
    case Kind::graded_cols: each([&](int r, int c) { return m(r, c) * std::pow(10.0, -8 * c / col_steps); }); break;
    case Kind::nearly_singular: // the last row is the first one but for a speck
        each([&](int r, int c) { return r > 0 && r == rows - 1 ? m(0, c) + 1e-10 * m(r, c) : m(r, c); });
        break;
    case Kind::huge: each([&](int r, int c) { return m(r, c) * 1e150; }); break;
    case Kind::zero_row: each([&](int r, int c) { return r == rows / 2 ? 0.0 : m(r, c); }); break;
    case Kind::graded_300_decades:
        each([&](int r, int c) { return m(r, c) * std::pow(10.0, -150 * (r / row_steps + c / col_steps)); });
        break;
    case Kind::rank_two: // small integers, so that the rank is exact; column 2 is zero
        each([](int r, int c) { return (r % 3 - 1.0) * (c % 5 - 2.0) + (r % 7 - 3.0) * (c % 2); });
        break;
    case Kind::repeated_values: // a reflection 1 - 2 h h^T / h^T h: every singular value is 1, but for a border
        each([n = std::max(rows, cols)](int r, int c) { return (r == c ? 1.0 : 0.0) - 2.0 / n; });
        break;
    case Kind::near_overflow: each([&](int r, int c) { return m(r, c) * 1e305; }); break;
    case Kind::near_underflow: each([&](int r, int c) { return m(r, c) * 1e-290; }); break;
    }
}
