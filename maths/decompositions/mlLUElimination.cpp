#include "maths/decompositions/mlLUElimination.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlScratch.h"

namespace {

/// Up to this many rows the plain method is the faster one.
int const few_rows = 20;

/// A panel's columns are copied together, one after the other: pivots are then sought along contiguous memory.
int const panel_cols = 16;

/// Up to this many rows the whole matrix is one panel.
int const one_panel = 32;

/// The elimination of a matrix of n rows and at least n columns, by a recursive split of its columns.
class Elimination {
public:
    Elimination(mlMatrix & a, intcoDynArr & permutation, int & swap_count, double pivot_tolerance)
        : a_(a), permutation_(permutation), swap_count_(swap_count), tolerance_(pivot_tolerance), n_(a.rows()),
          cols_(a.cols()) {}

    /// Column by column and row by row.
    bool eliminate_plainly();

    bool eliminate_in_blocks();

private:
    /// The columns [first, end) of the block: how many were eliminated, and whether the next one's pivot failed.
    struct Progress {
        int end;
        bool failed;
    };

    mlBlock block(int row, int col) const { return {a_.data() + row * cols_ + col, cols_}; }

    void note_exchange(int k, int p);
    int plain_pivot_row(int k) const;
    void eliminate_below(int k);
    Progress eliminate_columns(int first, int end);
    Progress eliminate_panel(int first, int end);
    void exchange_rows(int first_pivot, int end_pivot, int first_col, int end_col);
    void update(int first, int end, int first_col, int end_col);
    void solve_unit_lower(int first, int end, int first_col, int width);
    void subtract_product(int first_row, int end_row, int first, int end, int first_col, int width);

    mlMatrix & a_;
    intcoDynArr & permutation_;
    int & swap_count_;
    double const tolerance_;
    int const n_;
    int const cols_;
    intcoDynArr pivot_rows_; // of the columns reached so far
};

void Elimination::note_exchange(int k, int p) {
    if (p == k) return;
    std::swap(permutation_[k], permutation_[p]);
    ++swap_count_;
}

int Elimination::plain_pivot_row(int k) const {
    double const * const column = a_.data() + k;
    int best = k;
    double largest = std::fabs(column[k * cols_]);
    for (int i = k + 1; i < n_; ++i) { // without a branch, which nobody could foretell
        double const magnitude = std::fabs(column[i * cols_]);
        best = magnitude > largest ? i : best;
        largest = magnitude > largest ? magnitude : largest;
    }
    return best;
}

// row i -= a(i, k) / a(k, k) * row k, which clears a(i, k), where the multiplier is kept.
void Elimination::eliminate_below(int k) {
    double const * __restrict const pivot_row = a_.data() + k * cols_;
    for (int i = k + 1; i < n_; ++i) {
        double * __restrict const row = a_.data() + i * cols_;
        double const multiplier = row[k] / pivot_row[k];
        row[k] = multiplier;
        for (int j = k + 1; j < cols_; ++j)
            row[j] -= pivot_row[j] * multiplier;
    }
}

bool Elimination::eliminate_plainly() {
    for (int k = 0; k < n_; ++k) {
        int const p = plain_pivot_row(k);
        if (p != k) {
            note_exchange(k, p);
            double * __restrict const row = a_.data() + k * cols_;
            double * __restrict const other = a_.data() + p * cols_;
            for (int j = 0; j < cols_; ++j)
                std::swap(row[j], other[j]);
        }
        if (tolerance_ > std::fabs(a_.data()[k * cols_ + k])) return false;
        eliminate_below(k);
    }
    return true;
}

bool Elimination::eliminate_in_blocks() {
    pivot_rows_.expand(n_);
    Progress const progress = eliminate_columns(0, n_);
    int const exchanged = progress.end + progress.failed;
    exchange_rows(0, exchanged, n_, cols_);
    update(0, progress.end, n_, cols_);
    return !progress.failed;
}

// The left half, its effect on the right one, the right half. A pivot that fails on the left still lets the right half
// take the updates of the columns before it.
Elimination::Progress Elimination::eliminate_columns(int first, int end) {
    if (end - first <= panel_cols || n_ <= one_panel) return eliminate_panel(first, end);
    int const middle = first + (end - first) / 2 / panel_cols * panel_cols;
    int const split = middle > first ? middle : first + panel_cols;
    Progress const left = eliminate_columns(first, split);
    exchange_rows(first, left.end + left.failed, split, end);
    update(first, left.end, split, end);
    if (left.failed) return left;
    Progress const right = eliminate_columns(split, end);
    exchange_rows(split, right.end + right.failed, first, split);
    return right;
}

Elimination::Progress Elimination::eliminate_panel(int first, int end) {
    mlKernels const & kernels = ml_kernels();
    int const rows = n_ - first, width = end - first;
    std::ptrdiff_t const ld = (rows + 7) / 8 * 8 | 8; // whole vectors, and columns apart in the sets of the cache
    mlScratch<4096> columns(ld * width);
    mlBlock const panel{columns.data(), ld}, rows_of_a = block(first, first);
    kernels.copy_transposed(rows, width, {rows_of_a.first, cols_}, panel);
    for (int j = 0; j < width; ++j)
        std::fill(panel.first + j * ld + rows, panel.first + (j + 1) * ld, 0.0);

    int * const pivot_rows = pivot_rows_.data() + first;
    int const done = kernels.factor_panel(rows, width, panel.first, ld, tolerance_, pivot_rows);
    Progress const progress{first + done, done < width};
    for (int k = 0; k < done + progress.failed; ++k) {
        pivot_rows[k] += first;
        note_exchange(first + k, pivot_rows[k]);
    }
    kernels.copy_transposed(width, rows, {panel.first, ld}, rows_of_a);
    return progress;
}

/// The exchanges made for pivots [first_pivot, end_pivot), for the columns [first_col, end_col).
void Elimination::exchange_rows(int first_pivot, int end_pivot, int first_col, int end_col) {
    if (first_col >= end_col) return;
    for (int k = first_pivot; k < end_pivot; ++k) {
        double * const row = a_.data() + k * cols_;
        double * const other = a_.data() + pivot_rows_[k] * cols_;
        if (row != other) std::swap_ranges(row + first_col, row + end_col, other + first_col);
    }
}

/// The columns [first_col, end_col) take the updates of the eliminated columns [first, end).
void Elimination::update(int first, int end, int first_col, int end_col) {
    if (first >= end || first_col >= end_col) return;
    solve_unit_lower(first, end, first_col, end_col - first_col);
    subtract_product(end, n_, first, end, first_col, end_col - first_col);
}

/// Rows [first, end) take the updates of the rows of theirs that stand above them.
void Elimination::solve_unit_lower(int first, int end, int first_col, int width) {
    if (end - first <= panel_cols) {
        for (int i = first + 1; i < end; ++i)
            subtract_product(i, i + 1, first, i, first_col, width);
        return;
    }
    int const middle = first + (end - first) / 2;
    solve_unit_lower(first, middle, first_col, width);
    subtract_product(middle, end, first, middle, first_col, width);
    solve_unit_lower(middle, end, first_col, width);
}

/// Rows [first_row, end_row) take the updates of rows [first, end), in this order.
void Elimination::subtract_product(int first_row, int end_row, int first, int end, int first_col, int width) {
    if (first_row >= end_row) return;
    mlBlock const rows = block(first_row, first_col), multipliers = block(first_row, first),
                  above = block(first, first_col);
    ml_kernels().subtract_product(end_row - first_row, width, end - first, {multipliers.first, cols_},
                                  {above.first, cols_}, rows);
}

// U x = c for the right-hand sides c that stand behind the n columns of the factors.
void substitute_extra_columns(mlMatrix & a) {
    int const n = a.rows();
    for (int c = n; c < a.cols(); ++c) {
        for (int i = n - 1; i >= 0; --i) {
            double s = a(i, c);
            for (int j = i + 1; j < n; ++j)
                s -= a(j, c) * a(i, j);
            a(i, c) = s / a(i, i);
        }
    }
}

} // namespace

int ml_lu_decompose(mlMatrix & a, intcoDynArr & permutation, int & swap_count, double pivot_tolerance) {
    swap_count = 0;
    for (int i = 0; i < a.rows(); ++i)
        permutation[i] = i;
    if (a.rows() > a.cols()) return 0;
    Elimination elimination(a, permutation, swap_count, pivot_tolerance);
    bool const passed = a.rows() <= few_rows ? elimination.eliminate_plainly() : elimination.eliminate_in_blocks();
    if (passed) substitute_extra_columns(a);
    return passed;
}
