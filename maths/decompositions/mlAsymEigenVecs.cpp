#include "maths/decompositions/mlAsymEigenVecs.h"

#include <algorithm>
#include <cmath>

#include "maths/core/mlRun.h"
#include "maths/decompositions/mlSingularValueDecomposition.h"

using SVD = mlSingularValueDecomposition;

mlAsymEigenVecs::mlAsymEigenVecs(mlMatrix const & m) : mlEigenVecs(m) {}

mlAsymEigenVecs::~mlAsymEigenVecs() = default;

void mlAsymEigenVecs::calculate_eigen_vector(double lambda, mlSlice & out) const {
    int const n = matrix_->rows();
    mlMatrix m;
    if (shifted_matrix(lambda, m)) {
        out = mlVector(mlVectorZero, n);
        out[0] = 1.0;
    } else {
        out = SVD(m, SVD::mlNO_U, SVD::mlALL_V).V().col(n - 1);
    }
}

void mlAsymEigenVecs::calculate_eigen_space(double lambda, int k, mlMatrix & out) const {
    int const n = matrix_->rows();
    mlMatrix m;
    if (shifted_matrix(lambda, m)) {
        out.become(mlMatrixZero, n, k);
        for (int i = 0; i < k; ++i)
            out(i, i) = 1.0;
        return;
    }
    SVD const svd(m, SVD::mlNO_U, SVD::mlALL_V);
    out.become(n, k);
    for (int c = 0; c < k; ++c)
        out.col(c) = svd.V().col(n - 1 - c);
}

/// m becomes A - lambda 1; true when all its elements are below the tolerance in magnitude.
bool mlAsymEigenVecs::shifted_matrix(double lambda, mlMatrix & m) const {
    m.become(utCopy, *matrix_);
    m.diagonal() -= lambda;
    // The true largest magnitude: the matrix's own `max_absolute_value` depends on signs.
    return tolerance_ > ml_run_max_absolute_value(mlDenseRun<double const>{m.data()}, m.rows() * m.cols());
}

void mlAsymEigenVecs::store_eigen_values(double const * roots, int count) {
    for (int i = 0; i < count; ++i) {
        double const root = roots[count - 1 - i]; // the larger first, so that it stays before an equal magnitude
        int place = i;
        for (; place > 0 && std::fabs(eigen_values_[place - 1]) < std::fabs(root); --place)
            eigen_values_[place] = eigen_values_[place - 1];
        eigen_values_[place] = root;
    }
}

void mlAsymEigenVecs::calculate_eigen_vectors() {
    int const count = eigen_values_.size();
    eigen_vectors_.become(matrix_->rows(), count);
    for (int first = 0, end; first < count; first = end) {
        end = first + 1;
        while (end < count && equals(eigen_values_[end - 1], eigen_values_[end], 1e-4))
            ++end;
        if (end == first + 1) {
            mlSlice column = eigen_vectors_.col(first);
            calculate_eigen_vector(eigen_values_[first], column);
            continue;
        }
        mlMatrix space;
        calculate_eigen_space(eigen_values_[first], end - first, space);
        for (int c = first; c < end; ++c)
            eigen_vectors_.col(c) = space.col(c - first);
    }
}
