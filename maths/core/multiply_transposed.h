#pragma once

#include "maths/core/mlMatrix.h"

/// y = A^T x, of just a.cols() elements: y_j is the sum from 0.0 in increasing i of a(i, j) x_i, i < a.rows(). The
/// transpose is not formed. y must not be x, nor be viewed by it. A slice whose stride is not 1 is first copied into
/// contiguous scratch, which is allocated beyond 1024 elements. Failure: std::bad_alloc; y stays as it was.
MATHS_API void multiply_transposed(mlMatrix const & a, mlVector const & x, mlVector & y);
MATHS_API void multiply_transposed(mlMatrix const & a, mlSlice const & x, mlVector & y);

/// c = A^T B, a.cols() x b.cols(): each element is a sum from 0.0 in increasing k of a(k, i) b(k, j), k < a.rows(): the
/// bits of the product with the transpose, which is not formed. c may be a or b, at the cost of a temporary matrix; a
/// may be b. O(rows cols k). Failure: std::bad_alloc; c is then 0 x 0, or as it was
/// where it is a or b.
MATHS_API void multiply_transposed(mlMatrix const & a, mlMatrix const & b, mlMatrix & c);
