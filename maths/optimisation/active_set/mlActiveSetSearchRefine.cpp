// How mlActiveSetSearch brings its result to roundoff.

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/core/mlExactArithmetic.h"
#include "maths/optimisation/active_set/mlActiveSetSearch.h"
#include "maths/optimisation/active_set/mlDenseRuns.h"

namespace {

int const max_refinements = 6;

// An element this much smaller than what it is computed from is a zero.
double const vanishing = 1e-25;

} // namespace

// Elements that vanish beside all that they come from are zeros which rounding missed, and a bound that is active holds
// exactly.
void mlActiveSetSearch::tidy() {
    double source = std::max(start_scale_, largest_ > 0.0 ? ml_run_largest(g_vector_.data(), n_) / largest_ : 0.0);
    for (int k = 0; k < normals_.size(); ++k)
        source = std::max(source, std::fabs(rows_->bound(normals_.constraint(k))));
    for (int i = 0; i < n_; ++i)
        if (std::fabs(x_[i]) < vanishing * source) x_[i] = 0.0;
    double const steepest = std::max(largest_ * source, ml_run_largest(g_vector_.data(), n_));
    for (int k = 0; k < normals_.size(); ++k)
        if (std::fabs(multipliers_[k]) < vanishing * steepest) multipliers_[k] = 0.0;
    for (int k = 0; k < normals_.size(); ++k) {
        int const constraint = normals_.constraint(k), variable = rows_->unit(constraint);
        if (variable >= 0) x_[variable] = rows_->bound(constraint) * rows_->normal(constraint)[variable];
    }
}

// Solves G x - A^T multipliers = -g, A x = bounds for the active constraints by iterative refinement, from residuals in
// twice the precision. Stops when the change no longer halves.
void mlActiveSetSearch::refine() {
    double before = std::numeric_limits<double>::infinity();
    for (int i = 0; i < max_refinements; ++i) {
        double const change = refine_once();
        if (!(change < 0.5 * before) || change == 0.0) break;
        before = change;
    }
    tidy();
}

// Returns the largest change of an element of x, relative to the scale of x.
double mlActiveSetSearch::refine_once() {
    int const active = normals_.size();
    double * const change = direction_.data();
    double * const missing = gradient_.data(); // of G x + g - A^T multipliers = 0
    double * const part = coordinates_.data();
    for (int i = 0; i < n_; ++i) {
        mlPreciseSum sum;
        sum.add(-g_vector_[i]);
        for (int k = 0; k < n_; ++k)
            sum.add_product(-g_matrix_.data()[i * n_ + k], x_[k]);
        for (int k = 0; k < active; ++k)
            sum.add_product(multipliers_[k], rows_->normal(normals_.constraint(k))[i]);
        missing[i] = sum.value();
    }
    for (int i = 0; i < active; ++i)
        part[i] = -rows_->precise_excess(normals_.constraint(i), x_);
    normals_.solve_transposed(part);
    std::fill_n(change, n_, 0.0);
    normals_.add_range(part, change);
    for (int i = 0; i < n_; ++i)
        work_[i] = missing[i] - ml_run_product(g_matrix_.data() + i * n_, change, n_);
    normals_.null_part(work_.data(), reduced_.data());
    curvature_.solve(normals_, reduced_.data(), part);
    normals_.add_null(part, change);
    for (int i = 0; i < n_; ++i)
        work_[i] = ml_run_product(g_matrix_.data() + i * n_, change, n_) - missing[i];
    normals_.range_part(work_.data(), part);
    normals_.solve(part);
    double largest = 0.0;
    for (int i = 0; i < n_; ++i) {
        x_[i] += change[i];
        largest = std::max(largest, std::fabs(change[i]));
    }
    for (int i = 0; i < active; ++i)
        multipliers_[i] += part[i];
    return largest / std::max(1.0, ml_run_largest(x_, n_));
}

// Whether the refined point meets the other constraints and no multiplier has turned negative.
bool mlActiveSetSearch::holds() const {
    double const scale = std::max(1.0, ml_run_largest(x_, n_));
    double steepest = largest_ * ml_run_largest(x_, n_);
    steepest = std::max(steepest, ml_run_largest(g_vector_.data(), n_));
    for (int i = 0; i < rows_->size(); ++i) {
        if (waived_[i] || rows_->zero(i)) continue;
        double const excess = rows_->excess(i, x_);
        double const missed = rows_->equality(i) ? std::fabs(excess) : -excess;
        if (missed > 4.0 * rows_->rounding(i, scale)) return false;
    }
    return stationary_ ||
           most_negative_multiplier(32.0 * (n_ + 4) * std::numeric_limits<double>::epsilon() * steepest) < 0;
}
