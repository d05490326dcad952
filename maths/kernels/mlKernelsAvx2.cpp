#include <float.h>
#include <immintrin.h>
#include <math.h>
#include <stddef.h>
#include <string.h>

#include "maths/kernels/mlKernels.h"

// Four doubles at once, sixteen registers.
namespace ml_avx2 {

namespace {

constexpr int lanes = 4;
constexpr int tile_rows = 4;
constexpr int tile_vecs = 2;
constexpr int strip_vecs = 8;
constexpr int row_groups_in_flight = 2;

typedef __m256d Lanes;

inline __m256i first_lanes(int width) {
    return _mm256_cmpgt_epi64(_mm256_set1_epi64x(width), _mm256_setr_epi64x(0, 1, 2, 3));
}

inline Lanes load_partial(double const * p, int width) { return _mm256_maskload_pd(p, first_lanes(width)); }
inline void store_partial(double * p, Lanes x, int width) { _mm256_maskstore_pd(p, first_lanes(width), x); }

inline void transpose(Lanes (&square)[lanes]) {
    Lanes const low01 = _mm256_unpacklo_pd(square[0], square[1]);
    Lanes const high01 = _mm256_unpackhi_pd(square[0], square[1]);
    Lanes const low23 = _mm256_unpacklo_pd(square[2], square[3]);
    Lanes const high23 = _mm256_unpackhi_pd(square[2], square[3]);
    square[0] = _mm256_permute2f128_pd(low01, low23, 0x20);
    square[1] = _mm256_permute2f128_pd(high01, high23, 0x20);
    square[2] = _mm256_permute2f128_pd(low01, low23, 0x31);
    square[3] = _mm256_permute2f128_pd(high01, high23, 0x31);
}

} // namespace

#include "maths/kernels/mlKernelSource.h"

#include "maths/kernels/mlColumnKernel.h"
#include "maths/kernels/mlMatrixVectorKernel.h"
#include "maths/kernels/mlProductKernel.h"
#include "maths/kernels/mlReflectionKernel.h"
#include "maths/kernels/mlRotationKernel.h"
#include "maths/kernels/mlRowSumKernel.h"
#include "maths/kernels/mlTriangularKernel.h"

extern mlKernels const kernels;
mlKernels const kernels = {multiply,           subtract_product, multiply_vector, subtract_product_vector,
                           solve_latest_first, first_largest,    divide,          subtract_columns,
                           sum_columns,        sum_rows,         add_rank_one,    rotate,
                           rotate_strips};

} // namespace ml_avx2
