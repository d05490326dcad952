#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "maths/core/mlTinyVector.h"
#include "tests/support/values.h"

namespace {

template <class V> struct TinyVector : testing::Test {
    static constexpr int size = sizeof(V) / sizeof(double);
    static_assert(std::is_trivially_copyable_v<V>);
    static_assert(std::is_constructible_v<V, enum mlVectorZero> && !std::is_constructible_v<V, enum mlMatrixZero>);

    /// first, first + step, ...
    static V counting(double first, double step) {
        V v;
        for (int i = 0; i < size; ++i)
            v[i] = first + i * step;
        return v;
    }
};
using Family = testing::Types<mlTinyVector2, mlTinyVector3, mlTinyVector4, mlTinyVector5, mlTinyVector6>;
TYPED_TEST_SUITE(TinyVector, Family);

TYPED_TEST(TinyVector, GivesTheResultsOfItsSliceButRoundsAndMultipliesInItsOwnWay) {
    auto a = this->counting(0.1, 0.7), b = this->counting(3.3, -1.1), c = a;
    mlSlice const s = a.slice(), t = b.slice();
    EXPECT_EQ((Values{a.sum(), a.modulus_squared(), b.max_absolute_value(), scalar_product(a, b),
                      distance_squared(a, b), norm_diff(a, b)}),
              (Values{s.sum(), s.modulus_squared(), t.max_absolute_value(), scalar_product(s, t),
                      distance_squared(s, t), norm_diff(s, t)}));
    c.interpolate(c, b, 1.0);
    EXPECT_EQ(c != b, 0);
    c.become(mlVectorAdd, a, b) -= a;
    c.become(mlVectorSubtract, a, c) += b.slice();
    EXPECT_LT(norm_diff(a, c), 2e-15);
    b.become(mlVectorZero) = std::as_const(a).slice(0, 1, this->size);
    c.become(mlMatrixProduct, mlMatrix(mlMatrixIdentity, this->size), b);
    EXPECT_EQ(c.become(utConvert, &c[0]) == a, 1);
    b += 4.0;
    c.become(utCopy, b) -= 4.0;
    c -= std::as_const(a).slice();
    EXPECT_LT(c.max_absolute_value(), 1e-15);
    a.slice(1, -1, 2)[0] = nan_value;
    EXPECT_EQ(a == a, 0);

    auto const negative_zeros = this->counting(-0.0, -0.0), ones = this->counting(1.0, 0.0);
    EXPECT_FALSE(std::signbit(negative_zeros.sum()));                // from 0.0
    EXPECT_TRUE(std::signbit(scalar_product(negative_zeros, ones))); // from the first product
    a = this->counting(49.0, 1.0);
    a /= 49.0;
    EXPECT_LT(a[0], 1.0); // by the reciprocal
    auto const before = b;
    multiply(mlMatrix(utConvert, Values{1, 2}.data(), 1, 2), ones, b);
    EXPECT_EQ(std::tuple(b[0], b[1]), std::tuple(3.0, before[1])) << "one row writes one component";
}

TEST(TinyVector3, ProductsAreRightHandedAndMayReplaceAnOperand) {
    mlTinyVector3 x(mlVectorZero), y = x;
    x[0] = y[1] = 1.0;
    y.vector_product(x, y);
    EXPECT_EQ(printed(y), "<0,0,1>");
    x.vector_product(x, y);
    EXPECT_EQ(printed(x), "<0,-1,0>");
}

} // namespace
