#include "maths/core/mlRange.h"

#include <algorithm>
#include <cmath>

#include "maths/core/mlMath.h"

double mlRange::clip(double x) const { return low > x ? low : std::min(high, x); }

int mlRange::coincident(mlRange const & r, double tolerance) const {
    return !(std::fabs(low - r.low) > tolerance || std::fabs(high - r.high) > tolerance);
}

int mlRange::crosses(mlRange const & r) const {
    auto const holds = [](mlRange const & range, double x) { return range.low <= x && x <= range.high; };
    return holds(r, high) || holds(r, low) || holds(*this, r.low) || holds(*this, r.high);
}

double mlRange::interpolate(double t) const { return mlMath::interpolate(t, low, high); }

double mlRange::position_in_range(double x) const {
    if (x > high) return 1.0;
    if (x < low) return 0.0;
    double const width = high - low;
    return width < 1e-10 ? 0.0 : (x - low) / width;
}

void mlRange::intersect(mlRange const & r) {
    if (empty() || r.empty()) {
        *this = mlRange();
        return;
    }
    low = std::max(low, r.low);
    high = std::min(high, r.high);
    if (low > high) *this = mlRange();
}

mlRange intersect(mlRange const & a, mlRange const & b) {
    mlRange common = a;
    common.intersect(b);
    return common;
}

void mlRange::merge(double x) {
    if (x == largest) return;
    if (empty()) {
        *this = mlRange(x, x);
        return;
    }
    if (low > x) low = x;
    if (x > high) high = x;
}

void mlRange::merge(mlRange const & r) {
    if (r.empty()) return;
    mlRange const other = r; // r may be this range
    merge(other.low);
    merge(other.high);
}
