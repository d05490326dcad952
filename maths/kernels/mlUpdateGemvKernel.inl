// A rank-one update together with z = A w in one sweep of memory: `update_gemv` of mlKernels.h. Included after
// mlRankOneKernel.inl, with `transpose` for a square of registers.
//
// The update is made with a lane a column; the squares, still in registers, are then transposed, and a lane is a row:
// each column of a square takes one multiply and one add, in order.

/// Updates columns [j, j + lanes) of the `lanes` rows from `first` on and puts them into `columns`, transposed. When
/// they are `partial`, only the first `rows` of the rows exist, which may be none; the others are zeros.
template <bool partial, bool no_zeros, bool updates>
inline void updated_square(int first, int rows, int j, mlBlock a, mlRankOneUpdate update, Lanes (&columns)[lanes]) {
    Lanes const v = updates ? load(update.row + j) : Lanes{};
    for (int r = 0; r < lanes; ++r) {
        if (partial && r >= rows) {
            columns[r] = Lanes{};
            continue;
        }
        double * const at = a.data + (first + r) * a.ld + j;
        columns[r] = load(at);
        if (updates) {
            columns[r] = add_product<no_zeros>(columns[r], broadcast(update.column[first + r]), v);
            store(at, columns[r]);
        }
    }
    transpose(columns);
}

/// z[0 .. rows), rows <= groups * lanes. Fewer than that only when they are `partial`.
template <int groups, bool partial, bool no_zeros, bool updates>
inline void update_gemv_groups(int rows, int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z) {
    Lanes sum[groups];
    for (int g = 0; g < groups; ++g)
        sum[g] = Lanes{};
    Lanes columns[lanes];
    int j = 0;
    for (; j + lanes <= cols; j += lanes) {
        for (int g = 0; g < groups; ++g) {
            updated_square<partial, no_zeros, updates>(g * lanes, rows - g * lanes, j, a, update, columns);
            for (int k = 0; k < lanes; ++k) {
                if (no_zeros || is_nonzero(w[j + k])) sum[g] += columns[k] * broadcast(w[j + k]);
            }
        }
    }
    for (int g = 0; g < groups && j < cols; ++g) { // the last columns, and padding
        updated_square<partial, no_zeros, updates>(g * lanes, rows - g * lanes, j, a, update, columns);
        for (int k = 0; j + k < cols; ++k) {
            if (no_zeros || is_nonzero(w[j + k])) sum[g] += columns[k] * broadcast(w[j + k]);
        }
    }
    for (int g = 0; g < groups; ++g) {
        if (!partial || rows - g * lanes >= lanes)
            store(z + g * lanes, sum[g]);
        else if (rows > g * lanes)
            store_partial(z + g * lanes, sum[g], rows - g * lanes);
    }
}

/// no_zeros: every element of w, and of the update's row, is non-zero.
template <bool no_zeros, bool updates>
void update_gemv_in_groups(int rows, int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z) {
    constexpr int groups = shape.gemv_groups, many = groups * lanes;
    for (int i = 0; i < rows; i += many) {
        int const left = rows - i;
        mlBlock const below{a.data + i * a.ld, a.ld};
        mlRankOneUpdate const update_below{updates ? update.column + i : nullptr, update.row};
        if (left >= many)
            update_gemv_groups<groups, false, no_zeros, updates>(many, cols, below, update_below, w, z + i);
        else if (left <= lanes)
            update_gemv_groups<1, true, no_zeros, updates>(left, cols, below, update_below, w, z + i);
        else
            update_gemv_groups<groups, true, no_zeros, updates>(left, cols, below, update_below, w, z + i);
    }
}

void update_gemv(int rows, int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z) {
    MATHS_CHECK(rows >= 0 && cols >= 0 && has_room(rows, cols + ml_max_lanes - 1, a.ld),
                "kernel update_gemv: %d x %d and padding, leading dimension %d", rows, cols, static_cast<int>(a.ld));
    bool const w_nonzero = all_nonzero(cols, w);
    if (update.column == nullptr && w_nonzero)
        update_gemv_in_groups<true, false>(rows, cols, a, update, w, z);
    else if (update.column == nullptr)
        update_gemv_in_groups<false, false>(rows, cols, a, update, w, z);
    else if (w_nonzero && all_nonzero(cols, update.row))
        update_gemv_in_groups<true, true>(rows, cols, a, update, w, z);
    else
        update_gemv_in_groups<false, true>(rows, cols, a, update, w, z);
}
