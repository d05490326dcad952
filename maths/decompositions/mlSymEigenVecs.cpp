#include "maths/decompositions/mlSymEigenVecs.h"

#include <algorithm>
#include <cmath>

#include "maths/core/mlRun.h"
#include "platform/doublecoQuickSortIndex.h"

namespace {

int const rotation_limit = 10000000;

struct Pivot {
    double magnitude;
    int p, q;
};

/// The largest element above the diagonal, the first of equal ones row by row.
Pivot find_pivot(mlMatrix const & a) {
    Pivot pivot{mlLeastDouble, 0, 0};
    for (int i = 0; i < a.rows(); ++i) {
        for (int j = i + 1; j < a.rows(); ++j) {
            double const magnitude = std::fabs(a(i, j));
            if (magnitude > pivot.magnitude) pivot = {magnitude, i, j};
        }
    }
    return pivot;
}

/// Strange numbers are no asymmetry.
[[maybe_unused]] bool is_finite(mlMatrix const & a) {
    return std::all_of(a.begin(), a.end(), [](double x) { return std::isfinite(x); });
}

} // namespace

mlSymEigenVecs::mlSymEigenVecs(mlMatrix const & m) : mlEigenVecs(m) {}

mlSymEigenVecs::~mlSymEigenVecs() = default;

void mlSymEigenVecs::calculate() {
    int const n = matrix_->rows();
    check_calculation(n, n);
    MATHS_CHECK(check_symmetric(*matrix_) || !is_finite(*matrix_),
                "eigenvalues: the %d x %d matrix is not symmetric to %g", n, n, tolerance_);
    mlMatrix a, r, r_transposed, left_product, block(mlMatrixZero, 2, 2);
    a.become(utCopy, *matrix_);
    mlMatrix v(mlMatrixIdentity, n);
    mlVector e1(mlVectorZero, 2), e2(mlVectorZero, 2);
    for (int rotations = 0;;) {
        Pivot const pivot = find_pivot(a);
        if (tolerance_ * 0.01 > pivot.magnitude) break;
        int const p = pivot.p, q = pivot.q;
        block(0, 0) = a(p, p);
        block(0, 1) = a(p, q);
        block(1, 0) = a(q, p);
        block(1, 1) = a(q, q);
        double lambda1, lambda2;
        eigens2(block, lambda1, lambda2, e1, e2);
        r.become(mlMatrixIdentity, n);
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
    status_ = mlEigenVecsCalculated;
}

// GCOV_EXCL_START: asked in checked builds alone, otherwise `calculate` trusts its matrix
int mlSymEigenVecs::check_symmetric(mlMatrix const & m) const {
    for (int i = 0; i < m.rows(); ++i) {
        for (int j = 0; j < i; ++j) {
            if (!(std::fabs(m(i, j) - m(j, i)) <= tolerance_)) return 0;
        }
    }
    return 1;
}
// GCOV_EXCL_STOP

// e1 is orthogonal to the rows of m - lambda1, of which the longer one is the more accurate. The rows are not both
// zero, as the pivot isn't.
void mlSymEigenVecs::eigens2(mlMatrix const & m, double & lambda1, double & lambda2, mlVector & e1,
                             mlVector & e2) const {
    double const a = m(0, 0), b = m(0, 1), d = m(1, 1);
    double const radius = std::sqrt((a - d) * (a - d) * 0.25 + b * b);
    double const middle = (a + d) * 0.5;
    lambda1 = middle + radius;
    lambda2 = middle - radius;
    double const rows[2][2] = {{a - lambda1, b}, {m(1, 0), d - lambda1}};
    double const squares[2] = {rows[0][0] * rows[0][0] + rows[0][1] * rows[0][1],
                               rows[1][0] * rows[1][0] + rows[1][1] * rows[1][1]};
    int const k = squares[1] > squares[0];
    double const length = std::sqrt(squares[k]);
    e1[0] = rows[k][1] / length;
    e1[1] = -rows[k][0] / length;
    e2[0] = rows[k][0] / length;
    e2[1] = rows[k][1] / length;
}

void mlSymEigenVecs::sort(mlSlice const & values, mlMatrix const & vectors) {
    int const n = values.length();
    doublecoPageArr keys;
    intcoPageArr index;
    for (int i = 0; i < n; ++i) {
        keys[i] = values[i] * values[i];
        index[i] = i;
    }
    doublecoQuickSortIndex(keys, index).sort(&index, n);
    eigen_values_.reserve(n);
    eigen_vectors_.become(n, n);
    for (int i = 0; i < n; ++i) {
        int const from = index[n - 1 - i];
        eigen_values_[eigen_values_.size()] = values[from];
        eigen_vectors_.col(i) = vectors.col(from);
    }
}
