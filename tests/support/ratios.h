#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/core/mlMatrix.h"

// Dimensionless measures of an error: how many roundoffs, scaled to the problem, explain it. Sums in extended
// precision, so that the measure adds no error of its own. Below 30 is the customary bound.

inline constexpr double roundoff = std::numeric_limits<double>::epsilon();

/// Largest column sum of magnitudes.
inline double norm_1(mlMatrix const & m) {
    double norm = 0.0;
    for (int c = 0; c < m.cols(); ++c) {
        double sum = 0.0;
        for (int r = 0; r < m.rows(); ++r)
            sum += std::fabs(m(r, c));
        if (!(sum <= norm)) norm = sum; // a NaN stays visible
    }
    return norm;
}

/// Largest column sum of |a b - c|.
inline double product_error(mlMatrix const & a, mlMatrix const & b, mlMatrix const & c) {
    double norm = 0.0;
    for (int j = 0; j < c.cols(); ++j) {
        double column = 0.0;
        for (int i = 0; i < c.rows(); ++i) {
            long double sum = -static_cast<long double>(c(i, j));
            for (int k = 0; k < a.cols(); ++k)
                sum += static_cast<long double>(a(i, k)) * b(k, j);
            column += static_cast<double>(std::fabs(sum));
        }
        if (!(column <= norm)) norm = column;
    }
    return norm;
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
