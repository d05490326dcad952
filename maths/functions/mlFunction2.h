#pragma once

#include "maths/functions/mlDomain.h"
#include "maths/maths_api.h"

/// A real function of two variables (u, v) on a box: derive from it and supply `function`, all else has defaults.
///
/// The derivatives by one variable are taken from `uv_function_derivative` by default, so a class need only supply
/// that.
/// Threads: may be called concurrently as far as the deriving class allows it.
class MATHS_API mlFunction2 {
public:
    /// The value f(u, v).
    [[nodiscard]] virtual double function(double u, double v) const = 0;

    /// The partial derivative of the given order in u or in v. By default from `uv_function_derivative`.
    [[nodiscard]] virtual double u_function_derivative(int order, double u, double v) const;
    [[nodiscard]] virtual double v_function_derivative(int order, double u, double v) const;

    /// The partial derivative of the given orders. Deliberate: by default -666.0 for all orders, which means that it is
    /// not provided.
    [[nodiscard]] virtual double uv_function_derivative(int u_order, int v_order, double u, double v) const;

    /// The domain; by default unbounded, with the largest double and its negative as ends.
    [[nodiscard]] virtual double u_min() const;
    [[nodiscard]] virtual double u_max() const;
    [[nodiscard]] virtual double v_min() const;
    [[nodiscard]] virtual double v_max() const;

    virtual ~mlFunction2();

    /// How many orders of derivatives are provided; 2 unless the deriving class sets it.
    int highest_derivative_order;

protected:
    mlFunction2();
    mlFunction2(mlFunction2 const &) = default;
    mlFunction2 & operator=(mlFunction2 const &) = default;
};
