#include <float.h>
#include <math.h>
#include <stddef.h>
#include <string.h>

#include "maths/kernels/mlKernels.h"

// Two doubles at once, sixteen registers: every x86-64, and other machines by the compiler's own means.
namespace ml_baseline {

extern mlKernels const kernels;

namespace {

constexpr int lanes = 2;
constexpr int tile_rows = 4;
constexpr int tile_vecs = 2;
constexpr int strip_vecs = 8;
constexpr int row_groups_in_flight = 4;

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

} // namespace ml_baseline
