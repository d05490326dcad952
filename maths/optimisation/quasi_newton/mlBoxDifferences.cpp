#include "maths/optimisation/quasi_newton/mlBoxDifferences.h"

#include <algorithm>
#include <cmath>

namespace {

double const relative_step = 0x1p-17; // about the cube root of the roundoff, where both errors are least

} // namespace

int ml_box_differences(mlFunctionN1 const & f, mlVector const & x, double value, mlVector const & lower,
                       mlVector const & upper, mlVector & work, mlVector & g) {
    int calls = 0;
    work = x;
    for (int i = 0; i < x.size(); ++i) {
        g[i] = 0.0;
        if (lower[i] == upper[i]) continue;
        auto const value_at = [&](double x_i) {
            work[i] = x_i;
            return f.function(work.slice());
        };
        double const step = relative_step * std::max(std::fabs(x[i]), 1.0), below = x[i] - lower[i],
                     above = upper[i] - x[i];
        if (step <= below && step <= above) {
            double const a = std::max(x[i] - step, lower[i]), b = std::min(x[i] + step, upper[i]);
            double const at_a = value_at(a), at_b = value_at(b);
            g[i] = (at_b - at_a) / (b - a);
        } else {
            double const room = above > below ? std::min(step, 0.5 * above) : -std::min(step, 0.5 * below);
            double const a = x[i] + room, b = std::clamp(x[i] + 2.0 * room, lower[i], upper[i]);
            double const at_a = value_at(a), at_b = value_at(b);
            double const to_a = (at_a - value) / (a - x[i]), to_b = (at_b - value) / (b - x[i]);
            g[i] = to_a + (to_a - to_b) * ((a - x[i]) / (b - a)); // the parabola's slope
        }
        work[i] = x[i];
        calls += 2;
    }
    return calls;
}
