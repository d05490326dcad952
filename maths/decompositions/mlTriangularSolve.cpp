#include "maths/decompositions/mlTriangularSolve.h"

#include <algorithm>

#include "maths/kernels/mlTuning.h"

namespace {

void solve_unit_lower_plainly(int begin, int end, int cols, mlConstBlock l, mlBlock y) {
    for (int i = begin + 1; i < end; ++i) {
        for (int k = begin; k < i; ++k) {
            double const factor = l.data[i * l.ld + k];
            for (int j = 0; j < cols; ++j)
                y.data[i * y.ld + j] -= factor * y.data[k * y.ld + j];
        }
    }
}

} // namespace

// Each subtraction waits for the one before, and the first of a row for the division that ends the row before. That
// chain of waits determines the time, so nothing else may lengthen it: the newest element is read from a register,
// since a load would have to wait for its store.
void ml_solve_latest_first(int n, mlTriangle const & l, double * x, std::ptrdiff_t x_stride) {
    double newest = 0.0;
    for (std::ptrdiff_t t = 0; t < n; ++t) {
        double const * const row = l.data + t * l.row_stride;
        double rest = x[t * x_stride];
        if (t > 0) rest -= row[(t - 1) * l.col_stride] * newest;
        for (std::ptrdiff_t s = t - 2; s >= 0; --s)
            rest -= row[s * l.col_stride] * x[s * x_stride];
        newest = rest / l.diagonal[t * l.diagonal_stride];
        x[t * x_stride] = newest;
    }
}

void ml_solve_latest_first(int begin, int end, int cols, mlTriangle const & l, mlBlock x) {
    for (std::ptrdiff_t t = begin; t < end; ++t) {
        double * const row = x.data + t * x.ld;
        for (std::ptrdiff_t s = t - 1; s >= 0; --s) {
            double const factor = l.data[t * l.row_stride + s * l.col_stride];
            for (int j = 0; j < cols; ++j)
                row[j] -= factor * x.data[s * x.ld + j];
        }
        for (int j = 0; j < cols; ++j)
            row[j] /= l.diagonal[t * l.diagonal_stride];
    }
}

// The terms of a block of rows from above it are subtracted by the kernel, which works on many rows at the same time,
// and the others by plain substitution, in which each term waits for the one before.
void ml_solve_unit_lower(int n, mlConstBlock l, double * y) {
    int const step = n < ml_tuning::unit_lower_blocked_min_rows ? n : ml_tuning::unit_lower_block_rows;
    for (int first = 0; first < n; first += step) {
        int const end = std::min(first + step, n);
        if (first > 0) ml_kernels().gemv_subtract(end - first, first, {l.data + first * l.ld, l.ld}, y, y + first);
        for (int i = first + 1; i < end; ++i) {
            double const * const row = l.data + i * l.ld;
            double rest = y[i];
            for (int k = first; k < i; ++k)
                rest -= y[k] * row[k];
            y[i] = rest;
        }
    }
}

// The upper half of the rows, its effect on the lower half in one product, the lower half.
void ml_solve_unit_lower(int begin, int end, int cols, mlConstBlock l, mlBlock y) {
    if (ml_few(end - begin, cols)) return solve_unit_lower_plainly(begin, end, cols, l, y);
    auto const subtract_from = [&](int first_row, int end_row, int known_end) { // rows [begin, known_end) are solved
        ml_kernels().gemm_subtract(end_row - first_row, cols, known_end - begin,
                                   {l.data + first_row * l.ld + begin, l.ld}, {y.data + begin * y.ld, y.ld},
                                   {y.data + first_row * y.ld, y.ld});
    };
    if (end - begin <= ml_tuning::unit_lower_leaf_rows) {
        for (int i = begin + 1; i < end; ++i)
            subtract_from(i, i + 1, i);
        return;
    }
    int const middle = begin + (end - begin) / 2;
    ml_solve_unit_lower(begin, middle, cols, l, y);
    subtract_from(middle, end, middle);
    ml_solve_unit_lower(middle, end, cols, l, y);
}
