#pragma once

#include "maths/decompositions/mlFortranVector.h"

/// Doubles with indices (1, 1) .. (rows(), cols()), stored column by column, as the published routines of linear
/// algebra have them. For use inside the library.
///
/// Owns its block. Like a pointer, a constant one gives access to its elements.
/// Failure: an allocation that fails throws std::bad_alloc.
class mlFortranMatrix {
public:
    /// rows x cols zeros.
    mlFortranMatrix(int rows, int cols) : elements_(rows * cols), rows_(rows), cols_(cols) {}

    /// The number of rows, which is also the distance from one column to the next.
    int rows() const { return rows_; }
    int cols() const { return cols_; }

    double & operator()(int i, int j) const {
        MATHS_CHECK(i >= 1 && i <= rows_ && j >= 1 && j <= cols_, "work matrix: element (%d, %d) of %d x %d", i, j,
                    rows_, cols_);
        return elements_(i + (j - 1) * rows_);
    }

    /// View of column j from row `first` down.
    mlFortranVector column(int j, int first = 1) const {
        MATHS_CHECK(first >= 1 && j >= 1 && j <= cols_, "work matrix: column %d from row %d of %d x %d", j, first,
                    rows_, cols_);
        return elements_.view(first + (j - 1) * rows_, j * rows_);
    }

private:
    mlFortranVector elements_;
    int rows_;
    int cols_;
};
