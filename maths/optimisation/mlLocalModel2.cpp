#include "maths/optimisation/mlLocalModel2.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

double const epsilon = std::numeric_limits<double>::epsilon();
double const near = 0.03; // in units: a curvature that is clear there does not change its kind here
int const patience = 3;   // bad predictions before a curvature without second derivatives is made afresh

} // namespace

bool mlLocalModel2::move_to(mlWindowPoint const & point) {
    has_last_step_ = has_model_ && !stale_;
    last_step_ = {point.x[0] - at_[0], point.x[1] - at_[1]};
    at_ = point.x;
    fresh_ = false;
    way_since_fresh_ += function_->length(last_step_);
    bool const update =
        has_last_step_ && (function_->order() == 2 || function_->curvature_is_partial() || !is_doubtful());
    if (stale_) forget_correction();
    stale_ = false;
    mlPair g;
    if (function_->order() > 0 && !function_->gradient(point.x, g) && function_->order() > 0) return false;
    if (function_->order() == 0) {
        // Forward differences would not tell the slope of a valley's floor beside its walls.
        if (!update || model_.b.is_nearly_singular(mlSymmetric2::narrow)) return renew_by_values(point);
        if (!difference_gradient(point, g)) return false;
    }
    if (update) {
        update_curvature(g);
        model_.g = g;
    } else {
        model_.g = g;
        if (!renew(point)) return false;
    }
    has_model_ = true;
    return model_.is_finite();
}

void mlLocalModel2::forget() {
    has_model_ = false;
    stale_ = false;
    has_last_step_ = false;
    bad_predictions_ = 0;
    forget_correction();
}

void mlLocalModel2::forget_correction() {
    correction_ = mlSymmetric2();
    corrects_ = false;
}

void mlLocalModel2::use_correction(bool use) {
    corrects_ = use;
    model_.b = use ? partial_ + correction_ : partial_;
}

void mlLocalModel2::update_curvature(mlPair const & g) {
    mlPair const y = {g[0] - model_.g[0], g[1] - model_.g[1]};
    if (!function_->curvature_is_partial()) return model_.b.update(last_step_, y);
    function_->curvature(at_, partial_);
    mlPair const known = partial_.times(last_step_);
    correction_.update(last_step_, {y[0] - known[0], y[1] - known[1]});
    use_correction(corrects_);
}

bool mlLocalModel2::renew(mlWindowPoint const & point) {
    if (function_->order() == 0) return renew_by_values(point);
    bad_predictions_ = 0;
    bad_prediction_ = false;
    if (function_->curvature_is_partial()) {
        bool const finite = function_->curvature(point.x, partial_);
        use_correction(corrects_);
        return finite;
    }
    fresh_ = true;
    if (function_->order() == 2) {
        way_since_fresh_ = 0.0;
        if (function_->curvature(point.x, model_.b)) return true;
        if (function_->order() == 2) return false;
    }
    return renew_by_gradients(point);
}

bool mlLocalModel2::is_nearly_fresh() const {
    mlSymmetric2 const & b = model_.b;
    bool const clear = b.uu > 0.0 && b.vv > 0.0 && 1.0 - b.uv / b.uu * (b.uv / b.vv) > 0.1;
    return function_->order() == 2 && way_since_fresh_ < near && clear;
}

bool mlLocalModel2::confirm(mlWindowPoint const & point) {
    if (fresh_ || is_nearly_fresh()) return true;
    if (!function_->curvature_is_partial()) return renew(point);
    if (has_last_step_) return true;
    fresh_ = true;
    if (!renew_by_gradients(point)) return false;
    correction_ = {model_.b.uu - partial_.uu, model_.b.uv - partial_.uv, model_.b.vv - partial_.vv};
    corrects_ = true;
    return true;
}

bool mlLocalModel2::agrees_across(mlWindowPoint const & point) {
    if (!has_last_step_) return false;
    int const i = std::fabs(last_step_[0]) * function_->unit(1) < std::fabs(last_step_[1]) * function_->unit(0) ? 0 : 1;
    mlPair const x = function_->beside(point.x, i, 1e-5 * scale(point.x, i));
    mlPair g;
    double const s = x[i] - point.x[i];
    if (s == 0.0 || !function_->gradient(x, g)) return false;
    double error = 0.0, size = 0.0;
    for (int j : {0, 1}) {
        double const expected = s * (i == j ? model_.b.diagonal(i) : model_.b.uv);
        error = std::max(error, std::fabs(g[j] - model_.g[j] - expected) * function_->unit(j));
        size = std::max(size, std::fabs(expected) * function_->unit(j));
    }
    mlSymmetric2 const & b = model_.b; // the curvature along the floor of a valley is a small difference
    return error <= 0.25 * (1.0 - b.uv / b.uu * (b.uv / b.vv)) * size;
}

void mlLocalModel2::judge(mlPair const & s, double gain) {
    double const ratio = -gain / model_.change(s);
    bad_prediction_ = !(std::fabs(ratio - 1.0) < 0.2);
    if (!(ratio >= 0.25 && ratio <= 3.0)) ++bad_predictions_;
    if (!function_->curvature_is_partial()) return;
    double const without = mlQuadraticModel2{model_.g, partial_}.change(s) + gain;
    double const with = mlQuadraticModel2{model_.g, partial_ + correction_}.change(s) + gain;
    if (std::fabs(with) != std::fabs(without)) use_correction(std::fabs(with) < std::fabs(without));
}

bool mlLocalModel2::is_doubtful() const {
    if (function_->order() == 2) return bad_prediction_ && !fresh_;
    return bad_predictions_ >= patience;
}

double mlLocalModel2::scale(mlPair const & x, int i) const { return std::max(function_->unit(i), std::fabs(x[i])); }

bool mlLocalModel2::renew_by_gradients(mlWindowPoint const & point) {
    mlPair rows[2] = {{0.0, 0.0}, {0.0, 0.0}};
    for (int const side : {1, -1}) {
        for (int i : {0, 1}) {
            mlPair x = function_->beside(point.x, i, 1e-5 * scale(point.x, i)), g;
            if (side < 0) x[i] = function_->moved(point.x, i, point.x[i] - x[i]);
            double const s = x[i] - point.x[i];
            if (s == 0.0) continue;                                     // no room
            if (function_->curvature_is_partial()) function_->value(x); // the gradient needs it
            if (!function_->gradient(x, g) || function_->has_met_absolute_minimum()) return false;
            for (int j : {0, 1}) {
                double const slope = (g[j] - model_.g[j]) / s;
                rows[i][j] = side > 0 ? slope : 0.5 * (rows[i][j] + slope);
            }
        }
        bool const both = rows[0][1] != 0.0 && rows[1][0] != 0.0;
        model_.b = {rows[0][0], both ? 0.5 * (rows[0][1] + rows[1][0]) : 0.0, rows[1][1]};
        if (!model_.b.is_nearly_singular(1e-4)) break; // else only central differences tell its kind
    }
    return model_.is_finite();
}

// Balances the roundoff of a central difference with its error of third order, for a function of moderate ones.
double mlLocalModel2::central_step(mlWindowPoint const & point, int i) const {
    double step = 1e-4 * scale(point.x, i);
    if (has_model_) {
        double const b = std::max(std::fabs(model_.b.diagonal(i)), 1e-300);
        double const most = std::max(step, 0.01 * std::fabs(last_step_[i]));
        step = std::max(0.05 * std::sqrt(std::sqrt(epsilon * std::fabs(point.f) / b)), 1e-6 * scale(point.x, i));
        step = std::min(step, most);
    }
    return step;
}

// The parabola through three values along each parameter, on both sides where there is room, and the twist.
bool mlLocalModel2::renew_by_values(mlWindowPoint const & point) {
    mlPair offset = {0.0, 0.0}, opposite = offset, f = {point.f, point.f}, g = f, slope = {0.0, 0.0}, bend = {0.0, 0.0};
    for (int i : {0, 1}) {
        double const h = central_step(point, i);
        mlPair x = point.x;
        double const up = function_->moved(x, i, x[i] + h > function_->high(i) ? -2.0 * h : h) - x[i];
        double const down = function_->moved(x, i, x[i] - h < function_->low(i) ? 2.0 * h : -h) - x[i];
        if (up == down || up == 0.0 || down == 0.0) continue; // no room
        x[i] = point.x[i] + up;
        f[i] = function_->value(x);
        offset[i] = up;
        x[i] = point.x[i] + down;
        opposite[i] = down;
        g[i] = function_->value(x);
        double const rise_up = (f[i] - point.f) / up, rise_down = (g[i] - point.f) / down;
        bend[i] = 2.0 * (rise_up - rise_down) / (up - down);
        slope[i] = rise_up - 0.5 * bend[i] * up;
    }
    double twist = has_model_ ? model_.b.uv : 0.0;
    if (offset[0] != 0.0 && offset[1] != 0.0 &&
        (!has_model_ || bad_predictions_ > 0 || model_.b.is_nearly_singular(mlSymmetric2::narrow))) {
        double const corner = function_->value({point.x[0] + offset[0], point.x[1] + offset[1]});
        twist = ((corner - f[0]) - (f[1] - point.f)) / offset[0] / offset[1];
        bool const both_sides = (offset[0] > 0.0) == (opposite[0] < 0.0) && (offset[1] > 0.0) == (opposite[1] < 0.0);
        if (both_sides && mlSymmetric2{bend[0], twist, bend[1]}.is_nearly_singular(mlSymmetric2::narrow)) {
            double const other = function_->value({point.x[0] + opposite[0], point.x[1] + opposite[1]});
            double const twist_there = ((other - g[0]) - (g[1] - point.f)) / opposite[0] / opposite[1];
            twist = 0.5 * (twist + twist_there);
        }
    }
    model_.g = slope;
    model_.b = {bend[0], twist, bend[1]};
    fresh_ = true;
    bad_predictions_ = 0;
    bad_prediction_ = false;
    has_model_ = model_.is_finite() && !function_->has_met_absolute_minimum();
    return has_model_;
}

// Balances the roundoff of a forward difference with what the curvature known is likely to be off.
double mlLocalModel2::forward_step(mlWindowPoint const & point, int i) const {
    double const b = std::max(std::fabs(model_.b.diagonal(i)), 1e-300);
    double const step = std::max(
        {5.0 * std::sqrt(epsilon * std::fabs(point.f) / b), 1e-7 * scale(point.x, i), 0.01 * std::fabs(last_step_[i])});
    return std::min(step, 1e-4 * scale(point.x, i));
}

bool mlLocalModel2::difference_gradient(mlWindowPoint const & point, mlPair & g) {
    for (int i : {0, 1}) {
        mlPair const x = function_->beside(point.x, i, forward_step(point, i));
        double const s = x[i] - point.x[i];
        g[i] = s == 0.0 ? 0.0 : (function_->value(x) - point.f) / s - 0.5 * model_.b.diagonal(i) * s;
    }
    return std::isfinite(g[0]) && std::isfinite(g[1]) && !function_->has_met_absolute_minimum();
}
