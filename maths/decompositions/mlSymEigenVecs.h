#pragma once

#include <concepts>

#include "maths/decompositions/mlEigenVecs.h"

/// All eigenvalues and orthonormal eigenvectors of a real symmetric n x n matrix, by Jacobi rotations.
///
/// Eigenvalues come in order of decreasing magnitude, with their signs. The rotations end when every element above the
/// diagonal is less than a hundredth of the tolerance in magnitude, an absolute test: scale a matrix that is small as a
/// whole, or set the tolerance, which must not be 0. From elements of about 1e8 on roundoff stays above that threshold,
/// and so does an asymmetry beyond it: the rotations then run out. From 1e154 on squares overflow, and NaNs come out.
/// The order is that of the squares, which distinguish magnitudes between 1.5e-162 and 1.3e154.
/// Failure: after 10,000,000 rotations the status is `mlEigenVecsIterationLimit` and nothing is stored. With NaN and
/// infinite elements the rotations also end, with meaningless results. std::bad_alloc. Deliberate: symmetry is trusted;
/// a checked build stops where elements differ from their mirror images by more than the tolerance. Cost: O(n) a
/// rotation, of which there are about \f$2 n^2\f$; \f$4 n^3\f$ operations a rotation once an element is infinite, NaN
/// or beyond 1e290. Source: Jacobi's method; Golub & Van Loan, Matrix Computations.
class MATHS_API mlSymEigenVecs : public mlEigenVecs {
public:
    explicit mlSymEigenVecs(mlMatrix const & m);
    explicit mlSymEigenVecs(mlMatrix const && m) = delete; // a temporary is gone before `calculate`
    ~mlSymEigenVecs();

    void calculate();

private:
    int check_symmetric(mlMatrix const & m) const;
    void eigens2(mlMatrix const & m, double & lambda1, double & lambda2, mlVector & e1, mlVector & e2) const;
    void multiply_out(mlMatrix & a, mlMatrix & v, int rotations);
    void sort(mlSlice const & values, mlMatrix const & vectors);
    template <std::regular_invocable<int> VectorOf> void store(mlSlice const & values, VectorOf vector_of);
};
