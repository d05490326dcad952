#pragma once

#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlTuning.h"

// Triangular systems, solved in place. For use inside the library.

/// L x = b for one right-hand side and rows that take their terms latest first: for t = 0 .. n - 1, x_t -= L(t, s) x_s
/// for s from t - 1 down to 0, then x_t /= L(t, t), where x_t is x[t * x_stride] and L has a diagonal.
/// `mlKernels::solve_latest_first` is the form for many columns.
void ml_solve_latest_first(int n, mlTriangle const & l, double * x, std::ptrdiff_t x_stride);

/// The same for rows [begin, end) and the columns of x, few of both: plain loops take less than a kernel's beginning
/// and end where `ml_few` says so. x.ld may be negative.
void ml_solve_latest_first(int begin, int end, int cols, mlTriangle const & l, mlBlock x);
[[nodiscard]] inline bool ml_few(int rows, int cols) {
    return rows <= ml_tuning::triangle_plain_max && cols <= ml_tuning::triangle_plain_max;
}

/// L y = b for a unit lower triangle L of n rows and one right-hand side: y_i -= L(i, k) y_k in increasing k < i. Of l
/// only the elements below the diagonal are read.
void ml_solve_unit_lower(int n, mlConstBlock l, double * y);

/// The same for the `cols` columns of y and for rows and columns [begin, end) of L alone: y(i, j) -= L(i, k) y(k, j) in
/// increasing k, begin <= k < i. Every column gets the bits of the form above.
void ml_solve_unit_lower(int begin, int end, int cols, mlConstBlock l, mlBlock y);
