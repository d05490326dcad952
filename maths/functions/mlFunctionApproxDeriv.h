#pragma once

#include "maths/functions/mlFunction.h"

/// The first derivative of a function of one variable as a function of its own, by forward differences of step h.
///
/// Two evaluations of the wrapped function a call, the upper point first. Where t + h passes the domain's upper end
/// the difference is taken backwards; both points are clamped to the domain. Deliberate: the divisor stays h even when
/// a clamp has shortened the interval; callers rely on it. Its own derivatives are not provided, although (deliberate)
/// `highest_derivative_order` stays at 2.
/// Lifetime: the wrapped function must outlive the object.
class MATHS_API mlFunctionApproxDeriv : public mlFunction {
public:
    mlFunctionApproxDeriv(mlFunction const & f, double h);
    mlFunctionApproxDeriv(mlFunction const && f, double h) = delete; // a temporary does not outlive the object

    [[nodiscard]] double function(double t) const override;
    [[nodiscard]] double t_min() const override;
    [[nodiscard]] double t_max() const override;

private:
    mlFunction const * base_function_;
    double step_;
};
