#pragma once

#include "maths/functions/mlFunctionN1.h"

class mlObserver;

/// Minimises a function of n variables without derivatives by Powell's direction-set method: line searches along n
/// directions, of which the one of the largest decrease is replaced by the overall direction of a sweep. Returns the
/// lowest value found at the end of a sweep, and x becomes its point.
///
/// x: n elements, the start. `directions`: n x n, a direction a column, for example the identity; on return the
/// directions last used. `tolerance`: relative change of the value over a sweep that ends the search.
/// `iterations`: raised by one for each sweep but the last; the caller sets where it starts, normally 0. Deliberate:
/// the search stops when it equals 39, so with a start above 39 there is no such limit. It also stops where a value is
/// more than 10 times the lowest one. Each line search brackets from 0 and 1 and refines by 100 steps of Brent's method
/// at most, to 0.2.
/// Bad input: sizes are not checked; a function that falls without bound is met by `ml_minimum_bracketing`. With NaN
/// values the limit ends the search. Where every sweep ends at infinity, x stays as it was and the result is the
/// largest double.
/// Failure: std::bad_alloc, before the first evaluation. Threads: safe as far as f is.
/// Source: Powell, An efficient method for finding the minimum of a function of several variables without calculating
/// derivatives (1964); Press et al., Numerical Recipes, whose test for a new direction squares two differences.
/// Deliberate: this one takes their square roots; where one is negative the directions stay.
MATHS_API double ml_powell_minimum_search(mlVector & x, mlMatrix & directions, double tolerance, int & iterations,
                                          mlFunctionN1 & f);

/// The same, telling the observer, if it is not null, of each sweep: its value and length, without a count of calls.
/// Where the observer ends the search, x is the best point so far.
MATHS_API double ml_powell_minimum_search(mlVector & x, mlMatrix & directions, double tolerance, int & iterations,
                                          mlFunctionN1 & f, mlObserver * observer);
