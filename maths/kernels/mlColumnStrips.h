#pragma once

#include <algorithm>
#include <concepts>

#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

// For use inside the library.

static_assert(ml_tuning::strip_wide_cols % ml_max_lanes == 0 && ml_tuning::strip_narrow_cols % ml_max_lanes == 0);

/// The most columns of a strip of `rows` rows, a multiple of ml_max_lanes.
[[nodiscard]] inline int ml_strip_cols(int rows) {
    return rows <= ml_tuning::strip_wide_max_rows ? ml_tuning::strip_wide_cols : ml_tuning::strip_narrow_cols;
}

/// Hands the rows x cols matrix x to `solve(width, strip)` in strips of at most ml_strip_cols(rows) columns, one after
/// the other from the left, and writes back what `solve` leaves in them. A strip is a copy, so that it stays in the
/// nearest cache however often its rows are read: its leading dimension is `width`, its columns padded to a multiple of
/// ml_max_lanes; the columns of padding hold zeros and are dropped. Failure: std::bad_alloc.
template <std::invocable<int, mlBlock> Solve> void ml_in_strips(int rows, int cols, mlBlock x, Solve solve) {
    int const step = ml_strip_cols(rows);
    coScratch<ml_tuning::strip_scratch> copy(static_cast<std::size_t>(rows) * step);
    for (int j = 0; j < cols; j += step) {
        int const count = std::min(cols - j, step), width = ml_padded(count);
        mlBlock const strip{copy.data(), width};
        for (int i = 0; i < rows; ++i) {
            double * const row = strip.data + i * strip.ld;
            std::copy_n(x.data + i * x.ld + j, count, row);
            std::fill(row + count, row + width, 0.0);
        }
        solve(width, strip);
        for (int i = 0; i < rows; ++i)
            std::copy_n(strip.data + i * strip.ld, count, x.data + i * x.ld + j);
    }
}
