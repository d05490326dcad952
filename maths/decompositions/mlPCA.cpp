#include "maths/decompositions/mlPCA.h"

#include <cmath>
#include <limits>

#include "maths/decompositions/svd/mlTransposedSVD.h"

namespace {

void copy_sized(mlVector & to, mlSlice const & from) {
    to.clear(0);
    to.expand(from.length());
    to = from;
}

// Row i of the points is point i: a matrix or a 2D array.
template <class Points>
mlPCAStatus decompose(Points const & points, mlVector & eigenvalues, mlMatrix & axes, doublecoDynArr & mass_centre) {
    if (points.rows() < points.cols() || points.cols() < 2) return mlPCANotEnoughData;
    int const count = points.rows(), dimension = points.cols();
    mlVector mean(mlVectorZero, dimension);
    double * const sums = mean.data();
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < dimension; ++j)
            sums[j] += points(i, j);
    }
    mean /= count;
    mass_centre.become(utCopy, mean);

    double const scale = std::sqrt(count - 1.0); // so that x x^T is the covariance matrix
    mlFortranMatrix x(dimension, count);
    for (int j = 0; j < dimension; ++j) {
        double * const row = x.row(j + 1);
        for (int i = 0; i < count; ++i)
            row[i] = points(i, j) - sums[j];
        ml_kernels().divide(ml_padded(count), row, scale);
    }
    doublecoDynArr variances;
    ml_transposed_ata_eigen(x, variances, axes);
    eigenvalues.become(utConvert, variances.data(), dimension);
    return mlPCAComputed;
}

template <class Points>
void project(Points const & points, doublecoDynArr const & mean, mlMatrix const & axes, mlMatrix & out) {
    int const dimension = mean.size();
    MATHS_CHECK(points.cols() == dimension, "principal components: scores of %d x %d in %d dimensions", points.rows(),
                points.cols(), dimension);
    mlMatrix centred(points.rows(), dimension);
    for (int i = 0; i < points.rows(); ++i) {
        for (int j = 0; j < dimension; ++j)
            centred(i, j) = points(i, j) - mean[j];
    }
    multiply(centred, axes, out);
}

} // namespace

mlPCA::mlPCA(doublecoDynArr2D const & points) : status_(mlPCANotComputed) {
    status_ = decompose(points, eigenvalues_, axes_, mass_centre_);
}

mlPCA::mlPCA(mlMatrix const & points) : status_(mlPCANotComputed) {
    status_ = decompose(points, eigenvalues_, axes_, mass_centre_);
}

mlPCA::~mlPCA() = default;

mlPCAStatus mlPCA::axis(int i, mlVector & out) const {
    if (i < 0 || i >= eigenvalues_.size()) return mlPCAAxisOutOfRange;
    if (status_ == mlPCAComputed) copy_sized(out, axis(i));
    return status_;
}

mlPCAStatus mlPCA::principal_axis(mlVector & out) const {
    if (status_ == mlPCAComputed) copy_sized(out, principal_axis());
    return status_;
}

mlPCAStatus mlPCA::least_axis(mlVector & out) const { return axis(eigenvalues_.size() - 1, out); }

double mlPCA::eigenvalue(int i) const {
    MATHS_CHECK(status_ != mlPCAComputed || (i >= 0 && i < eigenvalues_.size()),
                "principal components: eigenvalue %d of %d", i, eigenvalues_.size());
    return status_ == mlPCAComputed ? eigenvalues_[i] : std::numeric_limits<double>::max();
}

mlPCAStatus mlPCA::eigenvalues(mlVector & out) const {
    if (status_ == mlPCAComputed) copy_sized(out, eigenvalues_.slice());
    return status_;
}

mlPCAStatus mlPCA::scores(mlMatrix const & points, mlMatrix & out) const {
    if (status_ == mlPCAComputed) project(points, mass_centre_, axes_, out);
    return status_;
}

mlPCAStatus mlPCA::scores(doublecoDynArr2D const & points, mlMatrix & out) const {
    if (status_ == mlPCAComputed) project(points, mass_centre_, axes_, out);
    return status_;
}
