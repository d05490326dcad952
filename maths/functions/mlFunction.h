#pragma once

#include "maths/functions/mlDomain.h"
#include "maths/maths_api.h"

/// A real function of one variable t on an interval: derive from it and supply `function`, all else has defaults.
///
/// Threads: may be called concurrently as far as the deriving class allows it.
class MATHS_API mlFunction {
public:
    /// The value f(t).
    virtual double function(double t) const = 0;

    /// The derivative of the given order, 1 or 2, at t. By default -666.0, whatever is asked: not provided.
    virtual double function_derivative(int order, double t) const;

    /// The domain; by default the whole real line, whose ends are the largest double and its negative.
    virtual double t_min() const;
    virtual double t_max() const;

    virtual ~mlFunction();

    /// How many orders `function_derivative` answers; minimisers ask for no more. 2 unless the deriving class sets it:
    /// one that supplies no derivative sets it to 0, because they believe it.
    int highest_derivative_order;

protected:
    mlFunction();
    mlFunction(mlFunction const &) = default;
    mlFunction & operator=(mlFunction const &) = default;
};
