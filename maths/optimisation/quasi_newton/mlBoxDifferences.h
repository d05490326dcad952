#pragma once

#include "maths/functions/mlFunctionN1.h"

/// Writes the gradient of f at x into g by second-order differences that stay in the box, which holds x, and returns
/// how many calls of f it took, 2 for each variable whose bounds differ. For use inside the library.
///
/// The step for x[i] is 2^-17 times the larger of 1 and |x[i]|. Central differences, the lower point first; where there
/// is no room on one side, x and two points on the other, the nearer first, half way to the bound at most. `value` is
/// f(x), and `work` a vector of n elements.
int ml_box_differences(mlFunctionN1 const & f, mlVector const & x, double value, mlVector const & lower,
                       mlVector const & upper, mlVector & work, mlVector & g);
