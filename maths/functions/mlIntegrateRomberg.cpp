#include "maths/functions/mlIntegrateRomberg.h"

#include <algorithm>
#include <cmath>

#include "maths/functions/mlStepHalving.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

namespace {

// Cancels the error terms h^2, h^4, ... in turn, from the newest estimate r[k] down: r[0] becomes the most extrapolated
// one and r[k] stays.
void extrapolate(double * r, int k) {
    for (int i = k, m = 1; i >= 1; --i, ++m) {
        double const divisor = static_cast<double>((1LL << 2 * m) - 1);
        r[i - 1] = (r[i] - r[i - 1]) / divisor + r[i];
    }
}

} // namespace

mlIntegrateRomberg::mlIntegrateRomberg(double tolerance, int max_levels)
    : max_levels_(max_levels), tolerance_(tolerance) {}

double mlIntegrateRomberg::integrate(mlFunction const & f, double a, double b) const {
    converged = 1;
    mlStepHalving steps(f, a, b);
    double trapezoid = steps.mean_of_ends() * steps.step();
    coScratch<ml_tuning::romberg_scratch> work(std::max(max_levels_, 0) + std::size_t{1});
    double * const r = work.data();
    r[0] = trapezoid;
    double estimate = 0.0;
    for (int k = 1; k <= max_levels_; ++k) {
        double const midpoints = steps.halve();
        trapezoid = midpoints * steps.step() + trapezoid * 0.5;
        r[k] = trapezoid;
        extrapolate(r, k);
        if (k > 1 && std::fabs(r[0] - estimate) < tolerance_) return r[0];
        estimate = r[0];
    }
    converged = 0;
    return estimate;
}
