#include <immintrin.h>
#include <stddef.h>
#include <string.h>

#include "maths/kernels/mlKernels.h"

// Eight doubles at once, thirty-two registers.
namespace ml_avx512 {

namespace {

constexpr int lanes = 8;
constexpr int tile_rows = 8;
constexpr int tile_vecs = 3;
constexpr int row_groups_in_flight = 2;

typedef __m512d Lanes;

inline __mmask8 first_lanes(int width) { return static_cast<__mmask8>((1u << width) - 1u); }

inline Lanes load_partial(double const * p, int width) { return _mm512_maskz_loadu_pd(first_lanes(width), p); }
inline void store_partial(double * p, Lanes x, int width) { _mm512_mask_storeu_pd(p, first_lanes(width), x); }

// Pairs, then pairs of pairs, then halves change places.
inline void transpose(Lanes (&square)[lanes]) {
    Lanes pairs[lanes];
    for (int i = 0; i < lanes; i += 2) {
        pairs[i] = _mm512_unpacklo_pd(square[i], square[i + 1]);
        pairs[i + 1] = _mm512_unpackhi_pd(square[i], square[i + 1]);
    }
    Lanes quads[lanes]; // quads[4 h + i]: 128-bit pieces i and i + 2 of rows 4 h .. 4 h + 3
    for (int h = 0; h < 2; ++h) {
        for (int i = 0; i < 2; ++i) {
            quads[4 * h + i] = _mm512_shuffle_f64x2(pairs[4 * h + i], pairs[4 * h + 2 + i], 0x88);
            quads[4 * h + 2 + i] = _mm512_shuffle_f64x2(pairs[4 * h + i], pairs[4 * h + 2 + i], 0xdd);
        }
    }
    for (int i = 0; i < 4; ++i) {
        square[i] = _mm512_shuffle_f64x2(quads[i], quads[4 + i], 0x88);
        square[4 + i] = _mm512_shuffle_f64x2(quads[i], quads[4 + i], 0xdd);
    }
}

} // namespace

#include "maths/kernels/mlKernelSource.h"

} // namespace ml_avx512
