#pragma once

#include "maths/decompositions/mlAsymEigenVecs.h"

/// Real eigenvalues and eigenvectors of a general 3 x 3 matrix.
///
/// `eigen_vectors()` is 3 x k for k eigenvalues. A trace beyond 1e10 in magnitude makes the cubic term of the
/// characteristic polynomial negligible, and eigenvalues are lost: scale such a matrix.
class MATHS_API mlAsymEigenVecs3 : public mlAsymEigenVecs {
public:
    explicit mlAsymEigenVecs3(mlMatrix const & m);
    explicit mlAsymEigenVecs3(mlMatrix const && m) = delete; // a temporary is gone before `calculate`
    ~mlAsymEigenVecs3() override;

    void calculate();

private:
    void calculate_eigen_values();
};
