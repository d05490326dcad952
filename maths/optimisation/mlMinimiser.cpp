#include "maths/optimisation/mlMinimiser.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "platform/utCheck.h"

namespace {

double const probing_growth = 1.7301;
double const expansion_growth = 10.0;

double nearest_in_range(double t, double lo, double hi) {
    if (lo > t) return lo;
    if (hi < t) return hi;
    return t;
}

// 0 for a NaN too.
double sign_of(double x) { return x > 0.0 ? 1.0 : x < 0.0 ? -1.0 : 0.0; }

} // namespace

mlMinimiser::mlMinimiser(mlFunction const & f, double t0, double lo, double hi, double resolution)
    : function_(&f), current_(nearest_in_range(t0, lo, hi)), lo_(lo), hi_(hi), resolution_(resolution),
      absolute_minimum_(mlUnboundedMin), max_iterations_(100), iterations_(0) {
    MATHS_CHECK(!(lo > hi), "minimiser: the range from %g to %g is none", lo, hi);
}

double mlMinimiser::minimise(int & found, int & range_end, int & not_converged) {
    mlMinimiserState const state = search();
    range_end = 0;
    not_converged = state == mlMinimiserFailed || state == mlMinimiserStopped;
    found = !not_converged;
    double const t = current_.t;
    if (state == mlMinimiserStopped) return t;
    if (state == mlMinimiserAtRangeEnd || function_->highest_derivative_order <= 1) {
        if (t == lo_ && lo_ > function_->t_min()) {
            range_end = -1;
            found = 0;
        }
        if (t == hi_ && function_->t_max() > hi_) {
            range_end = 1;
            found = 0;
        }
    }
    return t;
}

void mlMinimiser::change_range(double x) {
    if (x < lo_) {
        hi_ = lo_;
        lo_ = x;
    } else {
        lo_ = hi_;
        hi_ = x;
    }
    current_.invalidate_derivatives();
}

mlMinimiserState mlMinimiser::which_way(double lo, double hi) {
    double distance = resolution_;
    while (has_iterations()) {
        if (function_->highest_derivative_order > 0) {
            current_.need_first_derivative(*function_);
            if (current_.first_derivative > 0.0) return mlMinimiserGoLower;
            if (current_.first_derivative < 0.0) return mlMinimiserGoHigher;
        }
        current_.need_value(*function_);
        double const f0 = current_.value;
        double const above = std::min(current_.t + distance, hi);
        double const f_above = function_->function(above);
        double const below = std::max(current_.t - distance, lo);
        double const f_below = function_->function(below);
        if (f_above > f0 && f_below > f0) return mlMinimiserBracketed;
        if (f_above < f0 && f_below >= f0) return mlMinimiserGoHigher;
        if (f_above >= f0 && f_below < f0) return mlMinimiserGoLower;
        if ((above == hi && f_above == f0) || (below == lo && f_below == f0)) return mlMinimiserFlat;
        ++iterations_;
        distance *= probing_growth;
    }
    return mlMinimiserFailed;
}

// One search: the bracket and what an iteration knows of it.
class mlMinimiser::Search {
public:
    explicit Search(mlMinimiser & minimiser)
        : m_(minimiser), f_(*minimiser.function_), current_(minimiser.current_), low_(minimiser.lo_),
          high_(minimiser.hi_) {}

    // The state in which one more iteration ends the search, if it does.
    std::optional<mlMinimiserState> iterate() {
        if (low_.t < current_.t && current_.t < high_.t) {
            mlMinimiserState const way = m_.which_way(low_.t, high_.t);
            if (way != mlMinimiserGoLower && way != mlMinimiserGoHigher) return way;
            make_current_an_end(way);
        }
        stand_at_an_end();
        if (rises_into_bracket()) return mlMinimiserAtRangeEnd;
        switch (newton_step()) {
        case Newton::converged: return mlMinimiserNewtonConverged;
        case Newton::moved: return std::nullopt;
        case Newton::given_up: break;
        }
        if (expand() || move_to_lower_far_end() || bisect()) return std::nullopt;
        return mlMinimiserBracketConverged;
    }

    double width() const { return high_.t - low_.t; }

    bool wide() const { return high_.t - low_.t > m_.resolution_; }

private:
    enum class Newton { converged, moved, given_up };

    mlFunctionValue evaluated(double t) const {
        mlFunctionValue point(t);
        point.do_fn0(f_);
        return point;
    }

    void make_current_an_end(mlMinimiserState way) { (way == mlMinimiserGoHigher ? low_ : high_) = current_; }

    // Without a bracket end at the current point, as after a change of range, the upper end is the near one.
    void stand_at_an_end() {
        bool const at_low = low_.t == current_.t;
        near_ = at_low ? &low_ : &high_;
        far_ = at_low ? &high_ : &low_;
        inwards_ = at_low ? 1.0 : -1.0;
        near_->need_value(f_);
        f0_ = near_->value;
    }

    bool rises_into_bracket() {
        if (f_.highest_derivative_order <= 0) return false;
        near_->need_first_derivative(f_);
        return sign_of(near_->first_derivative) == inwards_;
    }

    // To the minimum of the parabola that has the near end's slope and curvature.
    Newton newton_step() {
        if (f_.highest_derivative_order < 2) return Newton::given_up;
        near_->need_second_derivative(f_);
        double const slope = near_->first_derivative;
        double const curvature = near_->second_derivative;
        bool const has_minimum = sign_of(slope) == -inwards_ && curvature > 0.0 && curvature + 1.0 > 1.0;
        if (!has_minimum) return Newton::given_up;

        double const dt = -slope / curvature;
        mlFunctionValue trial(current_.t + dt);
        if (trial.t == current_.t) return Newton::converged;
        if (!(low_.t < trial.t && trial.t < high_.t)) return Newton::given_up;
        trial.do_fn0(f_);
        if (trial.value >= f0_) {
            *far_ = trial;
        } else if (trial.value < f0_ && (high_.t - low_.t <= m_.resolution_ || std::fabs(dt) > m_.resolution_)) {
            current_ = trial;
            return Newton::moved;
        }
        // A lower trial that is a short step into a wide bracket is dropped: bisection closes the bracket instead.
        return Newton::given_up;
    }

    // Replaces an unbounded far end by a point at a finite distance. When that point is no higher, moves there instead
    // and returns true.
    bool expand() {
        if (std::fabs(far_->t) != mlUnboundedMax) return false;
        mlFunctionValue const outer = evaluated(current_.t + inwards_ * step_);
        step_ *= expansion_growth; // not reset: the next expansion of this search continues from here
        bool const moves = outer.value <= f0_;
        (moves ? current_ : *far_) = outer;
        return moves;
    }

    bool move_to_lower_far_end() {
        far_->need_value(f_);
        bool const lower = far_->value < f0_;
        if (lower) current_ = *far_;
        return lower;
    }

    // False when the bracket is narrow and its middle is not lower: the search has converged.
    bool bisect() {
        mlFunctionValue const middle = evaluated((far_->t + near_->t) * 0.5);
        if (!(wide() || middle.value < f0_)) return false;
        (middle.value >= f0_ ? *far_ : current_) = middle;
        return true;
    }

    mlMinimiser & m_;
    mlFunction const & f_;
    mlFunctionValue & current_;
    mlFunctionValue low_;
    mlFunctionValue high_;
    double step_ = 1.0; // of the expansion

    // Set by each iteration: the end at the current point, the other one, the direction between them, the near value.
    mlFunctionValue * near_ = nullptr;
    mlFunctionValue * far_ = nullptr;
    double inwards_ = 0.0;
    double f0_ = 0.0;
};

mlMinimiserState mlMinimiser::search() {
    Search steps(*this);
    iterations_ = 0;
    begin_observation();
    while (has_iterations()) {
        if (auto const end = steps.iterate()) return *end;
        ++iterations_;
        if (stops(current_.knows_value() ? current_.value : std::numeric_limits<double>::quiet_NaN(), -1,
                  steps.width()))
            return mlMinimiserStopped;
    }
    return steps.wide() ? mlMinimiserFailed : mlMinimiserBracketConverged;
}
