#pragma once

#include "maths/optimisation/mlFunctionValue.h"
#include "maths/optimisation/mlObserver.h"

/// How a search, or a step of it, came out.
enum mlMinimiserState : int {
    mlMinimiserFailed = 0,           ///< the iterations ran out while the bracket was wider than the resolution
    mlMinimiserFlat = 1,             ///< a probe reached an end of the range and found the value of the current point
    mlMinimiserNewtonConverged = 2,  ///< a Newton step no longer changes t
    mlMinimiserBracketConverged = 3, ///< the bracket is no wider than the resolution
    mlMinimiserBracketed = 4,        ///< both neighbours at the probing distance are higher
    mlMinimiserAtRangeEnd = 5,       ///< the current point is a bracket end and the function rises from there inwards
    mlMinimiserGoLower = 6,          ///< the minimum lies below the current point
    mlMinimiserGoHigher = 7,         ///< the minimum lies above the current point
    mlMinimiserStopped = 8           ///< the observer ended the search
};

/// Minimises a function of one variable on a range [lo, hi], with the derivatives that it provides.
///
/// The function's `highest_derivative_order` decides: above 0 the slope gives the direction, from 2 on Newton steps are
/// tried; else the function is sampled. A function that supplies no derivatives has to set it to 0, or the default
/// -666.0 is taken for a slope. Where a Newton step fails, the search expands, if an end of the range is the largest
/// double or its negative, or bisects. A value or derivative of the current point and of the bracket's ends is computed
/// when it is first needed and kept with the point; sampling evaluates afresh. A search may be repeated: it starts at
/// the point where the last one ended, whose value is still known. `resolution` is the width of a bracket that is
/// narrow enough, and the first distance at which neighbours are probed. A search makes at most 100 iterations, which
/// end it whatever the function returns; a NaN slope counts as 0.
/// An observer is told of the value, where it is known, and of the bracket's width, but not of the calls.
/// Lifetime: the function must outlive the object. Bad input: nothing is checked. Threads: one object, one thread.
class MATHS_API mlMinimiser : public mlObservable {
public:
    /// Starts at t0, or at the end of the range nearest to it.
    mlMinimiser(mlFunction const & f, double t0, double lo, double hi, double resolution);

    // A temporary does not outlive the object.
    mlMinimiser(mlFunction const && f, double t0, double lo, double hi, double resolution) = delete;

    /// Searches and returns the abscissa of the minimum.
    /// `found`: 0 when the iterations ran out, the observer ended it or `range_end` is set, else 1.
    /// `range_end`: -1 or +1 when the minimum lies on the lower or upper end of the range and the function's domain
    /// goes on beyond it, so that `change_range` and another search may find a lower one; else 0. For a function with
    /// two derivatives `range_end` is set only when its slope rises inwards, and never when the observer ended the
    /// search. `not_converged`: 1 when the iterations ran out or the observer ended it, else 0.
    double minimise(int & found, int & range_end, int & not_converged);

    /// The value at the current point, after a search that of the minimum. Usually it is known. Where the current point
    /// is an end of the range that the search never left, this calls the function and does not store the value, so that
    /// later searches make the same calls.
    [[nodiscard]] double value() const {
        return current_.knows_value() ? current_.value : function_->function(current_.t);
    }

    /// Iterations that the last search used; 0 before the first.
    [[nodiscard]] int iterations() const { return iterations_; }

    /// Moves the range next to the old one: below it for x < lo, else [hi, x], which is inverted when x < hi. The
    /// current point stays, and its derivatives are forgotten.
    void change_range(double x);

    /// Deliberate: stores the value; no search uses it.
    void set_absolute_minimum(double value) { absolute_minimum_ = value; }

protected:
    /// Minimises from the current point, which moves to the best one found.
    mlMinimiserState search();

    /// Returns on which side of the current point the minimum lies: by the slope, and where there is none by samples at
    /// growing distances, inside [lo, hi]. Each round of samples but the last counts as an iteration.
    mlMinimiserState which_way(double lo, double hi);

private:
    class Search;

    bool has_iterations() const { return iterations_ < max_iterations_; }

    mlFunction const * function_;
    mlFunctionValue current_;
    double lo_;
    double hi_;
    double resolution_;
    double absolute_minimum_;
    int max_iterations_;
    int iterations_;
};
