#pragma once

#include <algorithm>

#include "maths/core/mlMatrix.h"
#include "maths/decompositions/mlFortranVector.h"
#include "maths/kernels/mlKernels.h"
#include "platform/coBlock.h"

/// Doubles with indices (1, 1) .. (rows(), cols()), as the published routines of linear algebra count. For use inside
/// the library.
///
/// Unlike there, they are stored row by row, with the padding that the kernels ask for: reflections treat all columns
/// alike, and a vector register can then hold neighbouring ones.
/// Owns its block. Like a pointer, a constant one gives access to its elements.
/// Failure: an allocation that fails throws std::bad_alloc.
class mlFortranMatrix {
public:
    /// rows x cols elements, not initialised.
    mlFortranMatrix(int rows, int cols)
        : rows_(rows), cols_(cols),
          stride_(mlKernels::padded(coSizeSum(cols, 3 * mlKernels::padding_cols) - 2 * mlKernels::padding_cols) |
                  (mlKernels::padding_cols + 1)),
          elements_(coTableSize(rows, stride_)) {
        for (int i = 1; i <= rows_; ++i) // the kernels would be slow with denormals there
            std::fill(row(i) + cols_, row(i) + stride_, 0.0);
    }

    int rows() const { return rows_; }
    int cols() const { return cols_; }

    double & operator()(int i, int j) const {
        MATHS_CHECK(i >= 1 && i <= rows_ && j >= 1 && j <= cols_, "work matrix: element (%d, %d) of %d x %d", i, j,
                    rows_, cols_);
        return row(i)[j - 1];
    }

    /// The cols() elements of row i.
    double * row(int i) const { return elements_.get() + static_cast<std::ptrdiff_t>(i - 1) * stride_; }

    /// The elements of row i from column j on.
    mlFortranVector row_from(int i, int j) const { return mlFortranVector(row(i) + j - 1, cols_ - j + 1); }

    /// What begins with element (i, j), of which nothing may be left.
    mlBlock block(int i, int j) const {
        MATHS_CHECK(i >= 1 && i <= rows_ + 1 && j >= 1 && j <= cols_ + 1, "work matrix: from (%d, %d) of %d x %d", i, j,
                    rows_, cols_);
        return {i <= rows_ ? row(i) + j - 1 : row(i), stride_};
    }

private:
    int rows_;
    int cols_;
    int stride_; // from one row to the next: an odd number of cache lines, which lets them share the cache evenly
    coBlock<double> elements_;
};
