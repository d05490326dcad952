#pragma once

#include "maths/functions/mlFunction.h"

/// A rule for definite integrals of functions of one variable.
class MATHS_API mlIntegrate {
public:
    /// The integral \f$\int_a^b f(t)\,dt\f$; for b < a, the negative of that from b to a. The domain of f is not
    /// consulted.
    virtual double integrate(mlFunction const & f, double a, double b) const = 0;

    virtual ~mlIntegrate();
};
