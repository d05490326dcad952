#pragma once

#include "maths/core/mlMatrix.h"

/// \f$y = A^T x\f$, of just a.cols() elements: \f$y_j = \sum_i a_{ij} x_i\f$, each sum from 0.0 in increasing i. The
/// transpose is not formed. y must not be x, nor be viewed by it. A slice whose stride is not 1 is first copied into
/// contiguous scratch, which is allocated beyond 1024 elements. Failure: std::bad_alloc; y stays as it was.
MATHS_API void multiply_transposed(mlMatrix const & a, mlVector const & x, mlVector & y);
MATHS_API void multiply_transposed(mlMatrix const & a, mlSlice const & x, mlVector & y);

/// \f$C = A^T B\f$, a.cols() x b.cols(): \f$c_{ij} = \sum_k a_{ki} b_{kj}\f$, each sum from 0.0 in increasing k: the
/// bits of the product with the transpose, which is not formed. c may be a or b, at the cost of a temporary matrix; a
/// may be b. O(rows cols k). Failure: std::bad_alloc; c is then 0 x 0, or as it was
/// where it is a or b.
MATHS_API void multiply_transposed(mlMatrix const & a, mlMatrix const & b, mlMatrix & c);
