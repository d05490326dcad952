#pragma once

#include "maths/functions/ml_sum.h"

/// The interval from a to b in one step, then in 2, 4, 8, ...: what the integrators that refine share. Each refinement
/// evaluates the function at the new midpoints alone. For use inside the library.
class mlStepHalving {
public:
    /// Evaluates f at b, then at a.
    mlStepHalving(mlFunction const & f, double a, double b) : f_(f), a_(a), step_(b - a) {
        double const at_b = f.function(b);
        mean_of_ends_ = (f.function(a) + at_b) * 0.5;
    }

    double mean_of_ends() const { return mean_of_ends_; }
    double step() const { return step_; }

    /// Halves the steps and returns the sum of f over the new points between them.
    double halve() {
        step_ *= 0.5;
        double const sum = ml_sum(f_, a_ + step_, 2.0 * step_, static_cast<int>(count_));
        count_ *= 2;
        return sum;
    }

private:
    mlFunction const & f_;
    double a_;
    double step_;
    double mean_of_ends_;
    unsigned count_ = 1; // of steps; unsigned, so that the last doubling of 31 is harmless
};
