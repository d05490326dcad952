#pragma once

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "maths/core/mlMatrix.h"
#include "maths/sparse/mlSparseMatrix.h"
#include "tests/support/values.h"

/// P A Q = L U + F element by element, from the orders of rows and columns without exchanges, for a matrix that is not
/// singular: every product subtracted in increasing order.
struct PlainLu {
    PlainLu(mlSparseMatrix const & a, intcoDynArr const & rows, intcoDynArr const & columns, double threshold)
        : n(a.rows()), row_order(contents(rows)), column_order(contents(columns)), l(mlMatrixIdentity, n),
          u(mlMatrixZero, n, n), f(mlMatrixZero, n, n), work(n, n), stored(n, std::vector<bool>(n)) {
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                work(i, j) = a.element(rows[i], columns[j]);
                stored[i][j] = work(i, j) != 0.0;
            }
        find_blocks();
        for (std::size_t b = 0; b + 1 < blocks.size(); ++b)
            factor(blocks[b], blocks[b + 1], threshold);
    }

    /// x with A x = b.
    Values solve(Values const & b) const {
        Values y(n), x(n);
        for (int i = 0; i < n; ++i)
            y[i] = b[row_order[i]];
        for (std::size_t block = blocks.size() - 1; block-- > 0;) {
            int const first = blocks[block], end = blocks[block + 1];
            for (int i = first; i < end; ++i) {
                for (int j = n - 1; j >= end; --j)
                    y[i] -= f(i, j) * y[j];
                for (int j = first; j < i; ++j)
                    y[i] -= l(i, j) * y[j];
            }
            for (int i = end - 1; i >= first; --i) {
                for (int j = end - 1; j > i; --j)
                    y[i] -= u(i, j) * y[j];
                x[column_order[i]] = y[i] /= u(i, i);
            }
        }
        return x;
    }

    int n, exchanges = 0;
    std::vector<int> row_order, column_order, blocks; ///< where the blocks start, and n
    mlMatrix l, u, f;
    long long in_l = 0, in_u = 0, in_f = 0; ///< elements, zeros that cancelled included

private:
    /// A block starts wherever all is zero to the left of its rows and those below.
    void find_blocks() {
        for (int k = 0; k <= n; ++k) {
            bool zero = true;
            for (int i = k; i < n; ++i)
                zero = zero && std::find(stored[i].begin(), stored[i].begin() + k, true) == stored[i].begin() + k;
            if (zero) blocks.push_back(k);
        }
    }

    void factor(int first, int end, double threshold) {
        Values weights(n);
        for (int i = first; i < end; ++i) {
            double largest = 0.0;
            for (int j = first; j < end; ++j)
                largest = std::fmax(largest, std::fabs(work(i, j)));
            weights[i] = std::ldexp(1.0, -std::ilogb(largest));
        }
        for (int j = first; j < end; ++j) {
            for (int i = first + 1; i < end; ++i) // u(i, j), and l(i, j) u(j, j)
                for (int k = first; k < std::min(i, j); ++k) {
                    if (!stored[i][k] || !stored[k][j]) continue;
                    work(i, j) -= work(i, k) * work(k, j);
                    stored[i][j] = true;
                }
            auto const size = [&](int i) { return std::fabs(work(i, j)) * weights[i]; };
            int pivot = j;
            for (int i = j + 1; i < end; ++i)
                if (size(i) > size(pivot)) pivot = i;
            if (size(j) < threshold * size(pivot) || size(j) == 0.0) exchange(j, pivot, weights);
            for (int i = j + 1; i < end; ++i)
                work(i, j) /= work(j, j);
        }
        for (int i = 0; i < end; ++i)
            for (int j = first; j < end; ++j) {
                if (!stored[i][j]) continue;
                ++(i < first ? in_f : i > j ? in_l : in_u);
                (i < first ? f : i > j ? l : u)(i, j) = work(i, j);
            }
    }

    void exchange(int i, int k, Values & weights) {
        if (i == k) return;
        ++exchanges;
        std::swap(row_order[i], row_order[k]);
        std::swap(weights[i], weights[k]);
        std::swap(stored[i], stored[k]);
        for (int j = 0; j < n; ++j)
            std::swap(work(i, j), work(k, j));
    }

    mlMatrix work;
    std::vector<std::vector<bool>> stored;
};
