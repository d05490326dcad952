// The panel of a triangular factorisation: columns stand contiguous, one after the other, so that a lane is a row.
// Included after mlKernelSource.h, with `largest_lane`, `first_equal_lane` and `lane_numbers`.
//
// Vectors stand at multiples of their length, always the same ones: a load that spans two stores just made would wait
// for both. So the first vector of a range holds rows that come before it, which are selected out, and the last one
// rows behind the panel, zeros at first, which only become NaN and win no search.

/// Columns whose updates reach the columns behind them together.
constexpr int group_cols = 4;

/// Where the vector that holds row i begins.
inline int vector_of(int i) { return i / lanes * lanes; }

/// x in the rows from `first` on, `before` in those before it, in the vector that begins at row i.
inline Lanes from_row(int first, int i, Lanes x, Lanes before) {
    return lane_numbers >= broadcast(first - i) ? x : before;
}

/// The row of the largest magnitude, the first of equal ones, from row k on.
inline int first_largest(int k, int rows, double const * x) {
    double const front = fabs(x[k]);
    if (!(front == front)) return k; // nothing exceeds a NaN
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
    while (lane == lanes) {
        i += lanes;
        lane = first_equal_lane(magnitude(load(x + i)), largest);
    }
    return i + lane;
}

/// Rows [first, rows) of x.
inline void divide_from(int first, int rows, double * x, double divisor) {
    Lanes const divisors = broadcast(divisor);
    int i = vector_of(first);
    store(x + i, from_row(first, i, load(x + i) / divisors, load(x + i)));
    for (i += lanes; i < rows; i += lanes)
        store(x + i, load(x + i) / divisors);
}

/// Column y takes the updates of the `count` eliminated columns x whose pivots are rows k, k + 1 ...
template <int count> inline void update_column(int k, int rows, double * y, double const * x, ptrdiff_t ld) {
    Lanes factors[count];
    for (int c = 0; c < count; ++c) {
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

inline void exchange_rows(int width, double * panel, ptrdiff_t ld, int k, int p) {
    for (int j = 0; j < width; ++j) {
        double const x = panel[j * ld + k];
        panel[j * ld + k] = panel[j * ld + p];
        panel[j * ld + p] = x;
    }
}

int factor_panel(int rows, int width, double * panel, ptrdiff_t ld, double tolerance, int * pivot_rows) {
    int first = 0; // of the group
    for (int k = 0; k < width; ++k) {
        double * const column = panel + k * ld;
        int const p = pivot_rows[k] = first_largest(k, rows, column);
        if (p != k) exchange_rows(width, panel, ld, k, p);
        int const end = first + group_cols < width ? first + group_cols : width;
        if (tolerance > fabs(column[k])) {
            for (; first < k; ++first) {
                for (int j = end; j < width; ++j)
                    update_column<1>(first, rows, panel + j * ld, panel + first * ld, ld);
            }
            return k;
        }
        if (k + 1 == rows) return width;
        divide_from(k + 1, rows, column, column[k]);
        for (int j = k + 1; j < end; ++j)
            update_column<1>(k, rows, panel + j * ld, column, ld);
        if (k + 1 == end) {
            for (int j = end; j < width; ++j)
                update_column<group_cols>(first, rows, panel + j * ld, panel + first * ld, ld);
            first = end;
        }
    }
    return width;
}

void divide(int n, double * x, double divisor) { divide_from(0, n, x, divisor); }
