#pragma once

#include "maths/functions/mlFunction.h"

/// A rule for definite integrals of functions of one variable.
class MATHS_API mlIntegrate {
public:
    /// The integral of f from a to b; for b < a, the negative of that from b to a. The domain of f is not consulted.
    virtual double integrate(mlFunction const & f, double a, double b) const = 0;

    virtual ~mlIntegrate();
};
