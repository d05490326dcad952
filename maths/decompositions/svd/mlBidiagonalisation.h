#pragma once

#include "maths/decompositions/svd/mlFortranMatrix.h"

/// Workspace shared by the phases of the singular value decomposition of the n x p matrix x. x, s, e, u
/// and v belong to the caller. Their sizes, with order = min(p, n + 1), or 0 when x is empty:
///
///     x  n x p         s, e  order elements         u  n x u_cols, if want_u         v  p x p, if want_v
///
/// u_cols is n, or min(n, p). What is not wanted is neither read nor written, and of any size.
///
/// "Non-zero" has one meaning in all phases, ml_is_nonzero of mlLevel1.h: a number of at least DBL_MIN (2.2e-308) in
/// magnitude, infinities among them. Zeros, denormals and NaN are not. (A column or row of infinite norm is
/// reflected, and NaN follow from it.) For use inside the library.
struct mlSVDWork {
    mlFortranMatrix & x;
    mlFortranVector & s; ///< the diagonal of the bidiagonal matrix, then the singular values
    mlFortranVector & e; ///< its super-diagonal: e(i) is right of s(i), and e(order) is 0
    mlFortranMatrix & u;
    mlFortranMatrix & v;
    bool want_u;
    bool want_v;
    int u_cols;

    [[nodiscard]] int n() const { return x.rows(); }
    [[nodiscard]] int p() const { return x.cols(); }
};

/// Householder reduction of x to an upper bidiagonal matrix of `order` columns, whose diagonal and super-diagonal are
/// written to s and e, all `order` elements of each. Returns the order; 0, with nothing written, when x is empty.
///
/// Each reflection is I - h h^T / h_1. Where the norm of the column or row is zero, denormal or NaN, so is s(l) or
/// e(l), and the reflection is left out. In a rank-one update A += a b^T a column whose factor b_j isn't non-zero is
/// left unchanged. Kept for `ml_generate_bases`: the h of column l = 1 .. min(n - 1, p) in u(l .. n, l) and the h of
/// row l = 1 .. min(p - 2, n) in v(l + 1 .. p, l), if u and v are wanted (where a reflection is left out, numbers that
/// are not read); the rest of them is not written. x is left with intermediate numbers that no later phase reads.
/// Failure: std::bad_alloc, before anything is written.
[[nodiscard]] int ml_bidiagonalise(mlSVDWork & work);

/// Multiplies the kept reflections out, so that x was u B v^T, B having s(i) on its diagonal and e(i) right of it in
/// its first min(n, p) rows, and zeros elsewhere: u = H_1 H_2 ... (its first u_cols columns) and v = G_1 G_2 ... All of
/// u and v is written, as far as they are wanted. Reads s and e only for which reflections were left out, so it comes
/// before the iteration changes them. Failure: std::bad_alloc, u perhaps complete, v unchanged.
void ml_generate_bases(mlSVDWork & work);
