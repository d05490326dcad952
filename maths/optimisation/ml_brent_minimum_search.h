#pragma once

#include "maths/functions/mlFunction.h"

/// Finds a minimum of f inside a bracket by Brent's method: parabolas through the best three points, golden section
/// where they do not help. Returns the value and writes its abscissa to *xmin.
///
/// b lies between a and c, in either order, with f(b) below f(a) and f(c). `tolerance` is relative to the abscissa;
/// below the square root of the machine's precision, about 1.5e-8, it gains nothing.
/// Cost: one evaluation, at b, and one more an iteration; with b between a and c, f is called inside the bracket only.
/// Failure: none is reported; after `max_iterations` the best point so far is returned in the same way. A NaN value is
/// never taken for lower. Bad input: nothing is checked. Threads: safe as far as f is.
/// Source: Brent, Algorithms for Minimization without Derivatives (1973).
MATHS_API double ml_brent_minimum_search(mlFunction & f, double a, double b, double c, double tolerance,
                                         int max_iterations, double * xmin);
