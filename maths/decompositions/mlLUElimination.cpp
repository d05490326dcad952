#include "maths/decompositions/mlLUElimination.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "maths/decompositions/mlTriangularSolve.h"
#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

// Of few rows: unblocked, row by row in place. Of more, with the same bits: columns are halved down to panels.
//
//     halving      left half L1, its effect on the right half, right half. The effect is the row exchanges, then
//                  U12 = L11^-1 A12 and A22 -= L21 U12
//     a panel      at most lu_panel_cols columns, or all of a matrix of at most lu_one_panel_max_rows rows: copied, so
//                  that its columns are contiguous, factored by a kernel and copied back
//
// A panel exchanges rows of its own columns only. The columns right of it are exchanged before they take its updates,
// those left of it when the half that it belongs to is complete.

namespace {

using namespace ml_tuning;

/// The elimination of the first n columns of a matrix of n rows.
class Elimination {
public:
    Elimination(mlMatrix & a, intcoDynArr & permutation, int & swap_count, double pivot_tolerance)
        : a_(a), permutation_(permutation), swap_count_(swap_count), tolerance_(pivot_tolerance), n_(a.rows()),
          cols_(a.cols()) {}

    /// Both return whether all pivots passed. The unblocked one includes the columns after the first n in every step.
    [[nodiscard]] bool eliminate_unblocked();
    [[nodiscard]] bool eliminate_blocked();

private:
    /// How far the elimination of some columns came.
    struct Progress {
        int end;     // the column after the last one eliminated, an index in the whole matrix, not in the panel
        bool failed; // the pivot of column `end` is below the tolerance; its row exchange has been made

        /// The column after the last one whose pivot was sought.
        [[nodiscard]] int searched_end() const { return failed ? end + 1 : end; }
    };

    mlBlock block(int row, int col) { return {a_.data() + row * cols_ + col, cols_}; }
    mlConstBlock const_block(int row, int col) const { return {a_.data() + row * cols_ + col, cols_}; }

    void note_exchange(int k, int p);
    [[nodiscard]] int find_pivot(int k) const;
    void eliminate_below(int k);
    [[nodiscard]] Progress eliminate_columns(int first, int end);
    [[nodiscard]] Progress eliminate_panel(int first, int end);
    void exchange_rows(int first_pivot, int end_pivot, int first_col, int end_col);
    void update(int first, int end, int first_col, int end_col);

    mlMatrix & a_;
    intcoDynArr & permutation_;
    int & swap_count_;
    double const tolerance_;
    int const n_;
    int const cols_;
    intcoDynArr pivot_rows_; // [k]: the row that changed places with row k, of the columns searched; blocked only
};

/// Notes in permutation and swap_count that rows k and p change places. The caller exchanges the elements.
void Elimination::note_exchange(int k, int p) {
    if (p == k) return;
    std::swap(permutation_[k], permutation_[p]);
    ++swap_count_;
}

/// The first row of the largest magnitude in column k, from row k on; a NaN in row k is taken, one below it never.
int Elimination::find_pivot(int k) const {
    double const * const column = a_.data() + k;
    int best = k;
    double largest = std::fabs(column[k * cols_]);
    for (int i = k + 1; i < n_; ++i) { // without a branch, which could not be predicted
        double const magnitude = std::fabs(column[i * cols_]);
        best = magnitude > largest ? i : best;
        largest = magnitude > largest ? magnitude : largest;
    }
    return best;
}

// row i -= a(i, k) / a(k, k) * row k, which clears a(i, k), where the multiplier is kept.
void Elimination::eliminate_below(int k) {
    double const * __restrict const top = a_.data() + k * cols_;
    for (int i = k + 1; i < n_; ++i) {
        double * __restrict const row = a_.data() + i * cols_;
        double const multiplier = row[k] / top[k];
        row[k] = multiplier;
        for (int j = k + 1; j < cols_; ++j)
            row[j] -= top[j] * multiplier;
    }
}

bool Elimination::eliminate_unblocked() {
    for (int k = 0; k < n_; ++k) {
        int const p = find_pivot(k);
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

bool Elimination::eliminate_blocked() {
    pivot_rows_.expand(n_);
    Progress const progress = eliminate_columns(0, n_);
    exchange_rows(0, progress.searched_end(), n_, cols_); // the right-hand sides
    update(0, progress.end, n_, cols_);
    return !progress.failed;
}

/// Eliminates the columns [first, end), which have received the updates and row exchanges of all columns before them.
/// Exchanges rows of these columns only. When a pivot of the left half fails, the right half still takes the row
/// exchanges and the updates of the columns before it.
Elimination::Progress Elimination::eliminate_columns(int first, int end) {
    if (end - first <= lu_panel_cols || n_ <= lu_one_panel_max_rows) return eliminate_panel(first, end);
    int const half = (end - first) / 2 / lu_panel_cols * lu_panel_cols;
    int const middle = first + std::max(half, lu_panel_cols);
    Progress const left = eliminate_columns(first, middle);
    exchange_rows(first, left.searched_end(), middle, end);
    update(first, left.end, middle, end);
    if (left.failed) return left;
    Progress const right = eliminate_columns(middle, end);
    exchange_rows(middle, right.searched_end(), first, middle);
    return right;
}

/// The same by one panel: rows first .. n - 1 of the columns [first, end), with row exchanges inside it.
Elimination::Progress Elimination::eliminate_panel(int first, int end) {
    mlKernels const & kernels = ml_kernels();
    int const rows = n_ - first, width = end - first;
    std::ptrdiff_t const ld = ml_leading_dimension(rows); // of the columns, which are contiguous here
    coScratch<lu_panel_scratch> columns(ld * width);
    mlBlock const panel{columns.data(), ld};
    kernels.copy_transposed(rows, width, const_block(first, first), panel);
    for (int j = 0; j < width; ++j)
        std::fill(panel.data + j * ld + rows, panel.data + (j + 1) * ld, 0.0);

    int * const pivot_rows = pivot_rows_.data() + first;
    int const eliminated = kernels.factor_panel(rows, width, panel.data, ld, tolerance_, pivot_rows);
    Progress const progress{first + eliminated, eliminated < width};
    for (int k = first; k < progress.searched_end(); ++k) {
        pivot_rows_[k] += first; // the panel counts its own rows
        note_exchange(k, pivot_rows_[k]);
    }
    kernels.copy_transposed(width, rows, {panel.data, ld}, block(first, first));
    return progress;
}

/// The row exchanges of pivots [first_pivot, end_pivot), in this order, for the columns [first_col, end_col).
void Elimination::exchange_rows(int first_pivot, int end_pivot, int first_col, int end_col) {
    if (first_col >= end_col) return;
    for (int k = first_pivot; k < end_pivot; ++k) {
        double * const row = a_.data() + k * cols_;
        double * const other = a_.data() + pivot_rows_[k] * cols_;
        if (row != other) std::swap_ranges(row + first_col, row + end_col, other + first_col);
    }
}

/// The columns [first_col, end_col) receive the updates of the eliminated columns [first, end): their rows
/// [first, end), x_t -= L(t, s) x_s in increasing s = first .. t - 1, become U; from their rows below L times that is
/// subtracted.
void Elimination::update(int first, int end, int first_col, int end_col) {
    if (first >= end || first_col >= end_col) return;
    int const width = end_col - first_col;
    ml_solve_unit_lower(first, end, width, const_block(0, 0), block(0, first_col));
    if (end == n_) return; // no row is below, and block(end, ..) would point past the matrix
    ml_kernels().gemm_subtract(n_ - end, width, end - first, const_block(end, first), const_block(first, first_col),
                               block(end, first_col));
}

// U x = b for each right-hand side b, the columns after the first n.
void solve_right_hand_sides(mlMatrix & a) {
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
    bool const passed =
        a.rows() <= lu_unblocked_max_rows ? elimination.eliminate_unblocked() : elimination.eliminate_blocked();
    if (passed) solve_right_hand_sides(a);
    return passed;
}
