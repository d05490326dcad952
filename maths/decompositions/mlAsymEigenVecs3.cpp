#include "maths/decompositions/mlAsymEigenVecs3.h"

#include "maths/polynomials/mlRootSolve.h"

mlAsymEigenVecs3::mlAsymEigenVecs3(mlMatrix const & m) : mlAsymEigenVecs(m) {}

mlAsymEigenVecs3::~mlAsymEigenVecs3() = default;

void mlAsymEigenVecs3::calculate() {
    check_calculation(3, 3);
    calculate_eigen_values();
    calculate_eigen_vectors();
    status_ = mlEigenVecsCalculated;
}

// The roots of det(A - x 1).
void mlAsymEigenVecs3::calculate_eigen_values() {
    mlMatrix const & m = *matrix_;
    double const a = m(0, 0), b = m(0, 1), c = m(0, 2);
    double const d = m(1, 0), e = m(1, 1), f = m(1, 2);
    double const g = m(2, 0), h = m(2, 1), i = m(2, 2);
    double const trace = a + e + i;
    double const minors = (c * g + b * d + f * h) - (i * a + i * e + a * e);
    double const determinant = (f * b * g + a * e * i + d * c * h) - (c * e * g + b * d * i + f * a * h);
    double roots[3];
    mlRootType const count = mlRootSolve::cubic_solve(-1.0, trace, minors, determinant, roots[0], roots[1], roots[2]);
    store_eigen_values(roots, count);
}
