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

struct mlKernels {
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
};

/// The loops for the instruction set in use. Exported for the tests.
MATHS_API mlKernels const & ml_kernels();
