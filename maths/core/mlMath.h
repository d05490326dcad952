#pragma once

#include "maths/maths_api.h"

/// Higher derivatives of elementary functions, and straight lines between two points. Only static operations.
class MATHS_API mlMath {
public:
    /// The n-th derivative of sin or cos at x. Deliberate: -666.6, which marks an order outside the contract, when the
    /// remainder of n by 4 is negative.
    [[nodiscard]] static double sin_derivative(int n, double x);
    [[nodiscard]] static double cos_derivative(int n, double x);

    /// The n-th derivative of sinh or cosh at x. Any n with a non-zero remainder by 2 counts as odd, negative n too.
    [[nodiscard]] static double sinh_derivative(int n, double x);
    [[nodiscard]] static double cosh_derivative(int n, double x);

    /// a for t <= 0, b for t >= 1, between them (b - a) t + a, never outside the interval between a and b.
    [[nodiscard]] static double interpolate(double t, double a, double b);

    /// The straight line through (x0, y0) and (x1, y1) at x, as
    /// \f$\frac{x - x_0}{x_1 - x_0} y_1 + \frac{x_1 - x}{x_1 - x_0} y_0\f$.
    [[nodiscard]] static double rescale(double x, double x0, double x1, double y0, double y1);

protected:
    mlMath() = default;
    ~mlMath() = default;
};
