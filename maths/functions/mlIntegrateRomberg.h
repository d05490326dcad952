#pragma once

#include "maths/functions/mlIntegrate.h"

/// Integrates by Romberg's method: trapezoid estimates for repeatedly halved steps, extrapolated to the step 0, until
/// the result changes by less than the tolerance.
///
/// `max_levels` counts halvings: at most 2^max_levels + 1 evaluations, f(b) first, f(a) second. Without levels the
/// result is 0.0. The tolerance is absolute and first tested after the second halving. Failure: `converged` is 0, and
/// the last estimate is returned. NaN never converges. std::bad_alloc, for max_levels + 1 doubles.
/// Bad input: more than 31 levels need more evaluations than an int counts.
/// Threads: `integrate` writes `converged`: one integration at a time.
/// Source: Romberg, Vereinfachte numerische Integration (1955); Press et al., Numerical Recipes.
class MATHS_API mlIntegrateRomberg : public mlIntegrate {
public:
    mlIntegrateRomberg(double tolerance, int max_levels);

    double integrate(mlFunction const & f, double a, double b) const override;

private:
    int max_levels_;
    double tolerance_;

public:
    /// 1 when the last `integrate` stopped on the tolerance, 0 when it ran out of levels. Deliberate: not initialised
    /// before the first.
    mutable int converged;
};
