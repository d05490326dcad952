// Triangular systems with many right-hand sides whose rows take their terms latest first. Included after
// mlKernelSource.h, with `strip_vecs`.
//
// A row's first term is the row solved last, so no two rows can go side by side: what does is columns, up to strip_vecs
// vectors of them.

/// Triangles of more rows don't stay in the nearest caches: the factors of the next row are asked for in time.
constexpr int many_rows = 256;

/// Rows [first, end) of `vecs` vectors of columns.
template <int vecs> inline void solve_strip(int first, int end, mlTriangle l, mlBlock x) {
    for (int t = first; t < end; ++t) {
        double const * const factors = l.first + t * l.row_step;
        double * const row = x.first + t * x.ld;
        Lanes rest[vecs];
        for (int v = 0; v < vecs; ++v)
            rest[v] = load(row + v * lanes);
        bool const far = t > many_rows;
        for (int s = t - 1; s >= 0; --s) {
            if (far) prefetch<2>(factors, l.row_step + s * l.step);
            Lanes const factor = broadcast(factors[s * l.step]);
            double const * const solved = x.first + s * x.ld;
            for (int v = 0; v < vecs; ++v)
                rest[v] -= factor * load(solved + v * lanes);
        }
        if (l.diagonal != nullptr) {
            Lanes const divisor = broadcast(l.diagonal[t * l.diagonal_step]);
            for (int v = 0; v < vecs; ++v)
                rest[v] /= divisor;
        }
        for (int v = 0; v < vecs; ++v)
            store(row + v * lanes, rest[v]);
    }
}

/// A strip of at most `vecs` vectors of columns.
template <int vecs> inline void solve_strip_of(int width, int first, int end, mlTriangle l, mlBlock x) {
    if constexpr (vecs > 1) {
        if (width <= (vecs - 1) * lanes) return solve_strip_of<vecs - 1>(width, first, end, l, x);
    }
    solve_strip<vecs>(first, end, l, x);
}

void solve_latest_first(int first, int end, int width, mlTriangle l, mlBlock x) {
    constexpr int step = strip_vecs * lanes;
    for (int j = 0; j < width; j += step)
        solve_strip_of<strip_vecs>(width - j, first, end, l, {x.first + j, x.ld});
}
