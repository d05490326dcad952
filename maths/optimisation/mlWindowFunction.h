#pragma once

#include "maths/functions/mlDomain.h"
#include "maths/optimisation/mlBaseMinimiser2.h"
#include "maths/optimisation/mlQuadraticModel2.h"

/// A point of the (u, v) plane with the value there. For use inside the library.
struct mlWindowPoint {
    mlPair x;
    double f;

    /// A bound of what roundoff does to the value.
    double noise() const;
    /// Whether a value is lower by more than half a roundoff. Any number is lower than NaN.
    bool is_above(double value) const;
};

/// The function of a search of `mlBaseMinimiser2` as its parts see it: every evaluation of a search goes through here,
/// lies inside the window and is compared with the absolute minimum. For use inside the library.
class mlWindowFunction {
public:
    explicit mlWindowFunction(mlBaseMinimiser2 & minimiser);

    /// The value; infinity, without a call, once a value has met the absolute minimum.
    double value(mlPair const & x);
    bool has_met_absolute_minimum() const { return met_; }

    /// The lowest value so far, or the one that met the absolute minimum.
    mlWindowPoint const & lowest() const { return lowest_; }

    /// Orders of derivatives that there are. The first answers of -666.0 throughout say that there are fewer than
    /// promised.
    int order() const { return order_; }

    /// The first derivatives; false where they are not finite, or are not there after all.
    bool gradient(mlPair const & x, mlPair & g);

    /// The second derivatives, or those of the sum of squares without its second derivatives, of the point where the
    /// gradient was asked for last; false as above.
    bool curvature(mlPair const & x, mlSymmetric2 & b);
    bool curvature_is_partial() const { return order_ == 1 && minimiser_.has_partial_curvature(); }

    /// An unbounded side of the window is not an end.
    bool at_low(mlPair const & x, int i) const { return x[i] == low(i) && low(i) > mlUnboundedMin; }
    bool at_high(mlPair const & x, int i) const { return x[i] == high(i) && high(i) < mlUnboundedMax; }
    bool at_end(mlPair const & x, int i) const { return at_low(x, i) || at_high(x, i); }
    double low(int i) const { return minimiser_.low_[i]; }
    double high(int i) const { return minimiser_.high_[i]; }

    /// x + s, exactly on an end of the window when s reaches or passes it.
    mlPair moved(mlPair const & x, mlPair const & s) const;
    double moved(mlPair const & x, int i, double s) const;

    /// x with parameter i moved by h, or by -h where the window has no room.
    mlPair beside(mlPair const & x, int i, double h) const;

    /// A length of parameter i to begin with: its magnitude at the start, at least 1, at most the window's width.
    double unit(int i) const { return unit_[i]; }
    /// The larger of a step's two parts, in units.
    double length(mlPair const & s) const;
    /// The resolution in units: of the coarser or of the finer parameter.
    double coarse_resolution() const { return resolution() / (unit_[0] < unit_[1] ? unit_[0] : unit_[1]); }
    double fine_resolution() const { return resolution() / (unit_[0] < unit_[1] ? unit_[1] : unit_[0]); }
    double resolution() const { return minimiser_.resolution_; }

    /// Whether both parts of a step from x are below `fraction` of the resolution, or roundoff.
    bool is_below_resolution(mlPair const & x, mlPair const & s, double fraction) const;

private:
    mlBaseMinimiser2 & minimiser_;
    int order_;
    bool asked_gradient_ = false;
    bool asked_curvature_ = false;
    bool met_ = false;
    mlWindowPoint lowest_;
    mlPair unit_;
};
