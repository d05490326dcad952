#pragma once

#include "platform/coLongArray.h"

/// Which columns each row of a matrix of order n has elements in, the diagonal left out: those of row i are
/// columns[starts[i]] .. columns[starts[i + 1] - 1]. For use inside the library.
struct mlSparsePattern {
    coLongArray<std::ptrdiff_t> starts; ///< n + 1 of them
    coLongArray<int> columns;
};

/// Turns counts at starts[i + 1] into starts, by sums. For use inside the library.
inline void ml_sum_up(coLongArray<std::ptrdiff_t> & starts) {
    for (std::ptrdiff_t i = 1; i < starts.size(); ++i)
        starts[i] += starts[i - 1];
}

/// order[k] becomes the row to be eliminated as the k-th, so that the triangular factors of a matrix with this
/// symmetric pattern (both triangles given) get few elements. For use inside the library.
///
/// The row whose elimination couples the fewest others is taken next, by an upper bound of their number that is cheap
/// to keep. Of several, it is the one whose bound changed last, and of those that are as they were at the start, the
/// one of the largest index: other rules that were tried filled up to 1.6 times as much on grids. Rows with more than
/// 16 elements and more than 10 sqrt(n) come last. Only integers are used, and nothing depends on addresses, so the
/// order is the same everywhere.
/// Memory: 6/5 of the pattern and some 60 bytes a row. Failure: std::bad_alloc.
/// Source: Amestoy, Davis & Duff, An approximate minimum degree ordering algorithm (1996).
void ml_minimum_degree(int n, mlSparsePattern const & pattern, int * order);
