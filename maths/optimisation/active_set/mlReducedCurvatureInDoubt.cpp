// The steps of mlReducedCurvature where the reduced matrix is not well positive definite.

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "maths/decompositions/mlSingularValueDecomposition.h"
#include "maths/optimisation/active_set/mlDenseRuns.h"
#include "maths/optimisation/active_set/mlReducedCurvature.h"

namespace {

// A pivot above this part of the largest magnitude in G is no rounding of zero.
double const no_zero = 1e-8;

} // namespace

// `threshold` as mlSingularValueDecomposition's is_singular and inverse take it: as a part of the largest singular
// value, or as it is where there is but one. 1.0 for a matrix whose singular values are all zero to rounding.
double mlReducedCurvature::relative_threshold(mlSingularValueDecomposition const & svd) const {
    double const largest = svd.diagonal()[0];
    if (!(largest > threshold())) return 1.0;
    return size_ == 1 ? threshold() : threshold() / largest;
}

// What rounding makes of a zero eigenvalue of H, relative to the largest magnitude in G.
double mlReducedCurvature::threshold() const { return 32.0 * (n_ + 4) * std::numeric_limits<double>::epsilon(); }

// out = (H + shift I) / largest_.
void mlReducedCurvature::copy_reduced(mlMatrix & out, double shift) const {
    out.become(size_, size_);
    for (int i = 0; i < size_; ++i) {
        for (int j = 0; j < size_; ++j)
            out(i, j) = (reduced_.data()[i * n_ + j] + (i == j ? shift : 0.0)) / largest_;
    }
}

// With rows and columns in the order of order_, H / largest_ = U^T U + rest. Rows of work_matrix_ before the rank hold
// those of U; the rest has no other elements than those from the rank on in both directions, which stand there, and
// they are zero to rounding. Returns the rank, or -1 when the next pivot is neither surely positive nor the rest zero.
int mlReducedCurvature::factorise_with_exchanges() {
    mlMatrix & s = work_matrix_;
    copy_reduced(s, 0.0);
    for (int i = 0; i < size_; ++i)
        order_[i] = i;
    for (int r = 0; r < size_; ++r) {
        int best = r;
        for (int i = r + 1; i < size_; ++i)
            if (s(i, i) > s(best, best)) best = i;
        if (!(s(best, best) > no_zero)) {
            for (int i = r; i < size_; ++i)
                for (int j = r; j < size_; ++j)
                    if (!(std::fabs(s(i, j)) <= threshold())) return -1;
            return r;
        }
        s.swap_rows(r, best);
        s.swap_cols(r, best);
        std::swap(order_[r], order_[best]);
        double const root = std::sqrt(s(r, r));
        double * const pivot_row = s.data() + r * size_;
        for (int j = r; j < size_; ++j)
            pivot_row[j] /= root;
        for (int i = r + 1; i < size_; ++i)
            ml_run_add(-pivot_row[i], pivot_row + r + 1, s.data() + i * size_ + r + 1, size_ - r - 1);
    }
    return size_;
}

// The step where H is surely positive semidefinite; false when that is in doubt. Where the gradient r has a part along
// the null vectors of H, w goes against that part; else to where r vanishes.
bool mlReducedCurvature::semidefinite_step(double const * r, double rounding, double * w, mlReducedStep & kind) {
    int const rank = factorise_with_exchanges();
    if (rank < 0) return false;
    mlMatrix const & u = work_matrix_;
    double * const y = work_.data(); // U^T y = r in the order of order_; from the rank on, r along the null vectors
    for (int i = 0; i < size_; ++i) {
        y[i] = r[order_[i]];
        for (int k = 0; k < i && k < rank; ++k)
            y[i] -= u(k, i) * y[k];
        if (i < rank) y[i] /= u(i, i);
    }
    bool const falls = ml_run_largest(y + rank, size_ - rank) > rounding;
    for (int i = size_ - 1; i >= 0; --i) { // y becomes the step: U y = 0 where it falls, else U y = -y / largest_
        double sum = falls == (i >= rank) ? -y[i] : 0.0;
        if (i < rank) {
            if (!falls) sum /= largest_;
            for (int k = i + 1; k < (falls ? size_ : rank); ++k)
                sum -= u(i, k) * y[k];
            sum /= u(i, i);
        }
        y[i] = sum;
    }
    for (int i = 0; i < size_; ++i)
        w[order_[i]] = y[i];
    bool const level = !(ml_run_largest(r, size_) > rounding);
    kind = falls ? mlReducedStepEndless : level ? mlReducedStepNone : mlReducedStepNewton;
    return true;
}

// The eigenvector of H of the lowest eigenvalue, downhill; false when that is not negative. The singular values of
// H + shift are the eigenvalues of H plus the shift, as the shift is at least as large as they are in magnitude.
bool mlReducedCurvature::negative_curvature_step(double const * r, double rounding, double * w, mlReducedStep & kind) {
    double norm = 0.0;
    for (int i = 0; i < size_; ++i)
        norm = std::max(norm, std::sqrt(ml_run_product(reduced_.data() + i * n_, reduced_.data() + i * n_, size_)));
    double const shift = norm * std::sqrt(1.0 * size_);
    copy_reduced(work_matrix_, shift);
    mlSingularValueDecomposition const shifted(work_matrix_, mlSingularValueDecomposition::mlNO_U,
                                               mlSingularValueDecomposition::mlALL_V);
    if (!(shifted.diagonal()[size_ - 1] - shift / largest_ < -threshold())) return false;
    double slope = 0.0;
    for (int i = 0; i < size_; ++i)
        slope += shifted.V()(i, size_ - 1) * r[i];
    for (int i = 0; i < size_; ++i)
        w[i] = slope > 0.0 ? -shifted.V()(i, size_ - 1) : shifted.V()(i, size_ - 1);
    kind = std::fabs(slope) > rounding ? mlReducedStepEndless : mlReducedStepLevel;
    return true;
}

// The step by eigenvalues and singular values, which decide wherever the pivots leave a doubt.
mlReducedStep mlReducedCurvature::spectral_step(double const * r, double rounding, double * w) {
    mlReducedStep kind;
    if (negative_curvature_step(r, rounding, w, kind)) return kind;
    copy_reduced(work_matrix_, 0.0);
    mlSingularValueDecomposition const svd(work_matrix_);
    double const tolerance = relative_threshold(svd);
    bool const zero = tolerance >= 1.0; // which is_singular would take for regular
    bool const singular = zero || svd.is_singular(tolerance);
    std::fill_n(w, size_, 0.0);
    double falls = 0.0;
    for (int k = size_ - 1; k >= 0 && singular && svd.diagonal()[k] <= threshold(); --k) {
        double part = 0.0; // of the gradient along the null vector
        for (int i = 0; i < size_; ++i)
            part += svd.V()(i, k) * r[i];
        for (int i = 0; i < size_; ++i)
            w[i] -= part * svd.V()(i, k);
        falls = std::max(falls, std::fabs(part));
    }
    if (falls > rounding) return mlReducedStepEndless;
    if (zero || !(ml_run_largest(r, size_) > rounding)) return mlReducedStepNone;
    mlMatrix const & inverse = svd.inverse(tolerance);
    for (int i = 0; i < size_; ++i)
        w[i] = -ml_run_product(inverse.data() + i * size_, r, size_) / largest_;
    return mlReducedStepNewton;
}

void mlReducedCurvature::solve(mlActiveNormals const & normals, double const * v, double * w) {
    std::fill_n(w, size_, 0.0);
    if (size_ == 0 || largest_ == 0.0) return;
    if (!definite_) refresh(normals);
    if (definite_) {
        newton(v, w);
        for (int i = 0; i < size_; ++i)
            w[i] = -w[i];
        return;
    }
    copy_reduced(work_matrix_, 0.0);
    mlSingularValueDecomposition const svd(work_matrix_);
    double const tolerance = relative_threshold(svd);
    if (tolerance >= 1.0) return;
    mlMatrix const & inverse = svd.inverse(tolerance);
    for (int i = 0; i < size_; ++i)
        w[i] = ml_run_product(inverse.data() + i * size_, v, size_) / largest_;
}
