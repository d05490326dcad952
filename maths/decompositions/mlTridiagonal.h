#pragma once

#include "maths/core/mlVector.h"

/// Solves tridiagonal systems A x = r of order n in O(n), by elimination without row exchanges.
///
/// Shapes: `lower`, `diagonal` and `upper` hold n elements each; row i of A reads
/// \f[ l_i x_{i-1} + d_i x_i + u_i x_{i+1} = r_i \f]
/// with their elements l, d and u.
/// lower[0] and upper[n-1] are the corners, in row 0, column n-1 and in row n-1, column 0: only the periodic solve and
/// `same_sign_corners` read them, and, when n is 1, both tests of `diagonally_dominant`.
/// Lifetime: the three are views of the caller's storage, which must outlive this object and is never written.
/// Bad input: nothing is checked. A zero pivot yields infinities or NaNs: call `diagonally_dominant` and
/// `non_zero_diagonal` first. For orders below 1 nothing happens.
/// Failure: std::bad_alloc. Threads: immutable; concurrent solves are safe.
/// Source: Thomas's algorithm; Sherman & Morrison's formula; Golub & Van Loan, Matrix Computations.
class MATHS_API mlTridiagonal {
public:
    mlTridiagonal(int n, mlSlice const & lower, mlSlice const & diagonal, mlSlice const & upper)
        : n_(n), lower_(lower), diagonal_(diagonal), upper_(upper) {
        MATHS_CHECK(lower.length() >= n && diagonal.length() >= n && upper.length() >= n,
                    "tridiagonal: order %d, but diagonals of %d, %d and %d elements", n, lower.length(),
                    diagonal.length(), upper.length());
    }
    mlTridiagonal(mlTridiagonal const &) = default;
    mlTridiagonal & operator=(mlTridiagonal const &) = delete; // a slice's assignment would write through the views

    [[nodiscard]] int size() const { return n_; }

    /// 1 when |diagonal| >= |lower| + |upper| in every row, the corners left out; equality and NaN pass.
    [[nodiscard]] int diagonally_dominant() const;

    /// 1 when no element of the diagonal is 0, of either sign.
    [[nodiscard]] int non_zero_diagonal() const;

    /// 1 when both corners and both ends of the diagonal are >= 0, or all four <= 0.
    [[nodiscard]] int same_sign_corners() const;

    /// Writes the solution into x[0 .. n-1]; the corners are ignored. x may view r's storage, not a diagonal's.
    void solve(mlSlice const & r, mlSlice & x) const;

    /// Writes the solution of the system with its corners into x[0 .. n-1]; x as above. For order 1, lower[0] is added
    /// to the diagonal, and upper[0] is ignored. Deliberate: unless `same_sign_corners`, the corners are dropped
    /// silently, and the solution is that of `solve`; a checked build says so on standard error.
    void solve_periodic(mlSlice const & r, mlSlice & x) const;

    /// The same into a temporary slice, as in `t.solve(r.slice(), m.col(0))`.
    void solve(mlSlice const & r, mlSlice && x) const { solve(r, x); }
    void solve_periodic(mlSlice const & r, mlSlice && x) const { solve_periodic(r, x); }

    /// The same into a vector, which gets just n elements. r may view it.
    void solve(mlSlice const & r, mlVector & x) const;
    void solve_periodic(mlSlice const & r, mlVector & x) const;

private:
    int n_;
    mlSlice lower_, diagonal_, upper_;
};
