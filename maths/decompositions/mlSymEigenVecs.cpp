#include "maths/decompositions/mlSymEigenVecs.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "maths/core/mlRun.h"
#include "maths/decompositions/mlJacobiRotations.h"
#include "platform/coQuickSort.h"

namespace {

int const rotation_limit = 10000000;

mlJacobiPivot find_pivot(mlMatrix const & a) {
    mlJacobiPivot pivot{mlLeastDouble, 0, 0};
    for (int i = 0; i < a.rows(); ++i) {
        for (int j = i + 1; j < a.rows(); ++j) {
            double const magnitude = std::fabs(a(i, j));
            if (magnitude > pivot.magnitude) pivot = {magnitude, i, j};
        }
    }
    return pivot;
}

/// NaN and infinities do not count as asymmetry.
[[maybe_unused]] bool is_finite(mlMatrix const & a) {
    return std::all_of(a.begin(), a.end(), [](double x) { return std::isfinite(x); });
}

/// The indices of the values by ascending squares, in the order that doublecoQuickSortIndex gives.
class OrderBySquares final : private coQuickSort {
public:
    explicit OrderBySquares(mlSlice const & values)
        : room_(2 * static_cast<std::size_t>(values.length())), squares_(room_.data()),
          numbers_(squares_ + values.length()) {
        int const n = values.length();
        for (int i = 0; i < n; ++i) {
            squares_[i] = values[i] * values[i];
            numbers_[i] = i;
        }
        if (n != 2)
            sort(squares_, n);
        else if (!(squares_[0] < squares_[1])) // as the sort does, for equal values too, in a tenth of the time
            arr_swap(squares_, 0, 1);
    }

    int operator[](int i) const { return static_cast<int>(numbers_[i]); }

private:
    int obj_compare(void const * a, void const * b) const override {
        double const x = *static_cast<double const *>(a), y = *static_cast<double const *>(b);
        return x < y ? -1 : x > y ? 1 : 0;
    }
    void * arr_get(void *, int i) const override { return squares_ + i; }
    void arr_swap(void *, int i, int j) const override {
        std::swap(squares_[i], squares_[j]);
        std::swap(numbers_[i], numbers_[j]);
    }

    coScratch<ml_tuning::eigen_scratch> room_;
    double *squares_, *numbers_;
};

} // namespace

mlSymEigenVecs::mlSymEigenVecs(mlMatrix const & m) : mlEigenVecs(m) {}

mlSymEigenVecs::~mlSymEigenVecs() = default;

void mlSymEigenVecs::calculate() {
    int const n = matrix_->rows();
    check_calculation(n, n);
    MATHS_CHECK(check_symmetric(*matrix_) || !is_finite(*matrix_),
                "eigenvalues: the %d x %d matrix is not symmetric to %g", n, n, tolerance_);
    mlJacobiRotations state(*matrix_);
    int rotations = 0;
    while (state.exact()) {
        mlJacobiPivot const pivot = state.pivot();
        bool const diagonal = tolerance_ * 0.01 > pivot.magnitude;
        if (diagonal || !state.rotate(pivot)) {
            state.finish();
            if (!diagonal) break;
            store(state.diagonal(), [&](int i) { return state.vector(i); });
            return;
        }
        if (++rotations == rotation_limit) {
            status_ = mlEigenVecsIterationLimit;
            return;
        }
    }
    mlMatrix a, v(mlMatrixIdentity, n);
    a.become(utCopy, *matrix_);
    for (int i = 0; i < v.rows() && rotations > 0; ++i) {
        a.row(i) = state.row(i);
        v.col(i) = state.vector(i);
    }
    multiply_out(a, v, rotations);
}

/// The method of `calculate` by full products. Infinities and NaNs spread as they do here; no shortcut reproduces that.
void mlSymEigenVecs::multiply_out(mlMatrix & a, mlMatrix & v, int rotations) {
    mlMatrix r, r_transposed, left_product, block(mlMatrixZero, 2, 2);
    mlVector e1(mlVectorZero, 2), e2(mlVectorZero, 2);
    while (true) {
        mlJacobiPivot const pivot = find_pivot(a);
        if (tolerance_ * 0.01 > pivot.magnitude) break;
        int const p = pivot.p, q = pivot.q;
        block(0, 0) = a(p, p);
        block(0, 1) = a(p, q);
        block(1, 0) = a(q, p);
        block(1, 1) = a(q, q);
        double lambda1, lambda2;
        eigens2(block, lambda1, lambda2, e1, e2);
        r.become(mlMatrixIdentity, v.rows());
        r(p, p) = e1[0];
        r(q, p) = e1[1];
        r(p, q) = e2[0];
        r(q, q) = e2[1];
        r_transposed.become(mlMatrixTranspose, r);
        left_product.become(mlMatrixProduct, r_transposed, a);
        a.become(mlMatrixProduct, left_product, r);
        v.become(mlMatrixProduct, v, r);
        if (++rotations == rotation_limit) {
            status_ = mlEigenVecsIterationLimit;
            return;
        }
    }
    sort(a.diagonal(), v);
}

// GCOV_EXCL_START: called in checked builds only; otherwise `calculate` trusts its matrix
int mlSymEigenVecs::check_symmetric(mlMatrix const & m) const {
    for (int i = 0; i < m.rows(); ++i) {
        for (int j = 0; j < i; ++j) {
            if (!(std::fabs(m(i, j) - m(j, i)) <= tolerance_)) return 0;
        }
    }
    return 1;
}
// GCOV_EXCL_STOP

void mlSymEigenVecs::eigens2(mlMatrix const & m, double & lambda1, double & lambda2, mlVector & e1,
                             mlVector & e2) const {
    mlEigenPair const pair = ml_eigen_pair(m(0, 0), m(0, 1), m(1, 0), m(1, 1));
    lambda1 = pair.lambda1;
    lambda2 = pair.lambda2;
    e1[0] = pair.c;
    e1[1] = -pair.s;
    e2[0] = pair.s;
    e2[1] = pair.c;
}

void mlSymEigenVecs::sort(mlSlice const & values, mlMatrix const & vectors) {
    store(values, [&](int i) { return vectors.col(i); });
}

template <std::regular_invocable<int> VectorOf> void mlSymEigenVecs::store(mlSlice const & values, VectorOf vector_of) {
    int const n = values.length();
    OrderBySquares const order(values);
    eigen_values_.reserve(n);
    eigen_vectors_.become(n, n);
    for (int i = 0; i < n; ++i) {
        int const from = order[n - 1 - i];
        eigen_values_[eigen_values_.size()] = values[from];
        eigen_vectors_.col(i) = vector_of(from);
    }
    status_ = mlEigenVecsCalculated;
}
