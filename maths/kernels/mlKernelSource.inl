// The vector register that the kernels are written in, and what all of them share. Included by one source per
// instruction set, inside a namespace of its own that defines
//
//     shape                        the set's constants, from mlTuning.h
//     lanes                        doubles in a register, shape.lanes
//     Lanes                        a register
//     load_partial(p, width)       a register of p[0 .. width), 0 < width < lanes, the other lanes 0.0; reads no others
//     store_partial(p, x, width)   writes the first `width` lanes, 0 < width < lanes, and nothing else
//
// and, for the kernels that it includes after this, what their first comment asks for. Before the namespace it includes
//
//     <float.h> <math.h> <stddef.h> <string.h>     DBL_MIN; fabs; ptrdiff_t, size_t; memcpy
//     mlKernels.h mlTuning.h platform/utCheck.h    contracts and ml_max_lanes; constants; MATHS_CHECK
//
// and declares the baseline's `kernels`, which small products use. The contracts of all kernels stand in mlKernels.h;
// their preconditions are checked where they are entered. Nothing of the standard C++ library and no inline function of
// another header comes in here: compiled for a newer instruction set, it might be the copy that the linker keeps for
// all.

static_assert(ml_max_lanes % lanes == 0);

typedef double LanesInMemory __attribute__((vector_size(sizeof(double) * lanes), aligned(sizeof(double)), may_alias));

inline Lanes load(double const * p) { return *reinterpret_cast<LanesInMemory const *>(p); } // any address of a double
inline void store(double * p, Lanes x) { *reinterpret_cast<LanesInMemory *>(p) = x; }
inline Lanes broadcast(double x) { return x - Lanes{}; } // 0.0 + x would lose the sign of -0.0

/// Prefetches for reading what p[offset] would be: it may lie past the end, where no pointer may point.
template <int locality> inline void prefetch(double const * p, ptrdiff_t offset) {
    size_t const address = reinterpret_cast<size_t>(p) + static_cast<size_t>(offset) * sizeof(double);
    __builtin_prefetch(reinterpret_cast<void const *>(address), 0, locality); // NOLINT(performance-no-int-to-ptr)
}

inline Lanes magnitude(Lanes x) {
    typedef long long Bits __attribute__((vector_size(sizeof(double) * lanes)));
    return reinterpret_cast<Lanes>(reinterpret_cast<Bits>(x) & 0x7fffffffffffffff);
}

/// Whether rows of a block with leading dimension ld have room for `cols` elements each.
inline bool has_room([[maybe_unused]] int rows, [[maybe_unused]] int cols, [[maybe_unused]] ptrdiff_t ld) {
    return rows < 2 || cols <= ld;
}
