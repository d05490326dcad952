#include "maths/optimisation/active_set/mlReducedCurvature.h"

#include <algorithm>
#include <cmath>

#include "maths/optimisation/active_set/mlDenseRuns.h"

namespace {

// A pivot above this part of the largest magnitude in G leaves no doubt that H is definite in its direction.
double const surely_positive = 1e-9;

} // namespace

void mlReducedCurvature::start(mlMatrix const & g, double largest) {
    g_ = &g;
    n_ = g.rows();
    largest_ = largest;
    definite_ = false;
    factor_.become(n_, n_);
    reduced_.become(n_, n_);
    work_matrix_.become(n_, n_);
    work_.expand(n_);
    order_.expand(n_);
}

void mlReducedCurvature::refresh(mlActiveNormals const & normals) {
    size_ = normals.null_size();
    definite_ = false;
    if (largest_ == 0.0) return;
    form(normals);
    definite_ = factorise();
}

// H, both its triangles, in the first size_ rows and columns of reduced_, whose rows are n_ apart.
void mlReducedCurvature::form(mlActiveNormals const & normals) {
    double * const product = work_.data();
    for (int j = 0; j < size_; ++j) {
        for (int i = 0; i < n_; ++i)
            product[i] = ml_run_product(g_->data() + i * n_, normals.null_vector(j), n_);
        for (int i = 0; i <= j; ++i) {
            double const h = ml_run_product(normals.null_vector(i), product, n_);
            reduced_.data()[i * n_ + j] = h;
            reduced_.data()[j * n_ + i] = h;
        }
    }
}

// H = C^T C, column by column. False, with factor_ unfinished, when a pivot leaves a doubt.
bool mlReducedCurvature::factorise() {
    for (int j = 0; j < size_; ++j) {
        double * const c = column(j);
        double const * const h = reduced_.data() + j * n_;
        for (int i = 0; i < j; ++i)
            c[i] = (h[i] - ml_run_product(column(i), c, i)) / column(i)[i];
        double const pivot = h[j] - ml_run_product(c, c, j);
        if (!(pivot > surely_positive * largest_)) return false;
        c[j] = std::sqrt(pivot);
    }
    return true;
}

void mlReducedCurvature::appended(mlActiveNormals const & normals) {
    --size_;
    if (!definite_) return;
    for (int j = 0; j < size_; ++j) { // the rotations of Z turn the columns of C, rotations of its rows mend its shape
        double const s = normals.sine(j);
        if (s == 0.0) continue;
        double * const left = column(j);
        double * const right = column(j + 1);
        left[j + 1] = 0.0;
        ml_run_rotate(normals.cosine(j), s, left, right, j + 2);
        double const length = std::sqrt(left[j] * left[j] + left[j + 1] * left[j + 1]);
        double const c_row = left[j] / length, s_row = left[j + 1] / length;
        left[j] = length;
        ml_turn_pairs(c_row, s_row, -s_row, column(j + 1) + j, n_, size_ - j);
    }
}

void mlReducedCurvature::removed(mlActiveNormals const & normals) {
    int const last = size_++;
    if (!definite_) return;
    double const * const z = normals.null_vector(last);
    double * const product = work_.data();
    for (int i = 0; i < n_; ++i)
        product[i] = ml_run_product(g_->data() + i * n_, z, n_);
    double * const c = column(last);
    for (int i = 0; i < last; ++i)
        c[i] = (ml_run_product(normals.null_vector(i), product, n_) - ml_run_product(column(i), c, i)) / column(i)[i];
    double const pivot = ml_run_product(z, product, n_) - ml_run_product(c, c, last);
    definite_ = pivot > surely_positive * largest_;
    if (definite_) c[last] = std::sqrt(pivot);
}

mlReducedStep mlReducedCurvature::step(mlActiveNormals const & normals, double const * r, double rounding, double * w) {
    bool const level = !(ml_run_largest(r, size_) > rounding);
    if (size_ == 0) return mlReducedStepNone;
    if (largest_ == 0.0) { // a linear function
        for (int i = 0; i < size_; ++i)
            w[i] = -r[i];
        return level ? mlReducedStepNone : mlReducedStepEndless;
    }
    if (!definite_) refresh(normals);
    if (definite_) {
        if (level) return mlReducedStepNone;
        newton(r, w);
        return mlReducedStepNewton;
    }
    mlReducedStep kind;
    if (semidefinite_step(r, rounding, w, kind)) return kind;
    return spectral_step(r, rounding, w);
}

// w = -H^-1 r.
void mlReducedCurvature::newton(double const * r, double * w) {
    for (int i = 0; i < size_; ++i)
        w[i] = (-r[i] - ml_run_product(column(i), w, i)) / column(i)[i];
    for (int j = size_ - 1; j >= 0; --j) {
        w[j] /= column(j)[j];
        ml_run_add(-w[j], column(j), w, j);
    }
}
