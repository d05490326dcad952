#pragma once

#include "maths/maths_api.h"

/// Singular values of a rows x cols matrix A by one-sided Jacobi rotations, in place on a raw array.
///
/// a holds (rows + cols) * cols doubles, row by row: A in its first `rows` rows on entry, there A V on return, whose
/// columns are the left singular vectors times the singular values, and V in the `cols` rows below.
/// s2 has `cols` elements and receives the squares of the singular values, in no particular order. Deliberate: it is
/// not written when there is one column. Columns found negligible at the end of a sweep are left out from then on.
/// There are at most max(7, cols / 4 + 1) sweeps; reaching the limit is not reported. With NaN and infinite elements
/// the sweeps end there at the latest.
/// Bad input: nothing is checked. Failure: std::bad_alloc, with nothing changed; a copy of the array is allocated.
/// Threads: concurrent calls are safe, on arrays of their own.
/// Source: Nash, A one-sided transformation method for the singular value decomposition (1975).
MATHS_API void ml_svd(double * a, double * s2, int rows, int cols);
