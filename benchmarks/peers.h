#pragma once

#include <algorithm>
#include <memory>

#include <Eigen/Core>
#include <gsl/gsl_matrix.h>
#include <gsl/gsl_permutation.h>

using EigenMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>; // stored as the library's
using EigenVector = Eigen::VectorXd;
using GslMatrix = std::unique_ptr<gsl_matrix, void (*)(gsl_matrix *)>;
using GslVector = std::unique_ptr<gsl_vector, void (*)(gsl_vector *)>;
using GslPermutation = std::unique_ptr<gsl_permutation, void (*)(gsl_permutation *)>;

inline GslMatrix gsl_copy(EigenMatrix const & a) {
    GslMatrix copy(gsl_matrix_alloc(a.rows(), a.cols()), gsl_matrix_free);
    std::copy_n(a.data(), a.size(), copy->data);
    return copy;
}
