#pragma once

#include "maths/functions/mlFunction2.h"

/// The first derivative by u of a function of two variables as a function of its own, by forward differences of step h
/// within [u_min, u_max], as `mlFunctionApproxDeriv` forms them; v is held fixed.
///
/// Two evaluations of the wrapped function a call. Its own derivatives are not provided.
/// Lifetime: the wrapped function must outlive the object.
class MATHS_API mlFunction2ApproxUDeriv : public mlFunction2 {
public:
    mlFunction2ApproxUDeriv(mlFunction2 const & f, double h);
    mlFunction2ApproxUDeriv(mlFunction2 const && f, double h) = delete; // a temporary does not outlive the object

    [[nodiscard]] double function(double u, double v) const override;
    [[nodiscard]] double u_min() const override;
    [[nodiscard]] double u_max() const override;
    [[nodiscard]] double v_min() const override;
    [[nodiscard]] double v_max() const override;

private:
    double step_;
    mlFunction2 const * base_function_;
};
