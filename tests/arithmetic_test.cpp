#include <cmath>

#include <gtest/gtest.h>

#include "maths/core/mlNorms.h"
#include "maths/core/multiply_transposed.h"
#include "tests/support/bits.h"
#include "tests/support/matrices.h"
#include "tests/support/values.h"

namespace {

TEST(Multiples, AreRoundedBeforeTheyAreAddedAndGoInIndexOrder) {
    double const above_one = 1.0 + 0x1p-52, third = 1.0 / 3.0;
    mlVector v{-third, 1, 2, 3, 4};
    v.add_multiple(third, mlVector{above_one, 0, 0, 0, 0});
    EXPECT_EQ(v[0], third * above_one - third); // which a fused operation misses
    v.add_multiple(1.0, v.slice(4, -1, 5));
    EXPECT_EQ((Values{v[1], v[2], v[3], v[4]}), (Values{4, 4, 7, 4 + v[0]}));
    mlMatrix m{{1, 2}, {3, 4}};
    m.row(1).add_multiple(-3.0, m.row(0));
    m.col(1).add_multiple(2.0, mlVector{10, 20, 99});
    EXPECT_EQ(contents(m), (Values{1, 22, 0, 38}));
}

TEST(MatrixArithmetic, GoesOverTheShapeAndNotTheStorage) {
    mlMatrix m{{1, 2, 9}, {3, 4, 9}};
    m.expand(2, 2, 0.0);
    double const beyond[] = {m[4], m[5]};
    m += mlMatrix{{10, 20}, {30, 40}};
    m -= mlMatrix{{1, 1}, {1, 1}};
    m *= 3.0;
    m /= 49.0; // 30 / 49 differs from 30 times the reciprocal in the last bit
    m += m;
    EXPECT_EQ(contents(m),
              (Values{2 * (30 / 49.0), 2 * (63 / 49.0), 2 * (96 / 49.0), 2 * (129 / 49.0), beyond[0], beyond[1]}));
}

TEST(Norms, OfWholesAreThoseOfTheDefinition) {
    mlMatrix m{{3, -4, 0}, {-1, 2, -5}};
    EXPECT_EQ((Values{one_norm(m), infinity_norm(m), frobenius_norm(m)}), (Values{6, 8, std::sqrt(55)}));
    EXPECT_EQ((Values{one_norm(m.row(1)), infinity_norm(m.row(1)), euclidean_norm(m.row(0))}), (Values{8, 5, 5}));
    mlVector const v(m.row(0));
    EXPECT_EQ((Values{one_norm(v), infinity_norm(v), euclidean_norm(v)}), (Values{7, 4, 5}));
    EXPECT_EQ((Values{one_norm(mlMatrix()), infinity_norm(mlVector()), euclidean_norm(mlVector())}), Values(3));
    for (double const bad : {nan_value, infinity}) {
        m(0, 1) = bad; // after a larger magnitude and before others
        for (double const norm : {one_norm(m), infinity_norm(m), frobenius_norm(m), one_norm(m.row(0)),
                                  infinity_norm(m.row(0)), euclidean_norm(m.row(0))})
            EXPECT_TRUE(same(norm, bad));
    }
}

TEST(Norms, NeitherOverflowNorUnderflowOnTheWay) {
    for (double const scale : {0x1p1020, 0x1p511, 1.0, 0x1p-480, 0x1p-482, 0x1p-1060})
        EXPECT_EQ(euclidean_norm(mlVector{3 * scale, -4 * scale, 0}), 5 * scale);
    EXPECT_EQ(euclidean_norm(mlVector{largest_double, largest_double}), infinity);
}

TEST(TransposedProducts, TakeEmptyShapesAndTheirOwnOperands) {
    for (auto const & [rows, cols] : {std::pair(0, 4), {3, 0}, {1, 1}, {1, 4}, {3, 4}}) {
        SCOPED_TRACE(testing::Message() << rows << " x " << cols);
        mlMatrix a, b, expected;
        fill_random(a, rows, cols, 1);
        fill_random(b, rows, cols, 2);
        if (rows > 2) a.row(2).add_multiple(infinity, a.row(2));
        multiply(mlMatrix(mlMatrixTranspose, a), b, expected);
        mlMatrix c(utCopy, a);
        multiply_transposed(c, b, c);
        multiply_transposed(a, b, b);
        EXPECT_TRUE(equal_bits(expected, b) && equal_bits(expected, c));
        mlVector y;
        multiply_transposed(a, mlVector(mlVectorZero, rows), y);
        EXPECT_EQ(y.size(), cols);
    }
}

} // namespace
