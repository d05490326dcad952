#pragma once

#include <memory>

#include "maths/core/mlMatrix.h"

class mlSparseMatrix;
class mlSymbolicLU;
struct mlSparseLUFactors;

enum mlSparseLUStatus : int {
    mlSparseLUNotFactored = 0, ///< not yet, or analysed only
    mlSparseLUFactored = 1,
    mlSparseLUStructurallySingular = 2, ///< whatever the values are: some k columns have elements in fewer than k rows
    mlSparseLUSingular = 3,             ///< no element of a column is large enough for a pivot
    mlSparseLUNotFinite = 4             ///< an element of A is NaN or infinite, or numbers overflowed
};

/// The part of the largest element that an element of the diagonal must have to be the pivot, unless told otherwise.
inline constexpr double mlSparseLUThreshold = 0.001;

/// Factors a square sparse matrix A of order n as P A Q = L U + F and solves A x = b. P and Q are permutations that
/// make A block upper triangular, with as many blocks as can be: F has the elements above the blocks of the diagonal,
/// and L, unit lower, and U, upper triangular, have elements within these blocks only.
///
///     mlSparseLU lu(a);
///     if (lu.status() != mlSparseLUFactored) ...
///     lu.solve(b, x);
///
/// The blocks and the order Q of the columns follow from the pattern of A alone; in a block it is that of minimum
/// degree of B + B^T. `analyse` finds them, and every `factor` after it uses them for a matrix of that pattern.
/// Explicit zeros count as elements. The object keeps no reference to A. Where A is symmetric and positive definite,
/// mlSparseCholesky takes half the work and memory or less.
/// Pivots: the analysis puts a stored element at each place of the diagonal, one of A's diagonal where it can. Column j
/// takes the element that stands there, after the exchanges of rows so far, when it is at least `threshold` times the
/// largest one from there down, else that largest one; of several, the uppermost. The two rows change places. Sizes
/// are compared after each row was divided by the power of two that is next below its largest element within its
/// block, which changes no bit of the factors. threshold 1 is partial pivoting; small ones keep L and U sparse.
/// Order of operations: with the rows and columns of P A Q, and k from the block's first column,
/// \f[ u_{ij} = a_{ij} - \sum_{k<i} l_{ik} u_{kj} \quad (i \le j), \f]
/// \f[ l_{ij} = \Bigl( a_{ij} - \sum_{k<j} l_{ik} u_{kj} \Bigr) / u_{jj} \quad (i > j), \f]
/// the products subtracted one by one in increasing k, from 0.0 where A has no element. `solve`, from the last block to
/// the first, subtracts from \f$b_i\f$ the products \f$f_{ij} x_j\f$ of the blocks after it in decreasing j, then
/// \f$l_{ij} y_j\f$ in increasing j, then \f$u_{ij} x_j\f$ in decreasing j, and divides by \f$u_{ii}\f$. Terms without
/// an element of L, U or F are left out; one that cancelled is an element.
/// Singular: factoring ends at the first column none of whose elements from the diagonal down is above 2⁻⁵⁰ of the
/// column's largest element in A's block, both compared as above. Rounding errors may have made so small a pivot: to
/// change the column by 2⁻⁵⁰ of that would make A singular. `failed_column` is that column of A. L and U then have the
/// columns before it, pivots() is 0 from it on, and `solve` computes with these, unchecked: look at the status first. A
/// matrix without rows is factored and has determinant 1.
/// Bad input: A is square, and `factor` takes matrices of the pattern analysed only; checked builds stop at others.
/// Failure: std::bad_alloc; the object stays as it was.
/// Threads: const queries may run in parallel.
/// Cost: as many operations as the factors need, besides a search that is quicker, and 12 bytes an element of L and U.
/// Source: Gilbert & Peierls, Sparse partial pivoting in time proportional to arithmetic operations (1988); Eisenstat &
/// Liu, Exploiting structural symmetry in unsymmetric sparse symbolic factorization (1992); the blocks: Duff, On
/// algorithms for obtaining a maximum transversal (1981); Pothen & Fan, Computing the block triangular form of a sparse
/// matrix (1990); Duff & Reid, An implementation of Tarjan's algorithm for the block triangularization of a matrix
/// (1978); the order: Amestoy, Davis & Duff, An approximate minimum degree ordering algorithm (1996).
class MATHS_API mlSparseLU {
public:
    /// Of order 0, not factored.
    mlSparseLU();

    /// Analyses and factors.
    explicit mlSparseLU(mlSparseMatrix const & a, double threshold = mlSparseLUThreshold);
    mlSparseLU(mlSparseLU const &) = delete;
    mlSparseLU & operator=(mlSparseLU const &) = delete;
    ~mlSparseLU();

    /// Prepares for matrices of a's pattern; the values are not read. Drops factors that there are.
    void analyse(mlSparseMatrix const & a);

    /// Factors a matrix of the pattern analysed, in place of one before. Returns the status.
    mlSparseLUStatus factor(mlSparseMatrix const & a, double threshold = mlSparseLUThreshold);

    [[nodiscard]] int dimension() const;
    [[nodiscard]] mlSparseLUStatus status() const { return status_; }

    /// The column of A at which the factorisation ended; -1 when it did not. Of a structurally singular matrix it is
    /// the first that was left without a pivot by a largest choice of elements in different rows and columns; of one
    /// with elements that are not finite, the column of the first of them in the order of rows.
    [[nodiscard]] int failed_column() const { return failed_column_; }

    /// Row k and column k of P A Q are row row_order()[k] and column column_order()[k] of A. Before the first `factor`
    /// the rows have the order that they have without exchanges.
    [[nodiscard]] intcoDynArr const & row_order() const;
    [[nodiscard]] intcoDynArr const & column_order() const;

    /// How many blocks there are on the diagonal. Known after `analyse`.
    [[nodiscard]] int num_blocks() const;

    /// The number of exchanges of rows in the last `factor`.
    [[nodiscard]] int num_exchanges() const;

    /// The diagonal of U; empty before the first `factor`.
    [[nodiscard]] mlVector const & pivots() const;

    /// The number of elements of L and U, diagonals included, and of F. 0 before the first `factor`.
    [[nodiscard]] long long num_non_zero_elements_l() const;
    [[nodiscard]] long long num_non_zero_elements_u() const;
    [[nodiscard]] long long num_non_zero_elements_f() const;

    /// L, ones on the diagonal included; U; F.
    void matrix_l(mlSparseMatrix & out) const;
    void matrix_u(mlSparseMatrix & out) const;
    void matrix_f(mlSparseMatrix & out) const;

    /// The determinant, as m 2^exponent: returns m, 1/2 <= |m| < 1, the product of pivots() in their order with the
    /// powers of two set apart, negated when P and Q together are an odd permutation; 0 with exponent 0 when A is not
    /// factored.
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
    template <class Rows> void substitute(Rows x) const;

    std::unique_ptr<mlSymbolicLU const> symbolic_;
    std::unique_ptr<mlSparseLUFactors const> factors_; // none before the first `factor`
    mlVector const no_pivots_;
    mlSparseLUStatus status_ = mlSparseLUNotFactored;
    int failed_column_ = -1;
};
