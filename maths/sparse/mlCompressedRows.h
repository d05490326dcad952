#pragma once

#include <algorithm>

#include "maths/sparse/mlSparseMatrix.h"
#include "maths/sparse/mlSparseSymMatrix.h"
#include "platform/coLongArray.h"

/// A sparse matrix in three arrays: the elements of row i are those from begin(i) to before end(i), in increasing
/// column order. For use inside the library. Movable. Failure: std::bad_alloc.
class mlCompressedRows {
public:
    mlCompressedRows() = default;

    /// What the matrix stores: of a symmetric one, the upper triangle.
    explicit mlCompressedRows(mlSparseMatrix const & a);
    explicit mlCompressedRows(mlSparseSymMatrix const & a);

    /// The same with each element of the diagonal, 0.0 where a stores none.
    static mlCompressedRows with_diagonal(mlSparseMatrix const & a);

    /// The lower triangle, by rows, in which the diagonal comes last and is there as well.
    static mlCompressedRows lower_triangle(mlSparseSymMatrix const & a);

    [[nodiscard]] std::ptrdiff_t begin(std::ptrdiff_t i) const { return starts[i]; }
    [[nodiscard]] std::ptrdiff_t end(std::ptrdiff_t i) const { return starts[i + 1]; }

    coLongArray<std::ptrdiff_t> starts; // one more than rows
    coLongArray<int> columns;
    coLongArray<double> values;
};

/// Where two sorted runs of columns meet: calls visit(i, j) for each a[i] == b[j], in increasing order. Cost: the
/// length of the shorter run times the logarithm of the longer one's.
template <class Visit>
void ml_for_each_common(int const * a, std::ptrdiff_t a_count, int const * b, std::ptrdiff_t b_count, Visit visit) {
    bool const a_is_shorter = a_count <= b_count;
    int const *at = a_is_shorter ? a : b, *const end = at + (a_is_shorter ? a_count : b_count);
    int const *other = a_is_shorter ? b : a, *const other_end = other + (a_is_shorter ? b_count : a_count);
    for (; at != end; ++at) {
        other = std::lower_bound(other, other_end, *at);
        if (other == other_end) return;
        if (*other != *at) continue;
        a_is_shorter ? visit(at - a, other - b) : visit(other - a, at - b);
    }
}
