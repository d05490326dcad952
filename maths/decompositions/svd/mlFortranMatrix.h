#pragma once

#include <algorithm>

#include "maths/core/mlMatrix.h"
#include "maths/decompositions/svd/mlFortranVector.h"
#include "maths/kernels/mlKernels.h"
#include "platform/coBlock.h"
#include "platform/coSize.h"

/// A one-based matrix, as the published routines count: elements (1, 1) .. (rows(), cols()). The singular value
/// decomposition puts the transpose of the caller's matrix into it, so that columns of the one are rows of the other.
/// For use inside the library.
///
/// Unlike published, elements are stored row by row: reflections treat all columns alike, and a vector register can
/// then hold neighbouring ones. The leading dimension, the same for all rows, leaves room for the ml_max_lanes - 1
/// columns that the kernels of rank-one updates read and write past a row's end. Owns its block.
/// Failure: an allocation that fails throws std::bad_alloc.
class mlFortranMatrix {
public:
    /// rows x cols elements, not initialised. (A row's length is the leading dimension for cols + ml_max_lanes - 1
    /// elements; the larger sum makes sure that rounding them up stays in int.)
    mlFortranMatrix(int rows, int cols)
        : rows_(rows), cols_(cols), ld_(ml_leading_dimension(coSizeSum(cols, 3 * ml_max_lanes) - 2 * ml_max_lanes - 1)),
          elements_(coTableSize(rows, ld_)) {
        for (int i = 1; i <= rows_; ++i) // the kernels would be slow with denormals there
            std::fill(row(i) + cols_, row(i) + ld_, 0.0);
    }

    [[nodiscard]] int rows() const { return rows_; }
    [[nodiscard]] int cols() const { return cols_; }

    double & operator()(int i, int j) {
        check(i, j);
        return row(i)[j - 1];
    }
    double operator()(int i, int j) const {
        check(i, j);
        return row(i)[j - 1];
    }

    /// The cols() elements of row i.
    [[nodiscard]] double * row(int i) { return elements_.get() + static_cast<std::ptrdiff_t>(i - 1) * ld_; }
    [[nodiscard]] double const * row(int i) const { return elements_.get() + static_cast<std::ptrdiff_t>(i - 1) * ld_; }

    /// View of the elements of row i from column j on.
    [[nodiscard]] mlFortranVector row_from(int i, int j) { return mlFortranVector(row(i) + j - 1, cols_ - j + 1); }

    /// All from element (i, j) on, rightwards and down: nothing when i is rows() + 1 or j is cols() + 1.
    [[nodiscard]] mlBlock block(int i, int j) {
        check_block(i, j);
        return {i <= rows_ ? row(i) + j - 1 : row(i), ld_};
    }
    [[nodiscard]] mlConstBlock block(int i, int j) const {
        check_block(i, j);
        return {i <= rows_ ? row(i) + j - 1 : row(i), ld_};
    }

private:
    void check([[maybe_unused]] int i, [[maybe_unused]] int j) const {
        MATHS_CHECK(i >= 1 && i <= rows_ && j >= 1 && j <= cols_, "work matrix: element (%d, %d) of %d x %d", i, j,
                    rows_, cols_);
    }
    void check_block([[maybe_unused]] int i, [[maybe_unused]] int j) const {
        MATHS_CHECK(i >= 1 && i <= rows_ + 1 && j >= 1 && j <= cols_ + 1, "work matrix: from (%d, %d) of %d x %d", i, j,
                    rows_, cols_);
    }

    int rows_;
    int cols_;
    int ld_;
    coBlock<double> elements_;
};
