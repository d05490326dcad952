#include "maths/sparse/mlCompressedRows.h"

namespace {

mlSparseRowIT row_of(mlSparseMatrix const & a, int i) { return a.row_iterator(i); }
mlSparseRowIT row_of(mlSparseSymMatrix const & a, int i) { return a.upper_triangle_iterator(i); }

/// Calls visit(i, column, value) for each stored element, row by row.
template <class Matrix, class Visit> void visit_elements(Matrix const & a, Visit visit) {
    for (int i = 0; i < a.rows(); ++i) {
        mlSparseRowIT row = row_of(a, i);
        for (mlSparseElement const * e = row.first(); e != nullptr; e = row.next())
            visit(i, e->index, e->value);
    }
}

/// The same with a zero where the diagonal has no element: in its place, or where the row ends before it.
template <class Visit> void visit_with_diagonal(mlSparseMatrix const & a, Visit visit) {
    for (int i = 0; i < a.rows(); ++i) {
        bool before = true;
        mlSparseRowIT row = row_of(a, i);
        for (mlSparseElement const * e = row.first(); e != nullptr; e = row.next()) {
            if (before && e->index > i) visit(i, i, 0.0);
            before = before && e->index < i;
            visit(i, e->index, e->value);
        }
        if (before) visit(i, i, 0.0);
    }
}

/// Counts the elements that `visit_all` finds, makes room for them, and then stores them one after the other.
template <class VisitAll> void store(mlCompressedRows & to, std::ptrdiff_t rows, VisitAll visit_all) {
    to.starts = coLongArray<std::ptrdiff_t>(rows + 1, 0);
    visit_all([&](int i, int, double) { ++to.starts[i + 1]; });
    for (std::ptrdiff_t i = 0; i < rows; ++i)
        to.starts[i + 1] += to.starts[i];
    to.columns = coLongArray<int>(to.starts[rows]);
    to.values = coLongArray<double>(to.starts[rows]);
    coLongArray<std::ptrdiff_t> next(rows);
    std::copy_n(to.starts.begin(), rows, next.begin());
    visit_all([&](int i, int column, double value) {
        to.columns[next[i]] = column;
        to.values[next[i]++] = value;
    });
}

} // namespace

mlCompressedRows::mlCompressedRows(mlSparseMatrix const & a) {
    store(*this, a.rows(), [&](auto visit) { visit_elements(a, visit); });
}

mlCompressedRows::mlCompressedRows(mlSparseSymMatrix const & a) {
    store(*this, a.rows(), [&](auto visit) { visit_elements(a, visit); });
}

mlCompressedRows mlCompressedRows::with_diagonal(mlSparseMatrix const & a) {
    mlCompressedRows rows;
    store(rows, a.rows(), [&](auto visit) { visit_with_diagonal(a, visit); });
    return rows;
}

// Row k gives its elements (k, j) to the rows j > k, so that when its turn comes a row has all of those before its
// diagonal, in order.
mlCompressedRows mlCompressedRows::lower_triangle(mlSparseSymMatrix const & a) {
    mlCompressedRows rows;
    store(rows, a.rows(), [&](auto visit) {
        for (int k = 0; k < a.rows(); ++k) {
            mlSparseRowIT row = row_of(a, k);
            mlSparseElement const * e = row.first();
            bool const stored = e != nullptr && e->index == k;
            visit(k, k, stored ? e->value : 0.0);
            for (e = stored ? row.next() : e; e != nullptr; e = row.next())
                visit(e->index, k, e->value);
        }
    });
    return rows;
}
