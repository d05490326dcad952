#include "maths/sparse/mlSymbolicLU.h"

#include "maths/sparse/mlBlockTriangularForm.h"

namespace {

/// The elements of each row, that of the diagonal included.
mlSparsePattern pattern_of(mlSparseMatrix const & a) {
    mlSparsePattern pattern{coLongArray<std::ptrdiff_t>(a.rows() + std::ptrdiff_t{1}, 0), {}};
    ml_for_each_element(a, [&](int i, mlSparseElement const &) { ++pattern.starts[i + 1]; });
    ml_sum_up(pattern.starts);
    pattern.columns = coLongArray<int>(pattern.starts[a.rows()]);
    int * column = pattern.columns.data();
    ml_for_each_element(a, [&](int, mlSparseElement const & e) { *column++ = e.index; });
    return pattern;
}

/// Leaves each neighbour once.
void drop_repeated(int n, mlSparsePattern & graph) {
    coLongArray<int> seen(n, -1);
    std::ptrdiff_t kept = 0, at = 0;
    for (int i = 0; i < n; ++i) {
        std::ptrdiff_t const end = graph.starts[i + 1];
        graph.starts[i] = kept;
        for (; at < end; ++at) {
            int const j = graph.columns[at];
            if (std::exchange(seen[j], i) != i) graph.columns[kept++] = j;
        }
    }
    graph.starts[n] = kept;
}

/// Which columns are coupled in B + B^T, for each block B with its rows in the places of the columns that they stand
/// for.
mlSparsePattern coupled_columns(mlSparsePattern const & pattern, mlBlockTriangularForm const & form) {
    int const n = static_cast<int>(pattern.starts.size()) - 1;
    auto const for_each_pair = [&](auto visit) {
        for (int i = 0; i < n; ++i) {
            int const row = form.row_of(i);
            for (std::ptrdiff_t at = pattern.starts[row]; at < pattern.starts[row + 1]; ++at) {
                int const j = pattern.columns[at];
                if (j != i && form.block_of(j) == form.block_of(i)) visit(i, j);
            }
        }
    };
    mlSparsePattern graph{coLongArray<std::ptrdiff_t>(n + std::ptrdiff_t{2}, 0), {}};
    for_each_pair([&](int i, int j) {
        ++graph.starts[i + 2];
        ++graph.starts[j + 2];
    });
    ml_sum_up(graph.starts); // starts[i + 1] is where the next neighbour of i goes, and becomes where the last one ends
    graph.columns = coLongArray<int>(graph.starts[n + 1]);
    for_each_pair([&](int i, int j) {
        graph.columns[graph.starts[i + 1]++] = j;
        graph.columns[graph.starts[j + 1]++] = i;
    });
    drop_repeated(n, graph);
    return graph;
}

} // namespace

mlSymbolicLU::mlSymbolicLU(mlSparseMatrix const & a) {
    MATHS_CHECK(a.is_square(), "sparse LU: a %d x %d matrix", a.rows(), a.cols());
    rows_.expand(a.rows());
    columns_.expand(a.rows());
    mlSparsePattern const pattern = pattern_of(a);
    mlBlockTriangularForm const form(a.rows(), pattern);
    unmatched_ = form.unmatched_column();
    order_columns(pattern, form);
    place_elements(pattern, form);
}

void mlSymbolicLU::order_columns(mlSparsePattern const & pattern, mlBlockTriangularForm const & form) {
    int const n = size();
    firsts_ = coLongArray<int>(form.blocks() + std::ptrdiff_t{1}, 0);
    coLongArray<int> next(form.blocks() + std::ptrdiff_t{1}, 0), order(n);
    for (int j = 0; j < n; ++j)
        ++firsts_[form.block_of(j) + 1];
    for (int b = 0; b < form.blocks(); ++b)
        next[b + 1] = firsts_[b + 1] += firsts_[b];
    ml_minimum_degree(n, coupled_columns(pattern, form), order.data());
    for (int const j : order) {
        int const place = next[form.block_of(j)]++;
        columns_.data()[place] = j;
        rows_.data()[place] = form.row_of(j);
    }
}

void mlSymbolicLU::place_elements(mlSparsePattern const & pattern, mlBlockTriangularForm const & form) {
    int const n = size();
    coLongArray<int> column_place(n), row_place(n);
    for (int k = 0; k < n; ++k)
        column_place[columns_.data()[k]] = row_place[rows_.data()[k]] = k;
    inside_.starts = coLongArray<std::ptrdiff_t>(n + std::ptrdiff_t{2}, 0);
    outside_.starts = coLongArray<std::ptrdiff_t>(n + std::ptrdiff_t{2}, 0);
    auto const columns_of = [&](int row, int column) -> mlSparseColumns & {
        int const diagonal = columns_.data()[row_place[row]];
        return form.block_of(diagonal) == form.block_of(column) ? inside_ : outside_;
    };
    for (int i = 0; i < n; ++i) {
        for (std::ptrdiff_t at = pattern.starts[i]; at < pattern.starts[i + 1]; ++at)
            ++columns_of(i, pattern.columns[at]).starts[column_place[pattern.columns[at]] + 2];
    }
    for (mlSparseColumns * const columns : {&inside_, &outside_}) {
        ml_sum_up(columns->starts);
        columns->rows = coLongArray<int>(columns->starts[n + 1]);
    }
    slots_ = coLongArray<std::ptrdiff_t>(pattern.columns.size());
    for (int i = 0; i < n; ++i) {
        for (std::ptrdiff_t at = pattern.starts[i]; at < pattern.starts[i + 1]; ++at) {
            mlSparseColumns & columns = columns_of(i, pattern.columns[at]);
            std::ptrdiff_t const p = columns.starts[column_place[pattern.columns[at]] + 1]++;
            columns.rows[p] = row_place[i];
            slots_[at] = p + (&columns == &inside_ ? outside_.rows.size() : 0);
        }
    }
}

int mlSymbolicLU::fits(mlSparseMatrix const & a) const {
    if (a.rows() != size() || a.cols() != size()) return 0;
    coLongArray<int> column_place(size());
    for (int k = 0; k < size(); ++k)
        column_place[columns_[k]] = k;
    std::ptrdiff_t number = 0;
    bool same = true;
    ml_for_each_element(a, [&](int i, mlSparseElement const & e) {
        same = same && number < slots_.size();
        if (!same) return;
        bool const out = slots_[number] < outside_.rows.size();
        mlSparseColumns const & columns = out ? outside_ : inside_;
        std::ptrdiff_t const p = slots_[number++] - (out ? 0 : outside_.rows.size());
        int const k = column_place[e.index];
        same = columns.starts[k] <= p && p < columns.starts[k + 1] && rows_[columns.rows[p]] == i;
    });
    return same && number == slots_.size();
}
