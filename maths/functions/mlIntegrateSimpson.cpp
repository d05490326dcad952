#include "maths/functions/mlIntegrateSimpson.h"

#include <cmath>

#include "maths/functions/mlStepHalving.h"

mlIntegrateSimpson::mlIntegrateSimpson(double tolerance, int max_levels)
    : max_levels_(max_levels), tolerance_(tolerance) {}

double mlIntegrateSimpson::integrate(mlFunction const & f, double a, double b) const {
    converged = 1;
    mlStepHalving steps(f, a, b);
    double ordinates = steps.mean_of_ends(); // the trapezoid rule's, not yet multiplied by the step
    double estimate = 0.0;
    for (int k = 0; k < max_levels_; ++k) {
        double const midpoints = steps.halve();
        double const refined = (ordinates + ordinates + midpoints * 4.0) * steps.step() / 3.0;
        if (k != 0 && std::fabs(refined - estimate) < tolerance_) return refined;
        ordinates += midpoints;
        estimate = refined;
    }
    converged = 0;
    return estimate;
}
