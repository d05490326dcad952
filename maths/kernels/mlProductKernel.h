// c = a b and c -= a b. Included after mlKernelSource.h; tile_rows x tile_vecs is the tile, as large as the registers
// hold.
//
// A tile of c stays in registers while k runs over the depth: each of its elements is one lane of one register, so it
// takes its terms in increasing k whatever the tile. Where b does not stay in the nearest cache, the depth is cut into
// blocks and a panel of b is copied together for each; between blocks the tile rests in c.

constexpr int packed_depth = 128;

enum class Sum { fresh, continued, reduced }; // from 0.0; from c; from c, subtracting

/// `rows` x `vecs` vectors of c, of whose last vector only `width` lanes exist when the tile is `partial`. Its loops
/// are unrolled by order: left to later passes, the compiler keeps the tile in memory too.
template <int rows, int vecs, bool partial, Sum sum>
inline void product_tile(int depth, mlConstBlock a, mlConstBlock b, mlBlock c, int width) {
    Lanes tile[rows][vecs];
#pragma GCC unroll 16
    for (int r = 0; r < rows; ++r) {
#pragma GCC unroll 8
        for (int v = 0; v < vecs; ++v) {
            if (sum == Sum::fresh)
                tile[r][v] = Lanes{};
            else if (partial && v == vecs - 1)
                tile[r][v] = load_partial(c.first + r * c.ld + v * lanes, width);
            else
                tile[r][v] = load(c.first + r * c.ld + v * lanes);
        }
    }
    for (int k = 0; k < depth; ++k) {
        double const * const b_row = b.first + k * b.ld;
        Lanes b_lanes[vecs];
#pragma GCC unroll 8
        for (int v = 0; v < vecs; ++v)
            b_lanes[v] = partial && v == vecs - 1 ? load_partial(b_row + v * lanes, width) : load(b_row + v * lanes);
#pragma GCC unroll 16
        for (int r = 0; r < rows; ++r) {
            Lanes const factor = broadcast(a.first[r * a.ld + k]);
#pragma GCC unroll 8
            for (int v = 0; v < vecs; ++v) {
                if (sum == Sum::reduced)
                    tile[r][v] -= factor * b_lanes[v];
                else
                    tile[r][v] += factor * b_lanes[v];
            }
        }
    }
#pragma GCC unroll 16
    for (int r = 0; r < rows; ++r) {
#pragma GCC unroll 8
        for (int v = 0; v < vecs; ++v) {
            double * const to = c.first + r * c.ld + v * lanes;
            if (partial && v == vecs - 1)
                store_partial(to, tile[r][v], width);
            else
                store(to, tile[r][v]);
        }
    }
}

/// All rows of a strip of c that is `vecs` vectors wide: in tiles of tile_rows, then of half of that and so on.
template <int tile_height, int vecs, bool partial, Sum sum>
inline void product_strip(int rows, int depth, mlConstBlock a, mlConstBlock b, mlBlock c, int width) {
    int r = 0;
    for (; r + tile_height <= rows; r += tile_height)
        product_tile<tile_height, vecs, partial, sum>(depth, {a.first + r * a.ld, a.ld}, b, {c.first + r * c.ld, c.ld},
                                                      width);
    if constexpr (tile_height > 1) {
        if (r < rows)
            product_strip<tile_height / 2, vecs, partial, sum>(rows - r, depth, {a.first + r * a.ld, a.ld}, b,
                                                               {c.first + r * c.ld, c.ld}, width);
    }
}

/// A strip `cols` columns wide, at most tile_vecs vectors, the last of them perhaps partial.
template <int vecs, Sum sum>
inline void product_strip_of(int cols, int rows, int depth, mlConstBlock a, mlConstBlock b, mlBlock c) {
    if constexpr (vecs > 1) {
        if (cols <= (vecs - 1) * lanes) return product_strip_of<vecs - 1, sum>(cols, rows, depth, a, b, c);
    }
    int const width = cols - (vecs - 1) * lanes;
    if (width == lanes)
        product_strip<tile_rows, vecs, false, sum>(rows, depth, a, b, c, width);
    else
        product_strip<tile_rows, vecs, true, sum>(rows, depth, a, b, c, width);
}

template <Sum sum> void product_unpacked(int rows, int cols, int depth, mlConstBlock a, mlConstBlock b, mlBlock c) {
    int const step = tile_vecs * lanes;
    for (int j = 0; j < cols; j += step)
        product_strip_of<tile_vecs, sum>(cols - j < step ? cols - j : step, rows, depth, a, {b.first + j, b.ld},
                                         {c.first + j, c.ld});
}

/// Columns of a panel of b: some strips, so that a tile's rows of a are read from afar once a panel.
constexpr int panel_cols = 48; // 48 KiB at the packed depth
static_assert(panel_cols % (tile_vecs * lanes) == 0);

/// Rows of a that stay in the second-level cache, packed_depth of their elements, while all panels pass.
constexpr int packed_rows = 256;

/// Asks for rows [first, end) of a panel's columns, for reading.
inline void prefetch_rows(int first, int end, mlConstBlock columns) {
    for (int r = first; r < end; ++r) {
        for (int j = 0; j < panel_cols; j += 8)
            prefetch<3>(columns.first, r * columns.ld + j);
    }
}

/// Tiles row by row, over all strips of a panel. What comes next is asked for meanwhile: the tiles of c below, and bit
/// by bit the panel of b on the right.
template <Sum sum> void product_packed(int rows, int cols, int depth, mlConstBlock a, mlConstBlock b, mlBlock c) {
    alignas(64) double panel[packed_depth * panel_cols];
    for (int j = 0; j < cols; j += panel_cols) {
        int const width = cols - j < panel_cols ? cols - j : panel_cols;
        for (int k = 0; k < depth; ++k)
            memcpy(panel + k * panel_cols, b.first + k * b.ld + j, width * sizeof(double));
        int next_row = 0; // of b
        for (int i = 0; i < rows; i += tile_rows) {
            int const height = rows - i < tile_rows ? rows - i : tile_rows;
            mlBlock const tiles{c.first + i * c.ld + j, c.ld};
            if (i + 2 * tile_rows <= rows) prefetch_rows(tile_rows, 2 * tile_rows, {tiles.first, tiles.ld});
            if (j + panel_cols < cols && next_row + 2 * tile_rows <= depth) {
                prefetch_rows(next_row, next_row + 2 * tile_rows, {b.first + j + panel_cols, b.ld});
                next_row += 2 * tile_rows;
            }
            product_unpacked<sum>(height, width, depth, {a.first + i * a.ld, a.ld}, {panel, panel_cols}, tiles);
        }
    }
}

template <Sum first_sum, Sum later_sum>
void product(int rows, int cols, int depth, mlConstBlock a, mlConstBlock b, mlBlock c) {
    constexpr ptrdiff_t unpacked_elements = 8192; // of b: copying panels pays off above
    if (static_cast<ptrdiff_t>(depth) * cols <= unpacked_elements || rows <= tile_rows)
        return product_unpacked<first_sum>(rows, cols, depth, a, b, c);
    for (int k = 0; k < depth; k += packed_depth) {
        int const block_depth = depth - k < packed_depth ? depth - k : packed_depth;
        mlConstBlock const b_block{b.first + k * b.ld, b.ld};
        for (int i = 0; i < rows; i += packed_rows) {
            int const block_rows = rows - i < packed_rows ? rows - i : packed_rows;
            mlConstBlock const a_block{a.first + i * a.ld + k, a.ld};
            mlBlock const c_block{c.first + i * c.ld, c.ld};
            if (k == 0)
                product_packed<first_sum>(block_rows, cols, block_depth, a_block, b_block, c_block);
            else
                product_packed<later_sum>(block_rows, cols, block_depth, a_block, b_block, c_block);
        }
    }
}

void multiply(int rows, int cols, int depth, mlConstBlock a, mlConstBlock b, mlBlock c) {
    // The least matrices fill the narrowest vectors best.
    if (lanes > 2 && rows <= 4 && cols <= 4) return ml_baseline::kernels.multiply(rows, cols, depth, a, b, c);
    product<Sum::fresh, Sum::continued>(rows, cols, depth, a, b, c);
}

void subtract_product(int rows, int cols, int depth, mlConstBlock a, mlConstBlock b, mlBlock c) {
    product<Sum::reduced, Sum::reduced>(rows, cols, depth, a, b, c);
}
