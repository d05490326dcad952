// The steps of mlRootIteration: how a point, or a factor, moves, and the scale in which that is computed.

#include <algorithm>
#include <limits>
#include <utility>

#include "maths/polynomials/all_roots/mlBinaryScale.h"
#include "maths/polynomials/all_roots/mlRootIteration.h"

namespace {

double const unit = std::numeric_limits<double>::epsilon() / 2.0;

bool is_finite(double x) { return x - x == 0.0; }

} // namespace

// The sum of 1 / (z - w) over the points w of all slots but i and j, without those that z coincides with.
template <> double mlRootIteration::share_of_others(double x, int i, int j) const {
    double sum = 0.0;
    for (int k = 0; k < n_; ++k) {
        if (k == i || k == j) continue;
        double const dx = x - px_[k], dy = py_[k], square = dx * dx + dy * dy;
        if (square > 0.0) sum += dx / square;
    }
    return sum;
}

template <> mlComplex mlRootIteration::share_of_others(mlComplex z, int i, int j) const {
    mlComplex sum;
    for (int k = 0; k < n_; ++k) {
        if (k == i || k == j) continue;
        double const dx = z.re - px_[k], dy = z.im - py_[k], square = dx * dx + dy * dy;
        if (!(square > 0.0)) continue;
        double const factor = 1.0 / square;
        sum.re += dx * factor;
        sum.im -= dy * factor;
    }
    return sum;
}

// Evaluates p at point z of slot i. False: the point is done, and perhaps was moved a last time. True: `step` gets 1 /
// L, L = p'/p - share, which would be the step to the root if the factor were linear. `share` is the sum of 1 / (z - w)
// over the points w of the other factors, `partner` the same for the other point of its own factor.
template <class Number>
bool mlRootIteration::correction(int i, Number z, Number share, Number partner, Phase phase, Number & step) {
    mlScaledValue<Number> at = phase == plain ? scaled_.evaluate(z) : scaled_.evaluate_precisely(z, false);
    if (!mlScaledPolynomial::is_safe(at.sum)) return false; // so of a very high degree, far from the unit circle
    double const rounding = (n_ + 4.0) * unit * at.sum;
    if (phase == plain) {
        if (ml_size(at.value) <= rounding) return false;
    } else {
        if (accept(i, z, at, share + partner, scaled_.slope_error(at, false))) return false;
        if (!(ml_size(at.slope) > 16.0 * scaled_.slope_error(at, false))) {
            at = scaled_.evaluate_precisely(z, true);
            if (accept(i, z, at, share + partner, scaled_.slope_error(at, true))) return false;
        }
        if (ml_size(at.value) <= 8.0 * unit * unit * at.sum) return false;
    }
    step = ml_quotient(z * at.value, at.slope - at.value * (z * share)); // 1 / (p'/p - share)
    return true;
}

// Takes a Newton step when it is so short that none has to follow: puts the point there and bounds its distance from
// the nearest root, which is at most n |p / p'|, by bounds of p and p' at the new point. False, with nothing changed,
// when it is longer, when the other points disturb it, or when the bounds do not meet the stopping test.
//
// With rho = |step / z|, what the terms of order two and more add to p is below (n rho)^2 times the sum, and z p'
// changes by less than 3 n (n rho) times it. ml_size is up to sqrt(2) of the modulus, so 0.7 of it is a bound below.
template <class Number>
bool mlRootIteration::accept(int i, Number z, mlScaledValue<Number> const & at, Number share, double slope_error) {
    Number const relative = ml_quotient(at.value, at.slope), step = z * relative, next = z - step, moved = next - z;
    double const rho = ml_size(relative), n_rho = n_ * rho;
    if (!(n_rho <= 1e-9) || !(ml_size(step) * ml_size(share) <= 0.015625)) return false;
    double const curvature = 4.0 * n_rho * n_rho * at.sum, noise = scaled_.value_error(at);
    if (!(curvature <= 16.0 * unit * ml_size(at.slope) || curvature <= noise)) return false;
    double const slope = ml_size(at.slope) * 0.70710678 - slope_error - 3.0 * n_ * n_rho * at.sum;
    if (!(slope > 0.25 * ml_size(at.slope))) return false;

    Number const left = at.value + at.slope * ml_quotient(moved, z);
    double const value = ml_size(left) + noise + 2.0 * rho * slope_error + curvature +
                         8.0 * unit * (ml_size(at.value) + 2.0 * rho * ml_size(at.slope));
    if (!meets_stopping_test(value, at.sum)) return false;
    put_bound(i, n_ * value / slope * ml_modulus(z) * (1.0 + 1e-9));
    if constexpr (sizeof(Number) == sizeof(double)) {
        put(i, next, 0.0);
    } else {
        put(i, next.re, next.im);
    }
    return true;
}

// |p(z)| <= 4 n eps times the sum of |a_i z^i|, less a little for what computing both has rounded: 8 unit are 4 eps.
bool mlRootIteration::meets_stopping_test(double value, double sum) const {
    return value <= 7.9 * n_ * unit * sum && mlScaledPolynomial::is_safe(sum);
}

void mlRootIteration::move_pair(int i, Phase phase) {
    if (done_[i]) return;
    focus(i);
    mlComplex const z{px_[i], py_[i]}, share = share_of_others(z, i, i + 1);
    double const x = z.re, y = z.im;
    mlComplex step;
    if (!correction(i, z, share, mlComplex{0.0, -0.5 / y}, phase, step)) { // the partner's 1 / (z - conj z)
        put(i + 1, px_[i], -py_[i]);
        bound_[i + 1] = bound_[i];
        done_[i] = done_[i + 1] = 1;
        return;
    }
    // q = T^2 - U T + V in T = t - x, with q(i y) = step q'(i y):
    //     imaginary part  -U y = 2 y step.re - U step.im,   real part  V - y^2 = -U step.re - 2 y step.im
    double const u = 2.0 * y * step.re / (step.im - y);
    double const v = y * y - u * step.re - 2.0 * y * step.im;
    set_factor(i, i + 1, x, 0.5 * u, v, phase);
}

void mlRootIteration::move_real_points(int i, int j, Phase phase) {
    double const ratio = std::fabs(x_[i] / x_[j]);
    if (done_[i] || done_[j] || !(0x1p-60 < ratio && ratio < 0x1p60)) { // too far apart for one factor
        move_real_point(i, phase);
        move_real_point(j, phase);
        return;
    }
    if (x_[j] < x_[i]) std::swap(i, j);
    double step1 = 0.0, step2 = 0.0;
    focus(j);
    int const scale2 = scaled_.exponent();
    done_[j] = !correction(j, px_[j], share_of_others(px_[j], i, j), 1.0 / (px_[j] - px_[i]), phase, step2);
    focus(i);
    step2 = ml_scale(step2, scale2 - scaled_.exponent());
    double const x1 = px_[i], x2 = px_[j], gap = x2 - x1;
    done_[i] = !correction(i, x1, share_of_others(x1, i, j), -1.0 / gap, phase, step1);
    if (done_[i] || done_[j]) return; // the other moves on its own from the next sweep on
    // Steps by L less the partner's share: where both are short, the points move on their own.
    double const single1 = step1 * gap / (gap + step1), single2 = step2 * gap / (gap - step2);
    if (std::fabs(single1) + std::fabs(single2) < 0.25 * gap) {
        take_step(i, x1, single1, phase);
        take_step(j, x2, single2, phase);
        return;
    }
    // q = T^2 - U T + V in T = t - centre, with q(-h) = step1 q'(-h) and q(h) = step2 q'(h)
    double const h = 0.5 * gap, u = -gap * (step1 + step2) / (gap + step1 - step2);
    set_factor(i, j, x1 + h, 0.5 * u, u * h - h * h + step2 * (gap - u), phase);
}

void mlRootIteration::move_real_point(int i, Phase phase) {
    if (done_[i]) return;
    focus(i);
    double const x = px_[i];
    double step;
    if (correction(i, x, share_of_others(x, i, i), 0.0, phase, step))
        take_step(i, x, step, phase);
    else
        done_[i] = 1;
}

// A real point moves from x to x - step, but no further from 0 than 8 |x| and no nearer than |x| / 64. Where that is
// NaN it tries a sixteenth further out.
void mlRootIteration::take_step(int i, double x, double step, Phase phase) {
    double const size = std::fabs(x), far = 8.0 * size;
    double next = x - step;
    if (!(std::fabs(next) <= far)) next = is_finite(step) ? (step > 0.0 ? -far : far) : 1.0625 * x;
    if (!(std::fabs(next) >= 0.015625 * size)) next = 0.015625 * x;
    put(i, next, 0.0);
    done_[i] = has_converged(std::fabs(next - x), size, phase);
}

// The slots i and j take the roots of T^2 - 2 half_sum T + product, T = t - centre; both are shortened when one is more
// than 8 times as far from 0 as the points before. Points that were a pair and become real are not done yet, and the
// other way round.
void mlRootIteration::set_factor(int i, int j, double centre, double half_sum, double product, Phase phase) {
    double const x = px_[i], y = py_[i], size = std::max(std::fabs(x), std::fabs(px_[j])) + std::fabs(y);
    double const discriminant = half_sum * half_sum - product, root = std::sqrt(std::fabs(discriminant));
    double const middle = centre + half_sum;
    if (!is_finite(middle) || !is_finite(root)) { // tries again from somewhere near
        put(i, 1.0625 * x, 0.9375 * y);
        put(j, y != 0.0 ? px_[i] : 0.875 * px_[j], -py_[i]);
        return;
    }
    double const furthest = std::fabs(middle) + root;
    double const factor = furthest > 8.0 * size ? 8.0 * size / furthest : 1.0;
    if (discriminant < 0.0) {
        put(i, factor * middle, factor * root);
        put(j, px_[i], -py_[i]);
        if (y != 0.0) done_[i] = done_[j] = has_converged(std::fabs(px_[i] - x) + std::fabs(py_[i] - y), size, phase);
        return;
    }
    double const other = px_[j];
    double low = factor * (middle - root), high = factor * (middle + root);
    double const tiny = 0x1p-40 * size; // of a smaller root, the difference above has lost the digits
    if (std::fabs(low) < tiny) low = std::copysign(tiny, low);
    if (std::fabs(high) < tiny) high = std::copysign(tiny, high);
    put(i, low, 0.0);
    put(j, high, 0.0);
    if (y != 0.0) return;
    done_[i] = has_converged(std::fabs(low - x), std::fabs(low), phase);
    done_[j] = has_converged(std::fabs(high - other), std::fabs(high), phase);
}

// Whether a point of this size that has moved so far has converged. In the first phase that is when its next step would
// hardly move it: convergence is of the third order.
bool mlRootIteration::has_converged(double moved, double size, Phase phase) const {
    return moved <= (phase == plain ? 0x1p-12 / n_ : 2.0 * unit) * size;
}

// k such that (x, y) / 2^k is near the unit circle: the larger element is in [1, 2), or in [1/2, 1) where the modulus
// would exceed sqrt(2).
int mlRootIteration::scale_of(double x, double y) {
    int const k = ml_exponent(std::max(std::fabs(x), std::fabs(y)));
    x = ml_scale(x, -k);
    y = ml_scale(y, -k);
    return x * x + y * y > 2.0 ? k + 1 : k;
}

// When wide, takes the scale in which point i is near the unit circle, for the polynomial and the local copies of all
// points, cut off where their squares would overflow.
void mlRootIteration::focus(int i) {
    if (!wide_) return;
    int const k = scale_of(x_[i], y_[i]);
    if (k != scaled_.exponent()) scaled_.become(n_, a_, k);
    for (int j = 0; j < n_; ++j) {
        local_x_[j] = std::clamp(ml_scale(x_[j], -k), -0x1p400, 0x1p400);
        local_y_[j] = std::clamp(ml_scale(y_[j], -k), -0x1p400, 0x1p400);
    }
}

// Point i becomes (x, y), in the scale of scaled_. When wide, in the caller's too, where it stays finite and not 0.
void mlRootIteration::put(int i, double x, double y) {
    px_[i] = x;
    py_[i] = y;
    if (!wide_) return;
    x_[i] = std::clamp(ml_scale(x, scaled_.exponent()), -0x1.fp1023, 0x1.fp1023);
    y_[i] = std::clamp(ml_scale(y, scaled_.exponent()), -0x1.fp1023, 0x1.fp1023);
    if (x_[i] == 0.0 && y_[i] == 0.0) x_[i] = std::copysign(0x1p-1070, x);
}

// `bound` is in the scale of scaled_, and is kept in that of x_; when wide, rounding it is provided for.
void mlRootIteration::put_bound(int i, double bound) {
    bound_[i] = wide_ ? ml_scale(bound, scaled_.exponent()) + 0x1p-1073 : bound;
}
