#include "maths/optimisation/mlWindowFunction.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

double const roundoff = 2.0 * std::numeric_limits<double>::epsilon();

} // namespace

double mlWindowPoint::noise() const { return 2.0 * roundoff * std::fabs(f); }

bool mlWindowPoint::is_above(double value) const {
    if (!std::isfinite(f)) return value < f || (std::isnan(f) && !std::isnan(value));
    return value < f - 0.25 * noise();
}

mlWindowFunction::mlWindowFunction(mlBaseMinimiser2 & minimiser)
    : minimiser_(minimiser), order_(minimiser.derivative_order()), lowest_{{minimiser.point_[0], minimiser.point_[1]},
                                                                           std::numeric_limits<double>::infinity()} {
    for (int i : {0, 1}) {
        double const width = high(i) - low(i);
        unit_[i] = std::min(width, std::max(1.0, std::fabs(lowest_.x[i])));
        if (!(unit_[i] > 0.0)) unit_[i] = 1.0;
    }
}

double mlWindowFunction::value(mlPair const & x) {
    if (met_) return std::numeric_limits<double>::infinity();
    double const f = minimiser_.value(x[0], x[1]);
    met_ = f <= minimiser_.absolute_minimum_;
    if (met_ || f < lowest_.f) lowest_ = {x, f};
    return f;
}

bool mlWindowFunction::gradient(mlPair const & x, mlPair & g) {
    if (met_) return false;
    minimiser_.gradient(x[0], x[1], g.data());
    bool const missing = !asked_gradient_ && g[0] == mlNoDerivative && g[1] == mlNoDerivative;
    asked_gradient_ = true;
    if (missing) order_ = 0;
    return !missing && std::isfinite(g[0]) && std::isfinite(g[1]);
}

bool mlWindowFunction::curvature(mlPair const & x, mlSymmetric2 & b) {
    if (met_) return false;
    double h[3];
    minimiser_.curvature(x[0], x[1], h);
    b = {h[0], h[1], h[2]};
    bool const missing =
        !asked_curvature_ && b.uu == mlNoDerivative && b.uv == mlNoDerivative && b.vv == mlNoDerivative;
    asked_curvature_ = true;
    if (missing) order_ = 1;
    return !missing && b.is_finite();
}

double mlWindowFunction::moved(mlPair const & x, int i, double s) const {
    if (s == 0.0) return x[i];
    double const to = x[i] + s;
    if (s <= low(i) - x[i] || to < low(i)) return low(i);
    if (s >= high(i) - x[i] || to > high(i)) return high(i);
    return to;
}

mlPair mlWindowFunction::moved(mlPair const & x, mlPair const & s) const {
    return {moved(x, 0, s[0]), moved(x, 1, s[1])};
}

mlPair mlWindowFunction::beside(mlPair const & x, int i, double h) const {
    mlPair to = x;
    to[i] = moved(x, i, h > high(i) - x[i] ? -h : h);
    return to;
}

double mlWindowFunction::length(mlPair const & s) const {
    return std::max(std::fabs(s[0]) / unit_[0], std::fabs(s[1]) / unit_[1]);
}

bool mlWindowFunction::is_below_resolution(mlPair const & x, mlPair const & s, double fraction) const {
    for (int i : {0, 1}) {
        double const part = std::fabs(s[i]);
        if (!(part < fraction * resolution() || part <= roundoff * std::fabs(x[i]))) return false;
    }
    return true;
}
