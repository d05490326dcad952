#pragma once

#include "maths/functions/mlFunction.h"

/// The sum of f(i dx + x0) over i = 0 .. n - 1, in this order; 0.0 for n < 1.
[[nodiscard]] MATHS_API double ml_sum(mlFunction const & f, double x0, double dx, int n);
