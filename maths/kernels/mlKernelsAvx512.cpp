#if defined(__x86_64__)

#include <float.h>
#include <immintrin.h>
#include <math.h>
#include <stddef.h>
#include <string.h>

#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlTuning.h"
#include "platform/utCheck.h"

namespace ml_baseline {
extern mlKernels const kernels;
}
namespace ml_avx2 {
extern mlKernels const kernels;
}

// Eight doubles in a register, thirty-two registers.
namespace ml_avx512 {

namespace {

constexpr mlKernelShape shape = ml_tuning::avx512;
constexpr int lanes = shape.lanes;

typedef __m512d Lanes;

inline __mmask8 first_lanes(int width) { return static_cast<__mmask8>((1u << width) - 1u); }

inline Lanes load_partial(double const * p, int width) { return _mm512_maskz_loadu_pd(first_lanes(width), p); }
inline void store_partial(double * p, Lanes x, int width) { _mm512_mask_storeu_pd(p, first_lanes(width), x); }

/// The pairs of lanes of even, or odd, number of both.
inline Lanes even_pairs(Lanes x, Lanes y) { return __builtin_shufflevector(x, y, 0, 1, 4, 5, 8, 9, 12, 13); }
inline Lanes odd_pairs(Lanes x, Lanes y) { return __builtin_shufflevector(x, y, 2, 3, 6, 7, 10, 11, 14, 15); }

inline void transpose(Lanes (&square)[lanes]) {
    Lanes twos[lanes], fours[lanes]; // in which runs of two and four lanes are of one column
    for (int r = 0; r < lanes; r += 2) {
        twos[r] = __builtin_shufflevector(square[r], square[r + 1], 0, 8, 2, 10, 4, 12, 6, 14);
        twos[r + 1] = __builtin_shufflevector(square[r], square[r + 1], 1, 9, 3, 11, 5, 13, 7, 15);
    }
    for (int r = 0; r < lanes; r += 4) {
        for (int c = 0; c < 2; ++c) {
            fours[r + c] = even_pairs(twos[r + c], twos[r + c + 2]);
            fours[r + c + 2] = odd_pairs(twos[r + c], twos[r + c + 2]);
        }
    }
    for (int c = 0; c < 4; ++c) {
        square[c] = even_pairs(fours[c], fours[c + 4]);
        square[c + 4] = odd_pairs(fours[c], fours[c + 4]);
    }
}

} // namespace

#include "maths/kernels/mlKernelSource.inl"

#include "maths/kernels/mlProductKernel.inl"
#include "maths/kernels/mlRankOneKernel.inl"
#include "maths/kernels/mlRotationKernel.inl"
#include "maths/kernels/mlTransposeKernel.inl"
#include "maths/kernels/mlTriangularKernel.inl"

namespace {

// Squares of eight are dearer to transpose than two of four: measured 1.1 to 1.8 times as slow at every order from 3.
void gemv(int rows, int cols, mlConstBlock a, double const * x, double * y) {
    ml_avx2::kernels.gemv(rows, cols, a, x, y);
}

void gemv_subtract(int rows, int cols, mlConstBlock a, double const * x, double * y) {
    ml_avx2::kernels.gemv_subtract(rows, cols, a, x, y);
}

void sum_four_pairs(int n, mlConstBlock x, mlConstBlock y, double * sums) {
    ml_avx2::kernels.sum_four_pairs(n, x, y, sums);
}

void update_gemv(int rows, int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z) {
    ml_avx2::kernels.update_gemv(rows, cols, a, update, w, z);
}

// The chain of search, exchange and division is no shorter in wider registers: measured 1.1 to 1.3 times as slow.
int factor_panel(int rows, int cols, double * panel, ptrdiff_t ld, double tolerance, int * pivot_rows) {
    return ml_avx2::kernels.factor_panel(rows, cols, panel, ld, tolerance, pivot_rows);
}

void divide(int n, double * x, double divisor) { ml_avx2::kernels.divide(n, x, divisor); }

} // namespace

#include "maths/kernels/mlKernelTable.inl"

} // namespace ml_avx512

#endif
