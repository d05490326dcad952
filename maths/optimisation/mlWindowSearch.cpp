#include "maths/optimisation/mlWindowSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

double const largest_radius = 1e300;
double const first_convex_radius = 4.0; // Newton steps may be that long at once
double const first_radius = 1.0;
double const collapse = 1e-3;     // of the resolution: a trust region as small is of no use
double const near_the_end = 1e-3; // in units: Newton's steps as long are among the last few
int const most_rejections = 60;
int const most_level_steps = 4;
int const most_descents = 2;
// Times what a step was to gain, by which it rises where it climbs the wall of a valley: of a narrow one, and else.
double const climb_if_narrow = 0.3, climb = 10.0;

} // namespace

mlWindowSearch::mlWindowSearch(mlBaseMinimiser2 & minimiser)
    : minimiser_(minimiser), function_(minimiser), model_(function_), pattern_(function_), point_(function_.lowest()) {}

mlMinimiser2State mlWindowSearch::run() {
    minimiser_.iterations_ = 0;
    minimiser_.begin_observation();
    bool const in_plane = !std::isnan(point_.x[0]) && !std::isnan(point_.x[1]);
    point_.f = in_plane ? function_.value(point_.x) : std::numeric_limits<double>::quiet_NaN();
    if (!in_plane || minimiser_.max_iterations_ <= 0) return mlMinimiser2Failed;
    End end;
    while (!end && !function_.has_met_absolute_minimum() && minimiser_.iterations_ < minimiser_.max_iterations_) {
        ++minimiser_.iterations_;
        mlPair const before = point_.x;
        end = iterate();
        if (end || !minimiser_.observed() || function_.has_met_absolute_minimum()) continue;
        double const du = point_.x[0] - before[0], dv = point_.x[1] - before[1];
        if (minimiser_.stops(point_.f, minimiser_.calls_, std::sqrt(du * du + dv * dv))) end = mlMinimiser2Stopped;
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
    if (function_.order() != 2 || model_.is_fresh() || model_.is_nearly_fresh()) return false;
    return function_.length(s) < near_the_end;
}

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
    settlings_ = 0;
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

// Across a bend of a narrow valley a step climbs the wall, from where another one leads down to the floor.
bool mlWindowSearch::try_two_steps(mlWindowPoint const & first, double predicted) {
    double const least = model_.curvature().is_nearly_singular(mlSymmetric2::narrow) ? climb_if_narrow : climb;
    bool const climbs = first.f - point_.f > least * predicted && predicted > point_.noise();
    if (!climbs || !std::isfinite(first.f)) return false;
    double const target = point_.f - predicted, enough = point_.f - 0.1 * predicted;
    mlWindowPoint to = newton_from(first);
    int const descents = function_.curvature_is_partial() ? most_descents : 0;
    if (!(to.f < enough)) to = first;
    for (int i = 0; i < descents && !(to.f < enough); ++i)
        to = down_the_wall(to, target);
    if (!(to.f < enough)) return false;
    radius_ = std::max(radius_, 4.0 * function_.length({to.x[0] - point_.x[0], to.x[1] - point_.x[1]}));
    last_step_was_free_ = false;
    model_.forget_curvature();
    move_to(to);
    return true;
}

// Where Newton's step from there leads; the point itself where there is none.
mlWindowPoint mlWindowSearch::newton_from(mlWindowPoint const & there) {
    mlLocalModel2 const model = model_;
    mlWindowPoint const here = point_;
    point_ = there;
    model_.forget_curvature();
    mlPair const x = model_.move_to(there) ? function_.moved(there.x, model_step()) : there.x;
    point_ = here;
    model_ = model;
    return x == there.x || is_unbounded(x) ? there : mlWindowPoint{x, function_.value(x)};
}

// Polyak's step: down the slope to where a parabola whose minimum is `floor` has it. A curvature of the Jacobian alone
// would lead along the valley too.
mlWindowPoint mlWindowSearch::down_the_wall(mlWindowPoint const & there, double floor) {
    mlPair g;
    if (!function_.gradient(there.x, g)) return there;
    double const p = function_.unit(0) * g[0], q = function_.unit(1) * g[1];
    double const t = 2.0 * (there.f - floor) / (p * p + q * q);
    mlPair const x = function_.moved(there.x, {-t * p * function_.unit(0), -t * q * function_.unit(1)});
    return x == there.x || is_unbounded(x) ? there : mlWindowPoint{x, function_.value(x)};
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
    radius_ = shrinkage * size;
    growth_ = 2.0;
    model_.judge(s, point_.f - f);

    bool const hidden = predicted <= point_.noise() && !(f - point_.f > point_.noise() + predicted); // by roundoff
    if (hidden) return finish();
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
    double const change = model_.quadratic().change(s);
    bool const lower = f < point_.f + change;
    lengthening_ = lower ? 10.0 * lengthening_ : 10.0;
    if (!lower) {
        bool const in_valley = model_.curvature().is_nearly_singular(mlSymmetric2::narrow);
        if (in_valley && try_two_steps({x, f}, -change)) return true; // its bend kept the steps short
        if (++failed_lengthenings_ % 2 == 0)
            model_.forget_curvature(); // steps are short, but not for want of curvature
        return function_.has_met_absolute_minimum();
    }
    radius_ = std::max(radius_, factor * function_.length(s));
    move_to({x, f});
    return true;
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
