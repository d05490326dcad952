#pragma once

#include "maths/functions/mlFunction.h"
#include "maths/functions/mlFunction2.h"

/// A function of two variables on the straight line \f$u(t) = u_0 + t\,du\f$, \f$v(t) = v_0 + t\,dv\f$, as a function
/// of t.
///
/// A window in u and v, at first the function's own domain, bounds the line: beyond it u and v are clamped, each on its
/// own, so the function is defined for every t. `t_min` and `t_max` are the ends of the interval on which the line is
/// inside the window; where the window is unbounded, so is the interval. A variable that the line keeps constant sets
/// no bound, even outside the window; otherwise a line that misses the window gets t_min > t_max. They are computed by
/// the first call of either. `highest_derivative_order` is that of the wrapped function.
/// Lifetime: the wrapped function must outlive the object. Bad input: nothing is checked.
/// Threads: const operations write the cached interval: one thread at a time.
class MATHS_API mlLineOnFunction2 : public mlFunction {
public:
    mlLineOnFunction2(double du, double dv, double u_origin, double v_origin, mlFunction2 const * f);

    [[nodiscard]] double function(double t) const override;

    /// The derivative of the given order along the line, by the binomial expansion over `uv_function_derivative`;
    /// derivatives whose coefficient in (du, dv) is exactly 0 are not called for. 0.0 for a negative order.
    [[nodiscard]] double function_derivative(int order, double t) const override;

    [[nodiscard]] double t_min() const override;
    [[nodiscard]] double t_max() const override;

    /// Replaces the window.
    void set_window(double u_min, double u_max, double v_min, double v_max);

protected: // for deriving classes only, and there for completeness
    mlLineOnFunction2() = default;
    mlLineOnFunction2(mlLineOnFunction2 const &) = default;
    mlLineOnFunction2 & operator=(mlLineOnFunction2 const &) = default;

private:
    double u_at(double t) const;
    double v_at(double t) const;
    void calculate_min_max() const;

    double du_ = 0.0;
    double dv_ = 0.0;
    double u_origin_ = 0.0;
    double v_origin_ = 0.0;
    mutable double cached_t_max_ = mlUnboundedMin; // the most negative double: not computed
    mutable double cached_t_min_ = mlUnboundedMin;
    double window_u_min_ = mlUnboundedMin;
    double window_u_max_ = mlUnboundedMax;
    double window_v_min_ = mlUnboundedMin;
    double window_v_max_ = mlUnboundedMax;
    mlFunction2 const * surface_ = nullptr;
};
