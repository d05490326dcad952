#include "maths/optimisation/quasi_newton/mlWolfeSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

double const decrease = 1e-3;
double const curvature = 0.9;
double const least_width = 1e-12; // of the interval, as a part of its far end
double const shrinking = 0.66;    // of the interval in two steps, or it is halved
int const max_tries = 30;
double const epsilon = std::numeric_limits<double>::epsilon();

bool is_finite(double x) { return x - x == 0.0; }

// The minimum of the cubic with the values and slopes of a and b is at a + ratio (b - a). NaN or infinite where it has
// none.
template <class Point> double cubic_ratio(Point const & a, Point const & b) {
    double const theta = 3.0 * (a.value - b.value) / (b.t - a.t) + a.slope + b.slope;
    double const scale = std::max({std::fabs(theta), std::fabs(a.slope), std::fabs(b.slope)});
    double const square = (theta / scale) * (theta / scale) - (a.slope / scale) * (b.slope / scale);
    if (!(square > 0.0)) return std::numeric_limits<double>::infinity();
    double const root = b.t < a.t ? -scale * std::sqrt(square) : scale * std::sqrt(square);
    return ((root - a.slope) + theta) / (((root - a.slope) + root) + b.slope);
}

template <class Point> double cubic_minimum(Point const & a, Point const & b) {
    return a.t + cubic_ratio(a, b) * (b.t - a.t);
}

// Where the line through the slopes at a and b is 0.
template <class Point> double secant_minimum(Point const & a, Point const & b) {
    return a.t + a.slope / (a.slope - b.slope) * (b.t - a.t);
}

bool is_nearer(double a, double b, double to) { return std::fabs(a - to) < std::fabs(b - to); }

} // namespace

void mlWolfeSearch::begin(double value, double slope, double step, double largest) {
    value_ = value;
    slope_ = slope;
    step_ = step;
    largest_ = largest;
    low_ = high_ = {0.0, value, slope};
    bracketed_ = low_enough_ = false;
    width_ = largest;
    width_before_ = 2.0 * largest;
    tries_ = 0;
}

mlWolfeSearch::State mlWolfeSearch::next(double value, double slope) {
    if (++tries_ > max_tries) return stuck;
    if (!(is_finite(value) && is_finite(slope))) return step_back();
    double const wanted = value_ + decrease * step_ * slope_;
    if (value <= wanted && std::fabs(slope) <= curvature * -slope_) return found;
    if (step_ == largest_ && value <= wanted && slope <= decrease * slope_) return at_most;
    if (value > wanted && step_ * -slope_ <= epsilon * std::fabs(value_)) return stuck; // nothing to gain but roundoff
    if (value <= wanted && slope >= 0.0) low_enough_ = true;

    // Until a step is low enough, what falls is the function without the slope that is asked for.
    Point const tried{step_, value, slope};
    double const tilt = !low_enough_ && value <= low_.value && value > wanted ? decrease * slope_ : 0.0;
    auto const tilted = [tilt](Point const & p) { return Point{p.t, p.value - tilt * p.t, p.slope - tilt}; };
    Point const low = tilted(low_), now = tilted(tried);
    double const from = low_.t, proposal = minimum(low, tilted(high_), now);
    if (now.value > low.value) {
        high_ = tried;
    } else {
        if (now.slope * (low.t - now.t) < 0.0) high_ = low_;
        low_ = tried;
    }
    return step_to(proposal, from, tried.t);
}

// Where interpolation puts the minimum: the paper's four cases.
double mlWolfeSearch::minimum(Point const & low, Point const & high, Point const & tried) {
    if (tried.value > low.value) {
        bracketed_ = true;
        double const cubic = cubic_minimum(low, tried);
        double const fall = (low.value - tried.value) / (tried.t - low.t) + low.slope;
        double const parabola = low.t + low.slope / fall / 2.0 * (tried.t - low.t);
        return is_nearer(cubic, parabola, low.t) ? cubic : cubic + (parabola - cubic) / 2.0;
    }
    if (tried.slope * low.slope < 0.0) {
        bracketed_ = true;
        double const cubic = cubic_minimum(tried, low), secant = secant_minimum(tried, low);
        return is_nearer(cubic, secant, tried.t) ? secant : cubic;
    }
    double const limit = bracketed_ ? high.t : largest_;
    if (std::fabs(tried.slope) > std::fabs(low.slope)) return bracketed_ ? cubic_minimum(tried, high) : limit;
    double const ratio = cubic_ratio(tried, low), secant = secant_minimum(tried, low);
    double const cubic = ratio < 0.0 ? tried.t + ratio * (low.t - tried.t) : limit;
    if (!bracketed_) return is_nearer(cubic, secant, tried.t) ? secant : cubic;
    double const chosen = is_nearer(cubic, secant, tried.t) ? cubic : secant;
    double const most = tried.t + 0.66 * (high.t - tried.t);
    return tried.t > low.t ? std::min(most, chosen) : std::max(most, chosen);
}

// The step to try next, inside the interval or, as long as there is none, 1.1 to 4 times as far beyond the last.
mlWolfeSearch::State mlWolfeSearch::step_to(double proposal, double from, double tried) {
    if (!bracketed_) {
        double const reach = tried - from;
        step_ = std::min(std::max(proposal, tried + 1.1 * reach), std::min(tried + 4.0 * reach, largest_));
        return step_ > tried ? goes_on : stuck;
    }
    double const width = std::fabs(high_.t - low_.t);
    step_ = width >= shrinking * width_before_ ? low_.t + 0.5 * (high_.t - low_.t) : proposal;
    width_before_ = width_;
    width_ = width;
    double const least = std::min(low_.t, high_.t), most = std::max(low_.t, high_.t);
    return least < step_ && step_ < most && width > least_width * most ? goes_on : stuck;
}

// From a step that leads to where the function is undefined.
mlWolfeSearch::State mlWolfeSearch::step_back() {
    double const length = step_ - low_.t;
    largest_ = low_.t + 0.5 * length;
    step_ = low_.t + 0.1 * length;
    return step_ != low_.t ? goes_on : stuck;
}
