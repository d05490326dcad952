#pragma once

#include <cmath>
#include <vector>

#include "maths/sparse/mlSparseCholesky.h"
#include "maths/sparse/mlSparseSymMatrix.h"
#include "tests/support/values.h"

/// P^T A P = L D L^T element by element, every product subtracted in increasing order of columns.
struct PlainLdlt {
    PlainLdlt(mlSparseSymMatrix const & a, intcoDynArr const & rows)
        : order(contents(rows)), l(mlMatrixIdentity, a.rows()), d(a.rows()) {
        int const n = a.rows();
        mlMatrix u(mlMatrixZero, n, n);
        for (int i = 0; i < n && failed < 0; ++i) {
            for (int j = 0; j <= i; ++j)
                u(i, j) = a.element(order[i], order[j]);
            double const least = 0x1p-50 * u(i, i);
            for (int j = 0; j < i; ++j) {
                for (int k = 0; k < j; ++k)
                    u(i, j) -= l(j, k) * u(i, k);
                l(i, j) = u(i, j) / d[j];
                u(i, i) -= l(i, j) * u(i, j);
            }
            d[i] = u(i, i) > least ? u(i, i) : 0.0;
            if (d[i] > 0.0) continue;
            failed = order[i];
            status = std::isfinite(u(i, i)) ? mlSparseCholeskyNotPositive : mlSparseCholeskyNotFinite;
        }
    }

    /// x with A x = b.
    Values solve(Values const & b) const {
        int const n = l.rows();
        Values y(n), x(n);
        for (int i = 0; i < n; ++i) {
            y[i] = b[order[i]];
            for (int j = 0; j < i; ++j)
                y[i] -= l(i, j) * y[j];
        }
        for (int i = 0; i < n; ++i)
            y[i] /= d[i];
        for (int j = n - 1; j >= 0; --j) {
            x[order[j]] = y[j];
            for (int i = 0; i < j; ++i)
                y[i] -= l(j, i) * y[j];
        }
        return x;
    }

    mlSparseCholeskyStatus status = mlSparseCholeskyFactored;
    int failed = -1;
    std::vector<int> order;
    mlMatrix l;
    Values d;
};
