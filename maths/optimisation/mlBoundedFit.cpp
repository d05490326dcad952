#include "maths/optimisation/mlBoundedFit.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/core/mlNorms.h"
#include "maths/decompositions/mlCholeskyDecomposition.h"
#include "maths/optimisation/mlSquareDistances.h"

namespace {

double const first_lambda = 1e-4;
double const min_lambda = 1e-16;
double const max_lambda = 1e20;
double const factor = 10.0;
double const negligible = 0x1p-50; // change of a sum, relatively: lost in its roundoff

bool is_finite(double x) { return x - x == 0.0; }

} // namespace

mlBoundedFit::mlBoundedFit(mlDistanceLeastSquares & model, mlVector const & lower, mlVector const & upper)
    : model_(model), status_(mlBoundedFitIterationLimit), iterations_(0), max_iterations_(500),
      sum_(std::numeric_limits<double>::quiet_NaN()), lambda_(first_lambda), calls_(0),
      alpha_(mlMatrixZero, model.n_parameters(), model.n_parameters()),
      damped_(mlMatrixZero, model.n_parameters(), model.n_parameters()) {
    int const m = model.n_parameters();
    MATHS_CHECK(lower.size() == m && upper.size() == m, "bounded fit: %d lower and %d upper bounds, %d parameters",
                lower.size(), upper.size(), m);
    lower_.become(utCopy, lower);
    upper_.become(utCopy, upper);
    for (mlVector * v : {&point_, &trial_, &beta_, &step_, &held_, &right_})
        v->become(mlVectorZero, m);
}

int mlBoundedFit::at_bound(int j) const {
    MATHS_CHECK(j >= 0 && j < point_.size(), "bounded fit: parameter %d of %d", j, point_.size());
    return point_[j] == lower_[j] ? -1 : point_[j] == upper_[j] ? 1 : 0;
}

mlBoundedFitStatus mlBoundedFit::fit(mlVector const & start, mlVector & result) {
    int const m = point_.size();
    MATHS_CHECK(start.size() == m, "bounded fit: a start of %d elements, %d parameters", start.size(), m);
    iterations_ = 0;
    for (int j = 0; j < m; ++j)
        if (!(lower_[j] <= upper_[j])) return status_ = mlBoundedFitEmptyBox;
    point_ = start;
    bring_inside(point_);
    lambda_ = first_lambda;
    calls_ = 0;
    begin_observation();
    status_ = mlBoundedFitIterationLimit;
    for (;;) {
        if (!linearise()) {
            status_ = mlBoundedFitNotFinite;
            break;
        }
        if (iterations_ >= max_iterations_) break;
        if (take_step() == arrived) {
            status_ = mlBoundedFitConverged;
            break;
        }
        ++iterations_;
        if (stops(sum_, calls_, observed() ? euclidean_norm(step_) : 0.0)) {
            status_ = mlBoundedFitStopped;
            break;
        }
    }
    result.become(utCopy, point_);
    return status_;
}

void mlBoundedFit::bring_inside(mlVector & p) const {
    model_.normalise_parameters(p);
    for (int j = 0; j < p.size(); ++j) { // NaN stays, and is told of by the status
        if (p[j] < lower_[j]) p[j] = lower_[j];
        if (p[j] > upper_[j]) p[j] = upper_[j];
    }
}

// J'J, -J'd and the sum at the current point; false when one of them is not finite.
bool mlBoundedFit::linearise() {
    int const m = point_.size();
    model_.set_parameters(point_);
    ++calls_;
    sum_ = 0.0;
    beta_.fill(0.0);
    std::fill_n(alpha_.data(), m * m, 0.0);
    for (int i = 0; i < model_.n_points(); ++i) {
        double d;
        model_.distance_and_gradient(d, step_, i);
        double const * const gradient = step_.data();
        for (int j = 0; j < m; ++j) {
            double * const row = alpha_.data() + j * m;
            beta_[j] -= d * gradient[j];
            for (int k = 0; k < m; ++k)
                row[k] += gradient[k] * gradient[j];
        }
        sum_ += ml_square_distance(model_, d);
    }
    bool all_finite = is_finite(sum_);
    for (int j = 0; j < m; ++j)
        all_finite = all_finite && is_finite(beta_[j]) && is_finite(alpha_(j, j));
    return all_finite;
}

// Tries steps with growing lambda until one lowers the sum, or none can by more than roundoff.
mlBoundedFit::Outcome mlBoundedFit::take_step() {
    for (; lambda_ <= max_lambda; lambda_ *= factor) {
        if (!solve_step()) continue;
        trial_ = point_;
        trial_ += step_;
        bring_inside(trial_);
        if (trial_ == point_) return arrived;
        double const sum = ml_sum_of_square_distances(model_, trial_);
        ++calls_;
        if (std::fabs(promise()) <= negligible * sum_) { // negative at times, beside parameters held
            // The last step adds digits to the parameters that the sum does not show.
            if (sum <= sum_ + negligible * sum_) {
                point_ = trial_;
                sum_ = sum;
                ++iterations_;
            }
            return arrived;
        }
        if (sum < sum_) {
            point_ = trial_;
            sum_ = sum;
            lambda_ = std::max(lambda_ / factor, min_lambda);
            return moved;
        }
    }
    return arrived;
}

// By as much, at least, the step lowers the sum of a linear model.
double mlBoundedFit::promise() const { return scalar_product(step_, beta_); }

// The damped step within the box; false when there is no decomposition.
bool mlBoundedFit::solve_step() {
    for (int j = 0; j < point_.size(); ++j) { // beta points downhill
        bool const outwards =
            (point_[j] <= lower_[j] && !(beta_[j] > 0.0)) || (point_[j] >= upper_[j] && !(beta_[j] < 0.0));
        held_[j] = outwards ? 1.0 : 0.0;
        step_[j] = 0.0;
    }
    do {
        if (!solve_for_free()) return false;
    } while (hold_at_bounds()); // at most once a parameter
    return true;
}

// Solves for the steps of the free parameters, those of the others being given.
bool mlBoundedFit::solve_for_free() {
    int const m = point_.size();
    for (int i = 0; i < m; ++i) {
        bool const held = held_[i] == 1.0;
        right_[i] = held ? step_[i] : beta_[i];
        for (int j = 0; j < m; ++j) {
            bool const both_free = !held && held_[j] == 0.0;
            damped_(i, j) = both_free ? alpha_(i, j) : 0.0;
            if (!held && held_[j] == 1.0) right_[i] -= alpha_(i, j) * step_[j];
        }
        damped_(i, i) = held ? 1.0 : alpha_(i, i) + lambda_ * (alpha_(i, i) == 0.0 ? 1.0 : alpha_(i, i));
    }
    mlCholeskyDecomposition const cholesky(damped_);
    if (cholesky.is_singular()) return false;
    cholesky.solve(right_, step_);
    return true;
}

// Holds the free parameters that the step takes out of the box at their bounds; false when there is none.
bool mlBoundedFit::hold_at_bounds() {
    bool any = false;
    for (int j = 0; j < point_.size(); ++j) {
        if (held_[j] == 1.0) continue;
        double const target = point_[j] + step_[j];
        if (!(target < lower_[j] || target > upper_[j])) continue;
        step_[j] = (target < lower_[j] ? lower_[j] : upper_[j]) - point_[j];
        held_[j] = 1.0;
        any = true;
    }
    return any;
}
