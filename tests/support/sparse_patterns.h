#pragma once

#include <cmath>
#include <initializer_list>
#include <map>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "maths/core/mlRandom.h"
#include "maths/sparse/mlSparseMatrix.h"
#include "maths/sparse/mlSparseSymMatrix.h"
#include "tests/support/bits.h"
#include "tests/support/grid.h"
#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/values.h"

// Sparse matrices for the tests of solvers, and what the tests of factorisations have in common.

/// By row and column, in the order in which a matrix takes them.
using Elements = std::map<std::pair<int, int>, double>;

inline mlSparseMatrix general_matrix(int n, Elements const & elements) {
    mlSparseMatrix a(mlMatrixZero, n, n);
    for (auto const & [at, value] : elements)
        a.set(at.first, at.second, value);
    return a;
}

/// Of the elements on the diagonal and above it.
inline mlSparseSymMatrix symmetric_matrix(int n, Elements const & elements) {
    mlSparseSymMatrix a(mlMatrixZero, n);
    for (auto const & [at, value] : elements)
        if (at.first <= at.second) a.set(at.first, at.second, value);
    return a;
}

/// Of a square matrix those that are not zero.
inline Elements elements_of(mlMatrix const & dense) {
    Elements elements;
    for (int k = 0; k < dense.rows() * dense.cols(); ++k)
        if (dense[k] != 0.0) elements[{k / dense.cols(), k % dense.cols()}] = dense[k];
    return elements;
}

inline mlSparseMatrix general_matrix(mlMatrix const & dense) {
    return general_matrix(dense.rows(), elements_of(dense));
}

inline mlSparseSymMatrix symmetric_matrix(mlMatrix const & dense) {
    return symmetric_matrix(dense.rows(), elements_of(dense));
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

/// Neighbours in a line, coupled by -1. Without being held it is singular.
inline Elements chain(int n, double held) {
    return coupled(n, grid(n, 1, 1), held, [] { return -1.0; });
}

/// Every form of `solve`, in place too, has the bits of the plain one for a column. Returns the ratio of the errors.
template <class Factors, class Plain>
double solve_in_every_form(Factors const & factors, Plain const & plain, mlMatrix const & a) {
    mlMatrix b, x, in_place;
    fill_random(b, a.rows(), 3, 2);
    for (auto const & [rows, cols] : {std::pair(a.rows(), 4), {a.rows() + 1, 3}}) {
        x.become(mlMatrixZero, rows, cols);
        factors.solve(b, x);
        EXPECT_EQ(std::pair(x.rows(), x.cols()), std::pair(a.rows(), 3)) << "it was " << rows << " x " << cols;
    }
    in_place.become(utCopy, b);
    factors.solve(in_place, in_place);
    for (int c = 0; c < b.cols(); ++c) {
        Values const expected = plain.solve(contents(b.col(c)));
        mlVector in_vector(b.col(c)), from_slice{1.0}, from_vector{1.0};
        factors.solve(in_vector, from_vector);
        factors.solve(in_vector, in_vector);
        factors.solve(b.col(c), from_slice);
        for (Values const & found : {contents(from_vector), contents(in_vector), contents(from_slice),
                                     contents(x.col(c)), contents(in_place.col(c))})
            EXPECT_EQ(found, expected) << "column " << c;
    }
    return solve_ratio(a, x, b);
}

/// One analysis serves all matrices of its pattern, also after `failing` times a; another drops the factors. The state
/// is the order, the status (0: not factored, 1: factored, others: why not), the number of pivots, and where it failed.
template <class Factors, class Matrix, class State>
void expect_to_factor_new_values(Matrix const & a, double failing, State state) {
    int const n = a.rows();
    Factors factors;
    auto const factor_multiple = [&](double s) {
        Matrix multiple(utCopy, a);
        multiple *= s;
        return factors.factor(multiple) + 0;
    };
    EXPECT_EQ(state(factors), std::tuple(0, 0, 0, -1));
    factors.analyse(a);
    EXPECT_EQ(state(factors), std::tuple(n, 0, 0, -1));
    EXPECT_GT(factor_multiple(failing), 1);
    EXPECT_EQ(factor_multiple(3.0), 1);
    EXPECT_EQ(factor_multiple(1.0), 1);
    EXPECT_EQ(state(factors), std::tuple(n, 1, n, -1));
    mlVector b, x, expected;
    fill_random(b, n, 1);
    factors.solve(b, x);
    Factors(a).solve(b, expected);
    EXPECT_EQ(contents(x), contents(expected));
    factor_multiple(failing);
    factors.analyse(Matrix(mlMatrixIdentity, 9));
    EXPECT_EQ(state(factors), std::tuple(9, 0, 0, -1));
}

/// The determinants of a few and of many such pivots, mantissa and exponent kept apart.
template <class Factors, class Matrix> void expect_determinants_of_pivots(std::initializer_list<double> pivots) {
    for (double const pivot : pivots) {
        for (int const n : {3, 4000}) {
            Matrix a(mlMatrixIdentity, n);
            a *= pivot;
            double mantissa = 1.0;
            int exponent = 0;
            for (int k = 0; k < n; ++k) {
                int of_pivot, of_product;
                mantissa = std::frexp(mantissa * std::frexp(pivot, &of_pivot), &of_product);
                exponent += of_pivot + of_product;
            }
            Factors const factors(a);
            long long found;
            EXPECT_EQ(factors.determinant(found), mantissa) << n << " times " << pivot;
            EXPECT_EQ(found, exponent) << n << " times " << pivot;
            EXPECT_EQ(factors.determinant(), std::ldexp(mantissa, exponent)) << n << " times " << pivot;
        }
    }
}
