// y = a x and y -= a x: `gemv` and `gemv_subtract` of mlKernels.h. Included after mlKernelSource.inl, with `transpose`
// for a square of registers.
//
// A lane is a row: squares of a, lanes x lanes, are loaded by rows and transposed in registers, and each column of a
// square then takes one multiply and one add, in order. Several groups of `lanes` rows are in flight, since one alone
// would wait for its adds.

/// sum += (or -=) square x, for the first `width` columns of the square: lane r takes row r's terms one by one in the
/// order of the columns.
template <bool subtract> inline void add_columns(Lanes & sum, Lanes const * columns, double const * x, int width) {
    for (int k = 0; k < width; ++k) {
        if (subtract)
            sum -= columns[k] * broadcast(x[k]);
        else
            sum += columns[k] * broadcast(x[k]);
    }
}

/// The elements y[0 .. groups * lanes); when they are `partial`, groups is 1 and only the first `rows` < lanes exist.
template <int groups, bool partial, bool subtract>
inline void gemv_groups(int rows, int cols, mlConstBlock a, double const * x, double * y) {
    double const * row[groups * lanes];
    for (int r = 0; r < groups * lanes; ++r) // lanes without a row repeat the last one, and are dropped at the end
        row[r] = a.data + (partial && r >= rows ? rows - 1 : r) * a.ld;

    Lanes sums[groups];
    for (int g = 0; g < groups; ++g) {
        if (!subtract)
            sums[g] = Lanes{};
        else
            sums[g] = partial ? load_partial(y + g * lanes, rows) : load(y + g * lanes);
    }
    Lanes square[lanes];
    int k = 0;
    for (; k + lanes <= cols; k += lanes) {
        for (int g = 0; g < groups; ++g) {
            for (int r = 0; r < lanes; ++r)
                square[r] = load(row[g * lanes + r] + k);
            transpose(square);
            add_columns<subtract>(sums[g], square, x + k, lanes);
        }
    }
    for (int g = 0; g < groups && k < cols; ++g) {
        for (int r = 0; r < lanes; ++r)
            square[r] = load_partial(row[g * lanes + r] + k, cols - k);
        transpose(square);
        add_columns<subtract>(sums[g], square, x + k, cols - k);
    }
    for (int g = 0; g < groups; ++g) {
        if (partial)
            store_partial(y + g * lanes, sums[g], rows);
        else
            store(y + g * lanes, sums[g]);
    }
}

template <bool subtract> void gemv_in_groups(int rows, int cols, mlConstBlock a, double const * x, double * y) {
    MATHS_CHECK(rows >= 0 && cols >= 0 && has_room(rows, cols, a.ld), "kernel gemv: %d x %d, leading dimension %d",
                rows, cols, static_cast<int>(a.ld));
    constexpr int many = shape.gemv_groups * lanes;
    int r = 0;
    for (; r + many <= rows; r += many)
        gemv_groups<shape.gemv_groups, false, subtract>(many, cols, {a.data + r * a.ld, a.ld}, x, y + r);
    for (; r + lanes <= rows; r += lanes)
        gemv_groups<1, false, subtract>(lanes, cols, {a.data + r * a.ld, a.ld}, x, y + r);
    if (r < rows) gemv_groups<1, true, subtract>(rows - r, cols, {a.data + r * a.ld, a.ld}, x, y + r);
}

void gemv(int rows, int cols, mlConstBlock a, double const * x, double * y) {
    gemv_in_groups<false>(rows, cols, a, x, y);
}

void gemv_subtract(int rows, int cols, mlConstBlock a, double const * x, double * y) {
    gemv_in_groups<true>(rows, cols, a, x, y);
}
