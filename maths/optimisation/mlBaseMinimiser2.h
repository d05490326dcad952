#pragma once

#include "maths/optimisation/mlObserver.h"

/// How a search of `mlBaseMinimiser2` ended.
enum mlMinimiser2State : int {
    mlMinimiser2Failed = 0,          ///< the iterations ran out, the function falls for ever, or values are no numbers
    mlMinimiser2Converged = 1,       ///< a minimum inside the window
    mlMinimiser2AtUEnd = 2,          ///< u is at an end of the window, from which the function rises inwards
    mlMinimiser2AtVEnd = 3,          ///< the same for v
    mlMinimiser2AtCorner = 4,        ///< both
    mlMinimiser2AbsoluteMinimum = 5, ///< a value at or below the absolute minimum was met
    mlMinimiser2Stopped = 6          ///< the observer ended the search
};

/// Minimises a function of two parameters on a window, a rectangle of the (u, v) plane: what `mlMinimiser2` and
/// `mlVectorMinimiser2` share.
///
/// A search goes downhill from the current point to a minimum nearby, not to the lowest one. It takes Newton's steps,
/// with second derivatives or what can be made of first ones or of values, each to the lowest point of the quadratic
/// model on the common part of the window and a trust region. Ends of the window are so kept and left as the slope
/// says; negative curvature is followed, and a saddle left where second derivatives are known, or where differences of
/// values show it. Near a minimum the steps shrink quadratically with second derivatives, superlinearly without. A step
/// that climbs the wall of a narrow valley is followed by another one from there, which leads back to its floor further
/// on: Newton's, or with a Jacobian alone Polyak's too. Where steps fail, at a kink or beside values that are no
/// numbers, values are sampled around the point.
///
/// It converges when the next step is shorter than `resolution` in both parameters, and no lower value was found a few
/// resolutions down the slope; a step that roundoff alone would make counts as shorter. Where values tell no more, as
/// they do at about half the digits of u and v, a search with values alone ends short of a finer resolution. A function
/// that falls towards a value which it never reaches, exp(-u) say, has a minimum where roundoff hides the fall, or
/// fails.
/// No evaluation lies outside the window, and the value never rises from one iteration to the next.
/// An unbounded side of the window is the largest double or its negative, and is not an end of it.
/// Parameters are best scaled alike and of magnitudes from 1e-6 to 1e6: steps to begin with, and differences, go by
/// the start's magnitudes, taken as 1 where they are less, and by the window's widths.
/// An observer is told of the value at the current point and of the last move's length, 0 where a step was rejected.
/// Lifetime: the function must outlive the object. Bad input: a window with u_min > u_max or v_min > v_max; a start
/// that is NaN fails without a call. Failure: `state`. Threads: one object, one thread.
/// Cost: about 30 values and partial derivatives in ordinary problems, which count 1 each, and 35 with values alone;
/// with derivatives mostly below 150 in narrow valleys and 250 where the minimum has no curvature. With values alone a
/// valley whose walls are a million times as steep as its floor takes up to 600.
/// Source: Conn, Gould & Toint, Trust-Region Methods (2000); Nocedal & Wright, Numerical Optimization (2006); Polyak's
/// step: Minimization of unsmooth functionals (1969).
class MATHS_API mlBaseMinimiser2 : public mlObservable {
public:
    mlBaseMinimiser2(mlBaseMinimiser2 const &) = delete;
    mlBaseMinimiser2 & operator=(mlBaseMinimiser2 const &) = delete;
    virtual ~mlBaseMinimiser2();

    /// Searches from the current point and returns the value at (u, v), which become the point found. A search may be
    /// repeated: it starts where the last one ended.
    /// `u_end`, `v_end`: -1 or +1 when the minimum lies on the lower or upper end of the window in that parameter and
    /// the function's domain goes on beyond it, so that another window may have a lower one; else 0. In a window
    /// without width they say to which side the function falls; without derivatives, +1 before -1.
    /// `found`: 0 when the search failed, was ended by the observer, or an end is reported; else 1.
    /// `not_converged`: 1 when the search failed or was ended by the observer, else 0. Then the point is the best one
    /// so far, and no end is reported.
    double minimise(double & u, double & v, int & found, int & u_end, int & v_end, int & not_converged);

    /// Replaces the window. The current point is clamped into it.
    void set_window(double u_min, double u_max, double v_min, double v_max);

    /// A value at or below this one ends a search at once, at the point where it was met: `found` is 1, no end is
    /// reported. None at first, nor for NaN.
    void set_absolute_minimum(double value) { absolute_minimum_ = value; }

    /// At most so many iterations a search, 100 at first. With 0 and less a search evaluates the start and fails.
    void set_max_iterations(int n) { max_iterations_ = n; }

    /// Of the last search; `mlMinimiser2Failed` before the first.
    mlMinimiser2State state() const { return state_; }
    int iterations() const { return iterations_; }

    /// The calls of the caller's function and of its derivatives that the last search made.
    int number_of_calls() const { return calls_; }

protected:
    mlBaseMinimiser2(double u0, double v0, double resolution);

    double low(int parameter) const { return low_[parameter]; }
    double high(int parameter) const { return high_[parameter]; }

    int calls_;

private:
    friend class mlWindowFunction;
    friend class mlWindowSearch;

    // What a search asks of the deriving classes, who count the calls. Parameter 0 is u, 1 is v.
    virtual void begin_search() {}
    virtual int derivative_order() const = 0;
    virtual double value(double u, double v) = 0;
    virtual void gradient(double u, double v, double * g) = 0;   // f_u, f_v
    virtual void curvature(double u, double v, double * h) = 0;  // f_uu, f_uv, f_vv, where the gradient was asked last
    virtual bool has_partial_curvature() const { return false; } // with order 1: a curvature without f's own
    virtual bool goes_on_below(int parameter) const = 0;         // the function's domain, beyond the window
    virtual bool goes_on_above(int parameter) const = 0;

    bool is_unfinished() const { return state_ == mlMinimiser2Failed || state_ == mlMinimiser2Stopped; }
    bool is_minimum() const { return !is_unfinished() && state_ != mlMinimiser2AbsoluteMinimum; }
    int end(int parameter, bool falls_downwards) const;

    double point_[2];
    double low_[2];
    double high_[2];
    double resolution_;
    double absolute_minimum_;
    int max_iterations_;
    int iterations_;
    mlMinimiser2State state_;
};
