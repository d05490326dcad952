#include "maths/sparse/mlIterativeSolver.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/core/mlEightSums.h"
#include "maths/core/mlVectorRuns.h"

namespace {

double const roundoff = 0x1p-53;
double const nan_value = std::numeric_limits<double>::quiet_NaN();
double const infinity = std::numeric_limits<double>::infinity();

/// A power of two that brings the squares of b's elements within range; 1 where they are.
double scale_of(mlVector const & b) {
    double const largest = b.max_absolute_value();
    if (largest > 0x1p400) return 0x1p-600;
    return largest > 0.0 && largest < 0x1p-400 ? 0x1p600 : 1.0;
}

} // namespace

mlIterativeSolver::~mlIterativeSolver() = default;

void mlIterativeSolver::resize(mlVector & v, int n) {
    v.clear(0);
    v.expand(n);
}

void mlIterativeSolver::multiply(mlVector const & v, mlVector & product) {
    ++calls_;
    a_->multiply(v, product);
    MATHS_CHECK(product.size() == x_.size(), "iterative solver: a product of %d elements, not %d", product.size(),
                x_.size());
}

mlVector const & mlIterativeSolver::precondition(mlVector const & v, mlVector & storage) const {
    if (preconditioner_ == nullptr) return v;
    preconditioner_->multiply(v, storage);
    MATHS_CHECK(storage.size() == v.size(), "iterative solver: preconditioned, %d elements, not %d", storage.size(),
                v.size());
    return storage;
}

bool mlIterativeSolver::is_small(double norm) const { return norm <= std::max(tolerance_, roundoff) * norm_b_; }

bool mlIterativeSolver::ends_with(mlIterativeStatus status) {
    status_ = status;
    return true;
}

void mlIterativeSolver::compute_residual() {
    multiply(x_, r_);
    double const * const b = b_.data();
    double * const r = r_.data();
    for (int i = 0; i < x_.size(); ++i)
        r[i] = b[i] - r[i];
    squared_norm_ = ml_scalar_product(r, r, x_.size());
    exact_ = fresh_ = true;
}

void mlIterativeSolver::note() {
    if (history_.size() == history_.capacity()) history_.reserve(coSizeSum(history_.size(), history_.size() / 2 + 64));
    history_[history_.size()] = std::sqrt(squared_norm_) / norm_b_;
}

/// Whether the solution ends with r as it is, with the status that says why.
bool mlIterativeSolver::settle() {
    if (!is_small(std::sqrt(squared_norm_))) return !std::isfinite(squared_norm_) && ends_with(mlIterativeNotFinite);
    if (!exact_) compute_residual();
    double const norm = std::sqrt(squared_norm_);
    if (!std::isfinite(norm)) return ends_with(mlIterativeNotFinite);
    if (norm <= tolerance_ * norm_b_) return ends_with(mlIterativeConverged);
    if (norm <= roundoff * norm_b_ || norm > 0.5 * checked_norm_) return ends_with(mlIterativeStagnated);
    checked_norm_ = norm;
    return false;
}

void mlIterativeSolver::search(bool warm) {
    squared_norm_ = ml_scalar_product(b_.data(), b_.data(), b_.size());
    norm_b_ = std::sqrt(squared_norm_);
    if (norm_b_ == 0.0) {
        std::fill_n(x_.data(), x_.size(), 0.0);
        history_[0] = 0.0;
        ends_with(mlIterativeConverged);
        return;
    }
    checked_norm_ = infinity;
    if (warm) {
        compute_residual();
    } else {
        std::copy_n(b_.data(), b_.size(), r_.data());
        exact_ = fresh_ = true;
    }
    note();
    if (settle()) return;
    while (iterations_ < max_iterations_) {
        exact_ = false;
        Outcome const outcome = iterate(fresh_);
        if (outcome == restart && !fresh_) {
            fresh_ = true;
            continue;
        }
        if (outcome != done) {
            status_ = outcome == not_finite     ? mlIterativeNotFinite
                      : outcome == not_positive ? mlIterativeNotPositive
                                                : mlIterativeBreakdown;
            return;
        }
        ++iterations_;
        fresh_ = false;
        note();
        if (settle()) return;
        if (stops(history_[iterations_], calls_, step_ / scale_)) {
            status_ = mlIterativeStopped;
            return;
        }
    }
}

mlIterativeStatus mlIterativeSolver::run(mlLinearOperator const & a, mlVector const & b, mlVector & x, bool warm) {
    int const n = a.dimension;
    ml_check_length("iterative solver", n, b.size());
    if (warm) ml_check_length("iterative solver, from x", n, x.size());
    MATHS_CHECK(preconditioner_ == nullptr || preconditioner_->dimension == n,
                "iterative solver: %d unknowns, preconditioner of %d", n, preconditioner_->dimension);
    a_ = &a;
    status_ = mlIterativeIterationLimit;
    iterations_ = calls_ = 0;
    residual_ = nan_value;
    begin_observation();
    for (mlVector * v : {&b_, &x_, &r_})
        resize(*v, n);
    prepare(n);
    history_.clear(0);
    x.reserve(n);
    scale_ = scale_of(b);
    for (int i = 0; i < n; ++i) {
        b_.data()[i] = b.data()[i] * scale_;
        x_.data()[i] = warm ? x.data()[i] * scale_ : 0.0;
    }
    search(warm);
    if (status_ != mlIterativeNotFinite && !exact_) compute_residual();
    double const norm = std::sqrt(squared_norm_);
    if (!std::isfinite(norm)) status_ = mlIterativeNotFinite;
    if (status_ == mlIterativeNotFinite) return status_;
    residual_ = norm_b_ > 0.0 ? norm / norm_b_ : 0.0;
    x.clear(0);
    x.expand(n);
    for (int i = 0; i < n; ++i)
        x.data()[i] = x_.data()[i] / scale_;
    return status_;
}
