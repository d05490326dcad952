// c = a b, each element a sum from 0.0 in increasing k, and c -= a b, each element having its products subtracted one
// by one in increasing k: `gemm` and `gemm_subtract` of mlKernels.h. c is rows x cols, a rows x inner, b inner x cols,
// all stored by rows: element (i, j) of c is c.data[i * c.ld + j]. c is apart from a and b. Nothing past the last
// column is read or written: load_partial and store_partial take the lanes that exist. Included after
// mlKernelSource.inl.
//
// A tile of c, tile_rows rows by tile_vecs vectors of `lanes` columns, stays in registers while k runs:
//
//                                   row k of b:   [ . . . . ]   [ . . . . ]      tile_vecs loads
//
//     a(i    , k) in all lanes:  [ . . . . ]  x   [ c(i    , j ..) .... ]
//     a(i + 1, k) in all lanes:  [ . . . . ]  x   [ c(i + 1, j ..) .... ]        tile_rows broadcasts
//     a(i + 2, k) in all lanes:  [ . . . . ]  x   [ c(i + 2, j ..) .... ]
//     a(i + 3, k) in all lanes:  [ . . . . ]  x   [ c(i + 3, j ..) .... ]
//
//                 tile                    registers: tile + b + broadcast     a step k: loads, multiplies, adds
//     baseline    4 rows x 2 vectors      8 + 2 + 1 = 11 of 16                2 + 4     8     8
//     AVX2        4 rows x 2 vectors      8 + 2 + 1 = 11 of 16                2 + 4     8     8
//     AVX-512     4 rows x 6 vectors     24 + 6 + 1 = 31 of 32                6 + 4    24    24
//
// Each element of c is one lane of one register, so it takes its terms in increasing k whatever the tile.
//
// While b is small it is read in place. Otherwise the loops are, from the outside:
//
//     k in blocks of kc       between two of them c is kept in memory
//     rows in blocks of mc    whose mc x kc block of a stays in the second-level cache
//     columns in blocks of nc whose kc x nc block of b is copied together, again for each block of rows
//     tiles of the block      row of tiles by row of tiles

constexpr int tile_rows = shape.tile_rows;
constexpr int tile_vecs = shape.tile_vecs;
constexpr int tile_cols = tile_vecs * lanes;
constexpr int kc = ml_tuning::gemm_kc;
constexpr int mc = ml_tuning::gemm_mc;
constexpr int nc = ml_tuning::gemm_nc;
static_assert(nc % tile_cols == 0 && nc % ml_max_lanes == 0);
static_assert(tile_rows <= 16 && tile_vecs <= 8); // what the pragmas below unroll

/// What a sum starts from and does with its products: from 0.0, adds; from c, adds; from c, subtracts.
enum class Sum { fresh, continued, subtracted };

/// The tile of `rows` x `vecs` vectors at c. When it is `partial`, only the first `width` columns of its last vector
/// exist, 0 < width < lanes; else width is not read. The pragmas have its loops unrolled early: when a later pass of
/// the compiler unrolls them, it keeps the tile in memory besides registers.
template <int rows, int vecs, bool partial, Sum sum>
inline void gemm_tile(int inner, mlConstBlock a, mlConstBlock b, mlBlock c, int width) {
    Lanes tile[rows][vecs];
#pragma GCC unroll 16
    for (int r = 0; r < rows; ++r) {
#pragma GCC unroll 8
        for (int v = 0; v < vecs; ++v) {
            if (sum == Sum::fresh)
                tile[r][v] = Lanes{};
            else if (partial && v == vecs - 1)
                tile[r][v] = load_partial(c.data + r * c.ld + v * lanes, width);
            else
                tile[r][v] = load(c.data + r * c.ld + v * lanes);
        }
    }
    for (int k = 0; k < inner; ++k) {
        double const * const b_row = b.data + k * b.ld;
        Lanes b_vecs[vecs];
#pragma GCC unroll 8
        for (int v = 0; v < vecs; ++v)
            b_vecs[v] = partial && v == vecs - 1 ? load_partial(b_row + v * lanes, width) : load(b_row + v * lanes);
#pragma GCC unroll 16
        for (int r = 0; r < rows; ++r) {
            Lanes const factor = broadcast(a.data[r * a.ld + k]);
#pragma GCC unroll 8
            for (int v = 0; v < vecs; ++v) {
                if (sum == Sum::subtracted)
                    tile[r][v] -= factor * b_vecs[v];
                else
                    tile[r][v] += factor * b_vecs[v];
            }
        }
    }
#pragma GCC unroll 16
    for (int r = 0; r < rows; ++r) {
#pragma GCC unroll 8
        for (int v = 0; v < vecs; ++v) {
            double * const to = c.data + r * c.ld + v * lanes;
            if (partial && v == vecs - 1)
                store_partial(to, tile[r][v], width);
            else
                store(to, tile[r][v]);
        }
    }
}

/// The product for all rows of c and `vecs` vectors of its columns: in tiles of `height` rows, the rest in tiles of
/// half of that and so on.
template <int height, int vecs, bool partial, Sum sum>
inline void gemm_column_of_tiles(int rows, int inner, mlConstBlock a, mlConstBlock b, mlBlock c, int width) {
    int r = 0;
    for (; r + height <= rows; r += height)
        gemm_tile<height, vecs, partial, sum>(inner, {a.data + r * a.ld, a.ld}, b, {c.data + r * c.ld, c.ld}, width);
    if constexpr (height > 1) {
        if (r < rows)
            gemm_column_of_tiles<height / 2, vecs, partial, sum>(rows - r, inner, {a.data + r * a.ld, a.ld}, b,
                                                                 {c.data + r * c.ld, c.ld}, width);
    }
}

/// The product for all rows and 0 < cols <= vecs * lanes columns of c, in as few vectors as hold them, the last one
/// perhaps partial.
template <int vecs, Sum sum>
inline void gemm_strip(int cols, int rows, int inner, mlConstBlock a, mlConstBlock b, mlBlock c) {
    if constexpr (vecs > 1) {
        if (cols <= (vecs - 1) * lanes) return gemm_strip<vecs - 1, sum>(cols, rows, inner, a, b, c);
    }
    int const width = cols - (vecs - 1) * lanes;
    if (width == lanes)
        gemm_column_of_tiles<tile_rows, vecs, false, sum>(rows, inner, a, b, c, width);
    else
        gemm_column_of_tiles<tile_rows, vecs, true, sum>(rows, inner, a, b, c, width);
}

/// The product by tiles, with b read where it is, be that the matrix or its packed copy.
template <Sum sum> void gemm_in_tiles(int rows, int cols, int inner, mlConstBlock a, mlConstBlock b, mlBlock c) {
    for (int j = 0; j < cols; j += tile_cols)
        gemm_strip<tile_vecs, sum>(cols - j < tile_cols ? cols - j : tile_cols, rows, inner, a, {b.data + j, b.ld},
                                   {c.data + j, c.ld});
}

/// Prefetches nc columns of rows [begin, end), a cache line at a time. They may lie past the matrix: a prefetch reads
/// nothing.
inline void prefetch_rows(int begin, int end, mlConstBlock columns) {
    for (int r = begin; r < end; ++r) {
        for (int j = 0; j < nc; j += ml_max_lanes)
            prefetch<3>(columns.data, r * columns.ld + j);
    }
}

/// The product for a block of inner <= kc, with b copied nc columns at a time. While a row of tiles is computed, the
/// row of tiles of c below it and the next rows of the nc columns of b on the right are prefetched.
template <Sum sum> void gemm_packed(int rows, int cols, int inner, mlConstBlock a, mlConstBlock b, mlBlock c) {
    alignas(ml_max_lanes * sizeof(double)) double packed_b[kc * nc]; // row k at k * nc
    for (int j = 0; j < cols; j += nc) {
        int const width = cols - j < nc ? cols - j : nc;
        for (int k = 0; k < inner; ++k)
            memcpy(packed_b + k * nc, b.data + k * b.ld + j, width * sizeof(double));
        int next_row = 0; // of b
        for (int i = 0; i < rows; i += tile_rows) {
            int const height = rows - i < tile_rows ? rows - i : tile_rows;
            mlBlock const tiles{c.data + i * c.ld + j, c.ld};
            if (i + 2 * tile_rows <= rows) prefetch_rows(tile_rows, 2 * tile_rows, {tiles.data, tiles.ld});
            if (j + nc < cols && next_row + 2 * tile_rows <= inner) {
                prefetch_rows(next_row, next_row + 2 * tile_rows, {b.data + j + nc, b.ld});
                next_row += 2 * tile_rows;
            }
            gemm_in_tiles<sum>(height, width, inner, {a.data + i * a.ld, a.ld}, {packed_b, nc}, tiles);
        }
    }
}

/// The product in the way that is faster for its size. Sums start as `first_sum` says; where `inner` is cut into blocks
/// of kc, they go on after the first of them as `later_sum` says.
template <Sum first_sum, Sum later_sum>
void gemm_sized(int rows, int cols, int inner, mlConstBlock a, mlConstBlock b, mlBlock c) {
    MATHS_CHECK(rows >= 0 && cols >= 0 && inner >= 0 && has_room(rows, inner, a.ld) && has_room(inner, cols, b.ld) &&
                    has_room(rows, cols, c.ld),
                "kernel gemm: %d x %d by %d x %d, leading dimensions %d, %d and %d", rows, inner, inner, cols,
                static_cast<int>(a.ld), static_cast<int>(b.ld), static_cast<int>(c.ld));
    if (static_cast<ptrdiff_t>(inner) * cols <= ml_tuning::gemm_unpacked_max_elements || rows <= tile_rows)
        return gemm_in_tiles<first_sum>(rows, cols, inner, a, b, c);
    for (int k = 0; k < inner; k += kc) {
        int const block_inner = inner - k < kc ? inner - k : kc;
        mlConstBlock const b_block{b.data + k * b.ld, b.ld};
        for (int i = 0; i < rows; i += mc) {
            int const block_rows = rows - i < mc ? rows - i : mc;
            mlConstBlock const a_block{a.data + i * a.ld + k, a.ld};
            mlBlock const c_block{c.data + i * c.ld, c.ld};
            if (k == 0)
                gemm_packed<first_sum>(block_rows, cols, block_inner, a_block, b_block, c_block);
            else
                gemm_packed<later_sum>(block_rows, cols, block_inner, a_block, b_block, c_block);
        }
    }
}

void gemm(int rows, int cols, int inner, mlConstBlock a, mlConstBlock b, mlBlock c) {
    constexpr int small = ml_tuning::gemm_baseline_max; // rows and columns that fill the narrowest vectors best
    if (lanes > ml_tuning::baseline.lanes && rows <= small && cols <= small)
        return ml_baseline::kernels.gemm(rows, cols, inner, a, b, c);
    gemm_sized<Sum::fresh, Sum::continued>(rows, cols, inner, a, b, c);
}

// No such branch: what LU and the triangular solves subtract is hardly ever so small in both directions.
void gemm_subtract(int rows, int cols, int inner, mlConstBlock a, mlConstBlock b, mlBlock c) {
    gemm_sized<Sum::subtracted, Sum::subtracted>(rows, cols, inner, a, b, c);
}
