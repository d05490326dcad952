#include <float.h>
#include <immintrin.h>
#include <math.h>
#include <stddef.h>
#include <string.h>

#include "maths/kernels/mlKernels.h"

namespace ml_baseline {
extern mlKernels const kernels;
}
namespace ml_avx2 {
extern mlKernels const kernels;
}

// Eight doubles at once, thirty-two registers.
namespace ml_avx512 {

namespace {

constexpr int lanes = 8;
constexpr int tile_rows = 4; // a row costs a broadcast, which is dear where a register is filled by halves
constexpr int tile_vecs = 6;
constexpr int strip_vecs = 8;

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

#include "maths/kernels/mlKernelSource.h"

#include "maths/kernels/mlProductKernel.h"
#include "maths/kernels/mlReflectionKernel.h"
#include "maths/kernels/mlRotationKernel.h"
#include "maths/kernels/mlTransposeKernel.h"
#include "maths/kernels/mlTriangularKernel.h"

namespace {

// Squares of eight are dearer to transpose than two of four: measured 1.1 to 1.8 times as slow at every order from 3.
void multiply_vector(int rows, int depth, mlConstBlock a, double const * x, double * y) {
    ml_avx2::kernels.multiply_vector(rows, depth, a, x, y);
}

void subtract_product_vector(int rows, int depth, mlConstBlock a, double const * x, double * y) {
    ml_avx2::kernels.subtract_product_vector(rows, depth, a, x, y);
}

// The chain of search, exchange and division is no shorter in wider registers: measured 1.1 to 1.3 times as slow.
int factor_panel(int rows, int width, double * panel, ptrdiff_t ld, double tolerance, int * pivot_rows) {
    return ml_avx2::kernels.factor_panel(rows, width, panel, ld, tolerance, pivot_rows);
}

void divide(int n, double * x, double divisor) { ml_avx2::kernels.divide(n, x, divisor); }

void sum_rows(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums) {
    ml_avx2::kernels.sum_rows(rows, cols, x, change, weights, sums);
}

} // namespace

#include "maths/kernels/mlKernelTable.h"

} // namespace ml_avx512
