#pragma once

#include "maths/kernels/mlKernels.h"

/// One right-hand side of a triangular system whose rows take their terms latest first, in place: for t = 0 .. n - 1,
/// x_t -= factor(t, s) x_s for s from t - 1 down to 0, then x_t /= divisor(t), where x_t is x[t * x_step].
/// For use inside the library; `mlKernels::solve_latest_first` is the form for many columns.
void ml_solve_latest_first(int n, mlTriangle const & l, double * x, std::ptrdiff_t x_step);
