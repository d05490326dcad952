#include "maths/decompositions/mlLUDecomposition.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/decompositions/mlConditionEstimate.h"
#include "maths/decompositions/mlLUElimination.h"
#include "maths/decompositions/mlTriangularSolve.h"
#include "maths/kernels/mlColumnStrips.h"
#include "maths/kernels/mlKernels.h"

namespace {

mlConstBlock block(mlMatrix const & m) { return {m.data(), m.cols()}; }

void check_factors([[maybe_unused]] char const * query, [[maybe_unused]] mlMatrix const & lu) {
    MATHS_CHECK(lu.rows() <= lu.cols(), "LU %s: a %d x %d matrix has more rows than columns", query, lu.rows(),
                lu.cols());
}

/// U, from its last row on, as a lower triangle.
mlTriangle upper_triangle(mlMatrix const & lu, int n) {
    std::ptrdiff_t const cols = lu.cols();
    double const * const last_pivot = lu.data() + (n - 1) * (cols + 1);
    return {last_pivot, -cols, -1, last_pivot, -(cols + 1)};
}

// U X = Y in place, the last row by the reciprocal of its pivot, the others by division: results depend on it.
void solve_upper(mlMatrix const & lu, int n, mlBlock x, int m) {
    mlTriangle const upper = upper_triangle(lu, n);
    double const reciprocal = 1.0 / *upper.diagonal;
    double * const last_row = x.data + (n - 1) * x.ld;
    for (int j = 0; j < m; ++j)
        last_row[j] *= reciprocal;
    if (ml_few(n, m)) return ml_solve_latest_first(1, n, m, upper, {last_row, -x.ld});
    ml_in_strips(n, m, x, [&](int width, mlBlock strip) {
        ml_kernels().solve_latest_first(1, n, width, upper, {strip.data + (n - 1) * strip.ld, -strip.ld});
    });
}

void check_right_side([[maybe_unused]] mlMatrix const & lu, [[maybe_unused]] int singular, [[maybe_unused]] int n,
                      [[maybe_unused]] int size) {
    MATHS_CHECK(!singular, "LU solve: the %d x %d matrix is singular", lu.rows(), lu.cols());
    MATHS_CHECK(n <= lu.rows() && size >= n, "LU solve: %d x %d factors, %d elements", lu.rows(), lu.cols(), size);
}

// A x = b for the n rows of x, which is a copy of b, a vector or a slice.
template <class RightHandSide>
void solve_copy(mlMatrix const & lu, intcoDynArr const & permutation, int n, RightHandSide const & b, mlVector & x) {
    if (n < 1) return;
    double * const v = x.data();
    for (int i = 0; i < n; ++i) {
        if (permutation[i] != i) v[i] = b[permutation[i]];
    }
    ml_solve_unit_lower(n, block(lu), v);
    ml_solve_latest_first(n, upper_triangle(lu, n), v + n - 1, -1); // U x = y
}

/// A^-1, by the factors of the first n columns.
class Inverse {
public:
    Inverse(mlMatrix const & lu, intcoDynArr const & permutation)
        : lu_(lu), permutation_(permutation), permuted_(mlVectorZero, lu.rows()) {}

    int size() const { return lu_.rows(); }

    void solve(double * x) const {
        if (size() == 0) return;
        for (int k = 0; k < size(); ++k)
            permuted_[k] = x[permutation_[k]];
        std::copy(permuted_.begin(), permuted_.end(), x);
        ml_solve_unit_lower(size(), block(lu_), x);
        ml_solve_latest_first(size(), upper_triangle(lu_, size()), x + size() - 1, -1);
    }

    // U^T y = x, then L^T z = y from its last row on, and z is permuted.
    void solve_transposed(double * x) const {
        if (size() == 0) return;
        static constexpr double one = 1.0;
        std::ptrdiff_t const cols = lu_.cols(), last = size() - 1;
        ml_solve_latest_first(size(), {lu_.data(), 1, cols, lu_.data(), cols + 1}, x, 1);
        ml_solve_latest_first(size(), {lu_.data() + last * (cols + 1), -1, -cols, &one, 0}, x + last, -1);
        for (int k = 0; k < size(); ++k)
            permuted_[permutation_[k]] = x[k];
        std::copy(permuted_.begin(), permuted_.end(), x);
    }

private:
    mlMatrix const & lu_;
    intcoDynArr const & permutation_;
    mutable mlVector permuted_;
};

/// The row sums of |L| |U|, by the rows of A.
mlVector factor_sums(mlMatrix const & lu, intcoDynArr const & permutation) {
    int const n = lu.rows();
    mlVector upper(mlVectorZero, n), sums(mlVectorZero, n);
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j)
            upper[i] += std::fabs(lu(i, j));
        double sum = upper[i];
        for (int k = 0; k < i; ++k)
            sum += std::fabs(lu(i, k)) * upper[k];
        sums[permutation[i]] = sum;
    }
    return sums;
}

} // namespace

mlLUDecomposition::mlLUDecomposition(mlMatrix const & a) : source_(&a), singular_(1), swap_count_(0) {
    lu_.become(utCopy, a);
    permutation_.expand(a.rows());
    singular_ = !ml_lu_decompose(lu_, permutation_, swap_count_, 1e-20);
}

double mlLUDecomposition::determinant() const {
    check_factors("determinant", lu_);
    double product = swap_count_ % 2 == 0 ? 1.0 : -1.0;
    for (int i = 0; i < lu_.rows(); ++i)
        product *= lu_(i, i);
    return product;
}

void mlLUDecomposition::inverse(mlMatrix & out) const {
    int const n = lu_.rows();
    out.become(mlMatrixZero, n, n);
    int const equations = source_->rows(); // which may be `out`
    for (int i = 0; i < n; ++i)
        out.data()[i * n + (i < equations ? permutation_[i] : i)] = 1.0;
    solve_exchanged(out);
}

void mlLUDecomposition::lower_matrix(mlMatrix & out) const {
    check_factors("lower_matrix", lu_);
    int const n = lu_.rows();
    out.become(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < i; ++j)
            out(i, j) = lu_(i, j);
        out(i, i) += 1.0;
    }
}

void mlLUDecomposition::upper_matrix(mlMatrix & out) const {
    check_factors("upper_matrix", lu_);
    int const n = lu_.rows();
    out.become(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j)
            out(i, j) = lu_(i, j);
    }
}

void mlLUDecomposition::permutation_matrix(mlMatrix & out) const {
    int const n = lu_.rows();
    out.become(mlMatrixZero, n, n);
    for (int k = 0; k < n; ++k)
        out(k, permutation_[k]) = 1.0;
}

void mlLUDecomposition::solve(mlMatrix const & b, mlMatrix & x) const {
    if (&b == &x) {
        mlMatrix right_hand_sides;
        right_hand_sides.become(utCopy, b);
        solve(right_hand_sides, x);
        return;
    }
    int const n = source_->rows(), m = b.cols();
    MATHS_CHECK(b.rows() >= n, "LU solve: %d x %d factors, %d x %d right-hand sides", lu_.rows(), lu_.cols(), b.rows(),
                m);
    x.become(utCopy, b);
    for (int i = 0; i < n; ++i) {
        int const from = permutation_[i];
        MATHS_CHECK(from < b.rows(), "LU solve: row %d of %d x %d right-hand sides", from, b.rows(), m);
        if (from != i) std::copy_n(b.data() + from * m, m, x.data() + i * m);
    }
    solve_exchanged(x);
}

// In place, for right-hand sides whose rows have been exchanged like A's.
void mlLUDecomposition::solve_exchanged(mlMatrix & x) const {
    int const n = source_->rows(), m = x.cols(); // of the caller's matrix, which may have lost rows since
    MATHS_CHECK(!singular_, "LU solve: the %d x %d matrix is singular", lu_.rows(), lu_.cols());
    MATHS_CHECK(n <= lu_.rows(), "LU solve: %d x %d factors, a matrix of %d rows", lu_.rows(), lu_.cols(), n);
    if (n < 1) return;
    ml_solve_unit_lower(0, n, m, block(lu_), {x.data(), m});
    solve_upper(lu_, n, {x.data(), m}, m);
}

void mlLUDecomposition::solve(mlVector const & b, mlVector & x) const {
    if (&b == &x) {
        mlVector right_hand_side;
        right_hand_side.become(utCopy, b);
        solve(right_hand_side, x);
        return;
    }
    int const n = source_->rows();
    check_right_side(lu_, singular_, n, b.size());
    x.clear(0);
    x.become(utCopy, b);
    solve_copy(lu_, permutation_, n, b, x);
}

void mlLUDecomposition::solve(mlSlice const & b, mlVector & x) const {
    if (b.data() == x.data()) {
        solve(mlVector(b), x);
        return;
    }
    int const n = source_->rows();
    check_right_side(lu_, singular_, n, b.length());
    x.become(utCopy, b);
    solve_copy(lu_, permutation_, n, b, x);
}

double mlLUDecomposition::reciprocal_condition() const {
    if (singular_) return 0.0;
    int const n = lu_.rows();
    double norm = 0.0;
    if (source_->cols() == n) {
        norm = one_norm(*source_);
    } else {
        for (int j = 0; j < n && norm == norm; ++j) {
            double const sum = one_norm(source_->col(j));
            if (!(sum <= norm)) norm = sum;
        }
    }
    return ml_reciprocal_condition(norm, Inverse(lu_, permutation_));
}

double mlLUDecomposition::refine(mlSlice const & b, mlVector & x) const {
    if (singular_) return std::numeric_limits<double>::infinity();
    MATHS_CHECK(b.length() >= lu_.rows() && x.size() >= lu_.rows(), "LU refine: order %d, vectors of %d and %d",
                lu_.rows(), b.length(), x.size());
    auto const element = [this](int i, int j) { return source_->data()[i * source_->cols() + j]; };
    return ml_refine(Inverse(lu_, permutation_), element, factor_sums(lu_, permutation_), b, x);
}
