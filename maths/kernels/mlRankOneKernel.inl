// Rank-one updates, `rank_one_update` of mlKernels.h, and one together with z += A^T w in one sweep of memory,
// `update_gemv_transposed`. Included after mlKernelSource.inl.
//
// A lane is a column. A row's last vector may hold columns past the end: they are read and written with the others, and
// what they hold does not matter.

/// A normalised number, an infinity among them: neither zero nor denormal nor NaN.
inline bool is_nonzero(double x) { return fabs(x) >= DBL_MIN; }

bool all_nonzero(int n, double const * x) {
    int zeros = 0;
    for (int i = 0; i < n; ++i)
        zeros |= !is_nonzero(x[i]);
    return !zeros;
}

/// x + u v in the lanes whose v is non-zero in this sense, x in the others. With all_v_nonzero all of them are.
template <bool all_v_nonzero> inline Lanes add_product(Lanes x, Lanes u, Lanes v) {
    if (all_v_nonzero) return x + u * v;
    return magnitude(v) >= DBL_MIN ? x + u * v : x;
}

/// `rows` rows: with the update, if it `updates`, and with the sums z, if it is `summed`.
template <int rows, bool all_v_nonzero, bool updates, bool summed>
inline void update_rows(int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z) {
    Lanes u[rows], weight[rows];
    for (int r = 0; r < rows; ++r) {
        if (updates) u[r] = broadcast(update.column[r]);
        if (summed) weight[r] = broadcast(w[r]);
    }
    for (int j = 0; j < cols; j += lanes) {
        Lanes const v = updates ? load(update.row + j) : Lanes{};
        Lanes sum = summed ? load(z + j) : Lanes{};
        for (int r = 0; r < rows; ++r) {
            double * const at = a.data + r * a.ld + j;
            Lanes element = load(at);
            if (updates) {
                element = add_product<all_v_nonzero>(element, u[r], v);
                store(at, element);
            }
            if (summed) sum += weight[r] * element;
        }
        if (summed) store(z + j, sum);
    }
}

/// All rows: in blocks of `height`, the rest in blocks of half of that and so on.
template <int height, bool all_v_nonzero, bool updates, bool summed>
inline void update_in_blocks(int rows, int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z) {
    auto const a_from = [&](int r) { return mlBlock{a.data + r * a.ld, a.ld}; };
    auto const update_from = [&](int r) { return mlRankOneUpdate{updates ? update.column + r : nullptr, update.row}; };
    auto const w_from = [&](int r) { return summed ? w + r : nullptr; };
    int r = 0;
    for (; r + height <= rows; r += height)
        update_rows<height, all_v_nonzero, updates, summed>(cols, a_from(r), update_from(r), w_from(r), z);
    if constexpr (height > 1) {
        if (r < rows)
            update_in_blocks<height / 2, all_v_nonzero, updates, summed>(rows - r, cols, a_from(r), update_from(r),
                                                                         w_from(r), z);
    }
}

template <bool updates, bool summed>
void update_all(int rows, int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z) {
    MATHS_CHECK(rows >= 0 && cols >= 0 && has_room(rows, cols + ml_max_lanes - 1, a.ld),
                "kernel rank_one_update: %d x %d and padding, leading dimension %d", rows, cols,
                static_cast<int>(a.ld));
    if (!updates || all_nonzero(cols, update.row))
        update_in_blocks<shape.tile_rows, true, updates, summed>(rows, cols, a, update, w, z);
    else
        update_in_blocks<shape.tile_rows, false, updates, summed>(rows, cols, a, update, w, z);
}

void rank_one_update(int rows, int cols, mlBlock a, mlRankOneUpdate update) {
    if (update.column != nullptr) update_all<true, false>(rows, cols, a, update, nullptr, nullptr);
}

void update_gemv_transposed(int rows, int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z) {
    if (update.column == nullptr)
        update_all<false, true>(rows, cols, a, update, w, z);
    else
        update_all<true, true>(rows, cols, a, update, w, z);
}
