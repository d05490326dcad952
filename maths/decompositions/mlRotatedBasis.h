#pragma once

#include "maths/decompositions/mlFortranMatrix.h"
#include "platform/coBlock.h"

/// A basis whose columns are rotated in pairs and, when they are done with, exchanged and negated. For use inside the
/// library.
///
/// Rotations of long columns are noted and carried out together: a strip of rows, which has its columns side by side,
/// then stays in the cache for all of them. Columns are counted from 1.
/// Failure: std::bad_alloc, by the constructor.
class mlRotatedBasis {
public:
    /// Starts with the columns of `basis`.
    explicit mlRotatedBasis(mlFortranMatrix const & basis);

    /// (column j, column k) becomes (c j + s k, c k - s j), element by element.
    void rotate(int j, int k, mlRotation const & rotation);

    /// Neither column is rotated any more.
    void exchange(int j, int k);

    /// Multiplies column j, which is not rotated any more, by -1.
    void negate(int j);

    /// Writes the columns into `basis`.
    void finish(mlFortranMatrix const & basis);

private:
    void carry_out();
    double * address(int i, int j) const;

    mlKernels const & kernels_;
    int rows_;
    int cols_;
    int strip_rows_;
    int strips_;
    int notes_; // the most that are kept of runs and of rotations; none when everything is carried out at once
    int run_count_ = 0;
    int rotation_count_ = 0;
    coBlock<double> elements_;
    coBlock<mlRotationRun> runs_;
    coBlock<mlRotation> rotations_;
    coBlock<int> sources_; // the column that becomes column j, negative when it is to be negated
};
