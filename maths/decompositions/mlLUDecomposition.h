#pragma once

#include "maths/core/mlMatrix.h"

/// Factors a matrix A of n rows as P A = L U, by Gaussian elimination with partial pivoting, and solves A x = b.
///
/// L is unit lower triangular, U upper triangular and P a permutation: row permutation[k] of A became row k of the
/// factors. A is square, or has further columns: right-hand sides, for which the constructor solves in place.
/// Singular: `is_singular()` is 1 when a pivot after the row exchange is below 1e-20 in magnitude, an absolute test.
/// The elimination stops there; the other queries then compute with what it left, unchecked. A NaN pivot passes. A
/// matrix without rows is not singular and has determinant 1; one with more rows than columns counts as singular, and
/// no other query may be called.
/// Lifetime: A must outlive the object and keep its rows. Deliberate: `solve` takes the number of equations from it.
/// Bad input: shapes are not checked. Failure: std::bad_alloc. Threads: const queries may run in parallel.
/// Cost: the factors 2/3 n^3, a right-hand side 2 n^2 operations.
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

private:
    mlMatrix const * source_;
    mlMatrix lu_; // L below the diagonal, U on and above it
    int singular_;
    intcoDynArr permutation_;
    int swap_count_;
};
