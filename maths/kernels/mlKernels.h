#pragma once

#include <cstddef>

#include "maths/kernels/mlLanes.h"
#include "maths/maths_api.h"

// The inner loops of the dense operations, once per instruction set. For use inside the library.
//
// Every element of a result has one order of operations, which is stated here and is the same for all sets: a lane of a
// vector register is an element, never a piece of one sum. Every product is rounded before it is added or subtracted:
// none is fused into a multiply-add (-ffp-contract=off). Matrices are row-major; their leading dimension `ld` is the
// distance between rows, so at least the number of columns unless there are fewer than two rows; it is negative only
// where that is allowed. Numbers of rows and columns may be 0 and are never negative.
// Addresses need no alignment beyond a double's. What is written is apart from what is read unless it is said to be the
// same; what is only read may overlap. Checked builds stop at lengths and leading dimensions that break what is asked
// for here.

/// A matrix, or a block of one: element (i, j) is data[i * ld + j].
struct mlBlock {
    double * data;
    std::ptrdiff_t ld;
};
struct mlConstBlock {
    double const * data;
    std::ptrdiff_t ld;
};

/// A lower triangle L: element (t, s), s < t, is data[t * row_stride + s * col_stride], and element (t, t) is
/// diagonal[t * diagonal_stride]. Strides may be negative, so that an upper triangle is one from its last row on.
struct mlTriangle {
    double const * data;
    std::ptrdiff_t row_stride;
    std::ptrdiff_t col_stride;
    double const * diagonal; ///< null for a unit diagonal
    std::ptrdiff_t diagonal_stride;
};

/// A rank-one update A += u v^T, u the `column` and v the `row`. A(i, j) becomes A(i, j) + u_i v_j; columns whose v_j
/// is below DBL_MIN (2.2e-308, the smallest normalised number) in magnitude, or NaN, are left unchanged. A null
/// `column` stands for no update, whatever the row.
struct mlRankOneUpdate {
    double const * column;
    double const * row;
};

/// The plane rotation (x, y) -> (c x + s y, c y - s x), c and s being the cosine and the sine of its angle.
struct mlRotation {
    double c;
    double s;
};

/// `count` rotations of pairs of columns: of (first, second), (second, second + step), (second + step,
/// second + 2 step), ... Columns count from 0. first != second; a later pair may come to `first` again, as (2, 0, 3)
/// does: (2, 0), (0, 1), (1, 2).
struct mlRotationChain {
    int first;
    int second;
    int count;
    int step = 1; ///< 1 or -1
};

struct mlKernels {
    /// The rows of a strip of `rotate_strips`.
    static constexpr int strip_rows = 2 * ml_max_lanes;

    /// c = a b: c is rows x cols, a rows x inner, b inner x cols. c(i, j) is the sum of a(i, k) b(k, j) from 0.0 in
    /// increasing k.
    void (*gemm)(int rows, int cols, int inner, mlConstBlock a, mlConstBlock b, mlBlock c);

    /// c -= a b, shapes as above: the products a(i, k) b(k, j) are subtracted from c(i, j) one by one in increasing k.
    void (*gemm_subtract)(int rows, int cols, int inner, mlConstBlock a, mlConstBlock b, mlBlock c);

    /// y = a x for a rows x cols matrix a: y_i is the sum of a(i, k) x_k from 0.0 in increasing k. x and y are
    /// contiguous.
    void (*gemv)(int rows, int cols, mlConstBlock a, double const * x, double * y);

    /// y -= a x: the products a(i, k) x_k are subtracted from y_i one by one in increasing k.
    void (*gemv_subtract)(int rows, int cols, mlConstBlock a, double const * x, double * y);

    /// Solves rows [begin, end) of L X = B, X in B's place and rows before `begin` solved already: for t = begin ..
    /// end - 1, x_t -= L(t, s) x_s for s from t - 1 down to 0, the latest row first, then x_t /= L(t, t).
    /// x_t is row t of x, of `width` elements; width is a multiple of ml_max_lanes. x.ld may be negative.
    void (*solve_latest_first)(int begin, int end, int width, mlTriangle l, mlBlock x);

    /// LU factors with partial pivoting of a rows x cols panel, cols <= rows, in place. It is stored by columns: column
    /// j is at panel + j * ld, and in each column the rows from `rows` up to the next multiple of ml_max_lanes, which
    /// ld leaves room for, hold zeros before and numbers without meaning after.
    ///
    /// Column k = 0, 1, ...: the pivot is the first element of the largest magnitude in rows k .. rows - 1, except that
    /// a NaN in row k is taken and one below it never is; its row's number goes to pivot_rows[k]. Rows k and
    /// pivot_rows[k] of the whole panel change places. Then m_i = a(i, k) / a(k, k) takes the place of a(i, k) for
    /// i > k, and a(i, j) -= m_i a(k, j) for i > k, j > k; every element takes its updates in increasing k.
    ///
    /// Returns how many columns were eliminated. That is less than `cols` when the next pivot is below the tolerance in
    /// magnitude (a NaN is not): that column's rows are exchanged, its pivot_rows entry is written, it is not divided,
    /// and it and all columns after it have received the updates of those before it, and no others.
    int (*factor_panel)(int rows, int cols, double * panel, std::ptrdiff_t ld, double tolerance, int * pivot_rows);

    /// x_i /= divisor for n elements, n a multiple of ml_max_lanes.
    void (*divide)(int n, double * x, double divisor);

    /// b = a^T for a rows x cols matrix a.
    void (*copy_transposed)(int rows, int cols, mlConstBlock a, mlBlock b);

    /// The rank-one update of a rows x cols matrix. In this and the next two operations up to ml_max_lanes - 1 columns
    /// past the last one are read and written too: rows of a, the update's row and, where it runs along the columns, z
    /// have room for them. What they hold does not matter, and changes.
    void (*rank_one_update)(int rows, int cols, mlBlock a, mlRankOneUpdate update);

    /// The rank-one update of the rows x cols matrix a, then z += a^T w: z_j takes the terms w_i a(i, j) one by one in
    /// increasing i. w has `rows` elements, z `cols`.
    void (*update_gemv_transposed)(int rows, int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z);

    /// The rank-one update of the rows x cols matrix a, then z = a w: z_i is the sum of a(i, j) w_j from 0.0 in
    /// increasing j, without the terms whose w_j is below DBL_MIN in magnitude or NaN. w has `cols` elements, z `rows`,
    /// and neither has padding.
    void (*update_gemv)(int rows, int cols, mlBlock a, mlRankOneUpdate update, double const * w, double * z);

    /// Rotates (x_i, y_i) for n elements, n a multiple of ml_max_lanes.
    void (*rotate)(int n, double * x, double * y, mlRotation const & rotation);

    /// Scalar products of four pairs of vectors of n elements: x_m is at x.data + m * x.ld, y_m at y.data + m * y.ld,
    /// m = 0 .. 3, and the strides may be negative. sums[m] = x_m . y_m, sums[4 + m] = x_m . x_m and
    /// sums[8 + m] = y_m . y_m, each from 0.0 in increasing i.
    void (*sum_four_pairs)(int n, mlConstBlock x, mlConstBlock y, double * sums);

    /// Rotates columns of a matrix of `cols` columns whose rows are stored in strips of strip_rows: a strip holds its
    /// rows of column 0, then those of column 1 and so on, and `strips` strips follow each other. The chains are
    /// applied in order, each from its first rotation on; `rotations` holds those of all chains one after the other.
    /// Without chains nothing is read or written, and the pointers may be null.
    void (*rotate_strips)(int strips, int cols, double * x, int chain_count, mlRotationChain const * chains,
                          mlRotation const * rotations);
};

/// The kernels for the instruction set in use. Exported for the tests.
MATHS_API mlKernels const & ml_kernels();
