// Triangular systems with many right-hand sides whose rows take their terms latest first: `solve_latest_first` of
// mlKernels.h. Included after mlKernelSource.inl.
//
// A row's first term is the row solved last, so no two rows can go side by side: what does is columns, up to
// shape.solve_vecs vectors of them.

/// Rows [begin, end) of `vecs` vectors of columns.
template <int vecs> inline void solve_strip(int begin, int end, mlTriangle l, mlBlock x) {
    for (int t = begin; t < end; ++t) {
        double const * const factors = l.data + t * l.row_stride;
        double * const row = x.data + t * x.ld;
        Lanes rest[vecs];
        for (int v = 0; v < vecs; ++v)
            rest[v] = load(row + v * lanes);
        bool const far = t > ml_tuning::solve_prefetch_after_row;
        for (int s = t - 1; s >= 0; --s) {
            if (far) prefetch<2>(factors, l.row_stride + s * l.col_stride);
            Lanes const factor = broadcast(factors[s * l.col_stride]);
            double const * const solved = x.data + s * x.ld;
            for (int v = 0; v < vecs; ++v)
                rest[v] -= factor * load(solved + v * lanes);
        }
        if (l.diagonal != nullptr) {
            Lanes const divisor = broadcast(l.diagonal[t * l.diagonal_stride]);
            for (int v = 0; v < vecs; ++v)
                rest[v] /= divisor;
        }
        for (int v = 0; v < vecs; ++v)
            store(row + v * lanes, rest[v]);
    }
}

/// 0 < width <= vecs * lanes columns, a multiple of lanes.
template <int vecs> inline void solve_strip_of(int width, int begin, int end, mlTriangle l, mlBlock x) {
    if constexpr (vecs > 1) {
        if (width <= (vecs - 1) * lanes) return solve_strip_of<vecs - 1>(width, begin, end, l, x);
    }
    solve_strip<vecs>(begin, end, l, x);
}

void solve_latest_first(int begin, int end, int width, mlTriangle l, mlBlock x) {
    MATHS_CHECK(begin >= 0 && width >= 0 && width % ml_max_lanes == 0 && has_room(end, width, x.ld < 0 ? -x.ld : x.ld),
                "kernel solve_latest_first: rows %d to %d, width %d, leading dimension %d", begin, end, width,
                static_cast<int>(x.ld));
    constexpr int step = shape.solve_vecs * lanes;
    for (int j = 0; j < width; j += step)
        solve_strip_of<shape.solve_vecs>(width - j, begin, end, l, {x.data + j, x.ld});
}
