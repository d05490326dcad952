#include "maths/optimisation/mlWindowSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

double const largest_radius = 1e300;
double const first_convex_radius = 2.0; // Newton steps may be that long at once
double const first_radius = 1.0;
double const negligible = 1e-3;   // of the resolution: a step that needs no confirmation
double const collapse = 1e-3;     // of the resolution: a trust region as small is of no use
double const short_step = 1e-3;   // in units
double const near_the_end = 3e-3; // in units: Newton's steps as long are among the last few
double const coarse_step = 1e-6;  // in units: beside steps as long the curvature changes
int const most_rejections = 60;
int const most_escapes = 3;
int const most_level_steps = 4;
int const most_restarts = 5;
int const most_detours = 5; // from one point

} // namespace

mlWindowSearch::mlWindowSearch(mlBaseMinimiser2 & minimiser)
    : minimiser_(minimiser), function_(minimiser), model_(function_), pattern_(function_), point_(function_.lowest()) {}

mlMinimiser2State mlWindowSearch::run() {
    minimiser_.iterations_ = 0;
    bool const in_plane = !std::isnan(point_.x[0]) && !std::isnan(point_.x[1]);
    point_.f = in_plane ? function_.value(point_.x) : std::numeric_limits<double>::quiet_NaN();
    if (!in_plane || minimiser_.max_iterations_ <= 0) return mlMinimiser2Failed;
    End end;
    while (!end && !function_.has_met_absolute_minimum() && minimiser_.iterations_ < minimiser_.max_iterations_) {
        ++minimiser_.iterations_;
        end = iterate();
    }
    bool const met = function_.has_met_absolute_minimum();
    if (met) point_ = function_.lowest();
    return met ? mlMinimiser2AbsoluteMinimum : end.value_or(mlMinimiser2Failed);
}

mlWindowSearch::End mlWindowSearch::iterate() {
    if (sampling_) return sample();
    if (!std::isfinite(point_.f)) return point_.f < 0.0 ? End(mlMinimiser2Failed) : start_sampling(1.0);
    if (!modelled_) {
        if (!model_.move_to(point_)) return start_sampling(1.0);
        modelled_ = true;
        if (radius_ == 0.0) set_first_radius();
    }
    if (function_.order() == 2 && model_.is_doubtful() && !model_.renew(point_)) return start_sampling(1.0);
    mlPair s = model_step();
    if (has_to_be_renewed_near_the_end(s)) {
        if (!model_.renew(point_)) return start_sampling(1.0);
        s = model_step();
    }
    if (is_within_resolution(s)) return settle(s);
    if (try_longer_step(s)) return std::nullopt;
    return try_step(s);
}

// Second derivatives that confirm the minimum serve for the last steps too, when they are asked for before those.
bool mlWindowSearch::has_to_be_renewed_near_the_end(mlPair const & s) const {
    if (function_.order() != 2 || model_.is_fresh() || model_.is_nearly_fresh() || is_held()) return false;
    return function_.length(s) < near_the_end;
}

// Whether ends hold both parameters: then this is a minimum, whatever the curvature.
bool mlWindowSearch::is_held() const { return held_by_an_end(0) && held_by_an_end(1); }

void mlWindowSearch::set_first_radius() {
    radius_ = model_.curvature().is_positive() ? first_convex_radius : first_radius;
}

mlPair mlWindowSearch::model_step() const {
    mlPair low, high;
    for (int i : {0, 1}) {
        double const r = std::min(radius_ * function_.unit(i), largest_radius);
        low[i] = std::min(std::max(function_.low(i) - point_.x[i], -r), 0.0);
        high[i] = std::max(std::min(function_.high(i) - point_.x[i], r), 0.0);
    }
    return model_.quadratic().step_within(low, high);
}

// A step that the trust region keeps short tells nothing, unless roundoff is all that is left of it.
bool mlWindowSearch::is_within_resolution(mlPair const & s) const {
    bool const free = function_.length(s) < 0.99 * radius_;
    return function_.is_below_resolution(point_.x, s, free ? 1.0 : 0.0);
}

void mlWindowSearch::move_to(mlWindowPoint const & point) {
    point_ = point;
    modelled_ = false;
    rejections_ = 0;
}

bool mlWindowSearch::is_unbounded(mlPair const & x) const {
    for (int i : {0, 1}) {
        bool const far = x[i] > 0.0 ? function_.high(i) == mlUnboundedMax : function_.low(i) == mlUnboundedMin;
        if (far && std::fabs(x[i]) >= largest_radius) return true;
    }
    return false;
}

mlWindowSearch::End mlWindowSearch::try_step(mlPair const & s) {
    double const predicted = -model_.quadratic().change(s);
    mlPair const x = function_.moved(point_.x, s);
    if (is_unbounded(x)) return mlMinimiser2Failed; // it falls for ever
    double const f = function_.value(x);
    if (f == point_.f && function_.order() > 0 && predicted <= point_.noise() && level_steps_ < most_level_steps) {
        ++level_steps_; // derivatives tell more than values
        move_to({x, f});
        return std::nullopt;
    }
    if (!(f < point_.f)) {
        if (try_two_steps({x, f}, predicted)) return std::nullopt;
        return reject(s, f, predicted);
    }
    double const gain = point_.f - f, size = function_.length(s);
    model_.judge(s, gain);
    last_step_was_free_ = size < 0.99 * radius_;
    adapt_radius(gain / predicted, size);
    move_to({x, f});
    return std::nullopt;
}

// Across a bend of a narrow valley a step climbs the wall, from where Newton's next one leads down to the floor.
bool mlWindowSearch::try_two_steps(mlWindowPoint const & first, double predicted) {
    bool const climbs = first.f - point_.f > 3.0 * predicted && predicted > point_.noise();
    if (!climbs || !std::isfinite(first.f) || rejections_ > most_detours) return false;
    mlLocalModel2 const model = model_;
    mlWindowPoint const start = point_;
    point_ = first;
    model_.forget_curvature();
    if (model_.move_to(first)) {
        mlPair const x = function_.moved(first.x, model_step());
        double const f = is_unbounded(x) ? first.f : function_.value(x);
        if (f < start.f - 0.1 * predicted) {
            radius_ = std::max(radius_, 4.0 * function_.length({x[0] - start.x[0], x[1] - start.x[1]}));
            last_step_was_free_ = false;
            model_.forget_curvature();
            move_to({x, f});
            return true;
        }
    }
    point_ = start;
    model_ = model;
    return false;
}

void mlWindowSearch::adapt_radius(double ratio, double size) {
    if (ratio < 0.25) {
        radius_ = 0.5 * size;
    } else if (ratio > 0.75 && size > 0.99 * radius_) {
        radius_ = std::min(growth_ * size, largest_radius);
        growth_ *= 2.0; // a long way takes few steps
    }
}

mlWindowSearch::End mlWindowSearch::reject(mlPair const & s, double f, double predicted) {
    ++rejections_;
    double const slope = model_.gradient()[0] * s[0] + model_.gradient()[1] * s[1];
    double const size = function_.length(s);
    double shrinkage = 0.25;
    if (std::isfinite(f) && slope < 0.0) // to the minimum of the parabola through both values
        shrinkage = std::clamp(-0.5 * slope / (f - point_.f - slope), 0.1, 0.5);
    double const limit = radius_;
    radius_ = shrinkage * size;
    growth_ = 2.0;
    model_.judge(s, point_.f - f);

    bool const by_values = function_.order() == 0;
    bool const hidden = predicted <= point_.noise() && !(f - point_.f > point_.noise() + predicted); // by roundoff
    if (hidden && size > 0.99 * limit && model_.curvature().is_positive()) {
        radius_ = largest_radius;
        mlPair const whole = model_step();
        if (-model_.quadratic().change(whole) > 10.0 * point_.noise()) return std::nullopt; // the way to go is longer
        radius_ = shrinkage * size;
    }
    if (hidden && by_values && !model_.is_fresh()) return settle(s);
    if (hidden || (by_values && model_.is_fresh() && predicted <= 1e3 * point_.noise())) return finish();
    if (rejections_ >= 2 && !model_.is_fresh() && !model_.renew(point_)) return start_sampling(1.0);
    double const least = collapse * function_.resolution();
    if (radius_ * function_.unit(0) < least && radius_ * function_.unit(1) < least)
        return start_sampling(4.0 * std::max(size, function_.coarse_resolution()));
    if (rejections_ > most_rejections) return start_sampling(size);
    return std::nullopt;
}

// Towards a minimum without curvature Newton's steps shrink by a constant ratio: goes to their limit at once.
bool mlWindowSearch::try_longer_step(mlPair const & s) {
    if (!model_.has_last_step() || !last_step_was_free_ || !(function_.length(s) < 0.99 * radius_)) return false;
    mlPair const & last = model_.last_step();
    double const ratio = (s[0] * last[0] + s[1] * last[1]) / (last[0] * last[0] + last[1] * last[1]);
    double const du = s[0] - ratio * last[0], dv = s[1] - ratio * last[1];
    bool const parallel = du * du + dv * dv <= 0.01 * (s[0] * s[0] + s[1] * s[1]);
    if (!parallel || !(ratio > 0.4 && ratio < 1.5)) return false;
    last_step_was_free_ = false;

    double const factor = ratio < 0.9 ? 1.0 / (1.0 - ratio) : lengthening_;
    mlPair const x = function_.moved(point_.x, {factor * s[0], factor * s[1]});
    if (is_unbounded(x)) return false;
    double const f = function_.value(x);
    bool const lower = f < point_.f + model_.quadratic().change(s);
    lengthening_ = lower ? 10.0 * lengthening_ : 10.0;
    if (!lower) {
        if (++failed_lengthenings_ % 2 == 0)
            model_.forget_curvature(); // steps are short, but not for want of curvature
        return function_.has_met_absolute_minimum();
    }
    lengthened_ = true;
    radius_ = std::max(radius_, factor * function_.length(s));
    model_.distrust();
    move_to({x, f});
    return true;
}

// The model's minimum lies within the resolution: goes there, and looks whether it is one.
mlWindowSearch::End mlWindowSearch::settle(mlPair s) {
    if (is_held() && s == mlPair{0.0, 0.0}) return finish();
    bool const fresh = model_.is_fresh();
    bool const proven =
        function_.order() == 1 && !function_.curvature_is_partial() && (shrinks_fast(s) || !is_narrow());
    if (!proven && !model_.confirm(point_)) return start_sampling(1.0);
    if (!fresh || function_.curvature_is_partial()) {
        radius_ = std::max(radius_, 10.0 * function_.coarse_resolution());
        s = model_step();
        if (!is_within_resolution(s)) return try_step(s);
    }
    settled_quickly_ = shrinks_fast(s) && !is_narrow();
    mlPair const x = function_.moved(point_.x, s);
    if (x == point_.x || (function_.is_below_resolution(point_.x, s, negligible) && !changes_ends(x))) return finish();
    double const predicted = -model_.quadratic().change(s);
    double const f = function_.value(x);
    double const gain = point_.f - f;
    bool const by_values = function_.order() == 0;
    if (!(gain >= 0.0)) {
        if (-gain <= point_.noise() || (by_values && predicted <= 1e3 * point_.noise())) return finish();
        return reject(s, f, predicted);
    }
    bool const sure = settled_quickly_ || function_.is_below_resolution(point_.x, s, negligible) ||
                      (predicted <= point_.noise() && (function_.order() != 1 || function_.curvature_is_partial()));
    move_to({x, f});
    return sure ? finish() : confirm();
}

// Whether this may be the wall of a valley with a long way to go, which the curvature must be known well to tell.
bool mlWindowSearch::is_narrow() const {
    return !held_by_an_end(0) && !held_by_an_end(1) && model_.curvature().is_narrow();
}

// Whether steps are short, and shrink so fast that the next ones do not matter.
bool mlWindowSearch::shrinks_fast(mlPair const & s) const {
    double const last = model_.has_last_step() ? function_.length(model_.last_step()) : 1.0;
    return last < short_step && function_.length(s) < 0.1 * last;
}

// Whether a parameter reaches or leaves an end of the window on the way to x.
bool mlWindowSearch::changes_ends(mlPair const & x) const {
    for (int i : {0, 1})
        if (x[i] != point_.x[i] && (function_.at_end(x, i) || function_.at_end(point_.x, i))) return true;
    return false;
}

// After a step within the resolution: the next one must be much shorter.
mlWindowSearch::End mlWindowSearch::confirm() {
    if (!model_.move_to(point_)) return start_sampling(1.0);
    modelled_ = true;
    bool const coarse = function_.length(model_.last_step()) > coarse_step;
    if (coarse && !model_.is_fresh() && !model_.renew(point_)) return start_sampling(1.0);
    mlPair const next = model_step();
    bool const shrinks = function_.length(next) <= 0.25 * function_.length(model_.last_step());
    if (function_.is_below_resolution(point_.x, next, shrinks ? 1.0 : negligible)) return finish();
    if (!model_.is_fresh()) model_.distrust();
    return std::nullopt;
}

mlWindowSearch::End mlWindowSearch::start_sampling(double distance) {
    sampling_ = true;
    modelled_ = false;
    model_.forget();
    pattern_.start(distance);
    return std::nullopt;
}

mlWindowSearch::End mlWindowSearch::sample() {
    bool const finite = std::isfinite(point_.f);
    switch (pattern_.poll(point_)) {
    case mlPatternSearch2::moved:
        if (!finite) sampling_ = false; // a model may do now
        return std::nullopt;
    case mlPatternSearch2::nothing: return std::nullopt;
    case mlPatternSearch2::ended: break;
    }
    return finite ? finish() : mlMinimiser2Failed;
}

// A minimum, unless a lower value is known or close by.
mlWindowSearch::End mlWindowSearch::finish() {
    if (function_.has_met_absolute_minimum()) return std::nullopt;
    mlWindowPoint const & lowest = function_.lowest(); // met by differences, or by a step refused as roundoff
    mlPair const to_lowest = {lowest.x[0] - point_.x[0], lowest.x[1] - point_.x[1]};
    if (lowest.f < point_.f && function_.is_below_resolution(point_.x, to_lowest, 1.0)) point_ = lowest;
    bool lower = point_.is_above(lowest.f);
    if (lower)
        move_to(lowest);
    else if (!sampling_)
        lower = is_lower_at_an_end_nearby() || (is_flat() ? escape() : is_lower_down_the_slope());
    else
        lower = is_lower_at_an_end_nearby();
    if (lower) {
        if (++restarts_ > most_restarts) return start_sampling(10.0 * function_.coarse_resolution());
        modelled_ = false;
        radius_ = 0.0;
        model_.forget();
        return std::nullopt;
    }
    if (function_.at_end(point_.x, 0)) return function_.at_end(point_.x, 1) ? mlMinimiser2AtCorner : mlMinimiser2AtUEnd;
    return function_.at_end(point_.x, 1) ? mlMinimiser2AtVEnd : mlMinimiser2Converged;
}

// Whether the parameter is at an end, from which the model rises inwards.
bool mlWindowSearch::held_by_an_end(int i) const {
    double const g = model_.gradient()[i];
    return (function_.at_low(point_.x, i) && g > 0.0) || (function_.at_high(point_.x, i) && g < 0.0);
}

// Whether the curvature leaves open, in a direction that an end of the window does not close, if this is a minimum.
bool mlWindowSearch::is_flat() const {
    bool const free_u = !held_by_an_end(0), free_v = !held_by_an_end(1);
    mlSymmetric2 const & b = model_.curvature();
    return (free_u && !(b.uu > 0.0)) || (free_v && !(b.vv > 0.0)) || (free_u && free_v && !b.is_positive());
}

// Looks further around; where that has to be done again and again, sampling does it better.
bool mlWindowSearch::escape() {
    if (++escapes_ > most_escapes) start_sampling(first_radius);
    return pattern_.escape(point_) || sampling_;
}

// Moves to x if the value is lower there.
bool mlWindowSearch::is_lower(mlPair const & x) {
    if (x == point_.x) return false;
    double const f = function_.value(x);
    if (!(f < point_.f)) return false;
    point_ = {x, f};
    return true;
}

// A few resolutions away, where the curvature was not asked of the function itself.
bool mlWindowSearch::is_lower_down_the_slope() {
    if (function_.order() == 2) return false;
    if (settled_quickly_ && !(lengthened_ && function_.order() == 1)) return false;
    mlPair g = model_.gradient();
    for (int i : {0, 1})
        if (held_by_an_end(i)) g[i] = 0.0;
    double const largest = std::max(std::fabs(g[0]), std::fabs(g[1]));
    if (!(largest > 0.0)) return false;
    mlPair const unit = {g[0] / largest, g[1] / largest};
    double const distance = -3.0 * function_.resolution() / std::sqrt(unit[0] * unit[0] + unit[1] * unit[1]);
    return is_lower(function_.moved(point_.x, {distance * unit[0], distance * unit[1]}));
}

// A minimum within the resolution of an end may be on it.
bool mlWindowSearch::is_lower_at_an_end_nearby() {
    mlPair x = point_.x;
    for (int i : {0, 1}) {
        if (function_.at_end(x, i)) continue;
        if (x[i] - function_.low(i) < function_.resolution())
            x[i] = function_.low(i);
        else if (function_.high(i) - x[i] < function_.resolution())
            x[i] = function_.high(i);
        if (is_lower(x)) return true;
        x = point_.x;
    }
    return false;
}
