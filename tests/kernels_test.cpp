#include <cfloat>
#include <cmath>
#include <utility>

#include <gtest/gtest.h>

#include "maths/core/mlMatrix.h"
#include "maths/core/mlRandom.h"
#include "maths/kernels/mlKernels.h"
#include "tests/support/bits.h"
#include "tests/support/values.h"

// Whatever the instruction set, the kernels of reflections give every element the bits of the plain definition at every
// small size, also where numbers are strange. The test of thresholds has the other kernels.

namespace {

/// Numbers in [-1, 1), one in twenty of them a special one.
void fill(mlMatrix & m, int rows, int cols, mlRandom & random) {
    double const specials[] = {0.0, -0.0, infinity, nan_value, 5e-324, largest_double, DBL_MIN};
    m.become(rows, cols);
    for (double & x : m)
        x = random.uniform() < 0.05 ? specials[static_cast<int>(random.uniform() * 7)] : random.uniform(-1.0, 1.0);
}

bool counts(double x) { return std::fabs(x) >= DBL_MIN; }

/// A rows x cols matrix before and after a change of rank one, if `changed`, and its weighted sums both ways.
void expect_plain_reflection(int rows, int cols, bool changed, mlRandom & random) {
    SCOPED_TRACE(testing::Message() << rows << " x " << cols);
    int const ld = ml_padded(cols + ml_max_lanes - 1);
    mlMatrix x, column, row, row_weights, column_weights;
    for (auto [of, length] : {std::pair(&column, rows), {&row, ld}, {&row_weights, rows}, {&column_weights, cols}})
        fill(*of, length, 1, random);
    fill(x, rows, ld, random);
    mlRankOneUpdate const change{changed ? column.data() : nullptr, row.data()};
    mlVector down(mlVectorZero, ld), along(mlVectorZero, rows);
    mlMatrix changed_x(utCopy, x), summed_down(utCopy, x), summed_along(utCopy, x);
    ml_kernels().rank_one_update(rows, cols, {changed_x.data(), ld}, change);
    ml_kernels().update_gemv_transposed(rows, cols, {summed_down.data(), ld}, change, row_weights.data(), down.data());
    ml_kernels().update_gemv(rows, cols, {summed_along.data(), ld}, change, column_weights.data(), along.data());
    mlVector plain_down(mlVectorZero, cols), plain_along(mlVectorZero, rows);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            double element = x(i, j);
            if (changed && counts(row[j])) element += column[i] * row[j];
            plain_down[j] += row_weights[i] * element;
            if (counts(column_weights[j])) plain_along[i] += element * column_weights[j];
            for (mlMatrix const * const found : {&changed_x, &summed_down, &summed_along})
                ASSERT_TRUE(same_bits((*found)(i, j), element)) << "row " << i << ", column " << j;
        }
    }
    ASSERT_TRUE(equal_bits(plain_along, along, rows));
    ASSERT_TRUE(equal_bits(plain_down, down, cols));
}

TEST(Kernels, ReflectLikeTheDefinitionAtEverySmallSize) {
    in_each_instruction_set([] {
        mlRandom random(3);
        for (int k = 0; k < 41 * 40; ++k)
            ASSERT_NO_FATAL_FAILURE(expect_plain_reflection(k / 40, k % 40 + 1, k % 3 != 0, random));
    });
}

} // namespace
