#include "maths/optimisation/mlBaseMinimiser2.h"

#include <limits>

#include "maths/functions/mlDomain.h"
#include "maths/optimisation/mlWindowSearch.h"
#include "platform/utCheck.h"

namespace {

// A NaN stays one.
double clamped(double x, double low, double high) {
    if (x < low) return low;
    if (x > high) return high;
    return x;
}

} // namespace

mlBaseMinimiser2::mlBaseMinimiser2(double u0, double v0, double resolution)
    : calls_(0), point_{clamped(u0, mlUnboundedMin, mlUnboundedMax), clamped(v0, mlUnboundedMin, mlUnboundedMax)},
      low_{mlUnboundedMin, mlUnboundedMin}, high_{mlUnboundedMax, mlUnboundedMax}, resolution_(resolution),
      absolute_minimum_(std::numeric_limits<double>::quiet_NaN()), max_iterations_(100), iterations_(0),
      state_(mlMinimiser2Failed) {}

mlBaseMinimiser2::~mlBaseMinimiser2() = default;

void mlBaseMinimiser2::set_window(double u_min, double u_max, double v_min, double v_max) {
    MATHS_CHECK(u_min <= u_max && v_min <= v_max, "minimiser: the window [%g, %g] x [%g, %g]", u_min, u_max, v_min,
                v_max);
    double const low[] = {u_min, v_min}, high[] = {u_max, v_max};
    for (int i : {0, 1}) {
        low_[i] = clamped(low[i], mlUnboundedMin, mlUnboundedMax);
        high_[i] = clamped(high[i], mlUnboundedMin, mlUnboundedMax);
        point_[i] = clamped(point_[i], low_[i], high_[i]);
    }
}

double mlBaseMinimiser2::minimise(double & u, double & v, int & found, int & u_end, int & v_end, int & not_converged) {
    calls_ = 0;
    begin_search();
    mlWindowSearch search(*this);
    state_ = search.run();
    u = point_[0] = search.point().x[0];
    v = point_[1] = search.point().x[1];
    u_end = end(0, search.falls_downwards(0));
    v_end = end(1, search.falls_downwards(1));
    not_converged = is_unfinished();
    found = !not_converged && u_end == 0 && v_end == 0;
    return search.point().f;
}

int mlBaseMinimiser2::end(int parameter, bool falls_downwards) const {
    if (!is_minimum()) return 0;
    double const x = point_[parameter], low = low_[parameter], high = high_[parameter];
    bool const below = x == low && low > mlUnboundedMin && goes_on_below(parameter);
    bool const above = x == high && high < mlUnboundedMax && goes_on_above(parameter);
    if (low == high && falls_downwards) return below ? -1 : 0;
    return above ? 1 : below ? -1 : 0;
}
