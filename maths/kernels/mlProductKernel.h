// c = a b and c -= a b. Included after mlKernelSource.h; tile_rows x tile_vecs is the tile, as large as the registers
// hold.
//
// A tile of c stays in registers while k runs over the depth: each of its elements is one lane of one register, so it
// takes its terms in increasing k whatever the tile. Where b does not stay in the first-level cache, the depth is cut
// into blocks and a panel of b, as wide as a tile, is copied together for each; between blocks the tile rests in c.

constexpr int packed_depth = 128;

enum class Sum { fresh, continued, reduced }; // from 0.0; from c; from c, subtracting

/// `rows` x `vecs` vectors of c, of whose last vector only `width` lanes exist when the tile is `partial`.
template <int rows, int vecs, bool partial, Sum sum>
inline void product_tile(int depth, mlConstBlock a, mlConstBlock b, mlBlock c, int width) {
    Lanes tile[rows][vecs];
    for (int r = 0; r < rows; ++r) {
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
        for (int v = 0; v < vecs; ++v)
            b_lanes[v] = partial && v == vecs - 1 ? load_partial(b_row + v * lanes, width) : load(b_row + v * lanes);
        for (int r = 0; r < rows; ++r) {
            Lanes const factor = broadcast(a.first[r * a.ld + k]);
            for (int v = 0; v < vecs; ++v) {
                if (sum == Sum::reduced)
                    tile[r][v] -= factor * b_lanes[v];
                else
                    tile[r][v] += factor * b_lanes[v];
            }
        }
    }
    for (int r = 0; r < rows; ++r) {
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

template <Sum sum> void product_packed(int rows, int cols, int depth, mlConstBlock a, mlConstBlock b, mlBlock c) {
    constexpr int step = tile_vecs * lanes;
    alignas(64) double panel[packed_depth * step]; // 24 KiB at the widest
    for (int j = 0; j < cols; j += step) {
        int const width = cols - j < step ? cols - j : step;
        for (int k = 0; k < packed_depth && k < depth; ++k)
            memcpy(panel + k * step, b.first + k * b.ld + j, width * sizeof(double));
        product_strip_of<tile_vecs, sum>(width, rows, depth, a, {panel, step}, {c.first + j, c.ld});
    }
}

template <Sum first_sum, Sum later_sum>
void product(int rows, int cols, int depth, mlConstBlock a, mlConstBlock b, mlBlock c) {
    constexpr ptrdiff_t unpacked_elements = 8192; // of b: copying panels pays off above
    if (static_cast<ptrdiff_t>(depth) * cols <= unpacked_elements || rows <= tile_rows)
        return product_unpacked<first_sum>(rows, cols, depth, a, b, c);
    for (int k = 0; k < depth; k += packed_depth) {
        int const block = depth - k < packed_depth ? depth - k : packed_depth;
        mlConstBlock const a_block{a.first + k, a.ld};
        mlConstBlock const b_block{b.first + k * b.ld, b.ld};
        if (k == 0)
            product_packed<first_sum>(rows, cols, block, a_block, b_block, c);
        else
            product_packed<later_sum>(rows, cols, block, a_block, b_block, c);
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
