#pragma once

#include "maths/decompositions/mlEigenVecs.h"

/// All eigenvalues and orthonormal eigenvectors of a real symmetric n x n matrix, by Jacobi rotations.
///
/// Eigenvalues come in order of decreasing magnitude, with their signs. The rotations end when every element above the
/// diagonal is less than a hundredth of the tolerance in magnitude, an absolute test: scale a matrix that is small as a
/// whole, or set the tolerance, which must not be 0.
/// Failure: after 10,000,000 rotations the status is `mlEigenVecsIterationLimit` and nothing is stored. NaN and
/// infinite elements end too, in numbers without meaning. std::bad_alloc. Bad input: symmetry is trusted. Cost: each
/// rotation takes 6 n^3 operations; meant for small matrices. Source: Jacobi's method; Golub & Van Loan, Matrix
/// Computations.
class MATHS_API mlSymEigenVecs : public mlEigenVecs {
public:
    explicit mlSymEigenVecs(mlMatrix const & m);
    ~mlSymEigenVecs();

    void calculate();

private:
    int check_symmetric(mlMatrix const & m) const;
    void eigens2(mlMatrix const & m, double & lambda1, double & lambda2, mlVector & e1, mlVector & e2) const;
    void sort(mlSlice const & values, mlMatrix const & vectors);
};
