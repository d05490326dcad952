#pragma once

#include <cmath>

#include <gtest/gtest.h>

#include "maths/decompositions/mlSymEigenVecs.h"
#include "platform/doublecoQuickSortIndex.h"
#include "tests/support/bits.h"
#include "tests/support/values.h"

// Jacobi's method for symmetric matrices beside the plain form whose bits it promises: rotations by full products.

struct Spectrum {
    Values values;
    mlMatrix vectors;
};

/// The rotation of rows and columns p and q.
inline void become_rotation(mlMatrix & r, mlMatrix const & m, int p, int q) {
    double const a = m(p, p), b = m(p, q), d = m(q, q);
    double const lambda = (a + d) * 0.5 + std::sqrt((a - d) * (a - d) * 0.25 + b * b);
    double const rows[2][2] = {{a - lambda, b}, {m(q, p), d - lambda}};
    double const squares[2] = {rows[0][0] * rows[0][0] + rows[0][1] * rows[0][1],
                               rows[1][0] * rows[1][0] + rows[1][1] * rows[1][1]};
    int const k = squares[1] > squares[0] ? 1 : 0;
    double const length = std::sqrt(squares[k]);
    r.become(mlMatrixIdentity, m.rows());
    r(p, p) = rows[k][1] / length;
    r(q, p) = -rows[k][0] / length;
    r(p, q) = rows[k][0] / length;
    r(q, q) = rows[k][1] / length;
}

inline void full_products(mlMatrix const & m, double tolerance, Spectrum & found) {
    int const n = m.rows();
    mlMatrix a, r, v(mlMatrixIdentity, n);
    a.become(utCopy, m);
    for (int rotations = 0; rotations < 10000; ++rotations) { // more than any of these takes
        double largest = -largest_double;
        int p = 0, q = 0;
        for (int k = 0; k < n * n; ++k) {
            if (k / n >= k % n || !(std::fabs(a[k]) > largest)) continue;
            largest = std::fabs(a[k]);
            p = k / n;
            q = k % n;
        }
        if (tolerance * 0.01 > largest) break;
        become_rotation(r, a, p, q);
        a.become(mlMatrixProduct, mlMatrix(mlMatrixProduct, mlMatrix(mlMatrixTranspose, r), a), r);
        v.become(mlMatrixProduct, v, r);
    }
    doublecoPageArr squares;
    intcoPageArr order;
    for (int i = 0; i < n; ++i) {
        squares[i] = a(i, i) * a(i, i);
        order[i] = i;
    }
    doublecoQuickSortIndex(squares, order).sort(&order, n);
    found.values.clear();
    found.vectors.become(n, n);
    for (int i = 0; i < n; ++i) {
        found.values.push_back(a(order[n - 1 - i], order[n - 1 - i]));
        found.vectors.col(i) = v.col(order[n - 1 - i]);
    }
}

inline void expect_the_bits_of_full_products(mlMatrix const & a, double tolerance = 1e-6) {
    Spectrum expected;
    full_products(a, tolerance, expected);
    mlSymEigenVecs eigen(a);
    eigen.set_tolerance(-tolerance); // its magnitude counts
    EXPECT_EQ(eigen.status(), mlEigenVecsNotCalculated);
    eigen.calculate();
    EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
    ASSERT_EQ(eigen.num_real_eigen_values(), a.rows());
    EXPECT_TRUE(equal_bits(expected.values, eigen.eigen_values(), a.rows()));
    EXPECT_TRUE(equal_bits(expected.vectors, eigen.eigen_vectors()));
}
