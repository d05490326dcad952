#include <float.h>
#include <math.h>
#include <stddef.h>
#include <string.h>

#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlTuning.h"
#include "platform/utCheck.h"

// Two doubles in a register: every x86-64, and other machines by the compiler's own means.
namespace ml_baseline {

extern mlKernels const kernels;

namespace {

constexpr mlKernelShape shape = ml_tuning::baseline;
constexpr int lanes = shape.lanes;

typedef double Lanes __attribute__((vector_size(16)));

Lanes const lane_numbers = {0.0, 1.0};

inline Lanes load_partial(double const * p, int) { return Lanes{p[0], 0.0}; }
inline void store_partial(double * p, Lanes x, int) { p[0] = x[0]; }

inline void transpose(Lanes (&square)[lanes]) {
    Lanes const first{square[0][0], square[1][0]};
    square[1] = Lanes{square[0][1], square[1][1]};
    square[0] = first;
}

inline double largest_lane(Lanes x) { return x[1] > x[0] ? x[1] : x[0]; }
inline int first_equal_lane(Lanes x, Lanes y) { return x[0] == y[0] ? 0 : x[1] == y[1] ? 1 : lanes; }

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

} // namespace ml_baseline
