// LU factors of a panel with partial pivoting, `factor_panel` of mlKernels.h, which has the whole contract, and
// `divide`. The panel has `rows` rows and `cols` <= rows columns; element (i, j) is panel[j * ld + i], and ld is at
// least `rows` rounded up to a multiple of ml_max_lanes. Included after mlKernelSource.inl, with
//
//     lane_numbers                0.0, 1.0, 2.0, ...
//     largest_lane(x)             the largest lane of x, which holds no NaN
//     first_equal_lane(x, y)      the first lane that is equal in both, `lanes` when none is
//
// Columns are contiguous, so that a lane is a row. Vectors always hold the rows [i, i + lanes) for a multiple i of
// lanes, always the same ones: a load that spans two stores just made would wait for both. So the first vector of a
// range of rows holds rows before it too, which are selected out. The last one holds rows past the panel's end. They
// hold 0.0 at first, later 0.0, -0.0 or NaN. The search for a pivot never returns them: it starts from |x[k]| >= 0, a
// zero is not larger, a NaN compares false, and of equal magnitudes the first row is taken.

/// The row that begins the vector which holds row i.
inline int vector_of(int i) { return i / lanes * lanes; }

/// Of the vector that begins at row i: x in the rows from `first` on, `before` in those before it.
inline Lanes from_row(int first, int i, Lanes x, Lanes before) {
    return lane_numbers >= broadcast(first - i) ? x : before;
}

/// The pivot's row: of rows k .. rows - 1 of the column x the first with the largest magnitude; k when x[k] is NaN. A
/// NaN below it is never found.
inline int find_pivot(int k, int rows, double const * x) {
    double const front = fabs(x[k]);
    if (!(front == front)) return k; // no comparison with a NaN holds
    Lanes const none = broadcast(-1.0);
    int i = vector_of(k);
    Lanes const first_magnitudes = from_row(k, i, magnitude(load(x + i)), none);
    Lanes largest = broadcast(front);
    largest = first_magnitudes > largest ? first_magnitudes : largest; // a NaN never replaces
    for (int later = i + lanes; later < rows; later += lanes) {
        Lanes const m = magnitude(load(x + later));
        largest = m > largest ? m : largest;
    }
    largest = broadcast(largest_lane(largest));
    int lane = first_equal_lane(first_magnitudes, largest);
    while (lane == lanes) { // ends: the largest is one of them
        i += lanes;
        lane = first_equal_lane(magnitude(load(x + i)), largest);
    }
    return i + lane;
}

/// x[i] /= divisor for the rows [first, rows), first < rows.
inline void divide_from(int first, int rows, double * x, double divisor) {
    Lanes const divisors = broadcast(divisor);
    int i = vector_of(first);
    store(x + i, from_row(first, i, load(x + i) / divisors, load(x + i)));
    for (i += lanes; i < rows; i += lanes)
        store(x + i, load(x + i) / divisors);
}

/// Column y receives the updates of the `count` columns from x on, which were eliminated by the pivots of rows k,
/// k + 1, ..., k + count - 1: y[i] -= x[c * ld + i] * y[k + c] for k + c < i < rows, in increasing c for every i.
/// There is a row below these pivots: k + count < rows.
template <int count> inline void update_column(int k, int rows, double * y, double const * x, ptrdiff_t ld) {
    Lanes factors[count];
    for (int c = 0; c < count; ++c) { // in the pivots' own rows first: these are the factors of the others
        for (int earlier = 0; earlier < c; ++earlier)
            y[k + c] -= x[earlier * ld + k + c] * y[k + earlier];
        factors[c] = broadcast(y[k + c]);
    }
    auto const updated = [&](int i) {
        Lanes rest = load(y + i);
        for (int c = 0; c < count; ++c)
            rest -= load(x + c * ld + i) * factors[c];
        return rest;
    };
    int i = vector_of(k + count);
    store(y + i, from_row(k + count, i, updated(i), load(y + i)));
    for (i += lanes; i < rows; i += lanes)
        store(y + i, updated(i));
}

inline void swap_rows(int cols, double * panel, ptrdiff_t ld, int k, int p) {
    for (int j = 0; j < cols; ++j) {
        double const x = panel[j * ld + k];
        panel[j * ld + k] = panel[j * ld + p];
        panel[j * ld + p] = x;
    }
}

/// Returns how many columns were eliminated: `cols`, or k when the pivot of column k is below the tolerance in
/// magnitude, which a NaN is not. pivot_rows[k] is the row that changed places with row k, for the failing column too;
/// a column keeps the multipliers below its pivot.
///
/// Columns are eliminated in groups of group_cols, [first, end) being the group at work. A column updates the rest of
/// its group immediately; the columns after the group receive the updates of all of it together when it is complete;
/// when a pivot fails, those of the columns before that one, one by one.
int factor_panel(int rows, int cols, double * panel, ptrdiff_t ld, double tolerance, int * pivot_rows) {
    constexpr int group_cols = ml_tuning::panel_group_cols;
    MATHS_CHECK(cols >= 0 && cols <= rows && (rows + ml_max_lanes - 1) / ml_max_lanes * ml_max_lanes <= ld,
                "kernel factor_panel: %d x %d, leading dimension %d", rows, cols, static_cast<int>(ld));
    // (The rounding up is ml_padded's: inline functions of other headers don't come in here, see mlKernelSource.inl.)
    int first = 0;
    for (int k = 0; k < cols; ++k) {
        double * const column = panel + k * ld;
        int const p = pivot_rows[k] = find_pivot(k, rows, column);
        if (p != k) swap_rows(cols, panel, ld, k, p);
        int const end = first + group_cols < cols ? first + group_cols : cols;
        if (tolerance > fabs(column[k])) {
            for (int done = first; done < k; ++done) {
                for (int j = end; j < cols; ++j)
                    update_column<1>(done, rows, panel + j * ld, panel + done * ld, ld);
            }
            return k;
        }
        if (k + 1 == rows) return cols; // the last row: nothing is below it, and k is the last column too
        divide_from(k + 1, rows, column, column[k]);
        for (int j = k + 1; j < end; ++j)
            update_column<1>(k, rows, panel + j * ld, column, ld);
        if (k + 1 == end) { // a group of fewer columns is the last, after which no column is left
            for (int j = end; j < cols; ++j)
                update_column<group_cols>(first, rows, panel + j * ld, panel + first * ld, ld);
            first = end;
        }
    }
    return cols;
}

void divide(int n, double * x, double divisor) {
    MATHS_CHECK(n >= 0 && n % ml_max_lanes == 0, "kernel divide: %d elements", n);
    Lanes const divisors = broadcast(divisor);
    for (int i = 0; i < n; i += lanes)
        store(x + i, load(x + i) / divisors);
}
