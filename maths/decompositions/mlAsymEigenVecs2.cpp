#include "maths/decompositions/mlAsymEigenVecs2.h"

#include "maths/polynomials/mlRootSolve.h"

mlAsymEigenVecs2::mlAsymEigenVecs2(mlMatrix const & m) : mlAsymEigenVecs(m) {}

mlAsymEigenVecs2::~mlAsymEigenVecs2() = default;

void mlAsymEigenVecs2::calculate() {
    check_calculation(2, 2);
    calculate_eigen_values();
    if (eigen_values_.size() == 2) calculate_eigen_vectors();
    status_ = mlEigenVecsCalculated;
}

void mlAsymEigenVecs2::calculate_eigen_values() {
    mlMatrix const & m = *matrix_;
    double const a = m(0, 0), b = m(0, 1);
    double const c = m(1, 0), d = m(1, 1);
    double roots[2];
    mlRootType const count = mlRootSolve::quadratic_solve(1.0, -a - d, d * a - c * b, roots[0], roots[1]);
    store_eigen_values(roots, count);
}
