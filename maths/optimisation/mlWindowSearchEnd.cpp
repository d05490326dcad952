#include "maths/optimisation/mlWindowSearch.h"

#include <algorithm>
#include <cmath>

// How a search ends: whether a step within the resolution leads to a minimum.

namespace {

double const negligible = 1e-3;      // of the resolution: a step that needs no confirmation
double const short_step = 1e-2;      // in units, with second derivatives
double const very_short_step = 1e-5; // without them
double const coarse_step = 1e-6;     // in units: beside steps as long the curvature changes
// Of a step that confirms the one before: where a valley may be narrow, and else.
double const shrinkage_if_narrow = 0.05, shrinkage = 0.25;
double const clear = 0.6;     // a curvature less singular than that is no valley's
double const balanced = 1e-2; // least ratio of both second derivatives of one that is none along a parameter either
int const most_settlings = 6; // steps within the resolution on end

} // namespace

// The model's minimum lies within the resolution: goes there, and looks whether it is one.
mlWindowSearch::End mlWindowSearch::settle(mlPair s) {
    bool const on_u_end = is_firmly_held(0, s), on_v_end = is_firmly_held(1, s);
    if (on_u_end && on_v_end) return finish(); // whatever the curvature
    bool const fresh = model_.is_fresh();
    bool const proven =
        function_.order() == 1 && !fresh && (shrinks_fast(s) || on_u_end || on_v_end || model_.agrees_across(point_));
    if (!proven && !model_.confirm(point_)) return start_sampling(1.0);
    if (!fresh || function_.curvature_is_partial()) {
        radius_ = std::max(radius_, 10.0 * function_.coarse_resolution());
        s = model_step();
        if (!is_within_resolution(s)) return try_step(s);
    }
    settled_ = shrinks_fast(s) && !is_narrow(s);
    mlPair const x = function_.moved(point_.x, s);
    double const predicted = -model_.quadratic().change(s);
    bool const is_negligible =
        settled_ ? predicted <= point_.noise() : function_.is_below_resolution(point_.x, s, negligible);
    if (x == point_.x || (is_negligible && !changes_ends(x))) return finish();
    double const f = function_.value(x);
    double const gain = point_.f - f;
    if (!(gain >= 0.0)) {
        return -gain <= point_.noise() ? finish() : reject(s, f, predicted);
    }
    bool const foretold = predicted <= 1e3 * point_.noise() || std::fabs(gain / predicted - 1.0) <= 0.1;
    settled_ = settled_ && foretold;
    bool const sure =
        ++settlings_ > most_settlings || predicted <= point_.noise() || settled_ || (foretold && is_far_from_valleys());
    move_to({x, f});
    return sure ? finish() : confirm();
}

// Whether a model that foretells the gain of a step leaves nothing to confirm.
bool mlWindowSearch::is_far_from_valleys() const {
    mlSymmetric2 const & b = model_.curvature();
    return !b.is_nearly_singular(clear) && b.uu >= balanced * b.vv && b.vv >= balanced * b.uu;
}

// Whether this may be the wall of a valley with a long way to go, which the curvature must be known well to tell.
bool mlWindowSearch::is_narrow(mlPair const & s) const {
    return !is_firmly_held(0, s) && !is_firmly_held(1, s) && model_.curvature().is_narrow();
}

// Whether steps are short, and shrink so fast that the next ones do not matter.
bool mlWindowSearch::shrinks_fast(mlPair const & s) const {
    double const last = model_.has_last_step() ? function_.length(model_.last_step()) : 1.0;
    return last < (function_.order() == 2 ? short_step : very_short_step) && function_.length(s) < 0.1 * last;
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
    double const last = function_.length(model_.last_step());
    bool const is_clear = !model_.curvature().is_nearly_singular(clear);
    if (!is_clear && last > coarse_step && !model_.is_fresh() && !model_.renew(point_)) return start_sampling(1.0);
    mlPair const next = model_step();
    bool const shrinks = function_.length(next) <= (is_narrow(next) ? shrinkage_if_narrow : shrinkage) * last;
    bool const is_short = function_.is_below_resolution(point_.x, next, shrinks ? 1.0 : negligible);
    return is_short ? finish() : std::nullopt;
}

// A minimum, unless a lower value is known or close by.
mlWindowSearch::End mlWindowSearch::finish() {
    if (function_.has_met_absolute_minimum()) return std::nullopt;
    mlWindowPoint const & lowest = function_.lowest(); // met by differences, or by a step refused as roundoff
    mlPair const to_lowest = {lowest.x[0] - point_.x[0], lowest.x[1] - point_.x[1]};
    if (lowest.f < point_.f && function_.is_below_resolution(point_.x, to_lowest, 1.0)) point_ = lowest;
    bool lower = point_.is_above(lowest.f);
    if (lower)
        point_ = lowest;
    else
        lower = is_lower_at_an_end_nearby() || (!sampling_ && (is_flat() ? escape() : is_lower_down_the_slope()));
    if (lower) {
        move_to(point_);
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

// Whether an end holds the parameter after a step of the other one too.
bool mlWindowSearch::is_firmly_held(int i, mlPair const & s) const {
    return held_by_an_end(i) && std::fabs(model_.gradient()[i]) > 2.0 * std::fabs(model_.curvature().uv * s[1 - i]);
}

// Whether the curvature leaves open, in a direction that an end of the window does not close, if this is a minimum.
bool mlWindowSearch::is_flat() const {
    bool const free_u = !held_by_an_end(0), free_v = !held_by_an_end(1);
    mlSymmetric2 const & b = model_.curvature();
    return (free_u && !(b.uu > 0.0)) || (free_v && !(b.vv > 0.0)) || (free_u && free_v && !b.is_positive());
}

// Looks for a lower value along the direction in which the curvature is flat, and across it; all around where no
// direction is less flat than others.
bool mlWindowSearch::escape() {
    mlSymmetric2 const & b = model_.curvature();
    mlPair const unit = {function_.unit(0), function_.unit(1)};
    double const uu = b.uu * unit[0] * unit[0], uv = b.uv * unit[0] * unit[1], vv = b.vv * unit[1] * unit[1];
    if (!(std::fmin(uu, vv) >= -0.01 * std::fmax(uu, vv) && std::fmax(uu, vv) > 0.0)) return pattern_.escape(point_);
    mlPair const flat = uu > vv ? mlPair{-uv / uu, 1.0} : mlPair{1.0, -uv / vv};
    for (mlPair const & d : {flat, {flat[1], -flat[0]}})
        for (double const distance : {0.1, -0.1})
            if (is_lower(function_.moved(point_.x, {distance * unit[0] * d[0], distance * unit[1] * d[1]})))
                return true;
    return false;
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
    if (function_.order() == 2 || settled_) return false;
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
    for (int i : {0, 1}) {
        mlPair x = point_.x;
        if (function_.at_end(x, i)) continue;
        if (x[i] - function_.low(i) < function_.resolution())
            x[i] = function_.low(i);
        else if (function_.high(i) - x[i] < function_.resolution())
            x[i] = function_.high(i);
        if (is_lower(x)) return true;
    }
    return false;
}
