#pragma once

#include <cstddef>

#include "maths/core/mlMatrix.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

/// Eigenvalues of the matrix {a, b; c, d}, which is symmetric but for roundoff, and their unit vectors e1 = (c, -s) and
/// e2 = (s, c). Included by the symmetric eigen-solver.
struct mlEigenPair {
    double lambda1, lambda2;
    double c, s;
};
mlEigenPair ml_eigen_pair(double a, double b, double c, double d);

/// An element above the diagonal, the largest in magnitude, and of several the first row by row.
struct mlJacobiPivot {
    double magnitude; ///< the most negative finite double when there is none
    int p, q;
};

/// A matrix A and the eigenvectors V found so far, under rotations A <- R^T A R and V <- V R in O(n), with the bits
/// that the full products give. For use inside the library.
///
/// R is the identity but for columns p and q. An element outside of rows and columns p and q is then a sum of zeros and
/// itself, and stays as it was. An element x of row p, beside y in row q, becomes the sum of zeros, c x, zeros, -s y
/// and zeros, in this order, and y that of s x and c y; columns p and q follow, after the rows. Zeros change nothing in
/// a sum but the sign of a zero: the products' sums start from 0.0, so a rotation leaves no -0.0 anywhere. No other
/// number depends on that sign, neither a magnitude nor a sum nor a quotient by a length above 0, and so +0.0 is added
/// once, before results are read. All this needs finite numbers, since 0.0 times an infinity is NaN. They are finite as
/// long as A's elements are bounded at first and R is a rotation, which leaves the sum of the squares as it is: `exact`
/// and `rotate` return false when that no longer holds.
/// Lifetime: independent of the matrix. Failure: std::bad_alloc, by the constructor.
class mlJacobiRotations {
public:
    /// Starts from m and the identity.
    explicit mlJacobiRotations(mlMatrix const & m);

    /// m is square and its elements leave room for the rotations; otherwise nothing below may be called.
    bool exact() const { return exact_; }

    mlJacobiPivot pivot() const;

    /// False, and nothing changed, when the pair's eigenvectors are no rotation: NaN, say, or short from underflow.
    bool rotate(mlJacobiPivot const & pivot);

    /// To be called once, after the last rotation, before the results are read.
    void finish();

    /// A is read row by row.
    mlSlice row(int i) { return {a_ + i * ld_, 0, n_, 1}; }

    /// Eigenvector i.
    mlSlice vector(int i) { return {v_ + i * ld_, 0, n_, 1}; }
    mlSlice diagonal() { return {a_, 0, n_, static_cast<int>(ld_ + 1)}; }

private:
    void find_largest(int i);
    void rotate_rows(double * x, double * y, mlEigenPair const & pair) const;
    void rotate_cols(int p, int q, double c, double s);
    void update_largest(int i, int p, int q, double in_p, double in_q);

    int n_;
    std::ptrdiff_t ld_;
    bool exact_;
    bool rotated_ = false;
    coScratch<ml_tuning::jacobi_scratch> room_;
    double * a_;       // row by row
    double * v_;       // transposed, so that an eigenvector is contiguous
    double * largest_; // of each row of A: the largest magnitude above the diagonal,
    double * place_;   // and the first column that has it
};
