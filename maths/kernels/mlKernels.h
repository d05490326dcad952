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

    /// Index of the largest magnitude of x[0 .. n - 1], n > 0, the first of equal ones. Nothing exceeds a NaN in front,
    /// and no other NaN exceeds anything.
    int (*first_largest)(int n, double const * x);

    /// x /= divisor.
    void (*divide)(int n, double * x, double divisor);

    /// y -= x f for each of `count` columns x, `ld` apart, and their factors f, one after the other.
    void (*subtract_columns)(int n, int count, double * y, double const * x, std::ptrdiff_t ld, double const * f);
};

/// The loops for the instruction set in use. Exported for the tests.
MATHS_API mlKernels const & ml_kernels();
