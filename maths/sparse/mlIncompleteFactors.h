#pragma once

#include <memory>

#include "maths/sparse/mlLinearOperator.h"
#include "platform/coLongArray.h"

class mlCompressedRows;
class mlSparseMatrix;
class mlSparseSymMatrix;

enum mlIncompleteStatus : int {
    mlIncompleteFactored = 0,
    mlIncompleteNoPivot = 1,  ///< no shift helps: a diagonal that is not positive (symmetric), a zero row (general)
    mlIncompleteNotFinite = 2 ///< an element is NaN or infinite, or numbers overflowed
};

/// The preconditioner of incomplete factors: \f$L D L^T\f$ of a symmetric sparse matrix, known as IC(0), or L D U of a
/// general one, ILU(0), computed as if every element were 0 that A does not store: they take no more room than A.
///
///     mlIncompleteFactors const factors(a);
///     solver.set_preconditioner(&factors);
///
/// `multiply` solves with the factors. L and U have unit diagonals, and rows are taken in A's order. Explicit zeros
/// count as stored, and D is complete. Any failure leaves a preconditioner that changes nothing: `multiply` copies.
/// Order of operations: for stored elements, the products subtracted one by one in increasing k, terms without an
/// element of both factors left out, for symmetric A
/// \f[ u_{ij} = a_{ij} - \sum_{k<j} u_{ik} l_{jk}, \quad l_{ij} = u_{ij} / d_j \quad (j < i), \f]
/// \f[ d_i = a_{ii} + \sigma a_{ii} - \sum_{k<i} u_{ik} l_{ik}, \f]
/// with \f$\sigma\f$ for the shift; for general A, row by row, with m for the largest magnitude in row i of A,
/// \f[ w_j = a_{ij} - \sum_{k<\min(i,j)} w_k u_{kj}, \f]
/// where \f$w_i\f$ starts from \f$a_{ii} \pm \sigma m\f$, the sign being that of \f$a_{ii}\f$, and
/// \f[ l_{ij} = w_j / d_j \quad (j < i), \quad d_i = w_i, \quad u_{ij} = w_j / d_i \quad (j > i). \f]
/// `multiply` subtracts, in L y = x, the products \f$l_{ij} y_j\f$ in increasing j, divides \f$y_i\f$ by \f$d_i\f$, and
/// then subtracts \f$u_{ij} z_j\f$ in increasing j, but \f$l_{ji} z_j\f$ in decreasing j for symmetric A.
/// Shift: a pivot fails that is not above \f$2^{-30} a_{ii}\f$, of general A in magnitude not above 2⁻³⁰ m: incomplete
/// factors can have such pivots where complete ones have not. Then all begins anew with a shift of 2⁻¹⁰, which is
/// doubled until no pivot fails, up to 2³¹.
/// Lifetime: keeps no reference to A. Failure: the status; std::bad_alloc. Threads: may multiply concurrently.
/// Cost: memory for the elements, of symmetric A for one triangle. A factorisation takes, for each stored l(i, j), the
/// length of the shorter of the rows i and j times the logarithm of the longer one's.
/// Source: Meijerink & van der Vorst, An iterative solution method for linear systems of which the coefficient matrix
/// is a symmetric M-matrix (1977); the shift: Manteuffel, An incomplete factorization technique for positive definite
/// linear systems (1980).
class MATHS_API mlIncompleteFactors final : public mlLinearOperator {
public:
    explicit mlIncompleteFactors(mlSparseSymMatrix const & a);
    explicit mlIncompleteFactors(mlSparseMatrix const & a);
    mlIncompleteFactors(mlIncompleteFactors const &) = delete;
    mlIncompleteFactors & operator=(mlIncompleteFactors const &) = delete;
    ~mlIncompleteFactors() override;

    [[nodiscard]] mlIncompleteStatus status() const { return status_; }

    /// The last shift tried, 0 when the first pivots were good.
    [[nodiscard]] double shift() const { return shift_; }

    void multiply(mlVector const & x, mlVector & y) const override;

private:
    template <class Make, class Factor> void factor_with_shifts(Make make, Factor factor);

    std::unique_ptr<mlCompressedRows> factors_; ///< L with D, of general A with D and U, where A's elements were
    coLongArray<std::ptrdiff_t> diagonal_;      ///< where general A's D is among them; none for symmetric A
    mlIncompleteStatus status_ = mlIncompleteFactored;
    double shift_ = 0.0;
};
