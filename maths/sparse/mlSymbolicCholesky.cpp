#include "maths/sparse/mlSymbolicCholesky.h"

#include <algorithm>

#include "maths/kernels/mlTuning.h"

namespace {

/// Where the next element of each list goes: a copy of where the lists start.
coLongArray<std::ptrdiff_t> copy_of(coLongArray<std::ptrdiff_t> const & starts) {
    coLongArray<std::ptrdiff_t> copy(starts.size());
    std::copy(starts.begin(), starts.end(), copy.begin());
    return copy;
}

/// Both triangles without the diagonal.
mlSparsePattern graph_of(mlSparseSymMatrix const & a) {
    mlSparsePattern graph{coLongArray<std::ptrdiff_t>(a.rows() + std::ptrdiff_t{1}, 0), {}};
    ml_for_each_element(a, [&](int i, mlSparseElement const & e) {
        if (e.index == i) return;
        ++graph.starts[i + 1];
        ++graph.starts[e.index + 1];
    });
    ml_sum_up(graph.starts);
    graph.columns = coLongArray<int>(graph.starts[a.rows()]);
    auto next = copy_of(graph.starts);
    ml_for_each_element(a, [&](int i, mlSparseElement const & e) {
        if (e.index == i) return;
        graph.columns[next[i]++] = e.index;
        graph.columns[next[e.index]++] = i;
    });
    return graph;
}

} // namespace

mlSymbolicCholesky::mlSymbolicCholesky(mlSparseSymMatrix const & a) : places_(a.rows()), parents_(a.rows()) {
    order_.expand(a.rows());
    {
        mlSparsePattern const graph = graph_of(a);
        coLongArray<int> counts(size(), 0);
        ml_minimum_degree(size(), graph, order_.data());
        find_parents(graph);
        postorder();
        count_elements(graph, counts.data());
        find_panels(counts.data());
        find_rows_below(graph);
    }
    place_elements(a);
}

// Each row in turn goes up from its elements to the roots of the trees so far, which become its children. `ancestors`
// leads there by shorter ways.
void mlSymbolicCholesky::find_parents(mlSparsePattern const & graph) {
    int const n = size();
    for (int k = 0; k < n; ++k)
        places_[order_.data()[k]] = k;
    coLongArray<int> ancestors(n, -1);
    for (int k = 0; k < n; ++k) {
        int const row = order_.data()[k];
        parents_[k] = -1;
        for (std::ptrdiff_t at = graph.starts[row]; at < graph.starts[row + 1]; ++at) {
            for (int i = places_[graph.columns[at]]; i >= 0 && i < k;) {
                int const next = std::exchange(ancestors[i], k);
                if (next < 0) parents_[i] = k;
                i = next;
            }
        }
    }
}

// Numbers the columns anew, children before their parents, in the order of the old numbers where that leaves a choice.
void mlSymbolicCholesky::postorder() {
    int const n = size();
    coLongArray<int> child(n + std::ptrdiff_t{1}, -1), sibling(n), place(n), order(n);
    for (int i = n - 1; i >= 0; --i) { // the roots are children of n
        int const parent = parents_[i] < 0 ? n : parents_[i];
        sibling[i] = std::exchange(child[parent], i);
    }
    int at = n;
    for (int k = 0; k < n;) {
        if (child[at] >= 0) { // down to the first child that has no number
            int const down = child[at];
            child[at] = sibling[down];
            at = down;
            continue;
        }
        order[k] = order_.data()[at];
        place[at] = k++;
        at = parents_[at] < 0 ? n : parents_[at];
    }
    coLongArray<int> parents(n);
    for (int i = 0; i < n; ++i)
        parents[place[i]] = parents_[i] < 0 ? -1 : place[parents_[i]];
    parents_ = std::move(parents);
    std::copy(order.begin(), order.end(), order_.begin());
    for (int k = 0; k < n; ++k)
        places_[order[k]] = k;
}

// The elements below the diagonal of each column, row by row: the way up from each element of the row in A, as far as
// it is new.
void mlSymbolicCholesky::count_elements(mlSparsePattern const & graph, int * counts) const {
    coLongArray<int> seen(size(), -1);
    for (int k = 0; k < size(); ++k) {
        seen[k] = k;
        int const row = order_[k];
        for (std::ptrdiff_t at = graph.starts[row]; at < graph.starts[row + 1]; ++at) {
            int i = places_[graph.columns[at]];
            for (; i < k && seen[i] != k; i = parents_[i]) {
                seen[i] = k;
                ++counts[i];
            }
        }
    }
}

// Column j goes with column j - 1 when it is its parent and has just one element less: then it has all of the others.
void mlSymbolicCholesky::find_panels(int const * counts) {
    int const n = size();
    panel_of_ = coLongArray<int>(n);
    first_columns_ = coLongArray<int>(n + std::ptrdiff_t{1});
    starts_ = coLongArray<std::ptrdiff_t>(n + std::ptrdiff_t{1});
    below_.starts = coLongArray<std::ptrdiff_t>(n + std::ptrdiff_t{1});
    starts_[0] = below_.starts[0] = 0;
    for (int first = 0; first < n; ++panels_) {
        int end = first + 1;
        while (end < n && end - first < ml_tuning::sparse_panel_max_cols && parents_[end - 1] == end &&
               counts[end] == counts[end - 1] - 1)
            ++end;
        std::ptrdiff_t const below = counts[end - 1], cols = end - first;
        for (int j = first; j < end; ++j) {
            panel_of_[j] = panels_;
            num_elements_ += counts[j];
        }
        first_columns_[panels_] = first;
        below_.starts[panels_ + 1] = below_.starts[panels_] + below;
        starts_[panels_ + 1] = starts_[panels_] + (cols + below) * cols;
        first = end;
    }
    first_columns_[panels_] = n;
}

// Row by row, as the elements were counted, from panel to panel.
void mlSymbolicCholesky::find_rows_below(mlSparsePattern const & graph) {
    below_.columns = coLongArray<int>(below_.starts[panels_]);
    auto next = copy_of(below_.starts);
    coLongArray<int> seen(panels_, -1);
    for (int k = 0; k < size(); ++k) {
        seen[panel_of_[k]] = k;
        int const row = order_[k];
        for (std::ptrdiff_t at = graph.starts[row]; at < graph.starts[row + 1]; ++at) {
            int const i = places_[graph.columns[at]];
            if (i > k) continue;
            for (int panel = panel_of_[i]; seen[panel] != k;
                 panel = panel_of_[parents_[first_columns_[panel + 1] - 1]]) {
                seen[panel] = k;
                below_.columns[next[panel]++] = k;
            }
        }
    }
}

/// Where the panels keep element (i, j) of A, in either triangle; -1 when they have no room for it.
std::ptrdiff_t mlSymbolicCholesky::slot_of(int i, int j) const {
    auto const [column, row] = std::minmax({places_[i], places_[j]});
    int const panel = panel_of_[column], first = first_columns_[panel];
    std::ptrdiff_t line = row - first;
    if (row >= first_columns_[panel + 1]) {
        int const *const rows = rows_below(panel), *const end = rows + num_below(panel);
        int const * const found = std::lower_bound(rows, end, row);
        if (found == end || *found != row) return -1;
        line = cols(panel) + (found - rows);
    }
    return starts_[panel] + line * cols(panel) + column - first;
}

void mlSymbolicCholesky::place_elements(mlSparseSymMatrix const & a) {
    std::ptrdiff_t count = 0;
    ml_for_each_element(a, [&](int, mlSparseElement const &) { ++count; });
    slots_ = coLongArray<std::ptrdiff_t>(count);
    std::ptrdiff_t * slot = slots_.data();
    ml_for_each_element(a, [&](int i, mlSparseElement const & e) { *slot++ = slot_of(i, e.index); });
}

int mlSymbolicCholesky::fits(mlSparseSymMatrix const & a) const {
    if (a.rows() != size()) return 0;
    std::ptrdiff_t number = 0;
    bool same = true;
    ml_for_each_element(a, [&](int i, mlSparseElement const & e) {
        same = same && number < slots_.size() && slots_[number] == slot_of(i, e.index);
        ++number;
    });
    return same && number == slots_.size();
}
