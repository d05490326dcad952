#pragma once

#include <vector>

#include "maths/core/mlMatrix.h"
#include "maths/sparse/mlSparseSymMatrix.h"
#include "tests/support/values.h"

/// P^T A P = L D L^T element by element, every product subtracted in increasing order of columns.
struct PlainLdlt {
    PlainLdlt(mlSparseSymMatrix const & a, intcoDynArr const & order)
        : l(mlMatrixIdentity, a.rows()), in_l(a.rows(), std::vector<bool>(a.rows())) {
        int const n = a.rows();
        mlMatrix u(mlMatrixZero, n, n);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j <= i; ++j)
                u(i, j) = a.element(order[i], order[j]);
            for (int j = 0; j < i; ++j) {
                in_l[i][j] = u(i, j) != 0.0;
                for (int k = 0; k < j; ++k) {
                    u(i, j) -= l(j, k) * u(i, k);
                    in_l[i][j] = in_l[i][j] || (in_l[i][k] && in_l[j][k]);
                }
                elements += in_l[i][j];
                l(i, j) = u(i, j) / d[j];
                u(i, i) -= l(i, j) * u(i, j);
            }
            d.push_back(u(i, i));
        }
    }

    mlMatrix l;
    Values d;
    std::vector<std::vector<bool>> in_l; ///< what elimination fills
    long long elements = 0;              ///< of these, below the diagonal
};
