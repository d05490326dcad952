#pragma once

/// A search along a line for a step t at which the strong Wolfe conditions hold:
///     f(t) <= f(0) + 1e-3 t f'(0)   and   |f'(t)| <= 0.9 |f'(0)|.
/// For use inside the library.
///
/// `begin` sets the first step to try; the caller evaluates there and hands value and slope to `next`, until that says
/// that the search is over. No step is beyond the largest. A step whose value or slope is NaN or infinite is too long.
/// Source: Moré & Thuente, Line search algorithms with guaranteed sufficient decrease (1994).
class mlWolfeSearch {
public:
    enum State {
        goes_on,
        found,   ///< the conditions hold at the step tried last
        at_most, ///< the step tried last is the largest one, and the function still falls there
        stuck    ///< by rounding, or by a function that is not smooth
    };

    /// slope < 0 is f'(0); 0 < step <= largest.
    void begin(double value, double slope, double step, double largest);

    double step() const { return step_; }

    State next(double value, double slope);

private:
    struct Point {
        double t, value, slope;
    };

    double minimum(Point const & low, Point const & high, Point const & tried);
    double minimum_beyond(Point const & low, Point const & high, Point const & tried, double limit) const;
    State step_to(double proposal, double from, double tried);
    State step_back();

    double value_, slope_; // at 0
    double step_, largest_;
    Point low_, high_; // ends of the interval, the lower one first
    bool bracketed_;
    bool low_enough_; // a step was, and had no slope downwards
    double width_, width_before_;
    int tries_;
};
