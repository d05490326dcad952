// Sums along the rows of a matrix, and the change of rank one that is still owed to it, in one sweep of memory.
// Included after mlReflectionKernel.h, with `transpose` and `row_groups_in_flight`.
//
// The change is made with a lane a column; the squares, still in registers, are then transposed, and a lane is a row.

/// The columns [j, j + width) of the rows first .. first + lanes - 1, of which `rows` exist, into `columns`.
template <bool partial, bool all, bool changes>
inline void changed_square(int first, int rows, int j, mlBlock x, mlRankOne change, Lanes (&columns)[lanes]) {
    Lanes const factor = changes ? load(change.row + j) : Lanes{};
    for (int r = 0; r < lanes; ++r) {
        if (partial && r >= rows) {
            columns[r] = Lanes{};
            continue;
        }
        double * const at = x.first + (first + r) * x.ld + j;
        columns[r] = load(at);
        if (changes) {
            columns[r] = add_counting<all>(columns[r], broadcast(change.column[first + r]), factor);
            store(at, columns[r]);
        }
    }
    transpose(columns);
}

/// `groups` vectors of rows, of which the first `rows` exist.
template <int groups, bool partial, bool all, bool changes>
inline void row_sums_of_groups(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums) {
    Lanes sum[groups];
    for (int g = 0; g < groups; ++g)
        sum[g] = Lanes{};
    Lanes columns[lanes];
    int j = 0;
    for (; j + lanes <= cols; j += lanes) {
        for (int g = 0; g < groups; ++g) {
            changed_square<partial, all, changes>(g * lanes, rows - g * lanes, j, x, change, columns);
            for (int k = 0; k < lanes; ++k) {
                if (all || fabs(weights[j + k]) >= DBL_MIN) sum[g] += columns[k] * broadcast(weights[j + k]);
            }
        }
    }
    for (int g = 0; g < groups && j < cols; ++g) {
        changed_square<partial, all, changes>(g * lanes, rows - g * lanes, j, x, change, columns);
        for (int k = 0; j + k < cols; ++k) {
            if (all || fabs(weights[j + k]) >= DBL_MIN) sum[g] += columns[k] * broadcast(weights[j + k]);
        }
    }
    for (int g = 0; g < groups; ++g) {
        if (!partial || rows - g * lanes >= lanes)
            store(sums + g * lanes, sum[g]);
        else if (rows > g * lanes)
            store_partial(sums + g * lanes, sum[g], rows - g * lanes);
    }
}

template <bool all, bool changes>
void row_sums(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums) {
    constexpr int many = row_groups_in_flight * lanes;
    for (int i = 0; i < rows; i += many) {
        int const left = rows - i;
        mlBlock const below{x.first + i * x.ld, x.ld};
        mlRankOne const to_those{changes ? change.column + i : nullptr, change.row};
        if (left >= many)
            row_sums_of_groups<row_groups_in_flight, false, all, changes>(many, cols, below, to_those, weights,
                                                                          sums + i);
        else if (left <= lanes)
            row_sums_of_groups<1, true, all, changes>(left, cols, below, to_those, weights, sums + i);
        else
            row_sums_of_groups<row_groups_in_flight, true, all, changes>(left, cols, below, to_those, weights,
                                                                         sums + i);
    }
}

void sum_rows(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums) {
    bool const weights_count = all_count(cols, weights);
    if (change.column == nullptr && weights_count)
        row_sums<true, false>(rows, cols, x, change, weights, sums);
    else if (change.column == nullptr)
        row_sums<false, false>(rows, cols, x, change, weights, sums);
    else if (weights_count && all_count(cols, change.row))
        row_sums<true, true>(rows, cols, x, change, weights, sums);
    else
        row_sums<false, true>(rows, cols, x, change, weights, sums);
}
