#pragma once

#include "maths/core/mlMatrix.h"

/// Gaussian elimination with partial pivoting of the first n = a.rows() columns of a, in place; further columns are
/// right-hand sides, which become the solutions. For use inside the library.
///
/// When all pivots pass, a(i, k), k < i, is the multiple of pivot row k that was subtracted from row i, and the rest of
/// the first n columns is U. permutation, which grows to n elements where it has fewer, receives in element k the row
/// of the argument that became row k, and swap_count the number of row exchanges (of rows k and p, p != k).
///
/// The pivot of column k is the first element of the largest magnitude in rows k .. n - 1; a NaN in row k is taken, one
/// below it never. Every element takes its updates a(i, j) -= a(k, j) a(i, k) in increasing k, and a right-hand side,
/// which takes these updates too, is then solved from its last row up: row i subtracts its terms U(i, j) x_j in
/// increasing j > i, and is divided by U(i, i).
///
/// Returns 1 when all pivots pass. Returns 0 when, after the row exchange of column k, its pivot is below the tolerance
/// in magnitude. (A NaN is not. With a tolerance of 0 or NaN none is, and a zero pivot is divided by.) Then the columns
/// before k are as above; in column k and all after it the rows before k are U's, and rows from k on are what is left
/// to eliminate, with the updates of the columns before k and no others; right-hand sides are not solved. Returns 0
/// also when a has more rows than columns; then only permutation and swap_count are written. Failure: std::bad_alloc,
/// after which a, permutation and swap_count don't belong together and are of no use.
[[nodiscard]] int ml_lu_decompose(mlMatrix & a, intcoDynArr & permutation, int & swap_count, double pivot_tolerance);
