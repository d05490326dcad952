#pragma once

#include "maths/core/mlMatrix.h"

/// Gaussian elimination with partial pivoting of the first n = a.rows() columns of a, in place; further columns are
/// right-hand sides, which become the solutions. For use inside the library.
///
/// Answers 1 when all pivots pass. When one is below the tolerance, after the exchange of rows, answers 0: a is as far
/// as the elimination came, every column behind having taken the updates of those before the failing one and none of
/// its own. Every element takes its updates in the order of the columns, however they are blocked.
int ml_lu_decompose(mlMatrix & a, intcoDynArr & permutation, int & swap_count, double pivot_tolerance);
