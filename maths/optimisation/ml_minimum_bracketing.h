#pragma once

#include "maths/functions/mlFunction.h"

/// Walks downhill from two abscissae until three points bracket a minimum of f: fb <= fa, fb <= fc and, but for one
/// case, b between a and c.
///
/// On entry a and b are distinct, in either order; on return a, b, c and the values fa, fb, fc there are the bracket.
/// The walk goes on by golden ratio and takes the minimum of the parabola through the last three points where it lies
/// within 100 times the last stride. Each point is evaluated when it is met, f(a) and f(b) first.
/// Deliberate, the one case: after a parabola's minimum that is lower than c, the golden stride starts at the old c,
/// not at that minimum. It may fall short of it; when the walk ends there, c lies between a and b.
/// Bad input: the walk has no limit, and ignores the domain of f. Where f falls without bound it ends only when
/// the arithmetic overflows and a value is no longer below the one before; with a function that returns lower values at
/// every call it never ends. A NaN value ends the walk, for it is not above anything: the points returned then bracket
/// nothing.
/// Threads: safe as far as f is. Source: Press et al., Numerical Recipes; Brent, Algorithms for Minimization without
/// Derivatives (1973).
MATHS_API void ml_minimum_bracketing(mlFunction & f, double & a, double & b, double & c, double & fa, double & fb,
                                     double & fc);
