#pragma once

#include "maths/functions/mlIntegrate.h"

/// Integrates by the extended trapezoid rule, halving the step until an estimate changes by less than the tolerance.
///
/// `max_levels` counts estimates, the first one, of a single step, included: at most 2^(max_levels - 1) + 1
/// evaluations, f(b) first, f(a) second. The tolerance is absolute.
/// Failure: `converged` is 0, and the last estimate is returned. NaN never converges.
/// Bad input: more than 31 levels need more evaluations than an int counts.
/// Threads: `integrate` writes `converged`: one integration at a time. Source: Press et al., Numerical Recipes.
class MATHS_API mlIntegrateTrapezoid : public mlIntegrate {
public:
    mlIntegrateTrapezoid(double tolerance, int max_levels);

    double integrate(mlFunction const & f, double a, double b) const override;

private:
    int max_levels_;
    double tolerance_;

public:
    /// 1 when the last `integrate` stopped on the tolerance, 0 when it ran out of levels. Deliberate: not initialised
    /// before the first.
    mutable int converged;
};
