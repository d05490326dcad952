#include "maths/sparse/mlMatrixOperator.h"

#include "maths/core/mlVectorRuns.h"
#include "maths/sparse/mlCompressedRows.h"

namespace {

void multiply_general(mlCompressedRows const & a, int n, double const * x, double * y) {
    double const * const values = a.values.data();
    int const * const columns = a.columns.data();
    for (int i = 0; i < n; ++i) {
        double sum = 0.0;
        for (std::ptrdiff_t at = a.begin(i), end = a.end(i); at < end; ++at)
            sum += values[at] * x[columns[at]];
        y[i] = sum;
    }
}

// When its turn comes y[i] has its terms from the columns before i, which rows before it added.
void multiply_symmetric(mlCompressedRows const & upper, int n, double const * x, double * y) {
    double const * const values = upper.values.data();
    int const * const columns = upper.columns.data();
    std::fill_n(y, n, 0.0);
    for (int i = 0; i < n; ++i) {
        std::ptrdiff_t at = upper.begin(i);
        std::ptrdiff_t const end = upper.end(i);
        double const x_i = x[i];
        double sum = y[i];
        if (at < end && columns[at] == i) sum += values[at++] * x_i;
        for (; at < end; ++at) {
            sum += values[at] * x[columns[at]];
            y[columns[at]] += values[at] * x_i;
        }
        y[i] = sum;
    }
}

} // namespace

mlMatrixOperator::mlMatrixOperator(mlSparseSymMatrix const & a) : rows_(new mlCompressedRows(a)), symmetric_(true) {
    dimension = a.rows();
}

mlMatrixOperator::mlMatrixOperator(mlSparseMatrix const & a) : rows_(new mlCompressedRows(a)) {
    MATHS_CHECK(a.rows() == a.cols(), "matrix operator: %d x %d", a.rows(), a.cols());
    dimension = a.rows();
}

mlMatrixOperator::mlMatrixOperator(mlMatrix const & a) : dense_(&a) {
    MATHS_CHECK(a.rows() == a.cols(), "matrix operator: %d x %d", a.rows(), a.cols());
    dimension = a.rows();
}

mlMatrixOperator::~mlMatrixOperator() = default;

void mlMatrixOperator::multiply(mlVector const & x, mlVector & y) const {
    ml_check_length("matrix operator", dimension, x.size());
    if (dense_ != nullptr) {
        y.become(mlMatrixProduct, *dense_, x);
        return;
    }
    y.expand(dimension);
    (symmetric_ ? multiply_symmetric : multiply_general)(*rows_, dimension, x.data(), y.data());
}
