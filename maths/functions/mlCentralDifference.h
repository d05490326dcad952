#pragma once

#include <algorithm>

#include "maths/maths_api.h"

/// The two points about x of a central difference, 2^-17 of the larger of |x| and `scale` away: near the cube root of
/// the unit roundoff, where truncation and rounding are about as large. `width` is what rounding has left between
/// them. For use inside the library.
struct mlCentralDifference {
    mlCentralDifference(double x, double scale) {
        double const step = std::max(x < 0.0 ? -x : x, scale) * 0x1p-17;
        lower = x - step;
        upper = x + step;
        width = upper - lower;
    }

    double lower, upper, width;
};
