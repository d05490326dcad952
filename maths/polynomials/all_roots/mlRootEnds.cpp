// The two ends of the iteration: where the points start, and what is known of them at last.

#include <algorithm>
#include <limits>

#include "maths/polynomials/all_roots/mlBinaryScale.h"
#include "maths/polynomials/all_roots/mlRootIteration.h"

namespace {

double const infinite = std::numeric_limits<double>::infinity();
double const largest = std::numeric_limits<double>::max();
double const half_turn = 3.14159265358979323846;

/// The rotation by an angle near `angle`, at most 0.8 of a half turn: exactly a rotation, whatever its half tangent is.
mlComplex rotation(double angle) {
    double const half = 0.5 * angle, square = half * half;
    double const tangent = half * (15.0 - square) / (15.0 - 6.0 * square); // near enough: tan x = x + x^3/3 + ...
    double const scale = 1.0 / (1.0 + tangent * tangent);
    return {(1.0 - tangent * tangent) * scale, 2.0 * tangent * scale};
}

} // namespace

void mlRootIteration::place_starts() {
    int first_pair = 0, last_real = n_ - 1;
    for (int edge = 0; edge < polygon_.num_edges(); ++edge)
        place_edge(edge, first_pair, last_real);
}

// The points of an edge from i to j stand around 0 as the roots of a_i + a_j t^(j - i) do, turned a little where their
// number is even, since a polynomial in t^2 would keep them symmetric for ever. They stay there when all roots of the
// edge are out of the range of doubles: none is smaller than the radius divided by 2 n.
void mlRootIteration::place_edge(int edge, int & first_pair, int & last_real) {
    int const i = polygon_.first(edge), j = polygon_.last(edge), count = j - i;
    double const log_radius = polygon_.log_radius(edge) - (wide_ ? 0 : scaled_.exponent());
    double const radius = ml_rough_exp2(std::clamp(log_radius, -1070.0, 1023.0));
    double const start_bound = polygon_.log_radius(edge) > 1025.0 + ml_rough_log2(4.0 * n_) ? infinite : -1.0;
    double angle = 1.25 * half_turn / count; // of the first pair
    if (count % 2 == 1) {
        bool const positive = (a_[i] < 0.0) != (a_[j] < 0.0);
        x_[last_real] = positive ? radius : -radius;
        bound_[last_real] = start_bound;
        y_[last_real--] = 0.0;
        angle = (positive ? 2.0 : 1.0) * half_turn / count;
    }
    if (count == 1) return;
    mlComplex direction = rotation(angle);
    mlComplex const next = rotation(count == 2 ? angle : 2.0 * half_turn / count);
    for (int pair = 0; pair < count / 2; ++pair) {
        x_[first_pair] = x_[first_pair + 1] = radius * direction.re;
        y_[first_pair] = radius * std::fabs(direction.im);
        y_[first_pair + 1] = -y_[first_pair];
        bound_[first_pair] = bound_[first_pair + 1] = start_bound;
        first_pair += 2;
        direction = direction * next;
    }
}

// Puts the points at the n real numbers. False when one is 0 or infinite or doesn't meet the stopping test.
bool mlRootIteration::take(double const * known) {
    for (int i = 0; i < n_; ++i) {
        x_[i] = wide_ ? known[i] : ml_scale(known[i], -scaled_.exponent());
        y_[i] = 0.0;
        if (!(std::fabs(x_[i]) > 0.0 && std::fabs(x_[i]) < infinite)) return false;
    }
    for (int i = 0; i < n_; ++i) {
        focus(i);
        auto const at = scaled_.evaluate_precisely(px_[i], false);
        if (!meets_stopping_test(ml_size(at.value) + scaled_.value_error(at), at.sum)) return false;
    }
    return true;
}

// Bounds the errors that are not known yet and goes back to the caller's scale. Returns whether all points meet the
// stopping test.
bool mlRootIteration::finish() {
    for (int i = 0; i < n_; ++i) {
        if (bound_[i] >= 0.0) continue;
        if (y_[i] > 0.0 && y_[i] < 1e-4 * std::fabs(x_[i])) make_double_point(i);
        enclose(i);
        if (y_[i] > 0.0) bound_[i + 1] = bound_[i];
    }
    for (int i = 0; i < n_; ++i)
        leave_scale(i);
    return all_met_;
}

// A pair becomes a real root twice where rounding, with twice the digits, cannot tell the real point from a root.
void mlRootIteration::make_double_point(int i) {
    focus(i);
    auto const at = scaled_.evaluate_precisely(px_[i], false);
    if (!(std::fabs(at.value) <= scaled_.value_error(at))) return;
    put(i, px_[i], 0.0);
    put(i + 1, px_[i], 0.0);
}

// The error bound of point i by a rigorous enclosure, and whether it meets the stopping test.
void mlRootIteration::enclose(int i) {
    focus(i);
    int const k = scale_of(px_[i], py_[i]); // 0 when the scale is this point's own
    if (k != 0) scaled_for_bound_.become(n_, a_, scaled_.exponent() + k);
    mlScaledPolynomial const & scaled = k != 0 ? scaled_for_bound_ : scaled_;
    mlComplex const z{ml_scale(px_[i], -k), ml_scale(py_[i], -k)};
    double value, sum;
    double bound = enclosure_.distance(scaled, z, value, sum);
    if (!meets_stopping_test(value, sum)) all_met_ = false;
    if (!(bound < infinite)) { // a root is no further from 0 than n times the smallest radius
        double const log_radius = polygon_.log_radius(0) - scaled.exponent();
        if (log_radius < 900.0) bound = ml_modulus(z) + 2.0 * n_ * ml_rough_exp2(std::max(log_radius, -900.0));
    }
    put_bound(i, ml_scale(bound * (1.0 + 1e-9), k));
}

// Point i and its bound go to the caller's scale, where they may leave the range of doubles.
void mlRootIteration::leave_scale(int i) {
    if (int const k = scaled_.exponent(); !wide_ && k != 0) {
        x_[i] = ml_scale(x_[i], k);
        y_[i] = ml_scale(y_[i], k);
        bound_[i] = ml_scale(bound_[i], k);
        if (bound_[i] < 0x1p-900) bound_[i] += 0x1p-1071; // for what underflow has rounded
    }
    double const far = std::max(std::fabs(x_[i]), std::fabs(y_[i]));
    if (!(bound_[i] < infinite && far < 0x1.fp1023)) {
        list_out_of_range(i);
    } else if (far < 0x1p-1022) { // may have lost digits
        all_met_ = all_met_ && far > 0.0 && stands_the_test(i);
    }
}

// A point beyond the range of doubles: the largest one in its direction, with an infinite bound.
void mlRootIteration::list_out_of_range(int i) {
    all_met_ = false;
    bound_[i] = infinite;
    double const x = std::clamp(x_[i], -largest, largest), y = std::clamp(y_[i], -largest, largest);
    double const factor = largest / std::max(std::fabs(x), std::fabs(y));
    x_[i] = std::clamp(factor * x, -largest, largest);
    y_[i] = std::clamp(factor * y, -largest, largest);
}

// Whether a point that is in the caller's scale meets the stopping test.
bool mlRootIteration::stands_the_test(int i) {
    int const k = scale_of(x_[i], y_[i]);
    scaled_for_bound_.become(n_, a_, k);
    auto const at = scaled_for_bound_.evaluate_precisely(mlComplex{ml_scale(x_[i], -k), ml_scale(y_[i], -k)}, false);
    return meets_stopping_test(ml_modulus(at.value) + scaled_for_bound_.value_error(at), at.sum);
}
