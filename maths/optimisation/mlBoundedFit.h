#pragma once

#include "maths/core/mlMatrix.h"
#include "maths/optimisation/mlDistanceLeastSquares.h"
#include "maths/optimisation/mlObserver.h"

/// How a bounded fit ended.
enum mlBoundedFitStatus : int {
    mlBoundedFitConverged = 0,      ///< no step within the box lowers the sum, or could by more than roundoff
    mlBoundedFitIterationLimit = 1, ///< out of iterations; before the first fit too
    mlBoundedFitNotFinite = 2,      ///< a distance or gradient at an accepted point is NaN or infinite
    mlBoundedFitEmptyBox = 3,       ///< a lower bound is not at most the upper one
    mlBoundedFitStopped = 4         ///< the observer ended it
};

/// Fits a model to points with its parameters in a box: minimises the sum of squared distances subject to
/// lower[j] <= p[j] <= upper[j], by damped Gauss-Newton steps that end at the bounds.
///
/// Where a parameter is on a bound and the sum falls outwards it stays there. A step solves
/// \f$(J^T J + \lambda D)\,\delta = -J^T d\f$ for the others, D being the diagonal of \f$J^T J\f$ (1 in place of 0);
/// those that would leave the box are held at their bound and the rest is solved for again. lambda falls to a tenth
/// when a step succeeds and grows tenfold when it does not lower the sum. The model's parameters are never outside the
/// box; the differences that an `mlCurveModel` without derivatives takes look a little beyond it.
/// Bounds: infinite ones and +-the largest double leave a side open; equal ones fix a parameter. A start outside is
/// moved to the nearest point of the box. The model's `normalise_parameters` comes first, then the bounds.
/// An observer is told of the sum of squared distances after each step and of the step's length.
/// Failure: the status; std::bad_alloc. Ends for NaN and infinity. The minimum is a local one: try several starts.
/// Lifetime: the model is the caller's and must outlive this object; the bounds are copied. After a fit the model is at
/// parameters tried last: set the result before asking it for distances. Threads: one object, one thread.
/// Cost, for n points and m parameters: \f$2 n m^2\f$ operations an iteration, n distances and \f$\frac13 m^3\f$
/// operations a try, \f$\frac13 m^3\f$ more each time that parameters meet their bounds in it. Source: Kanzow,
/// Yamashita & Fukushima, Levenberg-Marquardt methods with strong local convergence properties for solving nonlinear
/// equations with convex constraints (2004); the active set as in Bertsekas, Projected Newton methods for optimization
/// problems with simple constraints (1982).
class MATHS_API mlBoundedFit : public mlObservable {
public:
    mlBoundedFit(mlDistanceLeastSquares & model, mlVector const & lower, mlVector const & upper);
    mlBoundedFit(mlBoundedFit const &) = delete;
    mlBoundedFit & operator=(mlBoundedFit const &) = delete;

    /// Fits from `start` and gives `result` the parameters found; with an empty box it is left alone.
    mlBoundedFitStatus fit(mlVector const & start, mlVector & result);

    /// Of the last fit.
    [[nodiscard]] mlBoundedFitStatus status() const { return status_; }

    /// The sum of squared distances at the result.
    [[nodiscard]] double residual_sum() const { return sum_; }

    /// Accepted steps.
    [[nodiscard]] int iterations() const { return iterations_; }

    /// -1 when the result's parameter j is on its lower bound, +1 when it is on its upper one, else 0.
    [[nodiscard]] int at_bound(int j) const;

    /// At most this many accepted steps, 500 at first.
    void set_max_iterations(int n) { max_iterations_ = n; }

private:
    enum Outcome { moved, arrived };

    void bring_inside(mlVector & p) const;
    bool linearise();
    Outcome take_step();
    bool solve_step();
    bool solve_for_free();
    bool hold_at_bounds();
    double promise() const;

    mlDistanceLeastSquares & model_;
    mlBoundedFitStatus status_;
    int iterations_;
    int max_iterations_;
    double sum_;
    double lambda_;
    int calls_; // with the model's parameters set anew
    mlVector lower_, upper_;
    mlVector point_, trial_;
    mlMatrix alpha_;  // J'J
    mlVector beta_;   // -J'd
    mlVector step_;   // and the gradient of one point while the matrices are formed
    mlVector held_;   // 1 for a parameter whose step is settled, else 0
    mlMatrix damped_; // the system of the free parameters, rows of the identity for those held
    mlVector right_;
};
