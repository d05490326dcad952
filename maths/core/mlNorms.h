#pragma once

#include "maths/core/mlMatrix.h"

// Norms of vectors, slices and matrices. Each is 0.0 without elements and NaN when an element is NaN; a matrix's
// elements are those of its shape. Sums start from 0.0.

/// \f$\sum_i |v_i|\f$, in index order; of a matrix \f$\max_j \sum_i |a_{ij}|\f$, the largest of its columns' sums, each
/// from row 0 on.
/// Failure of the form for matrices: std::bad_alloc, from 1025 columns on.
[[nodiscard]] MATHS_API double one_norm(mlVector const & v);
[[nodiscard]] MATHS_API double one_norm(mlSlice const & s);
[[nodiscard]] MATHS_API double one_norm(mlMatrix const & m);

/// \f$\max_i |v_i|\f$; of a matrix \f$\max_i \sum_j |a_{ij}|\f$, the largest of its rows' sums, each in index order.
[[nodiscard]] MATHS_API double infinity_norm(mlVector const & v);
[[nodiscard]] MATHS_API double infinity_norm(mlSlice const & s);
[[nodiscard]] MATHS_API double infinity_norm(mlMatrix const & m);

/// \f$\sqrt{\sum_i v_i^2}\f$, summed in index order, a matrix's row by row. When that sum is infinite, or below 2⁻⁹⁶⁰,
/// it is formed again from elements multiplied by 2⁻⁶⁰⁰ or 2⁶⁰⁰, which the root is divided by: nothing overflows or
/// underflows but a result that no double holds.
[[nodiscard]] MATHS_API double euclidean_norm(mlVector const & v);
[[nodiscard]] MATHS_API double euclidean_norm(mlSlice const & s);
[[nodiscard]] MATHS_API double frobenius_norm(mlMatrix const & m);
