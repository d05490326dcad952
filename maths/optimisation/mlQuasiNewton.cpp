#include "maths/optimisation/mlQuasiNewton.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/core/mlNorms.h"
#include "maths/functions/mlDomain.h"
#include "maths/optimisation/quasi_newton/mlBoxDifferences.h"
#include "maths/optimisation/quasi_newton/mlBoxStep.h"
#include "maths/optimisation/quasi_newton/mlWolfeSearch.h"

namespace {

double const infinity = std::numeric_limits<double>::infinity();
double const no_number = std::numeric_limits<double>::quiet_NaN();
double const longest_step = 1e10; // of a line, where no bound ends it

bool is_finite(double x) { return x - x == 0.0; }

} // namespace

mlQuasiNewton::mlQuasiNewton(int n, int memory)
    : n_(n), lower_(mlVectorZero, n), upper_(mlVectorZero, n), pairs_(new mlCurvaturePairs(n, memory)),
      box_step_(new mlBoxStep(lower_, upper_, memory)), value_(no_number), trial_value_(no_number),
      best_value_(no_number) {
    lower_.fill(-infinity);
    upper_.fill(infinity);
    for (mlVector * v :
         {&point_, &gradient_, &target_, &direction_, &trial_, &trial_gradient_, &best_, &best_gradient_, &work_})
        v->become(mlVectorZero, n);
}

mlQuasiNewton::~mlQuasiNewton() = default;

void mlQuasiNewton::set_box(mlVector const & lower, mlVector const & upper) {
    MATHS_CHECK(lower.size() == n_ && upper.size() == n_, "quasi-Newton: %d lower and %d upper bounds, %d variables",
                lower.size(), upper.size(), n_);
    for (int j = 0; j < n_; ++j) {
        lower_[j] = lower[j] == mlUnboundedMin ? -infinity : lower[j];
        upper_[j] = upper[j] == mlUnboundedMax ? infinity : upper[j];
    }
}

int mlQuasiNewton::at_bound(int j) const {
    MATHS_CHECK(j >= 0 && j < n_, "quasi-Newton: variable %d of %d", j, n_);
    return point_[j] == lower_[j] ? -1 : point_[j] == upper_[j] ? 1 : 0;
}

double mlQuasiNewton::projected_gradient_norm() const {
    double norm = 0.0;
    for (int j = 0; j < n_; ++j) {
        double const length = std::fabs(inside(j, point_[j] - gradient_[j]) - point_[j]);
        if (!(length <= norm)) norm = length;
    }
    return norm;
}

mlQuasiNewtonStatus mlQuasiNewton::minimise(mlFunctionN1 const & f, mlVector & x) {
    MATHS_CHECK(x.size() == n_, "quasi-Newton: a start of %d elements, %d variables", x.size(), n_);
    MATHS_CHECK(f.dimension == n_, "quasi-Newton: the function's `dimension` is %d, the search's %d", f.dimension, n_);
    iterations_ = calls_ = stuck_ = 0;
    by_differences_ = false;
    value_ = no_number;
    begin_observation();
    bool finite = true;
    for (int j = 0; j < n_; ++j) {
        if (!(lower_[j] <= upper_[j])) return status_ = mlQuasiNewtonEmptyBox;
        point_[j] = inside(j, x[j]);
        finite = finite && is_finite(point_[j]);
    }
    status_ = mlQuasiNewtonNotFinite;
    if (finite) run(f);
    x = point_;
    return status_;
}

void mlQuasiNewton::run(mlFunctionN1 const & f) {
    if (!evaluate(f, point_, value_, gradient_)) {
        status_ = mlQuasiNewtonCallLimit;
        return;
    }
    status_ = value_ == -infinity ? mlQuasiNewtonUnbounded : mlQuasiNewtonNotFinite;
    if (!is_finite(value_) || !is_finite(gradient_.modulus_squared())) return;
    pairs_->begin(first_theta());
    while (!(projected_gradient_norm() <= std::max(0.0, gradient_tolerance_))) {
        if (iterations_ >= max_iterations_) {
            status_ = mlQuasiNewtonIterationLimit;
            return;
        }
        double const before = value_;
        if (take_step(f) != moved) return;
        ++iterations_;
        double const magnitude = std::max(std::fabs(before), std::fabs(value_));
        if (before - value_ <= value_tolerance_ * magnitude) {
            status_ = mlQuasiNewtonSmallDecrease;
            return;
        }
        if (stops(value_, calls_, observed() ? euclidean_norm(direction_) : 0.0)) {
            status_ = mlQuasiNewtonStopped;
            return;
        }
    }
    status_ = mlQuasiNewtonConverged;
}

// Value and gradient at x; false when they would take too many calls. Where the value is not finite the gradient is
// left alone.
bool mlQuasiNewton::evaluate(mlFunctionN1 const & f, mlVector const & x, double & value, mlVector & gradient) {
    int const calls_left = max_calls_ - calls_;
    if (calls_left < 1 || (by_differences_ && calls_left <= 2LL * n_)) return false;
    bool const first = calls_ == 0;
    ++calls_;
    value = f.function(x.slice());
    if (!is_finite(value)) return true;
    if (first) by_differences_ = !f.supplied_gradient(x.slice(), gradient);
    if (by_differences_) {
        if (calls_left <= 2LL * n_) return false;
        calls_ += ml_box_differences(f, x, value, lower_, upper_, work_, gradient);
    } else if (!first) {
        f.gradient(x.slice(), gradient);
    }
    return true;
}

// To a lower point. The pairs are forgotten where they lead to none.
mlQuasiNewton::Outcome mlQuasiNewton::take_step(mlFunctionN1 const & f) {
    for (;;) {
        bool const steepest = pairs_->width() == 0;
        double slope = no_number;
        if (box_step_->find(point_, gradient_, *pairs_, target_)) {
            direction_ = target_;
            direction_ -= point_;
            slope = scalar_product(gradient_, direction_);
        }
        status_ = mlQuasiNewtonNoDecrease;
        Outcome const outcome = slope < 0.0 && is_finite(slope) ? search_line(f, slope) : failed;
        if (outcome != failed || steepest) return outcome;
        pairs_->forget();
    }
}

// From the point towards the target and beyond, to a step that meets the conditions, or the lowest one tried.
mlQuasiNewton::Outcome mlQuasiNewton::search_line(mlFunctionN1 const & f, double slope) {
    double const largest = largest_step();
    mlWolfeSearch search;
    search.begin(value_, slope, 1.0, largest);
    best_value_ = value_;
    bool lower = false;
    Outcome outcome = failed;
    status_ = mlQuasiNewtonNotFinite;
    mlWolfeSearch::State state = mlWolfeSearch::goes_on;
    while (state == mlWolfeSearch::goes_on) {
        set_trial(search.step());
        bool const evaluated = evaluate(f, trial_, trial_value_, trial_gradient_);
        if (!evaluated || trial_value_ == -infinity) {
            status_ = evaluated ? mlQuasiNewtonUnbounded : mlQuasiNewtonCallLimit;
            outcome = over;
            break;
        }
        double const trial_slope = is_finite(trial_value_) ? scalar_product(trial_gradient_, direction_) : no_number;
        if (is_finite(trial_slope)) status_ = mlQuasiNewtonNoDecrease;
        state = search.next(trial_value_, trial_slope);
        bool const fits = state == mlWolfeSearch::found || state == mlWolfeSearch::at_most;
        if (fits || (is_finite(trial_slope) && trial_value_ < best_value_)) {
            lower = true;
            best_value_ = trial_value_;
            swap(best_, trial_);
            swap(best_gradient_, trial_gradient_);
        }
    }
    if (!lower) return outcome;
    accept_best();
    if (outcome == over) return over;
    stuck_ = state == mlWolfeSearch::stuck ? stuck_ + 1 : 0;
    if (stuck_ > 1) return over; // twice: what falls is the roundoff of the values
    if (stuck_ == 1) pairs_->forget();
    return moved;
}

// Without pairs nothing is known of the function's scale: the first step is as long as x, or 1.
double mlQuasiNewton::first_theta() const {
    double square = 0.0;
    for (int j = 0; j < n_; ++j) {
        double const g = gradient_[j];
        bool const held = (g > 0.0 && point_[j] <= lower_[j]) || (g < 0.0 && point_[j] >= upper_[j]);
        if (!held) square += g * g;
    }
    return std::max(std::sqrt(square) / std::max(euclidean_norm(point_), 1.0), 1.0);
}

// How far the line leads within the box: at least to the target.
double mlQuasiNewton::largest_step() const {
    double largest = longest_step;
    for (int j = 0; j < n_; ++j) {
        double const d = direction_[j]; // NaN and infinity are no points of an open box either
        if (d > 0.0) largest = std::min(largest, (std::min(upper_[j], mlUnboundedMax) - point_[j]) / d);
        if (d < 0.0) largest = std::min(largest, (std::max(lower_[j], mlUnboundedMin) - point_[j]) / d);
    }
    return std::max(largest, 1.0);
}

void mlQuasiNewton::set_trial(double step) {
    trial_ = step == 1.0 ? target_ : point_;
    if (step == 1.0) return;
    trial_.add_multiple(step, direction_);
    for (int j = 0; j < n_; ++j) // roundoff alone leads out of the box
        trial_[j] = inside(j, trial_[j]);
}

// Makes the line's best trial the current point; the direction becomes the step there.
void mlQuasiNewton::accept_best() {
    direction_ = best_;
    direction_ -= point_;
    trial_gradient_ = best_gradient_;
    trial_gradient_ -= gradient_;
    pairs_->remember(direction_, trial_gradient_);
    swap(point_, best_);
    swap(gradient_, best_gradient_);
    value_ = best_value_;
}
