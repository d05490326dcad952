// y = a x and y -= a x. Included after mlKernelSource.h, with `transpose` for a square of registers and
// `row_groups_in_flight`.
//
// A lane is a row: squares of a are loaded by rows and transposed in registers, and each column of a square then takes
// one multiply and one add, in order. Several groups of rows are in flight, since one alone would wait for its adds.

/// sum +- square x: lane r takes row r's terms in the order of the columns.
template <bool subtract> inline void add_columns(Lanes & sum, Lanes const * columns, double const * x, int width) {
    for (int k = 0; k < width; ++k) {
        if (subtract)
            sum -= columns[k] * broadcast(x[k]);
        else
            sum += columns[k] * broadcast(x[k]);
    }
}

/// `groups` vectors of y, of which the first `rows` elements exist.
template <int groups, bool partial, bool subtract>
inline void row_groups(int rows, int depth, mlConstBlock a, double const * x, double * y) {
    double const * row[groups * lanes];
    for (int r = 0; r < groups * lanes; ++r) // lanes without a row repeat the last one, and are dropped at the end
        row[r] = a.first + (partial && r >= rows ? rows - 1 : r) * a.ld;

    Lanes sums[groups];
    for (int g = 0; g < groups; ++g) {
        if (!subtract)
            sums[g] = Lanes{};
        else
            sums[g] = partial ? load_partial(y + g * lanes, rows) : load(y + g * lanes);
    }
    Lanes square[lanes];
    int k = 0;
    for (; k + lanes <= depth; k += lanes) {
        for (int g = 0; g < groups; ++g) {
            for (int r = 0; r < lanes; ++r)
                square[r] = load(row[g * lanes + r] + k);
            transpose(square);
            add_columns<subtract>(sums[g], square, x + k, lanes);
        }
    }
    for (int g = 0; g < groups && k < depth; ++g) {
        for (int r = 0; r < lanes; ++r)
            square[r] = load_partial(row[g * lanes + r] + k, depth - k);
        transpose(square);
        add_columns<subtract>(sums[g], square, x + k, depth - k);
    }
    for (int g = 0; g < groups; ++g) {
        if (partial)
            store_partial(y + g * lanes, sums[g], rows);
        else
            store(y + g * lanes, sums[g]);
    }
}

template <bool subtract> void row_products(int rows, int depth, mlConstBlock a, double const * x, double * y) {
    constexpr int many = row_groups_in_flight * lanes;
    int r = 0;
    for (; r + many <= rows; r += many)
        row_groups<row_groups_in_flight, false, subtract>(many, depth, {a.first + r * a.ld, a.ld}, x, y + r);
    for (; r + lanes <= rows; r += lanes)
        row_groups<1, false, subtract>(lanes, depth, {a.first + r * a.ld, a.ld}, x, y + r);
    if (r < rows) row_groups<1, true, subtract>(rows - r, depth, {a.first + r * a.ld, a.ld}, x, y + r);
}

void multiply_vector(int rows, int depth, mlConstBlock a, double const * x, double * y) {
    row_products<false>(rows, depth, a, x, y);
}

void subtract_product_vector(int rows, int depth, mlConstBlock a, double const * x, double * y) {
    row_products<true>(rows, depth, a, x, y);
}
