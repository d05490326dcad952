// b = a^T: `copy_transposed` of mlKernels.h. Included after mlKernelSource.inl, with `transpose` for a square of
// registers.

void copy_transposed(int rows, int cols, mlConstBlock a, mlBlock b) {
    MATHS_CHECK(rows >= 0 && cols >= 0 && has_room(rows, cols, a.ld) && has_room(cols, rows, b.ld),
                "kernel copy_transposed: %d x %d, leading dimensions %d and %d", rows, cols, static_cast<int>(a.ld),
                static_cast<int>(b.ld));
    int i = 0;
    for (; i + lanes <= rows; i += lanes) {
        int j = 0;
        for (; j + lanes <= cols; j += lanes) {
            Lanes square[lanes];
            for (int r = 0; r < lanes; ++r)
                square[r] = load(a.data + (i + r) * a.ld + j);
            transpose(square);
            for (int r = 0; r < lanes; ++r)
                store(b.data + (j + r) * b.ld + i, square[r]);
        }
        for (; j < cols; ++j) {
            for (int r = 0; r < lanes; ++r)
                b.data[j * b.ld + i + r] = a.data[(i + r) * a.ld + j];
        }
    }
    for (; i < rows; ++i) {
        for (int j = 0; j < cols; ++j)
            b.data[j * b.ld + i] = a.data[i * a.ld + j];
    }
}
