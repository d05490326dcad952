#include <cfloat>
#include <cmath>
#include <utility>

#include <gtest/gtest.h>

#include "maths/core/mlMatrix.h"
#include "maths/core/mlRandom.h"
#include "maths/kernels/mlKernels.h"
#include "tests/support/bits.h"
#include "tests/support/values.h"

// Whatever the instruction set, every element has the bits that the plain definition gives it, at every small size. The
// test of thresholds factors panels and takes the sizes at which blocks are copied.

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

bool counts(double x) { return std::fabs(x) >= DBL_MIN; }

/// A rows x cols matrix before and after a change of rank one, if `changed`, and its weighted sums both ways.
void expect_plain_reflection(int rows, int cols, bool changed, mlRandom & random) {
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

    SCOPED_TRACE(testing::Message() << rows << " x " << cols);
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

TEST(Kernels, ReflectLikeTheDefinition) {
    in_each_instruction_set([] {
        mlRandom random(3);
        for (int k = 0; k < 41 * 40; ++k)
            ASSERT_NO_FATAL_FAILURE(expect_plain_reflection(k / 40, k % 40 + 1, k % 3 != 0, random));
    });
}

TEST(Kernels, RotateLikeTheDefinition) {
    int const strips = 3, cols = 12, strip_rows = mlKernels::strip_rows;
    // The fifth one comes to its first column again, and so does the last one, downwards.
    mlRotationChain const chains[] = {{0, 1, 11}, {7, 2, 1},        {3, 4, 2},    {11, 0, 4},
                                      {3, 1, 4},  {11, 10, 11, -1}, {5, 7, 4, -1}};
    mlRandom random(4);
    mlMatrix x;
    fill(x, strips * cols, strip_rows, random); // row strip * cols + j has column j of the strip
    mlMatrix plain(utCopy, x);
    mlRotation rotations[37], *rotation = rotations;
    for (mlRotation & r : rotations)
        r = {random.uniform(-1.0, 1.0), random.uniform(-1.0, 1.0)};
    for (mlRotationChain const & chain : chains) {
        for (int k = 0; k < chain.count; ++k, ++rotation) {
            int const second = chain.second + k * chain.step, first = k == 0 ? chain.first : second - chain.step;
            for (int i = 0; i < strips * strip_rows; ++i) {
                int const strip = i / strip_rows * cols;
                double &a = plain(strip + first, i % strip_rows), &b = plain(strip + second, i % strip_rows);
                double const before = a;
                a = rotation->c * before + rotation->s * b;
                b = rotation->c * b - rotation->s * before;
            }
        }
    }
    in_each_instruction_set([&] {
        mlMatrix found(utCopy, x);
        ml_kernels().rotate_strips(strips, cols, found.data(), 7, chains, rotations);
        EXPECT_TRUE(equal_bits(plain, found));
    });
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
