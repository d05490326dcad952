#include "maths/optimisation/mlNewtonRaphson.h"

#include <algorithm>

#include "maths/core/mlNorms.h"
#include "maths/decompositions/mlLUDecomposition.h"

namespace {

double const finest_tolerance = 1e-14;
double const sufficient_gain = 0.001; // of the size reached
int const stall_limit = 4;

} // namespace

mlNewtonRaphson::mlNewtonRaphson(enum mlNRDim, int n)
    : point_(mlVectorZero, n), jacobian_(mlMatrixZero, n, n), values_(mlVectorZero, n), iterations_(0),
      max_iterations_(20), status_(mlNRConverged), step_(mlVectorZero, n) {}

void mlNewtonRaphson::solve(mlFunctionN const & f, mlVector & x, double tolerance, int & converged) {
    MATHS_CHECK(x.size() == point_.size(), "Newton-Raphson: a start of %d elements for %d equations", x.size(),
                point_.size());
    MATHS_CHECK(f.input_dimension == point_.size() && f.output_dimension == point_.size(),
                "Newton-Raphson: the function's dimensions are %d and %d, for %d equations", f.input_dimension,
                f.output_dimension, point_.size());
    double const eps = std::max(tolerance, finest_tolerance);
    point_ = x;
    double best = evaluate(f);
    iterations_ = 0;
    status_ = mlNRConverged;
    begin_observation();
    if (!(best <= eps)) {
        improve(f, x, best);
        if (iterations_ >= max_iterations_) status_ = mlNRIterationLimit;
    }
    converged = best <= eps;
    if (converged) status_ = mlNRConverged; // whatever else ended the search
}

// The values at `point_` and their size.
double mlNewtonRaphson::evaluate(mlFunctionN const & f) {
    f.function(point_.slice(), values_);
    return values_.max_absolute_value();
}

// point -= J^-1 values; false when J is singular.
bool mlNewtonRaphson::take_step(mlFunctionN const & f) {
    f.function_gradient(point_.slice(), jacobian_);
    mlLUDecomposition const lu(jacobian_);
    if (lu.is_singular()) return false;
    lu.solve(values_, step_);
    point_ -= step_;
    return true;
}

// Steps until no further gain is to be expected, or until the limit. x and `best` follow the best point.
void mlNewtonRaphson::improve(mlFunctionN const & f, mlVector & x, double & best) {
    for (int stalled = 0; iterations_ < max_iterations_; ++iterations_) {
        if (!take_step(f)) {
            status_ = mlNRSingularJacobian;
            return;
        }
        double const current = evaluate(f);
        if (current == best && point_ == x) {
            status_ = mlNRNoChange;
            return;
        }
        ++stalled;
        if (current < best) {
            double const gain = best - current;
            best = current;
            x = point_;
            if (gain >= sufficient_gain * current) stalled = 0;
        }
        if (stalled > stall_limit) {
            status_ = mlNRSlowProgress;
            return;
        }
        if (best <= finest_tolerance) return;
        if (stops(current, iterations_ + 2, observed() ? euclidean_norm(step_) : 0.0)) {
            status_ = mlNRStopped;
            return;
        }
    }
}
