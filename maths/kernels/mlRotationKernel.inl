// Rotations of columns: `rotate` and `rotate_strips` of mlKernels.h. Included after mlKernelSource.inl. A lane is a
// row.

inline void rotate_lanes(Lanes & x, Lanes & y, Lanes c, Lanes s) {
    Lanes const before = x;
    x = c * before + s * y;
    y = c * y - s * before;
}

void rotate(int n, double * x, double * y, mlRotation const & rotation) {
    MATHS_CHECK(n >= 0 && n % ml_max_lanes == 0, "kernel rotate: %d elements", n);
    Lanes const c = broadcast(rotation.c), s = broadcast(rotation.s);
    for (int i = 0; i < n; i += lanes) {
        Lanes x_lanes = load(x + i), y_lanes = load(y + i);
        rotate_lanes(x_lanes, y_lanes, c, s);
        store(x + i, x_lanes);
        store(y + i, y_lanes);
    }
}

/// One chain, with its own rotations, for the columns of one strip. The second column of a rotation stays in registers,
/// since it is the first of the next; it is stored when it has been that, or at the end. So only the column in
/// registers is out of date in memory, and no second column is ever that one: the chain's `first` may come again.
inline void rotate_strip(mlRotationChain const & chain, mlRotation const * rotations, double * strip) {
    constexpr int vecs = mlKernels::strip_rows / lanes;
    double * first = strip + static_cast<ptrdiff_t>(chain.first) * mlKernels::strip_rows;
    double * second = strip + static_cast<ptrdiff_t>(chain.second) * mlKernels::strip_rows;
    Lanes held[vecs];
    for (int v = 0; v < vecs; ++v)
        held[v] = load(first + v * lanes);
    for (int i = 0; i < chain.count; ++i) {
        Lanes const c = broadcast(rotations[i].c), s = broadcast(rotations[i].s);
        for (int v = 0; v < vecs; ++v) {
            Lanes next = load(second + v * lanes);
            rotate_lanes(held[v], next, c, s);
            store(first + v * lanes, held[v]);
            held[v] = next;
        }
        first = second;
        second += chain.step * mlKernels::strip_rows;
    }
    for (int v = 0; v < vecs; ++v)
        store(first + v * lanes, held[v]);
}

void rotate_strips(int strips, int cols, double * x, int chain_count, mlRotationChain const * chains,
                   mlRotation const * rotations) {
    for (int i = 0; i < strips; ++i, x += static_cast<ptrdiff_t>(cols) * mlKernels::strip_rows) {
        mlRotation const * of_chain = rotations;
        for (int k = 0; k < chain_count; of_chain += chains[k++].count) {
            MATHS_CHECK(chains[k].first >= 0 && chains[k].first < cols && chains[k].second >= 0 &&
                            chains[k].second < cols && chains[k].second != chains[k].first &&
                            chains[k].second + chains[k].count * chains[k].step >= -1 &&
                            chains[k].second + chains[k].count * chains[k].step <= cols,
                        "kernel rotate_strips: columns %d, %d and on, %d rotations, step %d, %d columns",
                        chains[k].first, chains[k].second, chains[k].count, chains[k].step, cols);
            rotate_strip(chains[k], of_chain, x);
        }
    }
}
