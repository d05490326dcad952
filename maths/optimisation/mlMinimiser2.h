#pragma once

#include "maths/functions/mlFunction2.h"
#include "maths/optimisation/mlBaseMinimiser2.h"

/// Minimises a function of two parameters on a window, with whatever derivatives it provides.
///
/// The function's `highest_derivative_order` decides when a search begins: 2, first and second partial derivatives are
/// used, which are asked of `u_function_derivative`, `v_function_derivative` and, mixed, of `uv_function_derivative`;
/// 1, first ones; 0, values alone. Derivatives that all answer -666.0 where they are first asked for count as missing.
/// The window is the function's domain at first; `set_window` may not go beyond it.
/// All else is told by `mlBaseMinimiser2`.
class MATHS_API mlMinimiser2 : public mlBaseMinimiser2 {
public:
    /// Starts at (u0, v0), or at the point of the window nearest to it.
    mlMinimiser2(mlFunction2 const & f, double u0, double v0, double resolution);

    // A temporary does not outlive the object.
    mlMinimiser2(mlFunction2 const && f, double u0, double v0, double resolution) = delete;

private:
    int derivative_order() const override;
    double value(double u, double v) override;
    void gradient(double u, double v, double * g) override;
    void curvature(double u, double v, double * h) override;
    bool goes_on_below(int parameter) const override;
    bool goes_on_above(int parameter) const override;

    mlFunction2 const * function_;
};
