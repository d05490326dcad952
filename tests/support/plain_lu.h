#pragma once

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "maths/sparse/mlSparseLU.h"
#include "maths/sparse/mlSparseMatrix.h"
#include "tests/support/values.h"

/// P A Q = L U + F element by element, from the orders of rows and columns without exchanges, for a matrix that is not
/// structurally singular: every product subtracted in increasing order.
struct PlainLu {
    PlainLu(mlSparseMatrix const & a, intcoDynArr const & rows, intcoDynArr const & columns, double threshold)
        : n(a.rows()), row_order(contents(rows)), column_order(contents(columns)), l(mlMatrixIdentity, n),
          u(mlMatrixZero, n, n), f(mlMatrixZero, n, n), work(n, std::vector<std::optional<double>>(n)) {
        for (int i = n - 1; i >= 0; --i)
            for (int j = n - 1; j >= 0; --j) {
                if (double const x = a.element(rows[i], columns[j]); x != 0.0) work[i][j] = x;
                if (!std::isfinite(a.element(i, j))) end(mlSparseLUNotFinite, j); // at last the first
            }
        for (int j = 0, reach = -1; j < n; ++j) { // a block starts where no column before it has elements any more
            if (reach < j) blocks.push_back(j);
            for (int i = 0; i < n; ++i)
                if (work[i][j]) reach = std::max(reach, i);
        }
        blocks.push_back(n);
        for (std::size_t b = 0; b + 1 < blocks.size(); ++b)
            factor(blocks[b], blocks[b + 1], threshold);
        for (std::size_t b = 0; b + 1 < blocks.size(); ++b)
            store(blocks[b], blocks[b + 1]);
        d.resize(n);
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

    mlSparseLUStatus status = mlSparseLUFactored;
    int n, failed = -1, exchanges = 0;
    std::vector<int> row_order, column_order, blocks; ///< where the blocks start, and n
    mlMatrix l, u, f;
    Values d;               ///< the pivots
    long long elements = n; ///< of L, its diagonal included, U and F; zeros that cancelled are some

private:
    void end(mlSparseLUStatus why, int column) {
        status = why;
        failed = column;
    }

    void factor(int first, int last, double threshold) {
        Values weights(n);
        for (int i = first; i < last; ++i) {
            double largest = 0.0;
            for (int j = first; j < last; ++j)
                largest = std::fmax(largest, std::fabs(work[i][j].value_or(0.0)));
            weights[i] = std::ldexp(1.0, std::min(1000, -std::ilogb(largest)));
        }
        for (int j = first; j < last && status == mlSparseLUFactored; ++j) {
            auto const size = [&](int i) { return std::fabs(work[i][j].value_or(0.0)) * weights[i]; };
            double least = 0.0;
            for (int i = first; i < last; ++i)
                least = std::fmax(least, 0x1p-50 * size(i));
            for (int i = first + 1; i < last; ++i) // u(i, j), and l(i, j) u(j, j)
                for (int k = first; k < std::min(i, j); ++k)
                    if (work[i][k] && work[k][j]) work[i][j] = work[i][j].value_or(0.0) - *work[i][k] * *work[k][j];
            int pivot = j;
            for (int i = j + 1; i < last; ++i)
                if (size(i) > size(pivot)) pivot = i;
            if (!(size(pivot) > least)) end(mlSparseLUSingular, column_order[j]);
            for (int i = j; i < last; ++i)
                if (!std::isfinite(size(i))) end(mlSparseLUNotFinite, column_order[j]);
            if (status != mlSparseLUFactored) return;
            if (size(j) < threshold * size(pivot) || size(j) <= least) {
                ++exchanges;
                std::swap(row_order[j], row_order[pivot]);
                std::swap(weights[j], weights[pivot]);
                std::swap(work[j], work[pivot]);
            }
            d.push_back(*work[j][j]);
            for (int i = j + 1; i < last; ++i)
                if (work[i][j]) *work[i][j] /= d[j];
        }
    }

    /// Columns without a pivot have elements outside the blocks only.
    void store(int first, int last) {
        for (int i = 0; i < last; ++i)
            for (int j = first; j < (i < first ? last : std::min<int>(last, std::ssize(d))); ++j) {
                if (!work[i][j]) continue;
                ++elements;
                (i < first ? f : i > j ? l : u)(i, j) = *work[i][j];
            }
    }

    std::vector<std::vector<std::optional<double>>> work;
};
