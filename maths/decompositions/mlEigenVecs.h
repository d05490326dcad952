#pragma once

#include "maths/core/mlMatrix.h"

enum mlEigenVecsStatus : int {
    mlEigenVecsNotCalculated = 0,
    mlEigenVecsIterationLimit = 1, ///< no results are stored
    mlEigenVecsCalculated = 2
};

/// Eigenvalues and eigenvectors of a matrix, found by `calculate` of the solvers that derive from it, which may be
/// called once for an object.
///
/// Column i of `eigen_vectors()` belongs to eigenvalue i.
/// Lifetime: the matrix must outlive the object until `calculate` has run. Bad input: no index is checked.
/// Threads: const queries may run in parallel.
class MATHS_API mlEigenVecs {
public:
    mlEigenVecs(mlEigenVecs const &) = delete;
    mlEigenVecs & operator=(mlEigenVecs const &) = delete;

    [[nodiscard]] double eigen_value(int i) const {
        check_index("eigen_value", i, eigen_values_.size());
        return eigen_values_[i];
    }
    [[nodiscard]] doublecoDynArr const & eigen_values() const {
        check_calculated("eigen_values");
        return eigen_values_;
    }

    /// Copies the eigenvalues to the front of out, which grows to hold them and never shrinks.
    void eigen_values(mlVector & out) const {
        check_calculated("eigen_values");
        out.become(utConvert, eigen_values_.data(), eigen_values_.size());
    }

    [[nodiscard]] mlSlice const eigen_vector(int i) const {
        check_index("eigen_vector", i, eigen_vectors_.cols());
        return eigen_vectors_.col(i);
    }
    [[nodiscard]] mlMatrix const & eigen_vectors() const {
        check_calculated("eigen_vectors");
        return eigen_vectors_;
    }

    /// The number of eigenvalues found.
    [[nodiscard]] int num_real_eigen_values() const { return eigen_values_.size(); }

    /// What counts as zero in the matrix: the magnitude of t, 1e-6 at first.
    void set_tolerance(double t);

    [[nodiscard]] mlEigenVecsStatus status() const { return status_; }

protected:
    explicit mlEigenVecs(mlMatrix const & m);
    ~mlEigenVecs();

    /// 1 when two unit vectors are equal up to their sign: when their product is within tol of 1 or -1.
    static int equals(mlSlice const & a, mlSlice const & b, double tol);

    /// 1 when |a - b| < tol.
    static int equals(double a, double b, double tol);

    /// In a checked build, stops at a second calculation and at a matrix whose shape is not rows x cols.
    void check_calculation([[maybe_unused]] int rows, [[maybe_unused]] int cols) const {
        MATHS_CHECK(status_ != mlEigenVecsCalculated, "eigenvalues: `calculate` runs once for an object");
        MATHS_CHECK(matrix_->rows() == rows && matrix_->cols() == cols,
                    "eigenvalues: the matrix is %d x %d, not %d x %d", matrix_->rows(), matrix_->cols(), rows, cols);
    }

    mlMatrix const * matrix_;
    mlMatrix eigen_vectors_;
    doublecoDynArr eigen_values_;
    double tolerance_;
    mlEigenVecsStatus status_;

private:
    void check_calculated([[maybe_unused]] char const * query) const {
        MATHS_CHECK(status_ != mlEigenVecsNotCalculated, "%s: `calculate` was not called", query);
    }
    void check_index(char const * query, [[maybe_unused]] int i, [[maybe_unused]] int count) const {
        check_calculated(query);
        MATHS_CHECK(i >= 0 && i < count, "%s: %d of %d found", query, i, count);
    }
};
