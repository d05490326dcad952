#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/core/mlMatrix.h"

// Dimensionless measures of an error: how many roundoffs, scaled to the problem, explain it. Sums in extended
// precision, so that the measure adds no error of its own. Below 30 is the customary bound.

inline constexpr double roundoff = std::numeric_limits<double>::epsilon();

/// Largest sum of element(r, c) over a column of a matrix of m's shape; NaN when there is one anywhere.
template <class Element> double largest_column_sum(mlMatrix const & m, Element element) {
    double norm = 0.0;
    for (int c = 0; c < m.cols(); ++c) {
        double sum = 0.0;
        for (int r = 0; r < m.rows(); ++r)
            sum += element(r, c);
        if (!(sum <= norm) && norm == norm) norm = sum;
    }
    return norm;
}

inline double norm_1(mlMatrix const & m) {
    return largest_column_sum(m, [&](int r, int c) { return std::fabs(m(r, c)); });
}

/// Largest column sum of |a b - c|.
inline double product_error(mlMatrix const & a, mlMatrix const & b, mlMatrix const & c) {
    return largest_column_sum(c, [&](int i, int j) {
        long double sum = -static_cast<long double>(c(i, j));
        for (int k = 0; k < a.cols(); ++k)
            sum += static_cast<long double>(a(i, k)) * b(k, j);
        return static_cast<double>(std::fabs(sum));
    });
}

/// |a b - c| / (n |c| eps): how well the factors a and b reproduce c.
inline double factor_ratio(mlMatrix const & a, mlMatrix const & b, mlMatrix const & c) {
    double const error = product_error(a, b, c);
    double const scale = std::max({1, a.cols(), c.rows()}) * norm_1(c) * roundoff;
    return error == 0.0 ? 0.0 : error / scale;
}

/// |a x - b| / (n |a| |x| eps): how well x solves a x = b.
inline double solve_ratio(mlMatrix const & a, mlMatrix const & x, mlMatrix const & b) {
    double const error = product_error(a, x, b);
    return error == 0.0 ? 0.0 : error / (std::max(1, a.rows()) * norm_1(a) * norm_1(x) * roundoff);
}

/// |q^T q - 1| / (n eps): how far the columns of q are from orthonormal.
inline double orthonormality_ratio(mlMatrix const & q) {
    mlMatrix const transposed(mlMatrixTranspose, q);
    mlMatrix const identity(mlMatrixIdentity, q.cols());
    return product_error(transposed, q, identity) / (std::max(1, q.rows()) * roundoff);
}
