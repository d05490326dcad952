// Scalar products of four pairs of vectors: `sum_four_pairs` of mlKernels.h. Included after mlKernelSource.inl, with
// `transpose` for a square of registers.
//
// A lane is a pair: squares are loaded along the vectors and transposed in registers, so that each sum takes its terms
// in order.

void sum_four_pairs(int n, mlConstBlock x, mlConstBlock y, double * sums) {
    constexpr int groups = 4 / lanes;
    Lanes p[groups] = {}, q[groups] = {}, w[groups] = {};
    for (int i = 0; i < n; i += lanes) {
        for (int g = 0; g < groups; ++g) {
            Lanes xs[lanes], ys[lanes];
            int const width = n - i < lanes ? n - i : lanes;
            for (int m = 0; m < lanes; ++m) {
                double const * const x_run = x.data + (g * lanes + m) * x.ld + i;
                double const * const y_run = y.data + (g * lanes + m) * y.ld + i;
                xs[m] = width < lanes ? load_partial(x_run, width) : load(x_run);
                ys[m] = width < lanes ? load_partial(y_run, width) : load(y_run);
            }
            transpose(xs);
            transpose(ys);
            for (int k = 0; k < width; ++k) {
                p[g] += xs[k] * ys[k];
                q[g] += xs[k] * xs[k];
                w[g] += ys[k] * ys[k];
            }
        }
    }
    for (int g = 0; g < groups; ++g) {
        store(sums + g * lanes, p[g]);
        store(sums + 4 + g * lanes, q[g]);
        store(sums + 8 + g * lanes, w[g]);
    }
}
