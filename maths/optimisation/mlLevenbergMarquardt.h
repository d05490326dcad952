#pragma once

#include "maths/core/mlMatrix.h"
#include "maths/optimisation/mlDistanceLeastSquares.h"
#include "maths/optimisation/mlObserver.h"

/// Fits a model to points: minimises the sum of squared distances over the model's parameters, by damped Gauss-Newton
/// steps.
///
/// A step solves \f$(J^T J + \lambda (D + I))\,\delta = -J^T d\f$, where D is the diagonal of \f$J^T J\f$. Deliberate:
/// the I keeps the damping effective for a parameter that no distance depends on. lambda shrinks by the factor 0.4 when
/// the first try of a step succeeds and grows by 10 with each try that fails to lower the sum. The fit ends when lambda
/// leaves its range, which is how it ends at a minimum, or at the limit of iterations. Outside strict mode, 12 steps in
/// a row that succeed at the first try take lambda below its range too, and end the fit wherever it is: fit strictly,
/// or fit again from the result until nothing changes. Reports nothing: judge the mean square distance. A point whose
/// distance is NaN makes every try fail.
/// An observer is told of the sum of squared distances after each step and of the step's length; where it ends the fit,
/// the result is the point reached.
/// Lifetime: the model is the caller's and must outlive this object. After a fit it is left at the parameters tried
/// last, which can differ from the result: set them before asking it for distances.
/// Failure: std::bad_alloc. Threads: one object, one thread.
/// Cost, for n points and m parameters: \f$2 n m^2\f$ operations an iteration, \f$\frac13 m^3\f$ operations and n
/// distances a try. Source: Marquardt, An algorithm for least-squares estimation of nonlinear parameters (1963).
class MATHS_API mlLevenbergMarquardt : public mlObservable {
public:
    explicit mlLevenbergMarquardt(mlDistanceLeastSquares & model);
    mlLevenbergMarquardt(mlLevenbergMarquardt const &) = delete;
    mlLevenbergMarquardt & operator=(mlLevenbergMarquardt const &) = delete;
    virtual ~mlLevenbergMarquardt();

    /// Fits from `start` and gives `result` the parameters found. Deliberate: returns the mean square distance where
    /// the last iteration began, so not at the result but one accepted step before it; NaN when no iteration was ever
    /// made.
    double fit(mlVector const & start, mlVector & result);

    /// At most this many accepted steps, 500 at first. None for 0 and less: the result is the normalised start.
    void set_max_iterations(int n) { max_iterations_ = n; }

    /// A strict fit widens the range of lambda from 1e-10 .. 1e10 to 1e-40 .. 1e40, and ends when a step's squared
    /// length is below 1e-30. False at first.
    void set_strict(bool strict) { strict_ = strict; }

protected:
    /// The same with limits given by the caller.
    double fit(mlVector const & start, mlVector & result, int max_iterations, double min_lambda, double max_lambda,
               bool strict);

    /// \f$J^T J\f$, \f$-J^T d\f$ and the sum of square distances at p, which become the model's parameters.
    void calc_matrices(mlVector & p);

    /// Moves p by the step damped by lambda and returns the sum of square distances there. When no decomposition can
    /// solve for the step, leaves p unchanged and returns the largest double; the damping of that try then stays in the
    /// matrix, and that of later tries is added to it.
    double update_pars(double lambda, mlVector & p);

private:
    bool solve_step();
    double try_steps(double max_lambda);

    mlDistanceLeastSquares & model_;
    bool strict_;
    int max_iterations_;
    mlMatrix alpha_; // J'J
    mlVector beta_;  // -J'd
    double chi_square_;
    mlVector saved_diagonal_; // of alpha_, without the damping
    double lambda_;
    int calls_; // with the model's parameters set anew
    mlVector current_parameters_;
    mlVector trial_parameters_;
    mlVector step_; // the gradient of one point while the matrices are formed
};
