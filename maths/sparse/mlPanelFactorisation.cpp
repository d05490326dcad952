#include "maths/sparse/mlPanelFactorisation.h"

#include <algorithm>
#include <cmath>

#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlTuning.h"

namespace {

int const max_cols = ml_tuning::sparse_panel_max_cols;

/// The most rows of an update that is made in a copy.
int most_rows_copied(mlSymbolicCholesky const & symbolic) {
    int rows = 0;
    for (int p = 0; p < symbolic.panels(); ++p) {
        if (symbolic.cols(p) > ml_tuning::sparse_update_plain_max_cols) rows = std::max(rows, symbolic.num_below(p));
    }
    return rows;
}

} // namespace

mlPanelFactorisation::mlPanelFactorisation(mlSymbolicCholesky const & symbolic, mlSparseSymMatrix const & a)
    : symbolic_(symbolic), a_(a), thresholds_(symbolic.size()), line_(symbolic.size()), first_(symbolic.panels(), -1),
      next_(symbolic.panels()), used_(symbolic.panels(), 0), sources_(symbolic.panels()),
      multipliers_(max_cols * max_cols), copy_(static_cast<std::ptrdiff_t>(most_rows_copied(symbolic)) * max_cols) {}

mlSparseCholeskyStatus mlPanelFactorisation::factor(double * elements, double * d, int & failed) {
    elements_ = elements;
    d_ = d;
    place_elements();
    for (int p = 0; p < symbolic_.panels(); ++p) {
        take_updates(p);
        failed = factor_own_rows(p);
        if (failed >= 0) {
            mlSparseCholeskyStatus const status =
                std::isfinite(d[failed]) ? mlSparseCholeskyNotPositive : mlSparseCholeskyNotFinite;
            clear_rows_after(failed);
            return status;
        }
        factor_rows_below(p);
        link(p);
    }
    return mlSparseCholeskyFactored;
}

void mlPanelFactorisation::place_elements() {
    std::fill_n(elements_, symbolic_.storage(), 0.0);
    std::ptrdiff_t const * slot = symbolic_.slots();
    ml_for_each_element(a_, [&](int, mlSparseElement const & e) { elements_[*slot++] = e.value; });
    for (int p = 0; p < symbolic_.panels(); ++p) {
        for (int j = 0, cols = symbolic_.cols(p); j < cols; ++j)
            thresholds_[symbolic_.first_column(p) + j] = 0x1p-50 * panel(p)[j * (cols + 1)];
    }
}

/// The panel waits for the one that holds the first of its rows that are not divided yet.
void mlPanelFactorisation::link(int p) {
    if (used_[p] == symbolic_.num_below(p)) return;
    int const to = symbolic_.panel_of(symbolic_.rows_below(p)[used_[p]]);
    next_[p] = first_[to];
    first_[to] = p;
}

void mlPanelFactorisation::take_updates(int to) {
    int const first = symbolic_.first_column(to), cols = symbolic_.cols(to), below = symbolic_.num_below(to);
    for (int i = 0; i < cols; ++i)
        line_[first + i] = i;
    for (int i = 0; i < below; ++i)
        line_[symbolic_.rows_below(to)[i]] = cols + i;

    int count = 0;
    for (int from = first_[to]; from >= 0; from = next_[from])
        sources_[count++] = from;
    std::sort(sources_.begin(), sources_.begin() + count);
    for (int k = 0; k < count; ++k) {
        update(sources_[k], to);
        link(sources_[k]);
    }
}

/// Subtracts u(i, k) l(j, k) from element (i, j) of the panel `to`, for all columns k of `from`, all columns j that
/// both have, as a row and as a column, and all rows i from there on.
void mlPanelFactorisation::update(int from, int to) {
    int const used = used_[from], below = symbolic_.num_below(from), inner = symbolic_.cols(from);
    int const * const rows = symbolic_.rows_below(from) + used;
    int const count = below - used, end = symbolic_.first_column(to + 1);
    int cols = 0;
    while (cols < count && rows[cols] < end)
        ++cols;
    double * const u = panel(from) + (inner + used) * static_cast<std::ptrdiff_t>(inner);
    double const * const d = d_ + symbolic_.first_column(from);
    for (int j = 0; j < cols; ++j) {
        for (int k = 0; k < inner; ++k)
            multipliers_[k * cols + j] = u[j * inner + k] / d[k];
    }
    if (std::min(inner, cols) <= ml_tuning::sparse_update_plain_max_cols)
        subtract_in_place(u, count, inner, cols, rows, to);
    else
        subtract_copied(u, count, inner, cols, rows, to);
    for (int j = 0; j < cols; ++j) {
        for (int k = 0; k < inner; ++k)
            u[j * inner + k] = multipliers_[k * cols + j];
    }
    used_[from] += cols;
}

void mlPanelFactorisation::subtract_in_place(double const * u, int rows, int inner, int cols, int const * below,
                                             int to) {
    int const first = symbolic_.first_column(to);
    for (int i = 0; i < rows; ++i, u += inner) {
        double * const changed = line(below[i], to);
        for (int j = 0; j < cols && j <= i; ++j) {
            double rest = changed[below[j] - first];
            for (int k = 0; k < inner; ++k)
                rest -= u[k] * multipliers_[k * cols + j];
            changed[below[j] - first] = rest;
        }
    }
}

/// In a copy of the elements in question, by the kernel; above the diagonal it computes something that nobody reads.
void mlPanelFactorisation::subtract_copied(double const * u, int rows, int inner, int cols, int const * below, int to) {
    int const first = symbolic_.first_column(to);
    double * copy = copy_.data();
    for (int i = 0; i < rows; ++i) {
        double const * const from = line(below[i], to);
        for (int j = 0; j < cols; ++j)
            *copy++ = from[below[j] - first];
    }
    ml_kernels().gemm_subtract(rows, cols, inner, {u, inner}, {multipliers_.data(), cols}, {copy_.data(), cols});
    copy = copy_.data();
    for (int i = 0; i < rows; ++i) {
        double * const back = line(below[i], to);
        for (int j = 0; j < cols; ++j)
            back[below[j] - first] = *copy++;
    }
}

/// The panel's own triangle, column by column; l(j, k) stays in the multipliers, too, as element (k, j). Returns the
/// row whose pivot fails, or -1.
int mlPanelFactorisation::factor_own_rows(int p) {
    int const first = symbolic_.first_column(p), n = symbolic_.cols(p);
    double * const own = panel(p);
    for (int k = 0; k < n; ++k) {
        double const pivot = d_[first + k] = own[k * n + k];
        if (!(pivot > thresholds_[first + k])) return first + k; // nor if NaN or, with its threshold, infinite
        double * const l = multipliers_.data() + k * n;
        for (int j = k + 1; j < n; ++j)
            l[j] = own[j * n + k] / pivot;
        for (int i = k + 1; i < n; ++i) {
            double const u = own[i * n + k];
            for (int j = k + 1; j <= i; ++j)
                own[i * n + j] -= u * l[j];
            own[i * n + k] = l[i];
        }
    }
    return -1;
}

/// The rows below, in groups of columns: all terms from before the group first, then those within it.
void mlPanelFactorisation::factor_rows_below(int p) {
    int const n = symbolic_.cols(p), rows = symbolic_.num_below(p), group = ml_tuning::sparse_panel_block_cols;
    double * const below = panel(p) + n * n;
    for (int first = 0; first < n; first += group) {
        int const end = std::min(first + group, n);
        if (first > 0)
            ml_kernels().gemm_subtract(rows, end - first, first, {below, n}, {multipliers_.data() + first, n},
                                       {below + first, n});
        for (int i = 0; i < rows; ++i) {
            double * const line = below + i * std::ptrdiff_t{n};
            for (int k = first; k < end; ++k) {
                for (int j = k + 1; j < end; ++j)
                    line[j] -= line[k] * multipliers_[k * n + j];
            }
        }
    }
}

void mlPanelFactorisation::clear_rows_after(int row) const {
    std::fill(d_ + row, d_ + symbolic_.size(), 0.0);
    for (int p = 0; p < symbolic_.panels(); ++p) {
        int const first = symbolic_.first_column(p), cols = symbolic_.cols(p), below = symbolic_.num_below(p);
        int const * const rows = symbolic_.rows_below(p);
        for (int i = 0; i < cols + below; ++i) {
            bool const after = (i < cols ? first + i : rows[i - cols]) > row;
            if (after) std::fill_n(panel(p) + i * std::ptrdiff_t{cols}, cols, 0.0);
        }
    }
}
