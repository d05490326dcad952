// A transposed copy. Included after mlKernelSource.h, with `transpose` for a square of registers.

void copy_transposed(int rows, int cols, mlConstBlock a, mlBlock b) {
    int i = 0;
    for (; i + lanes <= rows; i += lanes) {
        int j = 0;
        for (; j + lanes <= cols; j += lanes) {
            Lanes square[lanes];
            for (int r = 0; r < lanes; ++r)
                square[r] = load(a.first + (i + r) * a.ld + j);
            transpose(square);
            for (int r = 0; r < lanes; ++r)
                store(b.first + (j + r) * b.ld + i, square[r]);
        }
        for (; j < cols; ++j) {
            for (int r = 0; r < lanes; ++r)
                b.first[j * b.ld + i + r] = a.first[(i + r) * a.ld + j];
        }
    }
    for (; i < rows; ++i) {
        for (int j = 0; j < cols; ++j)
            b.first[j * b.ld + i] = a.first[i * a.ld + j];
    }
}
