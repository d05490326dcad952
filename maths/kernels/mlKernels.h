#pragma once

#include <cstddef>

#include "maths/maths_api.h"

// The inner loops of the dense operations, once per instruction set. For use inside the library.
//
// Every element of a result has one order of operations, which is told here and is the same for all sets: a lane of a
// vector register is an element, never a piece of one sum. Matrices are row-major, `ld` being the distance between
// rows.

/// A matrix, or a block of one: element (r, c) is first[r * ld + c].
struct mlBlock {
    double * first;
    std::ptrdiff_t ld;
};
struct mlConstBlock {
    double const * first;
    std::ptrdiff_t ld;
};

/// A lower triangle whose row t takes the rows before it: its factors are first[t * row_step + s * step], s < t, its
/// divisor is diagonal[t * diagonal_step]. Steps may be negative, so that an upper triangle is solved from its end.
struct mlTriangle {
    double const * first;
    std::ptrdiff_t row_step;
    std::ptrdiff_t step;
    double const * diagonal; ///< null for rows that are not divided
    std::ptrdiff_t diagonal_step;
};

/// The change of a matrix by the product of a column and a row. Elements of the row that don't count as non-zero, being
/// below the smallest normalised number in magnitude or NaN, leave their columns alone. None when `column` is null.
struct mlRankOne {
    double const * column;
    double const * row;
};

/// A rotation by the angle whose cosine and sine these are: (x, y) becomes (c x + s y, c y - s x).
struct mlRotation {
    double c;
    double s;
};

/// `count` rotations of columns: of columns first and second, then of second and its neighbour, of that and its own,
/// and so on.
struct mlRotationRun {
    /// The rows of the matrix come in strips of so many: a strip holds its elements of the first column, then those of
    /// the second and so on.
    static constexpr int strip_rows = 16;

    int first;
    int second;
    int count;
};

struct mlKernels {
    /// The widest vector register holds one element more.
    static constexpr int padding_cols = 7;

    /// n, made a multiple of what the widest vector register holds.
    static constexpr int padded(int n) { return (n + padding_cols) / (padding_cols + 1) * (padding_cols + 1); }

    /// c = a b, rows x cols, each element a sum from 0.0 in increasing k < depth.
    void (*multiply)(int rows, int cols, int depth, mlConstBlock a, mlConstBlock b, mlBlock c);

    /// c -= a b: each element has its products subtracted one by one, in increasing k < depth.
    void (*subtract_product)(int rows, int cols, int depth, mlConstBlock a, mlConstBlock b, mlBlock c);

    /// y = a x, each element a sum from 0.0 in increasing k < depth. x and y are contiguous and apart.
    void (*multiply_vector)(int rows, int depth, mlConstBlock a, double const * x, double * y);

    /// y -= a x: each element has its products subtracted one by one, in increasing k < depth.
    void (*subtract_product_vector)(int rows, int depth, mlConstBlock a, double const * x, double * y);

    /// Rows t of [first, end) of x, whose width is a multiple of 8: x_t -= factor(t, s) x_s for s from t - 1 down to 0,
    /// then x_t /= divisor(t).
    void (*solve_latest_first)(int first, int end, int width, mlTriangle l, mlBlock x);

    /// Eliminates the columns of a panel, `width` <= `rows`, with exchanges of rows within it. Column j is at
    /// panel + j * ld and goes on with zeros to a multiple of 8 rows. Row pivot_rows[k] became row k: of those from k
    /// on, the first with the largest magnitude in column k, where nothing exceeds a NaN in row k and no other NaN
    /// exceeds anything. Answers how many columns were eliminated: all, or those before the first whose pivot is below
    /// the tolerance, whose updates all columns have taken.
    int (*factor_panel)(int rows, int width, double * panel, std::ptrdiff_t ld, double tolerance, int * pivot_rows);

    /// x /= divisor, for n elements, a multiple of 8.
    void (*divide)(int n, double * x, double divisor);

    /// b(c, r) = a(r, c). They are apart.
    void (*copy_transposed)(int rows, int cols, mlConstBlock a, mlBlock b);

    /// Makes the change, then sums[j] += weights[i] x(i, j) in increasing i, for `cols` columns. Behind the last
    /// column, x, the change's row and the sums have room for another padding_cols that are read and written.
    void (*sum_columns)(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums);

    /// Makes the change, then sums[i] = sum of x(i, j) weights[j] from 0.0 in increasing j, without those j whose
    /// weight doesn't count. Padding as above.
    void (*sum_rows)(int rows, int cols, mlBlock x, mlRankOne change, double const * weights, double * sums);

    /// The change alone. Padding as above.
    void (*add_rank_one)(int rows, int cols, mlBlock x, mlRankOne change);

    /// Rotates each pair of elements of x and y. n is a multiple of the widest vector register's number of elements.
    void (*rotate)(int n, double * x, double * y, mlRotation const & rotation);

    /// Rotates the columns of x, which has `cols` of them in strips, run by run; the rotations are those of all runs.
    void (*rotate_strips)(int strips, int cols, double * x, int run_count, mlRotationRun const * runs,
                          mlRotation const * rotations);
};

/// The loops for the instruction set in use. Exported for the tests.
MATHS_API mlKernels const & ml_kernels();
