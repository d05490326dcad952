#include "maths/optimisation/quasi_newton/mlCurvaturePairs.h"

#include <cmath>

#include <limits>

#include "maths/decompositions/mlLUDecomposition.h"

namespace {

double const epsilon = std::numeric_limits<double>::epsilon();

bool is_finite(double x) { return x - x == 0.0; }

// y += factor x
void add_multiple(double factor, double const * x, double * y, int n) {
    for (int i = 0; i < n; ++i)
        y[i] += factor * x[i];
}

} // namespace

mlCurvaturePairs::mlCurvaturePairs(int n, int memory)
    : n_(n), memory_(memory), stride_(coTableSize(2, memory)), rows_(mlVectorZero, coTableSize(n, stride_)),
      ratios_(mlVectorZero, memory), gram_(mlMatrixZero, stride_, stride_), of_change_(mlVectorZero, stride_),
      of_step_(mlVectorZero, stride_) {}

void mlCurvaturePairs::begin(double theta) {
    forget();
    theta_ = theta;
}

void mlCurvaturePairs::remember(mlVector const & step, mlVector const & change) {
    double const curvature = scalar_product(step, change);
    double const square = change.modulus_squared();
    if (!(curvature > epsilon * square) || memory_ == 0) return;
    double const length = std::sqrt(square), ratio = square / curvature;
    // Between the two scalings of Barzilai & Borwein, y·y / s·y and s·y / s·s; measured to take the fewest calls.
    double const theta = std::sqrt(ratio * std::sqrt(square / step.modulus_squared()));
    double const of_step = length / curvature, of_change = 1.0 / length;
    if (!(theta > 0.0 && is_finite(theta) && ratio > 0.0 && is_finite(ratio) && is_finite(of_step) &&
          is_finite(of_change)))
        return;
    newest_ = newest_ + 1 == memory_ ? 0 : newest_ + 1;
    if (count_ < memory_) ++count_;
    theta_ = theta;
    ratios_[newest_] = ratio;
    store(step, change, of_step, of_change);
    update_gram();
    form_k();
}

void mlCurvaturePairs::store(mlVector const & step, mlVector const & change, double of_step, double of_change) {
    double * pair = rows_.data() + 2 * newest_;
    for (int i = 0; i < n_; ++i, pair += stride_) {
        pair[0] = change.data()[i] * of_change;
        pair[1] = step.data()[i] * of_step;
    }
}

void mlCurvaturePairs::update_gram() {
    int const y = 2 * newest_, s = y + 1;
    of_change_.fill(0.0);
    of_step_.fill(0.0);
    for (int i = 0; i < n_; ++i) {
        double const * const w = row(i);
        add_multiple(w[y], w, of_change_.data(), width());
        add_multiple(w[s], w, of_step_.data(), width());
    }
    for (int j = 0; j < width(); ++j) {
        gram_(y, j) = gram_(j, y) = of_change_[j];
        gram_(s, j) = gram_(j, s) = of_step_[j];
    }
}

// Forgets all pairs where K is singular to working precision.
void mlCurvaturePairs::form_k() {
    k_.become(width(), width());
    auto const age = [&](int slot) { return slot <= newest_ ? newest_ - slot : newest_ - slot + count_; };
    for (int a = 0; a < count_; ++a) {
        for (int b = 0; b < count_; ++b) {
            k_(2 * a, 2 * b) = a == b ? -theta_ / ratios_[a] : 0.0;
            k_(2 * a + 1, 2 * b + 1) = gram_(2 * a + 1, 2 * b + 1);
            k_(2 * a + 1, 2 * b) = k_(2 * b, 2 * a + 1) = age(a) < age(b) ? gram_(2 * a + 1, 2 * b) : 0.0;
        }
    }
    mlLUDecomposition const lu(k_);
    if (lu.is_singular())
        forget();
    else
        lu.inverse(inverse_);
}

void mlCurvaturePairs::products(mlVector const & v, mlVector & out) const {
    out.fill(0.0);
    for (int i = 0; i < n_; ++i)
        if (v.data()[i] != 0.0) add_multiple(v.data()[i], row(i), out.data(), width());
}

void mlCurvaturePairs::reduce(mlVector const & is_free, mlMatrix & out) const {
    // The fewer rows are summed: K - W^T W and those that are not free, or K and those that are.
    bool const mostly_free = is_free.sum() >= 0.5 * n_;
    double const kind = mostly_free ? 0.0 : 1.0, sign = mostly_free ? 1.0 : -1.0;
    int const w = width();
    out.become(w, w);
    for (int a = 0; a < w; ++a)
        for (int b = 0; b < w; ++b)
            out(a, b) = 0.0;
    for (int i = 0; i < n_; ++i) {
        if (is_free.data()[i] != kind) continue;
        double const * const r = row(i);
        for (int a = 0; a < w; ++a)
            add_multiple(r[a], r, out.data() + a * w, w);
    }
    for (int a = 0; a < w; ++a)
        for (int b = 0; b < w; ++b)
            out(a, b) = (mostly_free ? k_(a, b) - gram_(a, b) : k_(a, b)) + sign * out(a, b);
}
