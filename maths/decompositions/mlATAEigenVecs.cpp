#include "maths/decompositions/mlATAEigenVecs.h"

#include "maths/decompositions/svd/mlTransposedSVD.h"

mlATAEigenVecs::mlATAEigenVecs(mlMatrix const & a) : mlEigenVecs(a) {}

mlATAEigenVecs::~mlATAEigenVecs() = default;

void mlATAEigenVecs::calculate() {
    check_calculation(matrix_->rows(), matrix_->cols());
    mlFortranMatrix x(matrix_->cols(), matrix_->rows());
    ml_copy_transpose(*matrix_, x);
    ml_transposed_ata_eigen(x, eigen_values_, eigen_vectors_);
    status_ = mlEigenVecsCalculated;
}
