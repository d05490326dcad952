#include "maths/decompositions/mlEigenVecs.h"

#include <cmath>

mlEigenVecs::mlEigenVecs(mlMatrix const & m) : matrix_(&m), tolerance_(1e-6), status_(mlEigenVecsNotCalculated) {}

mlEigenVecs::~mlEigenVecs() = default;

void mlEigenVecs::set_tolerance(double t) { tolerance_ = std::fabs(t); }

int mlEigenVecs::equals(mlSlice const & a, mlSlice const & b, double tol) {
    double const product = scalar_product(a, b);
    return std::fabs(product - 1.0) < tol || std::fabs(product + 1.0) < tol;
}

int mlEigenVecs::equals(double a, double b, double tol) { return std::fabs(a - b) < tol; }
