#pragma once

#include <utility>

#include "maths/functions/mlCallable.h"
#include "maths/functions/mlFunction.h"

/// A function of one variable from callables: its value and, where given, its first and second derivatives.
///
///     mlFunctionOf const f([](double t) { return t * t - 2.0; }, [](double t) { return 2.0 * t; }, 0.0, 2.0);
///
/// `highest_derivative_order` is the number of derivatives given. The domain is the last two arguments, the whole real
/// line without them. What a callable returns or throws passes through; nothing is allocated, and the calls can be
/// inlined. A derivative that is not given, or of an order other than 1 and 2, is -666.0.
/// The callables are copied, and called as const: a lambda must not be `mutable`.
/// Lifetime: what they refer to must outlive the object. Threads: as far as the callables allow.
template <mlCallable<double, double> F, mlCallableOrNone<double, double> D1 = mlNoCallable,
          mlCallableOrNone<double, double> D2 = mlNoCallable>
class mlFunctionOf : public mlFunction {
public:
    explicit mlFunctionOf(F f, double t_min = mlUnboundedMin, double t_max = mlUnboundedMax)
        : mlFunctionOf(std::move(f), D1(), D2(), t_min, t_max) {}
    mlFunctionOf(F f, D1 first, double t_min = mlUnboundedMin, double t_max = mlUnboundedMax)
        : mlFunctionOf(std::move(f), std::move(first), D2(), t_min, t_max) {}
    mlFunctionOf(F f, D1 first, D2 second, double t_min = mlUnboundedMin, double t_max = mlUnboundedMax)
        : f_(std::move(f)), first_(std::move(first)), second_(std::move(second)), t_min_(t_min), t_max_(t_max) {
        highest_derivative_order = mlIsCallable<D2> ? 2 : mlIsCallable<D1> ? 1 : 0;
    }

    double function(double t) const override { return f_(t); }

    double function_derivative(int order, double t) const override {
        if constexpr (mlIsCallable<D1>) {
            if (order == 1) return first_(t);
        }
        if constexpr (mlIsCallable<D2>) {
            if (order == 2) return second_(t);
        }
        return mlFunction::function_derivative(order, t);
    }

    double t_min() const override { return t_min_; }
    double t_max() const override { return t_max_; }

private:
    F f_;
    D1 first_;
    D2 second_;
    double t_min_, t_max_;
};
