#pragma once

#include "maths/functions/mlDomain.h"
#include "maths/maths_api.h"

/// A real function of one variable t on an interval: derive from it and supply `function`, all else has defaults.
///
/// Threads: may be called concurrently as far as the deriving class allows it.
class MATHS_API mlFunction {
public:
    /// The value f(t).
    [[nodiscard]] virtual double function(double t) const = 0;

    /// The derivative of the given order, 1 or 2, at t. Deliberate: by default -666.0 for every order, which means that
    /// it is not provided.
    [[nodiscard]] virtual double function_derivative(int order, double t) const;

    /// The domain; by default the whole real line, whose ends are the largest double and its negative.
    [[nodiscard]] virtual double t_min() const;
    [[nodiscard]] virtual double t_max() const;

    virtual ~mlFunction();

    /// How many orders `function_derivative` provides; minimisers call it for no others. Deliberate: 2 unless the
    /// deriving class sets it, even where it provides none; such a class has to set it to 0.
    int highest_derivative_order;

protected:
    mlFunction();
    mlFunction(mlFunction const &) = default;
    mlFunction & operator=(mlFunction const &) = default;
};
