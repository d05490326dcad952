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

// Four doubles in a register, sixteen registers.
namespace ml_avx2 {

namespace {

constexpr mlKernelShape shape = ml_tuning::avx2;
constexpr int lanes = shape.lanes;

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

#include "maths/kernels/mlKernelSource.inl"

#include "maths/kernels/mlMatrixVectorKernel.inl"
#include "maths/kernels/mlPairSumKernel.inl"
#include "maths/kernels/mlPanelKernel.inl"
#include "maths/kernels/mlProductKernel.inl"
#include "maths/kernels/mlRankOneKernel.inl"
#include "maths/kernels/mlRotationKernel.inl"
#include "maths/kernels/mlTransposeKernel.inl"
#include "maths/kernels/mlTriangularKernel.inl"
#include "maths/kernels/mlUpdateGemvKernel.inl"

#include "maths/kernels/mlKernelTable.inl"

} // namespace ml_avx2

#endif
