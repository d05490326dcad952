#pragma once

#include "maths/decompositions/svd/mlFortranMatrix.h"
#include "maths/kernels/mlKernels.h"
#include "platform/coBlock.h"

/// A basis whose columns are rotated in pairs and, when that is done, exchanged and negated. For use inside the
/// library.
///
/// Order of calls: the constructor copies the basis; `rotate` any number of times; `exchange` and `negate`, also
/// between rotations, of columns that won't be rotated again; `finish`, at the end, writes the result. Columns count
/// from 1.
///
/// Rotations of columns of more than ml_tuning::rotations_immediate_max_rows rows are queued, and applied together by
/// the `rotate` that finds the queue full and by `finish`: a strip of rows, which has its columns side by side, then
/// stays in the cache for all of them. Shorter columns are rotated immediately. Either way rotations take effect in the
/// order of the calls. Neither copied nor moved. Failure: std::bad_alloc, by the constructor alone, also for a basis
/// whose copy would have more elements than an int counts.
class mlRotatedBasis {
public:
    /// Starts with the columns of `basis`, which may be empty.
    explicit mlRotatedBasis(mlFortranMatrix const & basis);

    /// (column j, column k) becomes (c j + s k, c k - s j), element by element, for j != k. The basis has a row or
    /// more, and neither column has been exchanged or negated.
    void rotate(int j, int k, mlRotation const & rotation);

    /// Columns j and k change places in the result. The caller doesn't rotate them after that.
    void exchange(int j, int k);

    /// Column j, as it was exchanged so far, is multiplied by -1 in the result. The caller doesn't rotate it after
    /// that.
    void negate(int j);

    /// Applies what is queued and writes the columns into `basis`, which is the constructor's or has its shape. Another
    /// call writes the same again.
    void finish(mlFortranMatrix & basis);

private:
    void flush();

    double * address(int i, int j);

    mlKernels const & kernels_;
    int rows_;
    int cols_;
    int strip_height_; // rows of a strip of the copy; in the last strip those past rows_ are padding
    int strips_;
    int capacity_; // rotations that the queue holds; 0 when they are applied immediately
    int queued_rotations_ = 0;
    int queued_chains_ = 0;
    coBlock<double> elements_; // strip by strip, column by column in a strip
    coBlock<mlRotationChain> chains_;
    coBlock<mlRotation> rotations_; // of all chains, one after the other
    coBlock<int> sources_;          // [j - 1]: the column of the copy that becomes column j, negative when negated
};
