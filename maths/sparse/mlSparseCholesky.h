#pragma once

#include <memory>

#include "maths/core/mlMatrix.h"
#include "platform/coLongArray.h"

class mlSparseMatrix;
class mlSparseSymMatrix;
class mlSymbolicCholesky;

enum mlSparseCholeskyStatus : int {
    mlSparseCholeskyNotFactored = 0, ///< not yet, or analysed only
    mlSparseCholeskyFactored = 1,
    mlSparseCholeskyNotPositive = 2, ///< a pivot is not above its threshold: not positive definite, or singular
    mlSparseCholeskyNotFinite = 3    ///< a pivot is NaN or infinite
};

/// Factors a symmetric positive-definite sparse matrix A of order n as \f$A = P L D L^T P^T\f$ and solves A x = b: P is
/// a permutation chosen so that L gets few elements, L unit lower triangular and D diagonal.
///
///     mlSparseCholesky cholesky(a);
///     if (cholesky.status() != mlSparseCholeskyFactored) ...
///     cholesky.solve(b, x);
///
/// The order P, and which elements L has, follow from the pattern of A alone. `analyse` finds them, and every `factor`
/// after it uses them for a matrix of that pattern: where only values change, that saves a good part of the time.
/// Explicit zeros count as elements. The object keeps no reference to A.
/// Order of operations: in the rows of \f$P^T A P\f$, which order() numbers,
/// \f[ u_{ij} = a_{ij} - \sum_{k<j} l_{jk} u_{ik}, \quad l_{ij} = u_{ij} / d_j \quad (j < i), \f]
/// \f[ d_i = a_{ii} - \sum_{k<i} l_{ik} u_{ik}, \f]
/// the products subtracted one by one in increasing k. `solve` subtracts, in \f$L y = P^T b\f$, the products
/// \f$l_{ij} y_j\f$ in increasing j, divides \f$y_i\f$ by \f$d_i\f$, and in \f$L^T z = y\f$ subtracts \f$l_{ji} z_j\f$
/// in decreasing j. Terms without an element of L are left out. The order P comes from integers only.
/// Not positive definite: factoring ends at the first pivot \f$d_j\f$ that is not above \f$2^{-50} a_{jj}\f$. Rounding
/// errors may have made so small a pivot: to change \f$a_{jj}\f$ by 2^-50 of it or less would make A singular.
/// `failed_row` is that row of A; the rows of L after it are 0 then, and d from that row on, and `solve` computes with
/// these, unchecked: look at the status first. NaN, infinity and overflow end it likewise, as not finite. A matrix
/// without rows is factored and has determinant 1.
/// Bad input: `factor` takes matrices of the pattern analysed only; checked builds stop at others.
/// Failure: std::bad_alloc; the object stays as it was. L may have more elements than an int can count.
/// Threads: const queries may run in parallel.
/// Cost: as many operations as the sum of squares of the numbers of elements in L's columns, and 9 to 11 bytes an
/// element of L. Laplacians of n points have 45 n elements in the plane, for a million, and 5 to 9 \f$n^{4/3}\f$ in
/// space. Source: Ng & Peyton, Block sparse Cholesky algorithms on advanced uniprocessor computers (1993); the order:
/// Amestoy, Davis & Duff, An approximate minimum degree ordering algorithm (1996).
class MATHS_API mlSparseCholesky {
public:
    /// Of order 0, not factored.
    mlSparseCholesky();

    /// Analyses and factors.
    explicit mlSparseCholesky(mlSparseSymMatrix const & a);
    mlSparseCholesky(mlSparseCholesky const &) = delete;
    mlSparseCholesky & operator=(mlSparseCholesky const &) = delete;
    ~mlSparseCholesky();

    /// Prepares for matrices of a's pattern; the values are not read. Drops a factor that there is.
    void analyse(mlSparseSymMatrix const & a);

    /// Factors a matrix of the pattern analysed, in place of one before. Returns the status.
    mlSparseCholeskyStatus factor(mlSparseSymMatrix const & a);

    [[nodiscard]] int dimension() const;
    [[nodiscard]] mlSparseCholeskyStatus status() const { return status_; }

    /// The row of A at whose pivot the factorisation ended; -1 when it did not.
    [[nodiscard]] int failed_row() const { return failed_row_; }

    /// order()[k] is the row of A that is row k of P^T A P, and so is eliminated as the k-th.
    [[nodiscard]] intcoDynArr const & order() const;

    /// The diagonal of D, in that order; empty before the first `factor`.
    [[nodiscard]] mlVector const & d() const { return d_; }

    /// The number of elements of L, its diagonal of ones included. Known after `analyse`.
    [[nodiscard]] long long num_non_zero_elements() const;

    /// L, ones on the diagonal included.
    void matrix_l(mlSparseMatrix & out) const;

    /// The determinant, as m 2^exponent: returns m, 1/2 <= m < 1, the product of d in its order with the powers of two
    /// set apart; 0 with exponent 0 when A is not factored. As all of d are positive, so is m.
    [[nodiscard]] double determinant(long long & exponent) const;

    /// The same as one number, which can be 0 or infinite where a double does not reach.
    [[nodiscard]] double determinant() const;

    /// x with A x = b, of just n elements. x may be b. Allocates n doubles for the call.
    void solve(mlVector const & b, mlVector & x) const;

    /// The same for a slice, which may view x.
    void solve(mlSlice const & b, mlVector & x) const;

    /// X with A X = B, B having n rows and any number of columns. X may be B. Each column equals the vector form's.
    /// Allocates as much as X for the call.
    void solve(mlMatrix const & b, mlMatrix & x) const;

private:
    std::unique_ptr<mlSymbolicCholesky const> symbolic_;
    coLongArray<double> elements_; // of L, in panels; none before the first `factor`
    mlVector d_;
    mlSparseCholeskyStatus status_ = mlSparseCholeskyNotFactored;
    int failed_row_ = -1;
};
