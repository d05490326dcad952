#pragma once

#include "maths/functions/mlFunctionN.h"
#include "maths/optimisation/mlObserver.h"

/// Selects the construction by dimension.
enum mlNRDim { mlNRDim };

/// How a Newton-Raphson solve ended.
enum mlNRStatus : int {
    mlNRConverged = 0,        ///< F is within the tolerance at the best point
    mlNRSingularJacobian = 1, ///< no step could be computed
    mlNRIterationLimit = 2,   ///< 20 steps
    mlNRSlowProgress = 4,     ///< five steps in a row without a decrease by a thousandth
    mlNRNoChange = 5,         ///< a step left the point and the largest value as they were
    mlNRStopped = 6           ///< the observer ended it
};

/// Solves F(x) = 0, n equations in n unknowns, by Newton's method.
///
/// Each step solves the Jacobian's system by LU decomposition. The size of F is the largest magnitude of its values,
/// and the best point is that of the least size. Steps are full ones and may lead away from a solution: only the limit
/// of 20 steps and the test for slow progress end a search from a bad start.
/// Bad input: a dimension other than F's and x's is not checked. Deliberate: NaN among the values of F is ignored when
/// their size is taken, so values that are all NaN count as converged; look at them where F can be undefined.
/// An observer is told of the size of F after each step, and of the step's length.
/// Failure: the status; std::bad_alloc. Threads: one object, one thread.
/// Cost: a Jacobian, a value of F and \f$O(n^3)\f$ operations a step.
class MATHS_API mlNewtonRaphson : public mlObservable {
public:
    /// For n equations.
    mlNewtonRaphson(enum mlNRDim, int n);
    mlNewtonRaphson(mlNewtonRaphson const &) = delete;
    mlNewtonRaphson & operator=(mlNewtonRaphson const &) = delete;

    /// Solves from the start x, which becomes the best point found: it is only overwritten by better ones. `converged`
    /// becomes 1 when the size of F there is at most the tolerance, which counts as 1e-14 when it is less, and else 0.
    /// Deliberate: the search does not end there, but continues towards 1e-14 until one of the other rules ends it.
    void solve(mlFunctionN const & f, mlVector & x, double tolerance, int & converged);

    /// Of the last `solve`; `mlNRConverged` whenever it converged, however it ended.
    [[nodiscard]] mlNRStatus status() const { return status_; }

private:
    double evaluate(mlFunctionN const & f);
    bool take_step(mlFunctionN const & f);
    void improve(mlFunctionN const & f, mlVector & x, double & best);

    mlVector point_;
    mlMatrix jacobian_;
    mlVector values_;
    int iterations_;
    int max_iterations_;
    mlNRStatus status_;
    mlVector step_;
};
