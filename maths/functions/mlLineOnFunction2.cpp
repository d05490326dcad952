#include "maths/functions/mlLineOnFunction2.h"

#include <algorithm>

#include "platform/utMath.h"

namespace {

// A NaN stays one.
double clamp(double x, double low, double high) {
    if (x < low) return low;
    if (x > high) return high;
    return x;
}

struct Interval {
    double min;
    double max;
};

// The t for which origin + t d lies in [low, high], for d other than 0. An unbounded side is not divided.
Interval inside(double low, double high, double origin, double d) {
    double const sign = d > 0.0 ? 1.0 : -1.0;
    double const at_high = high == mlUnboundedMax ? sign * mlUnboundedMax : (high - origin) / d;
    double const at_low = low == mlUnboundedMin ? -sign * mlUnboundedMax : (low - origin) / d;
    return d > 0.0 ? Interval{at_low, at_high} : Interval{at_high, at_low};
}

} // namespace

mlLineOnFunction2::mlLineOnFunction2(double du, double dv, double u_origin, double v_origin, mlFunction2 const * f)
    : du_(du), dv_(dv), u_origin_(u_origin), v_origin_(v_origin), window_u_min_(f->u_min()), window_u_max_(f->u_max()),
      window_v_min_(f->v_min()), window_v_max_(f->v_max()), surface_(f) {
    highest_derivative_order = f->highest_derivative_order;
}

double mlLineOnFunction2::function(double t) const { return surface_->function(u_at(t), v_at(t)); }

double mlLineOnFunction2::function_derivative(int order, double t) const {
    double const u = u_at(t);
    double const v = v_at(t);
    double sum = 0.0;
    for (int i = 0; i <= order; ++i) {
        int const j = order - i;
        double const du_i = utMath::pow(du_, i);
        double const dv_j = utMath::pow(dv_, j);
        if (du_i * dv_j == 0.0) continue;
        double const choices = static_cast<double>(utMath::n_choose_i(order, i));
        sum += choices * du_i * dv_j * surface_->uv_function_derivative(i, j, u, v);
    }
    return sum;
}

double mlLineOnFunction2::t_min() const {
    calculate_min_max();
    return cached_t_min_;
}

double mlLineOnFunction2::t_max() const {
    calculate_min_max();
    return cached_t_max_;
}

void mlLineOnFunction2::set_window(double u_min, double u_max, double v_min, double v_max) {
    window_u_min_ = u_min;
    window_u_max_ = u_max;
    window_v_min_ = v_min;
    window_v_max_ = v_max;
    cached_t_max_ = mlUnboundedMin;
}

double mlLineOnFunction2::u_at(double t) const { return clamp(t * du_ + u_origin_, window_u_min_, window_u_max_); }

double mlLineOnFunction2::v_at(double t) const { return clamp(t * dv_ + v_origin_, window_v_min_, window_v_max_); }

void mlLineOnFunction2::calculate_min_max() const {
    if (cached_t_max_ != mlUnboundedMin) return;
    Interval t{mlUnboundedMin, mlUnboundedMax};
    if (dv_ != 0.0) t = inside(window_v_min_, window_v_max_, v_origin_, dv_);
    if (du_ != 0.0) {
        Interval const by_u = inside(window_u_min_, window_u_max_, u_origin_, du_);
        t = {std::max(t.min, by_u.min), std::min(t.max, by_u.max)};
    }
    cached_t_min_ = t.min;
    cached_t_max_ = t.max;
}
