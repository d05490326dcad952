// Sums down the columns of a matrix, and the change of rank one that is still owed to it, in one sweep of memory.
// Included after mlKernelSource.h, with `tile_rows`.
//
// A lane is a column. A row's last vector may hold columns that don't exist: they are read and written with the others,
// and nothing comes of them.

/// Whether all of x count as non-zero.
bool all_count(int n, double const * x) {
    int uncounted = 0;
    for (int i = 0; i < n; ++i)
        uncounted |= !(fabs(x[i]) >= DBL_MIN);
    return !uncounted;
}

/// x + y * factor, and x where the factor doesn't count. `all` of them count, or not.
template <bool all> inline Lanes add_counting(Lanes x, Lanes y, Lanes factor) {
    if (all) return x + y * factor;
    return magnitude(factor) >= DBL_MIN ? x + y * factor : x;
}

/// A block of rows, with a `change` and sums, or without.
template <int rows, bool all, bool changes, bool summed>
inline void column_sums_of_block(int cols, mlBlock x, mlRankOne change, double const * weights, double * sums) {
    Lanes owed[rows], weight[rows];
    for (int r = 0; r < rows; ++r) {
        if (changes) owed[r] = broadcast(change.column[r]);
        if (summed) weight[r] = broadcast(weights[r]);
    }
    for (int j = 0; j < cols; j += lanes) {
        Lanes const factor = changes ? load(change.row + j) : Lanes{};
        Lanes sum = summed ? load(sums + j) : Lanes{};
        for (int r = 0; r < rows; ++r) {
            double * const at = x.first + r * x.ld + j;
            Lanes element = load(at);
            if (changes) {
                element = add_counting<all>(element, owed[r], factor);
                store(at, element);
            }
            if (summed) sum += weight[r] * element;
        }
        if (summed) store(sums + j, sum);
    }
}

/// All rows: in blocks of `height`, then of half of that and so on.
template <int height, bool all, bool changes, bool summed>
inline void column_sums(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums) {
    auto const below = [&](int r) { return mlBlock{x.first + r * x.ld, x.ld}; };
    auto const to_those = [&](int r) { return mlRankOne{changes ? change.column + r : nullptr, change.row}; };
    int r = 0;
    for (; r + height <= rows; r += height)
        column_sums_of_block<height, all, changes, summed>(cols, below(r), to_those(r), weights + (summed ? r : 0),
                                                           sums);
    if constexpr (height > 1) {
        if (r < rows)
            column_sums<height / 2, all, changes, summed>(rows - r, cols, below(r), to_those(r),
                                                          weights + (summed ? r : 0), sums);
    }
}

template <bool changes, bool summed>
void column_sums(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums) {
    if (!changes || all_count(cols, change.row))
        column_sums<tile_rows, true, changes, summed>(rows, cols, x, change, weights, sums);
    else
        column_sums<tile_rows, false, changes, summed>(rows, cols, x, change, weights, sums);
}

void add_rank_one(int rows, int cols, mlBlock x, mlRankOne change) {
    if (change.column != nullptr) column_sums<true, false>(rows, cols, x, change, nullptr, nullptr);
}

void sum_columns(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums) {
    if (change.column == nullptr)
        column_sums<false, true>(rows, cols, x, change, weights, sums);
    else
        column_sums<true, true>(rows, cols, x, change, weights, sums);
}
