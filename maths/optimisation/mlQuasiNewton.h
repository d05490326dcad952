#pragma once

#include <memory>

#include "maths/functions/mlFunctionN1.h"
#include "maths/optimisation/mlObserver.h"

class mlBoxStep;
class mlCurvaturePairs;

/// How a quasi-Newton search ended.
enum mlQuasiNewtonStatus : int {
    mlQuasiNewtonConverged = 0,      ///< the projected gradient is within its tolerance
    mlQuasiNewtonSmallDecrease = 1,  ///< a step lowered the value by no more than its tolerance
    mlQuasiNewtonNoDecrease = 2,     ///< no lower value down the slope: roundoff, or a gradient that is wrong
    mlQuasiNewtonIterationLimit = 3, ///< out of iterations; before the first search too
    mlQuasiNewtonCallLimit = 4,      ///< the next point would take more calls than allowed
    mlQuasiNewtonStopped = 5,        ///< the observer ended it
    mlQuasiNewtonUnbounded = 6,      ///< minus infinity was met
    mlQuasiNewtonNotFinite = 7,      ///< NaN, infinity, a slope above 1e150: at the start, or all trials
    mlQuasiNewtonEmptyBox = 8        ///< a lower bound is not at most the upper one
};

/// Minimises a smooth function of n variables, in a box if wanted, by limited-memory BFGS with projected gradients.
///
///     mlQuasiNewton search(f.dimension);
///     search.set_box(lower, upper);
///     if (search.minimise(f, x) > mlQuasiNewtonNoDecrease) ... // the first three are good ends
///
/// The gradient is the function's own where it supplies one (see `mlFunctionN1::supplied_gradient`), asked for after
/// the value at the same point; else it comes by differences, 2n calls each. The function is called inside the box
/// only, at finite points. Where a step leads to NaN or infinity it is shortened.
/// An iteration finds the point of the box where a quadratic model is low, by the last steps and the changes of the
/// gradient along them, and searches from x to it and beyond for a step that meets the strong Wolfe conditions, with
/// the constants 1e-3 and 0.9. Without such steps the model is a sphere whose minimum is as far off as x is long, but
/// not less than 1, nor more than the gradient is long.
/// Convergence: the projected gradient is the way from x to the point of the box nearest to x - gradient, and its norm
/// the largest magnitude of an element. It is 0 at a minimum. The search ends when it is at most 1e-8, or when a step
/// lowers the value by at most 2⁻⁵⁰ of its magnitude; both can be set. Where roundoff hides what is left to gain the
/// search ends with `mlQuasiNewtonNoDecrease`, at points as good.
/// An observer is told of the value after each step and of the step's length.
/// Failure: the status; std::bad_alloc. Ends for NaN and infinity. The minimum is a local one: try several starts.
/// Lifetime: the function is used by `minimise` only; the bounds are copied. Threads: one object, one thread.
/// Cost: for n variables and a memory of m steps, about 12 m n multiplications and additions an iteration, \f$4 m^2\f$
/// more for each variable on a bound, or off it where those are fewer; (2 m + 15) n numbers of storage.
/// Source: Byrd, Lu, Nocedal & Zhu, A limited memory algorithm for bound constrained optimization (1995); Morales &
/// Nocedal, Remark on "Algorithm 778" (2011); Moré & Thuente, Line search algorithms with guaranteed sufficient
/// decrease (1994). The model's scale lies between the two of Barzilai & Borwein, Two-point step size gradient methods
/// (1988).
class MATHS_API mlQuasiNewton : public mlObservable {
public:
    /// For functions of n variables; `memory` is the number of steps remembered, 0 for steepest descent. More than 20
    /// rarely save calls.
    explicit mlQuasiNewton(int n, int memory = 10);
    mlQuasiNewton(mlQuasiNewton const &) = delete;
    mlQuasiNewton & operator=(mlQuasiNewton const &) = delete;
    ~mlQuasiNewton();

    /// Keeps the next searches in lower[j] <= x[j] <= upper[j]. Infinite bounds and +-the largest double leave a side
    /// open, as all are at first; equal ones fix a variable.
    void set_box(mlVector const & lower, mlVector const & upper);

    /// Searches from x, or from the point of the box nearest to it, and gives x the lowest point found; with an empty
    /// box x is left alone.
    mlQuasiNewtonStatus minimise(mlFunctionN1 const & f, mlVector & x);

    /// Of the last search.
    [[nodiscard]] mlQuasiNewtonStatus status() const { return status_; }

    /// At the result: the value, the gradient, and the norm of the projected gradient.
    [[nodiscard]] double value() const { return value_; }
    [[nodiscard]] mlVector const & gradient() const { return gradient_; }
    [[nodiscard]] double projected_gradient_norm() const;

    /// -1 when the result's variable j is on its lower bound, +1 when it is on its upper one, else 0.
    [[nodiscard]] int at_bound(int j) const;

    /// Steps of the last search.
    [[nodiscard]] int iterations() const { return iterations_; }

    /// Its calls: a value with its supplied gradient counts 1, values for differences 1 each.
    [[nodiscard]] int calls() const { return calls_; }

    /// Of the projected gradient's norm, absolutely. 0 and less ask for all that roundoff allows.
    void set_gradient_tolerance(double tolerance) { gradient_tolerance_ = tolerance; }

    /// Of a step's decrease, relative to the larger magnitude of the two values. Below 0 it ends no search.
    void set_value_tolerance(double tolerance) { value_tolerance_ = tolerance; }

    /// At most this many steps, 10000 at first, and calls, 2³¹ - 1 at first.
    void set_max_iterations(int n) { max_iterations_ = n; }
    void set_max_calls(int n) { max_calls_ = n; }

private:
    enum Outcome { moved, failed, over }; // `over`: the status says why

    double inside(int j, double x) const { return x < lower_[j] ? lower_[j] : x > upper_[j] ? upper_[j] : x; }
    void run(mlFunctionN1 const & f);
    bool evaluate(mlFunctionN1 const & f, mlVector const & x, double & value, mlVector & gradient);
    Outcome take_step(mlFunctionN1 const & f);
    Outcome search_line(mlFunctionN1 const & f, double slope);
    double first_theta() const;
    double largest_step() const;
    void set_trial(double step);
    void accept_best();

    int const n_;
    mlVector lower_, upper_;
    std::unique_ptr<mlCurvaturePairs> pairs_;
    std::unique_ptr<mlBoxStep> box_step_;
    mlQuasiNewtonStatus status_ = mlQuasiNewtonIterationLimit;
    double gradient_tolerance_ = 1e-8, value_tolerance_ = 0x1p-50;
    int max_iterations_ = 10000, max_calls_ = 2147483647;
    int iterations_ = 0, calls_ = 0;
    int stuck_ = 0; // line searches in a row without a step that meets the conditions
    bool by_differences_ = false;
    double value_, trial_value_, best_value_;
    mlVector point_, gradient_;
    mlVector target_, direction_; // of the step, whose length is 1 at the target
    mlVector trial_, trial_gradient_;
    mlVector best_, best_gradient_; // of the line's best trial
    mlVector work_;                 // x, displaced for differences
};
