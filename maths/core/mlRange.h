#pragma once

#include <limits>

#include "maths/maths_api.h"

/// Closed interval [low, high] of doubles, or the empty range, whose two ends are the largest double and its negative.
///
/// A plain value. The largest double is reserved for the empty range: merging it does nothing. Bad input: nothing is
/// checked; a range with low > high other than the empty one is computed with as it stands.
class MATHS_API mlRange {
public:
    /// The empty range.
    mlRange() : mlRange(largest, -largest) {}
    mlRange(double low_end, double high_end) : low(low_end), high(high_end) {}

    [[nodiscard]] int empty() const { return low == largest && high == -largest; }

    /// The point of the range nearest to x.
    [[nodiscard]] double clip(double x) const;

    /// 1 unless the lows or the highs differ by more than the tolerance; a NaN does not differ.
    [[nodiscard]] int coincident(mlRange const & r, double tolerance) const;

    /// 1 when the closed intervals share a point.
    [[nodiscard]] int crosses(mlRange const & r) const;

    /// The point at t in [0, 1] from low to high, clamped: see `mlMath::interpolate`.
    [[nodiscard]] double interpolate(double t) const;

    /// (x - low) / (high - low), but 1.0 above the range, 0.0 below it. Deliberate: 0.0 too in a range narrower than
    /// 1e-10.
    [[nodiscard]] double position_in_range(double x) const;

    /// The common part; empty when there is none.
    void intersect(mlRange const & r);

    /// Grows the range by no more than it takes to hold x, or the ends of r. An empty r changes nothing.
    void merge(double x);
    void merge(mlRange const & r);

    double low;
    double high;

private:
    static constexpr double largest = std::numeric_limits<double>::max();
};

/// The common part of two ranges; empty when there is none.
[[nodiscard]] MATHS_API mlRange intersect(mlRange const & a, mlRange const & b);
