#pragma once

#include "maths/core/mlMatrix.h"

/// Gaussian elimination with partial pivoting of the first n = a.rows() columns of a, in place; further columns are
/// right-hand sides, which become the solutions. For use inside the library.
///
/// On return a(i, k), k < i, is the multiplier of row i by pivot row k, and the rest of the first n columns is U.
/// permutation, of n elements at least, says which row of the argument became row k; swap_count is the number of row
/// exchanges. Both are written here.
///
/// The pivot of column k is the first element of the largest magnitude in rows k .. n - 1; a NaN in row k is taken, one
/// below it never. Every element takes its updates a(i, j) -= a(k, j) a(i, k) in increasing k, and a right-hand side is
/// then solved from its last row up, each row subtracting its terms U(i, j) x_j in increasing j > i.
///
/// Returns 1 when all pivots pass. When one is below the tolerance in magnitude, after the row exchange, returns 0: all
/// columns after it have received the updates of the columns before it and none of its own, and right-hand sides are
/// not solved. Returns 0 also when a has more rows than columns; then only permutation and swap_count are written.
/// Failure: std::bad_alloc, with a as far as the elimination came.
[[nodiscard]] int ml_lu_decompose(mlMatrix & a, intcoDynArr & permutation, int & swap_count, double pivot_tolerance);
