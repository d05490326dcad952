#pragma once

#include <algorithm>

#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlScratch.h"

// For use inside the library.

/// The most columns of a strip of so many rows. Narrower ones lose time to the latency of the sums, wider ones to that
/// of the second-level cache.
inline int ml_strip_cols(int rows) { return rows <= 224 ? 32 : 16; }

/// `cols` rounded up to what the kernels take.
inline int ml_padded_cols(int cols) { return (cols + 7) / 8 * 8; }

/// Hands the rows x cols matrix x to `solve(width, strip)` in strips of columns, each copied together so that it stays
/// in the nearest cache however often its rows are read. Columns behind the last one hold zeros.
template <class Solve> void ml_in_strips(int rows, int cols, mlBlock x, Solve solve) {
    int const step = ml_strip_cols(rows);
    mlScratch<8192> copy(static_cast<std::size_t>(rows) * step);
    for (int j = 0; j < cols; j += step) {
        int const count = std::min(cols - j, step);
        mlBlock const strip{copy.data(), ml_padded_cols(count)};
        for (int i = 0; i < rows; ++i) {
            double * const row = strip.first + i * strip.ld;
            std::copy_n(x.first + i * x.ld + j, count, row);
            std::fill(row + count, row + strip.ld, 0.0);
        }
        solve(static_cast<int>(strip.ld), strip);
        for (int i = 0; i < rows; ++i)
            std::copy_n(strip.first + i * strip.ld, count, x.first + i * x.ld + j);
    }
}
