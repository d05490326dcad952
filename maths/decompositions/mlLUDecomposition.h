#pragma once

#include "maths/core/mlMatrix.h"

/// Factors a matrix A of n rows as \f$P A = L U\f$, by Gaussian elimination with partial pivoting, and solves A x = b.
///
/// L is unit lower triangular, U upper triangular and P a permutation: row permutation[k] of A became row k of the
/// factors. A is square, or has further columns: right-hand sides, for which the constructor solves in place.
/// Singular: `is_singular()` is 1 when a pivot after the row exchange is below 1e-20 in magnitude, an absolute test.
/// The elimination stops there; the other queries then compute with what it left, unchecked. A NaN pivot passes. A
/// matrix without rows is not singular and has determinant 1; one with more rows than columns counts as singular, and
/// no other query may be called.
/// Lifetime: A must outlive the object and keep its rows. Deliberate: `solve` takes the number of equations from it.
/// Bad input: shapes are not checked. Failure: std::bad_alloc. Threads: const queries may run in parallel.
/// Cost: the factors \f$\frac23 n^3\f$, a right-hand side \f$2 n^2\f$ operations.
/// Source: Golub & Van Loan, Matrix Computations.
class MATHS_API mlLUDecomposition {
public:
    explicit mlLUDecomposition(mlMatrix const & a);
    explicit mlLUDecomposition(mlMatrix const && a) = delete; // a temporary does not outlive the object
    mlLUDecomposition(mlLUDecomposition const &) = delete;
    mlLUDecomposition & operator=(mlLUDecomposition const &) = delete;

    [[nodiscard]] int is_singular() const { return singular_; }

    /// The sign of the permutation times the product of U's diagonal, in index order.
    [[nodiscard]] double determinant() const;

    /// The inverse of A.
    void inverse(mlMatrix & out) const;

    /// The factors L, U and P, n x n each.
    void lower_matrix(mlMatrix & out) const;
    void upper_matrix(mlMatrix & out) const;
    void permutation_matrix(mlMatrix & out) const;

    /// X with A X = B, B having n rows and any number of columns. X may be B.
    void solve(mlMatrix const & b, mlMatrix & x) const;

    /// x with A x = b. x may be b. Deliberate: its last element is divided by the last pivot, where the matrix form
    /// multiplies by the pivot's reciprocal, so the two forms can differ in the last bit.
    void solve(mlVector const & b, mlVector & x) const;

    /// The same for a slice, which may view x: the vector form's bits.
    void solve(mlSlice const & b, mlVector & x) const;

    /// \f$1 / (\|A\| \|A^{-1}\|)\f$, the reciprocal of A's condition in the 1-norm (of its first n columns), with
    /// \f$\|A^{-1}\|\f$ estimated from below, rarely by more than a factor of 3; 0 for a singular A, 1 for one without
    /// rows. Solutions lose as many digits as it is powers of ten below 1, so that log10 of it and 16 add up to the
    /// digits to believe. A must not have changed. Cost: up to 10 solutions. Failure: std::bad_alloc. Source: Hager
    /// (1984); Higham, FORTRAN codes for estimating the one-norm of a real or complex matrix (1988).
    [[nodiscard]] double reciprocal_condition() const;

    /// One step of iterative refinement of x, a solution of A x = b with its n elements, or a first guess: the residual
    /// is formed in twice the working precision. Returns a bound of what is left, the largest error of an element of x
    /// as a part of the largest element: 1e-9 says that nine digits of that are right. The bound allows for all
    /// roundoff but takes A and b as exact, and rests on an estimate, tripled, that can fail in rare cases. It is
    /// infinite when nothing can be said: the condition is about 1e14 / n or beyond, A is singular, or numbers
    /// overflow. Further steps help until the bound stops falling. Cost: about \f$40 n^2\f$ operations. Failure:
    /// std::bad_alloc.
    double refine(mlVector const & b, mlVector & x) const { return refine(b.slice(), x); }
    double refine(mlSlice const & b, mlVector & x) const;

private:
    void solve_exchanged(mlMatrix & x) const;

    mlMatrix const * source_;
    mlMatrix lu_; // L below the diagonal, U on and above it
    int singular_;
    intcoDynArr permutation_;
    int swap_count_;
};
