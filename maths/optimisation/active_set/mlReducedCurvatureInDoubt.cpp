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
double const clear = 1e-8;

} // namespace

// The threshold as a part of the largest singular value, as its queries want it; where there is but one value they take
// it as it is. 1 or more for a matrix of zeros.
double mlReducedCurvature::relative_threshold(mlSingularValueDecomposition const & svd) const {
    double const largest = svd.diagonal()[0];
    if (!(largest > threshold())) return 1.0;
    return size_ == 1 ? threshold() : threshold() / largest;
}

// What rounding makes of a zero eigenvalue of H, relative to the largest magnitude in G.
double mlReducedCurvature::threshold() const { return 32.0 * (n_ + 4) * std::numeric_limits<double>::epsilon(); }

void mlReducedCurvature::copy_reduced(mlMatrix & out, double shift) const {
    out.become(size_, size_);
    for (int i = 0; i < size_; ++i) {
        for (int j = 0; j < size_; ++j)
            out(i, j) = (reduced_.data()[i * n_ + j] + (i == j ? shift : 0.0)) / largest_;
    }
}

// P^T H P = U^T U + rest, where the rest, from the rank on, is the part of work_matrix_ after it. Returns the rank, or
// -1 when some pivot is neither clear nor a zero.
int mlReducedCurvature::factorise_with_exchanges() {
    mlMatrix & s = work_matrix_;
    copy_reduced(s, 0.0);
    for (int i = 0; i < size_; ++i)
        order_[i] = i;
    for (int r = 0; r < size_; ++r) {
        int best = r;
        for (int i = r + 1; i < size_; ++i)
            if (s(i, i) > s(best, best)) best = i;
        if (!(s(best, best) > clear)) {
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

// The step where H is clearly semidefinite; false when it is not.
bool mlReducedCurvature::semidefinite_step(double const * r, double rounding, double * w, mlReducedStep & kind) {
    int const rank = factorise_with_exchanges();
    if (rank < 0) return false;
    mlMatrix const & u = work_matrix_;
    double * const y = work_.data(); // U^T y = r in the new order; past the rank, the gradient along the null vectors
    for (int i = 0; i < size_; ++i) {
        y[i] = r[order_[i]];
        for (int k = 0; k < i && k < rank; ++k)
            y[i] -= u(k, i) * y[k];
        if (i < rank) y[i] /= u(i, i);
    }
    bool const falls = ml_run_largest(y + rank, size_ - rank) > rounding;
    for (int i = size_ - 1; i >= 0; --i) { // along the null vectors where the gradient has a part there, else to where
        double sum = falls == (i >= rank) ? -y[i] : 0.0; // the rest of it vanishes
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

// The eigenvector of the lowest eigenvalue, where that is negative. The singular values of H + shift are the
// eigenvalues of H plus the shift, once the shift exceeds them all in magnitude.
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

mlReducedStep mlReducedCurvature::spectral_step(double const * r, double rounding, double * w) {
    mlReducedStep kind;
    if (negative_curvature_step(r, rounding, w, kind)) return kind;
    copy_reduced(work_matrix_, 0.0);
    mlSingularValueDecomposition const svd(work_matrix_);
    double const tolerance = relative_threshold(svd);
    bool const zero = tolerance >= 1.0; // would count as regular
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
