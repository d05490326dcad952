// The kernels, written once. Included by one source per instruction set, inside a namespace of its own that defines
//
//     lanes                  doubles in a vector register
//     tile_rows, tile_vecs   rows and vectors of a tile of the product: as many as the registers hold
//     row_groups_in_flight   groups of rows of the matrix-vector product
//     Lanes, load_partial, store_partial, transpose
//
// Nothing of the standard C++ library comes in here: an inline function compiled for a newer instruction set might be
// the copy that the linker keeps for all.

constexpr int packed_depth = 128;

typedef double LanesInMemory __attribute__((vector_size(8 * lanes), aligned(8), may_alias));

inline Lanes load(double const * p) { return *reinterpret_cast<LanesInMemory const *>(p); }
inline void store(double * p, Lanes x) { *reinterpret_cast<LanesInMemory *>(p) = x; }
inline Lanes broadcast(double x) { return Lanes{} + x; }

#include "maths/kernels/mlProductKernel.h"

#include "maths/kernels/mlMatrixVectorKernel.h"

extern mlKernels const kernels;
mlKernels const kernels = {multiply, subtract_product, multiply_vector, subtract_product_vector};
