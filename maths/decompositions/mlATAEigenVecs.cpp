#include "maths/decompositions/mlATAEigenVecs.h"

#include "maths/decompositions/mlSingularValueDecomposition.h"

mlATAEigenVecs::mlATAEigenVecs(mlMatrix const & a) : mlEigenVecs(a) {}

mlATAEigenVecs::~mlATAEigenVecs() = default;

void mlATAEigenVecs::calculate() {
    using SVD = mlSingularValueDecomposition;
    SVD const svd(*matrix_, SVD::mlNO_U, SVD::mlALL_V); // U, of the square of the rows' number, would not be read
    mlVector const & s = svd.diagonal();
    int const n = matrix_->cols();
    eigen_values_.reserve(n);
    for (int i = 0; i < n; ++i)
        eigen_values_[eigen_values_.size()] = i < s.size() ? s[i] * s[i] : 0.0;
    eigen_vectors_.become(utCopy, svd.V());
    status_ = mlEigenVecsCalculated;
}
