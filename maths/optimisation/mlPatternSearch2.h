#pragma once

#include "maths/optimisation/mlWindowFunction.h"

/// Looks for lower values around a point by sampling, where no model can be trusted: at kinks, beside values that are
/// not finite, where all derivatives vanish. For use inside the library.
///
/// A poll samples eight directions at one distance and moves to the first lower value. The distance grows when a poll
/// succeeds and shrinks when it fails. The directions are those of the parameters and between them.
/// Source: Torczon, On the convergence of pattern search algorithms (1997).
class mlPatternSearch2 {
public:
    explicit mlPatternSearch2(mlWindowFunction & function) : function_(function) {}

    enum Result : int {
        moved = 0,   ///< to a lower value
        nothing = 1, ///< lower at this distance
        ended = 2    ///< nothing lower within the resolution either
    };

    /// Begins with polls at this distance, in units.
    void start(double distance) { distance_ = distance; }

    /// Polls around `point`, which moves.
    Result poll(mlWindowPoint & point);

    /// One poll at each of three distances, large to small: whether one found a lower value.
    bool escape(mlWindowPoint & point);

private:
    bool is_at_finest(mlPair const & x) const;
    bool poll_at(mlWindowPoint & point, double distance);

    mlWindowFunction & function_;
    double distance_ = 1.0;
    int first_direction_ = 0; // the one that succeeded last
};
