// What the kernels are written in. Included by one source per instruction set, inside a namespace of its own that
// defines
//
//     lanes                  doubles in a vector register
//     Lanes                  that register
//     load_partial, store_partial
//
// and, for the loops that it includes after this, what their headers ask for. Nothing of the standard C++ library comes
// in here: an inline function compiled for a newer instruction set might be the copy that the linker keeps for all.

typedef double LanesInMemory __attribute__((vector_size(8 * lanes), aligned(8), may_alias));

inline Lanes load(double const * p) { return *reinterpret_cast<LanesInMemory const *>(p); }
inline void store(double * p, Lanes x) { *reinterpret_cast<LanesInMemory *>(p) = x; }
inline Lanes broadcast(double x) { return x - Lanes{}; } // 0.0 + x would lose the sign of -0.0

/// Asks for the memory that p[offset] would have: it may lie past the end, where no pointer may point.
template <int locality> inline void prefetch(double const * p, ptrdiff_t offset) {
    size_t const address = reinterpret_cast<size_t>(p) + static_cast<size_t>(offset) * sizeof(double);
    __builtin_prefetch(reinterpret_cast<void const *>(address), 0, locality); // NOLINT(performance-no-int-to-ptr)
}

inline Lanes magnitude(Lanes x) {
    typedef long long Bits __attribute__((vector_size(8 * lanes)));
    return reinterpret_cast<Lanes>(reinterpret_cast<Bits>(x) & 0x7fffffffffffffff);
}
