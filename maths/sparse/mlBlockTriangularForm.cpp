#include "maths/sparse/mlBlockTriangularForm.h"

#include <algorithm>

mlBlockTriangularForm::mlBlockTriangularForm(int n, mlSparsePattern const & pattern)
    : n_(n), row_of_(n, -1), block_of_(n, -1), column_of_(n, -1), free_(n), next_(n), stack_(n), visited_(n, -1),
      number_(n, -1), least_(n), open_(n) {
    match_diagonal(pattern);
    for (int found = 1, phase = 0; found > 0; ++phase) {
        found = 0;
        for (int row = 0; row < n; ++row) {
            if (column_of_[row] < 0 && augment(row, phase, pattern)) ++found;
        }
    }
    join_what_is_left();
    find_components(pattern);
}

void mlBlockTriangularForm::match_diagonal(mlSparsePattern const & pattern) {
    for (int row = 0; row < n_; ++row) {
        free_[row] = pattern.starts[row];
        for (std::ptrdiff_t at = pattern.starts[row]; at < pattern.starts[row + 1]; ++at) {
            if (pattern.columns[at] == row) row_of_[row] = column_of_[row] = row;
        }
    }
}

// The stack holds rows; each but the last would give its column to the one before it. A row looks for a free column
// first: columns that were taken once stay taken, so that it never looks at an element twice for that. No column is
// visited twice in a phase, so that a phase takes no more time than there are elements. When one finds no way, there is
// none.
bool mlBlockTriangularForm::augment(int row, int phase, mlSparsePattern const & pattern) {
    auto const & starts = pattern.starts;
    int depth = 0;
    stack_[0] = row;
    next_[row] = starts[row];
    while (depth >= 0) {
        int const at = stack_[depth];
        std::ptrdiff_t & free = free_[at];
        while (free < starts[at + 1] && row_of_[pattern.columns[free]] >= 0)
            ++free;
        if (free < starts[at + 1]) {
            int column = pattern.columns[free];
            for (; depth >= 0; --depth) {
                row_of_[column] = stack_[depth];
                column = std::exchange(column_of_[stack_[depth]], column);
            }
            return true;
        }
        std::ptrdiff_t & next = next_[at];
        while (next < starts[at + 1] && visited_[pattern.columns[next]] == phase)
            ++next;
        if (next == starts[at + 1]) {
            --depth;
            continue;
        }
        int const column = pattern.columns[next++];
        visited_[column] = phase;
        stack_[++depth] = row_of_[column];
        next_[row_of_[column]] = starts[row_of_[column]];
    }
    return false;
}

void mlBlockTriangularForm::join_what_is_left() {
    int row = 0;
    for (int column = 0; column < n_; ++column) {
        if (row_of_[column] >= 0) continue;
        if (unmatched_ < 0) unmatched_ = column;
        while (column_of_[row] >= 0)
            ++row;
        row_of_[column] = row;
        column_of_[row] = column;
    }
}

// A node is a column with the row that stands for it. A component is closed after those that it leads to: these come
// below it in the block triangular form.
void mlBlockTriangularForm::find_components(mlSparsePattern const & pattern) {
    int numbers = 0;
    for (int root = n_ - 1; root >= 0; --root) { // down, so that a diagonal matrix keeps its order
        if (number_[root] >= 0) continue;
        int depth = -1;
        auto const enter = [&](int v) {
            number_[v] = least_[v] = numbers++;
            next_[v] = pattern.starts[row_of_[v]];
            open_[num_open_++] = v;
            stack_[++depth] = v;
        };
        enter(root);
        while (depth >= 0) {
            int const v = stack_[depth];
            if (next_[v] < pattern.starts[row_of_[v] + 1]) {
                int const w = pattern.columns[next_[v]++];
                if (number_[w] < 0)
                    enter(w);
                else if (block_of_[w] < 0)
                    least_[v] = std::min(least_[v], number_[w]);
                continue;
            }
            if (least_[v] == number_[v]) close_component(v);
            if (--depth >= 0) least_[stack_[depth]] = std::min(least_[stack_[depth]], least_[v]);
        }
    }
    for (int & block : block_of_)
        block = blocks_ - 1 - block;
}

void mlBlockTriangularForm::close_component(int v) {
    int w;
    do {
        w = open_[--num_open_];
        block_of_[w] = blocks_;
    } while (w != v);
    ++blocks_;
}
