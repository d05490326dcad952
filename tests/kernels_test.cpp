#include <cfloat>
#include <cmath>

#include <gtest/gtest.h>

#include "maths/core/mlMatrix.h"
#include "maths/core/mlRandom.h"
#include "maths/kernels/mlKernels.h"
#include "tests/support/bits.h"
#include "tests/support/values.h"

// Whatever the instruction set, every element of a product has the bits that the plain definition gives it, at every
// small size, also where some of the numbers are strange. The test of thresholds has the other kernels.

namespace {

/// Numbers in [-1, 1), one in twenty of them a special one.
void fill(mlMatrix & m, int rows, int cols, mlRandom & random) {
    double const specials[] = {0.0, -0.0, infinity, nan_value, 5e-324, largest_double, DBL_MIN};
    m.become(rows, cols);
    for (double & x : m)
        x = random.uniform() < 0.05 ? specials[static_cast<int>(random.uniform() * 7)] : random.uniform(-1.0, 1.0);
}

mlConstBlock block(mlMatrix const & m) { return {m.data(), m.cols()}; }

/// Both products of a rows x depth and a depth x cols matrix, element by element; those of a column as a vector too.
void expect_plain_products(int rows, int cols, int depth, mlRandom & random) {
    SCOPED_TRACE(testing::Message() << rows << " x " << depth << " times " << depth << " x " << cols);
    mlMatrix a, b, before, sum(mlMatrixZero, rows, cols), product(rows, cols);
    fill(a, rows, depth, random);
    fill(b, depth, cols, random);
    fill(before, rows, cols, random);
    mlMatrix difference(utCopy, before), rest(utCopy, before);
    for (int i = 0; i < rows * cols; ++i) {
        for (int k = 0; k < depth; ++k) {
            sum[i] += a(i / cols, k) * b(k, i % cols);
            difference[i] -= a(i / cols, k) * b(k, i % cols);
        }
    }
    ml_kernels().gemm(rows, cols, depth, block(a), block(b), {product.data(), cols});
    ml_kernels().gemm_subtract(rows, cols, depth, block(a), block(b), {rest.data(), cols});
    ASSERT_TRUE(equal_bits(sum, product));
    ASSERT_TRUE(equal_bits(difference, rest));
    if (cols != 1) return;
    product.become(mlMatrixZero, rows, cols);
    ml_kernels().gemv(rows, depth, block(a), b.data(), product.data());
    ml_kernels().gemv_subtract(rows, depth, block(a), b.data(), before.data());
    ASSERT_TRUE(equal_bits(sum, product));
    ASSERT_TRUE(equal_bits(difference, before));
}

TEST(Kernels, MultiplyLikeTheDefinitionAtEverySmallSize) {
    in_each_instruction_set([] {
        mlRandom random(1);
        for (int k = 0; k < 41 * 41; ++k) {
            int const rows = k / 41, cols = k % 41;
            ASSERT_NO_FATAL_FAILURE(expect_plain_products(rows, cols, (rows * 7 + cols * 3) % 41, random));
            ASSERT_NO_FATAL_FAILURE(expect_plain_products(rows, 1, cols, random)); // and times a vector
        }
    });
}

} // namespace
