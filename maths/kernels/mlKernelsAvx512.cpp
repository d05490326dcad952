#include <float.h>
#include <immintrin.h>
#include <math.h>
#include <stddef.h>
#include <string.h>

#include "maths/kernels/mlKernels.h"

namespace ml_avx2 {
extern mlKernels const kernels;
}

// Eight doubles at once, thirty-two registers.
namespace ml_avx512 {

namespace {

constexpr int lanes = 8;
constexpr int tile_rows = 8;
constexpr int tile_vecs = 3;
constexpr int strip_vecs = 8;

typedef __m512d Lanes;

inline __mmask8 first_lanes(int width) { return static_cast<__mmask8>((1u << width) - 1u); }

inline Lanes load_partial(double const * p, int width) { return _mm512_maskz_loadu_pd(first_lanes(width), p); }
inline void store_partial(double * p, Lanes x, int width) { _mm512_mask_storeu_pd(p, first_lanes(width), x); }

} // namespace

#include "maths/kernels/mlKernelSource.h"

#include "maths/kernels/mlColumnKernel.h"
#include "maths/kernels/mlProductKernel.h"
#include "maths/kernels/mlReflectionKernel.h"
#include "maths/kernels/mlRotationKernel.h"
#include "maths/kernels/mlTriangularKernel.h"

namespace {

// Squares of eight are dearer to transpose than two of four: measured 1.1 to 1.8 times as slow at every order from 3.
void multiply_vector(int rows, int depth, mlConstBlock a, double const * x, double * y) {
    ml_avx2::kernels.multiply_vector(rows, depth, a, x, y);
}

void subtract_product_vector(int rows, int depth, mlConstBlock a, double const * x, double * y) {
    ml_avx2::kernels.subtract_product_vector(rows, depth, a, x, y);
}

void sum_rows(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums) {
    ml_avx2::kernels.sum_rows(rows, cols, x, change, weights, sums);
}

} // namespace

extern mlKernels const kernels;
mlKernels const kernels = {multiply,           subtract_product, multiply_vector, subtract_product_vector,
                           solve_latest_first, first_largest,    divide,          subtract_columns,
                           sum_columns,        sum_rows,         add_rank_one,    rotate,
                           rotate_strips};

} // namespace ml_avx512
