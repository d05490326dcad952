#pragma once

#include <utility>

#include "maths/functions/mlCallable.h"
#include "maths/functions/mlFunction2.h"

/// A function of two variables from callables: its value f(u, v), its gradient { f_u, f_v } and its second derivatives
/// { f_uu, f_uv, f_vv }. The last two are optional and return whatever has elements [0], [1], ...: a `std::array`, an
/// `mlTinyVector2`.
///
///     mlFunction2Of const f([](double u, double v) { return u * u * v; },
///                           [](double u, double v) { return std::array{2.0 * u * v, u * u}; });
///
/// `highest_derivative_order` is 0, 1 or 2 accordingly. The domain is the last four arguments, u's ends and then v's;
/// the whole plane without them. What a callable returns or throws passes through; nothing is allocated here, and the
/// calls can be inlined. A question for orders (0, 0) gets the value, one for derivatives that are not given -666.0.
/// The callables are copied, and called as const: a lambda must not be `mutable`.
/// Lifetime: what they refer to must outlive the object. Threads: as far as the callables allow.
template <mlCallable<double, double, double> F, class Gradient = mlNoCallable, class Hessian = mlNoCallable>
    requires(!std::is_arithmetic_v<Gradient> && !std::is_arithmetic_v<Hessian>)
class mlFunction2Of : public mlFunction2 {
public:
    explicit mlFunction2Of(F f, double u_min = mlUnboundedMin, double u_max = mlUnboundedMax,
                           double v_min = mlUnboundedMin, double v_max = mlUnboundedMax)
        : mlFunction2Of(std::move(f), Gradient(), Hessian(), u_min, u_max, v_min, v_max) {}
    mlFunction2Of(F f, Gradient gradient, double u_min = mlUnboundedMin, double u_max = mlUnboundedMax,
                  double v_min = mlUnboundedMin, double v_max = mlUnboundedMax)
        : mlFunction2Of(std::move(f), std::move(gradient), Hessian(), u_min, u_max, v_min, v_max) {}
    mlFunction2Of(F f, Gradient gradient, Hessian hessian, double u_min = mlUnboundedMin, double u_max = mlUnboundedMax,
                  double v_min = mlUnboundedMin, double v_max = mlUnboundedMax)
        : f_(std::move(f)), gradient_(std::move(gradient)), hessian_(std::move(hessian)), u_min_(u_min), u_max_(u_max),
          v_min_(v_min), v_max_(v_max) {
        highest_derivative_order = mlIsCallable<Hessian> ? 2 : mlIsCallable<Gradient> ? 1 : 0;
    }

    double function(double u, double v) const override { return f_(u, v); }

    double uv_function_derivative(int u_order, int v_order, double u, double v) const override {
        bool const meaningful = u_order >= 0 && v_order >= 0 && u_order <= 2 && v_order <= 2;
        int const order = meaningful ? u_order + v_order : 3;
        if (order == 0) return f_(u, v);
        if constexpr (mlIsCallable<Gradient>) {
            if (order == 1) return gradient_(u, v)[v_order];
        }
        if constexpr (mlIsCallable<Hessian>) {
            if (order == 2) return hessian_(u, v)[v_order];
        }
        return mlFunction2::uv_function_derivative(u_order, v_order, u, v);
    }

    double u_min() const override { return u_min_; }
    double u_max() const override { return u_max_; }
    double v_min() const override { return v_min_; }
    double v_max() const override { return v_max_; }

private:
    F f_;
    Gradient gradient_;
    Hessian hessian_;
    double u_min_, u_max_, v_min_, v_max_;
};
