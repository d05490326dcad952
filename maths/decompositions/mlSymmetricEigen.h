#pragma once

#include "maths/core/mlMatrix.h"
#include "maths/core/mlVector.h"

enum mlSymmetricEigenStatus : int {
    mlSymmetricEigenNotFinite = 0,      ///< an element that is read is infinite or NaN: no results are stored
    mlSymmetricEigenIterationLimit = 1, ///< no results are stored
    mlSymmetricEigenCalculated = 2
};

/// All eigenvalues, and orthonormal eigenvectors unless only values are wanted, of a real symmetric n x n matrix A in
/// \f$O(n^3)\f$ operations, at every order. `mlSymEigenVecs` does the same by rotations, which suit small matrices.
///
/// Only the diagonal and the upper triangle of A are read; the object keeps no reference to A.
/// Order: by decreasing magnitude, as all eigenvalues of this library; of two equal magnitudes the positive value comes
/// first. (Where A has values x and -x, roundoff decides which comes out larger.) Column i of `eigen_vectors()` belongs
/// to eigenvalue i.
/// Signs: of the elements of a vector above 5/8 of its largest magnitude the first is positive. (The largest itself is
/// no good: where symmetry makes several of them equal, roundoff would choose.)
/// Accuracy: the values and vectors are those of a matrix A + E, with |E| a few roundoffs of |A|, and the vectors are
/// orthonormal to a few roundoffs times n, those of equal and nearly equal values too. Values much smaller than |A|
/// have absolute errors of that size, so fewer correct digits or none; of a matrix that is graded, with its large
/// elements at the top left, they usually keep more. A is scaled by a power of two first and the values are scaled
/// back, so no size of A costs digits; a value beyond 1.8e308 comes out infinite.
/// Failure: with infinite or NaN elements and when the iteration takes too long, which has not been seen, `status()`
/// says so, and values and vectors are empty. std::bad_alloc.
/// Bad input: A must be square. Threads: const queries may run in parallel.
/// Cost: about \f$\frac43 n^3\f$ operations for the values; with vectors \f$9 n^3\f$ in all, most of them rotations.
/// While it works it holds \f$2 n^2\f$ numbers besides the results.
///
/// Order of operations: the reduction to tridiagonal form takes reflections in panels of 16, rows from the first on;
/// mlTridiagonalReduction.cpp states the order of every sum, and mlTridiagonalQL.cpp the steps after that. It is the
/// same for every processor, and values alone have the bits of those that come with vectors.
/// Source: Dongarra, Hammarling & Sorensen, Block reduction of matrices to condensed forms for eigenvalue computations
/// (1989); Dubrulle, Martin & Wilkinson, The implicit QL algorithm (1968); Golub & Van Loan, Matrix Computations.
class MATHS_API mlSymmetricEigen {
public:
    /// What is wanted.
    enum mlJOB : int {
        mlVALUES, ///< eigenvalues alone, in two thirds of the time at order 10, half at 100 and a third at 300
        mlVECTORS ///< eigenvectors too
    };

    /// Values and vectors.
    explicit mlSymmetricEigen(mlMatrix const & a);
    mlSymmetricEigen(mlMatrix const & a, mlJOB job);
    mlSymmetricEigen(mlSymmetricEigen const &) = delete;
    mlSymmetricEigen & operator=(mlSymmetricEigen const &) = delete;

    [[nodiscard]] mlSymmetricEigenStatus status() const { return status_; }

    /// The n eigenvalues; none unless the status is `mlSymmetricEigenCalculated`.
    [[nodiscard]] mlVector const & eigen_values() const { return values_; }
    [[nodiscard]] double eigen_value(int i) const {
        MATHS_CHECK(i >= 0 && i < values_.size(), "eigen_value: %d of %d found", i, values_.size());
        return values_[i];
    }

    /// n x n; 0 x 0 where vectors were not wanted or not found.
    [[nodiscard]] mlMatrix const & eigen_vectors() const { return vectors_; }
    [[nodiscard]] mlSlice const eigen_vector(int i) const {
        MATHS_CHECK(i >= 0 && i < vectors_.cols(), "eigen_vector: %d of %d found", i, vectors_.cols());
        return vectors_.col(i);
    }

private:
    void calculate(mlMatrix const & a, mlJOB job, double largest);

    mlVector values_;
    mlMatrix vectors_;
    mlSymmetricEigenStatus status_ = mlSymmetricEigenNotFinite;
};
