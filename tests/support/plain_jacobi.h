#pragma once

#include <cmath>

#include <gtest/gtest.h>

#include "maths/decompositions/mlSymEigenVecs.h"
#include "platform/doublecoQuickSortIndex.h"
#include "tests/support/bits.h"
#include "tests/support/values.h"

// Jacobi's method for symmetric matrices beside the plain form whose bits it promises: rotations by full products.

/// The rotation of rows and columns p and q.
inline void become_rotation(mlMatrix & r, mlMatrix const & m, int p, int q) {
    double const a = m(p, p), b = m(p, q), d = m(q, q);
    double const lambda = (a + d) * 0.5 + std::sqrt((a - d) * (a - d) * 0.25 + b * b);
    double const rows[2][2] = {{a - lambda, b}, {m(q, p), d - lambda}};
    double const upper = rows[0][0] * rows[0][0] + rows[0][1] * rows[0][1];
    double const lower = rows[1][0] * rows[1][0] + rows[1][1] * rows[1][1];
    auto const & [x, y] = rows[lower > upper ? 1 : 0];
    double const length = std::sqrt(lower > upper ? lower : upper);
    r.become(mlMatrixIdentity, m.rows());
    r(p, p) = r(q, q) = y / length;
    r(q, p) = -x / length;
    r(p, q) = x / length;
}

inline void expect_the_bits_of_full_products(mlMatrix const & m, double tolerance = 1e-6) {
    int const n = m.rows();
    mlMatrix a(utCopy, m), r, v(mlMatrixIdentity, n), vectors(n, n);
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
    Values values;
    for (int i = 0; i < n; ++i) {
        values.push_back(a(order[n - 1 - i], order[n - 1 - i]));
        vectors.col(i) = v.col(order[n - 1 - i]);
    }
    mlSymEigenVecs eigen(m);
    if (tolerance != 1e-6) eigen.set_tolerance(-tolerance); // its magnitude counts
    EXPECT_EQ(eigen.status(), mlEigenVecsNotCalculated);
    eigen.calculate();
    EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
    ASSERT_EQ(eigen.num_real_eigen_values(), n);
    EXPECT_TRUE(equal_bits(values, eigen.eigen_values(), n));
    EXPECT_TRUE(equal_bits(vectors, eigen.eigen_vectors()));
}
