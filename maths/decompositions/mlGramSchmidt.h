#pragma once

#include "maths/core/mlMatrix.h"

/// What the last operation of a `mlGramSchmidt` came to.
enum mlGSStatus : int {
    mlGSNothingDone = 0, ///< made on a matrix without columns
    mlGSSucceeded = 1,   ///< the rows, and the vector added, are orthogonal
    mlGSRowRemoved = 2,  ///< a row depends on those before it: it is removed, and every row after it
    mlGSNegligible = 3,  ///< the vector to add was empty or too short
    mlGSWrongSize = 4    ///< the vector to add had another size than the rows
};

/// Keeps the rows of a matrix orthogonal to each other, by modified Gram-Schmidt. Rows are not normalised.
///
/// The constructor orthogonalises the rows that the matrix has, in place; `add` makes a vector orthogonal to them
/// and can append it. A vector whose squared length is below 1e-10, before or after, counts as zero: an absolute test,
/// so bring the vectors to a sensible scale. Rows of a matrix without columns become zeros with the first vector added,
/// and leave that vector unchanged.
/// Lifetime: the matrix belongs to the caller, must outlive the object, and must not be changed meanwhile.
/// Bad input: the status reports vectors of a wrong size or no length; a NaN passes. Failure: std::bad_alloc. Threads:
/// one at a time.
/// Cost: a vector of n elements beside k rows 4 k n operations.
/// Source: Golub & Van Loan, Matrix Computations; Björck, Solving linear least squares problems by Gram-Schmidt
/// orthogonalization (1967).
class MATHS_API mlGramSchmidt {
public:
    explicit mlGramSchmidt(mlMatrix * m);
    mlGramSchmidt(mlGramSchmidt const &) = delete;
    mlGramSchmidt & operator=(mlGramSchmidt const &) = delete;

    /// Makes v orthogonal to the rows and returns its squared length after that; appends it as the last row unless
    /// `keep` is 0. A vector that is rejected stays as it was, and 0 is returned.
    double add(mlVector * v, int keep);

    [[nodiscard]] mlGSStatus status() const { return status_; }

private:
    void orthogonalize(int first);
    void make_orthogonal_to_those_above(int k);

    mlMatrix * basis_;
    doublecoDynArr norms_; // the squared length of each row
    mlGSStatus status_ = mlGSNothingDone;
    double threshold_ = 1e-10;
};
