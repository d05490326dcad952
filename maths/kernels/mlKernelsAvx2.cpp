#include <float.h>
#include <immintrin.h>
#include <math.h>
#include <stddef.h>
#include <string.h>

#include "maths/kernels/mlKernels.h"

namespace ml_baseline {
extern mlKernels const kernels;
}

// Four doubles at once, sixteen registers.
namespace ml_avx2 {

namespace {

constexpr int lanes = 4;
constexpr int tile_rows = 4;
constexpr int tile_vecs = 2;
constexpr int strip_vecs = 8;
constexpr int row_groups_in_flight = 2;

typedef __m256d Lanes;

Lanes const lane_numbers = {0.0, 1.0, 2.0, 3.0};

inline __m256i first_lanes(int width) {
    return _mm256_cmpgt_epi64(_mm256_set1_epi64x(width), _mm256_setr_epi64x(0, 1, 2, 3));
}

inline Lanes load_partial(double const * p, int width) { return _mm256_maskload_pd(p, first_lanes(width)); }
inline void store_partial(double * p, Lanes x, int width) { // stores under a mask are slow on some machines
    __m128d half = _mm256_castpd256_pd128(x);
    if (width >= 2) {
        _mm_storeu_pd(p, half);
        half = _mm256_extractf128_pd(x, 1);
    }
    if (width & 1) _mm_store_sd(p + (width & 2), half);
}

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

inline double largest_lane(Lanes x) {
    __m128d const halves = _mm_max_pd(_mm256_castpd256_pd128(x), _mm256_extractf128_pd(x, 1));
    return _mm_cvtsd_f64(_mm_max_sd(halves, _mm_unpackhi_pd(halves, halves)));
}

inline int first_equal_lane(Lanes x, Lanes y) {
    int const equal = _mm256_movemask_pd(_mm256_cmp_pd(x, y, _CMP_EQ_OQ));
    return equal == 0 ? lanes : __builtin_ctz(equal);
}

} // namespace

#include "maths/kernels/mlKernelSource.h"

#include "maths/kernels/mlMatrixVectorKernel.h"
#include "maths/kernels/mlPanelKernel.h"
#include "maths/kernels/mlProductKernel.h"
#include "maths/kernels/mlReflectionKernel.h"
#include "maths/kernels/mlRotationKernel.h"
#include "maths/kernels/mlRowSumKernel.h"
#include "maths/kernels/mlTransposeKernel.h"
#include "maths/kernels/mlTriangularKernel.h"

#include "maths/kernels/mlKernelTable.h"

} // namespace ml_avx2
