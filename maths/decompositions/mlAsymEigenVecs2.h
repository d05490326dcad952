#pragma once

#include "maths/decompositions/mlAsymEigenVecs.h"

/// Real eigenvalues and eigenvectors of a general 2 x 2 matrix.
///
/// Deliberate: eigenvectors are calculated only when there are two eigenvalues. A single one, which the root solver
/// returns when the determinant or the trace exceeds 1e11 in magnitude, has none, unlike in `mlAsymEigenVecs3`.
class MATHS_API mlAsymEigenVecs2 : public mlAsymEigenVecs {
public:
    explicit mlAsymEigenVecs2(mlMatrix const & m);
    explicit mlAsymEigenVecs2(mlMatrix const && m) = delete; // a temporary is gone before `calculate`
    ~mlAsymEigenVecs2() override;

    void calculate();

private:
    void calculate_eigen_values();
};
