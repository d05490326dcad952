#include "maths/functions/mlIntegrateTrapezoid.h"

#include <cmath>

#include "maths/functions/mlStepHalving.h"

mlIntegrateTrapezoid::mlIntegrateTrapezoid(double tolerance, int max_levels)
    : max_levels_(max_levels), tolerance_(tolerance) {}

double mlIntegrateTrapezoid::integrate(mlFunction const & f, double a, double b) const {
    converged = 1;
    mlStepHalving steps(f, a, b);
    double estimate = steps.mean_of_ends() * steps.step();
    for (int level = 1; level < max_levels_; ++level) {
        double const midpoints = steps.halve();
        double const refined = midpoints * steps.step() + estimate * 0.5;
        if (std::fabs(refined - estimate) < tolerance_) return refined;
        estimate = refined;
    }
    converged = 0;
    return estimate;
}
