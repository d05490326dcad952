#pragma once

#include <cmath>
#include <map>
#include <type_traits>
#include <utility>

#include "maths/core/mlRandom.h"
#include "maths/sparse/mlSparseMatrix.h"
#include "maths/sparse/mlSparseSymMatrix.h"
#include "tests/support/grid.h"

// Sparse matrices for the tests of solvers.

/// By row and column, in the order in which a matrix takes them.
using Elements = std::map<std::pair<int, int>, double>;

/// Of order n. A symmetric one takes the elements on the diagonal and above it.
template <class Sparse> Sparse sparse(int n, Elements const & elements) {
    Sparse a(mlMatrixIdentity, n);
    a.clear(0);
    for (auto const & [at, value] : elements)
        if (std::is_same_v<Sparse, mlSparseMatrix> || at.first <= at.second) a.set(at.first, at.second, value);
    return a;
}

/// Of the elements that are not zero.
template <class Sparse> Sparse sparse(mlMatrix const & dense) {
    Elements elements;
    for (int k = 0; k < dense.rows() * dense.cols(); ++k)
        if (dense[k] != 0.0) elements[{k / dense.cols(), k % dense.cols()}] = dense[k];
    return sparse<Sparse>(dense.rows(), elements);
}

/// Each of n points coupled with some before it: a tree when it is one.
inline Edges random_edges(int n, int with, long seed) {
    mlRandom random(seed);
    Edges edges;
    for (int j = 1; j < n; ++j)
        for (int e = 0; e < with; ++e)
            edges.emplace_back(static_cast<int>(random.uniform() * j), j);
    return edges;
}

/// Symmetric: each pair coupled by value(), the diagonal above the sum of its row's other magnitudes by `held`.
template <class Value> Elements coupled(int n, Edges const & edges, double held, Value value) {
    Elements elements;
    for (int i = 0; i < n; ++i)
        elements[{i, i}] = held;
    for (auto const & [i, j] : edges) {
        double const v = value();
        for (auto const & at : {std::pair(i, j), std::pair(j, i)})
            elements[at] += v;
        for (int const k : {i, j})
            elements[{k, k}] += std::fabs(v);
    }
    return elements;
}
