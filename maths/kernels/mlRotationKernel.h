// Rotations of columns. Included after mlKernelSource.h. A lane is a row.

inline void rotate_lanes(Lanes & x, Lanes & y, Lanes c, Lanes s) {
    Lanes const before = x;
    x = c * before + s * y;
    y = c * y - s * before;
}

void rotate(int n, double * x, double * y, mlRotation const & rotation) {
    Lanes const c = broadcast(rotation.c), s = broadcast(rotation.s);
    for (int i = 0; i < n; i += lanes) {
        Lanes x_lanes = load(x + i), y_lanes = load(y + i);
        rotate_lanes(x_lanes, y_lanes, c, s);
        store(x + i, x_lanes);
        store(y + i, y_lanes);
    }
}

/// The second column of a rotation stays in registers, since it is the first of the next.
inline void rotate_strip(mlRotationRun const & run, mlRotation const * rotations, double * strip) {
    constexpr int vecs = mlRotationRun::strip_rows / lanes;
    double * first = strip + static_cast<ptrdiff_t>(run.first) * mlRotationRun::strip_rows;
    double * second = strip + static_cast<ptrdiff_t>(run.second) * mlRotationRun::strip_rows;
    Lanes held[vecs];
    for (int v = 0; v < vecs; ++v)
        held[v] = load(first + v * lanes);
    for (int i = 0; i < run.count; ++i) {
        Lanes const c = broadcast(rotations[i].c), s = broadcast(rotations[i].s);
        for (int v = 0; v < vecs; ++v) {
            Lanes next = load(second + v * lanes);
            rotate_lanes(held[v], next, c, s);
            store(first + v * lanes, held[v]);
            held[v] = next;
        }
        first = second;
        second += mlRotationRun::strip_rows;
    }
    for (int v = 0; v < vecs; ++v)
        store(first + v * lanes, held[v]);
}

void rotate_strips(int strips, int cols, double * x, int run_count, mlRotationRun const * runs,
                   mlRotation const * rotations) {
    for (int i = 0; i < strips; ++i, x += static_cast<ptrdiff_t>(cols) * mlRotationRun::strip_rows) {
        mlRotation const * of_run = rotations;
        for (int k = 0; k < run_count; of_run += runs[k++].count)
            rotate_strip(runs[k], of_run, x);
    }
}
