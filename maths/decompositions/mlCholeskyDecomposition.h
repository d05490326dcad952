#pragma once

#include "maths/core/mlMatrix.h"

/// Factors a symmetric positive-definite n x n matrix A as \f$A = L L^T\f$, L lower triangular, and solves A x = b.
///
/// Only the diagonal and the upper triangle of A are read; the object keeps copies and no reference to A.
/// Singular: `is_singular()` is 1 when some value under the square root is not above zero, exactly, and so A is not
/// positive definite. The columns of L before that one are then complete, its remaining diagonal is 0, and the other
/// queries compute with that, unchecked: call `is_singular` first. A NaN under the root passes. A matrix without rows
/// is not singular and has determinant 1.
/// Outputs are sized by the operations. Bad input: A must be square; shapes are not checked.
/// Failure: std::bad_alloc. Threads: const queries may run in parallel.
/// Cost: the factor \f$\frac13 n^3\f$ operations and, while it is made, up to 32 n doubles; a right-hand side
/// \f$2 n^2\f$ operations, each of which waits for the one before. Several right-hand sides overlap: solve for them in
/// one call.
/// Source: Golub & Van Loan, Matrix Computations.
class MATHS_API mlCholeskyDecomposition {
public:
    explicit mlCholeskyDecomposition(mlMatrix const & a);
    mlCholeskyDecomposition(mlCholeskyDecomposition const &) = delete;
    mlCholeskyDecomposition & operator=(mlCholeskyDecomposition const &) = delete;

    [[nodiscard]] int dimension() const { return matrix_.rows(); }
    [[nodiscard]] int is_singular() const { return singular_; }

    /// The square of the product of L's diagonal.
    [[nodiscard]] double determinant() const;

    /// The inverse of A.
    void inverse(mlMatrix & out) const;

    /// L, and its inverse, both with zeros above the diagonal.
    void matrix_l(mlMatrix & out) const;
    void matrix_l_inverted(mlMatrix & out) const;

    /// A, made symmetric from its upper triangle.
    void matrix_original(mlMatrix & out) const;

    /// X with A X = B, B having n rows and any number of columns. X may be B. Each column equals the vector form's.
    void solve(mlMatrix const & b, mlMatrix & x) const;

    /// x with A x = b, of just n elements. x may be b.
    void solve(mlVector const & b, mlVector & x) const;

    /// The same for a slice, which may view x.
    void solve(mlSlice const & b, mlVector & x) const;

    /// \f$1 / (\|A\| \|A^{-1}\|)\f$, the reciprocal of A's condition in the 1-norm, with \f$\|A^{-1}\|\f$ estimated
    /// from below, rarely by more than a factor of 3; 0 for a singular A, 1 for one without rows. Solutions lose as
    /// many digits as it is powers of ten below 1, so that log10 of it and 16 add up to the digits to believe. Cost: up
    /// to 10 solutions. Failure: std::bad_alloc.
    /// Source: Hager (1984); Higham, FORTRAN codes for estimating the one-norm of a real or complex matrix (1988).
    [[nodiscard]] double reciprocal_condition() const;

    /// One step of iterative refinement of x, a solution of A x = b with its n elements, or a first guess: the residual
    /// is formed in twice the working precision. Returns a bound of what is left, the largest error of an element of x
    /// as a part of the largest element: 1e-9 says that nine digits of that are right. The bound allows for all
    /// roundoff but takes A and b as exact, and rests on an estimate, tripled, that can fail in rare cases. It is
    /// infinite when nothing can be said: the condition is about 1e14 / n or beyond, A is singular or not definite, or
    /// numbers overflow. Further steps help until the bound stops falling. Cost: about \f$40 n^2\f$ operations.
    /// Failure: std::bad_alloc.
    double refine(mlVector const & b, mlVector & x) const { return refine(b.slice(), x); }
    double refine(mlSlice const & b, mlVector & x) const;

private:
    mlMatrix matrix_; // L below the diagonal, A on and above it
    mlVector diagonal_;
    int singular_;
};
