#include "tests/support/bits.h"
#include "tests/support/matrices.h"
#include "tests/support/test.h"

namespace {

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
    mlMatrix m{{3, -4, 0}, {-1, 2, -5}, {9, 9, 9}};
    m.expand(2, 3, 0.0); // the storage keeps the third row, which doesn't count
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
        EXPECT_TRUE(equal_bits(expected, b)) << "in the place of the second operand";
        EXPECT_TRUE(equal_bits(expected, c)) << "of the first";
        mlVector y(mlVectorZero, cols + 1); // which is cut off
        multiply_transposed(a, mlVector(mlVectorZero, rows).slice(), y);
        EXPECT_EQ(y.size(), cols);
    }
}

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
    b += 4.0;
    c.become(mlMatrixProduct, mlMatrix(mlMatrixIdentity, this->size), b) -= 4.0;
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

TEST(Range, GrowsByMergingAndShrinksByIntersection) {
    mlRange r;
    r.merge(largest_double); // reserved, as an end of a range too
    r.merge(mlRange());
    EXPECT_TRUE(r.empty());
    r.merge(3.0);
    r.merge(mlRange(1, largest_double));
    r.merge(nan_value);
    mlRange const touching = intersect(r, mlRange(3, 4));
    EXPECT_EQ((Values{r.low, r.high, touching.low, touching.high}), (Values{1, 3, 3, 3}));
    EXPECT_EQ(intersect(r, mlRange(4, 5)).empty() + intersect(mlRange(), r).empty(), 2);
    for (double at : {-1.0, 0.0, 1.5, 3.0, 3.5})
        EXPECT_EQ(r.crosses(mlRange(at, at + 1)) + mlRange(at + 1, at).crosses(r), 2 * (at >= 0 && at <= 3)) << at;
    mlRange const four(0, 4);
    EXPECT_EQ((Values{four.clip(-1), four.clip(9), four.clip(3), mlRange(5, 1).clip(3)}), (Values{0, 4, 3, 5}));
    auto const near_four = [&](double low, double high) { return four.coincident(mlRange(low, high), 0.5); };
    EXPECT_EQ((std::array{near_four(0.5, 3.5), near_four(nan_value, 4), near_four(0.5, 3), near_four(1, 4)}),
              (std::array{1, 1, 0, 0}));
    EXPECT_EQ(mlRange(0, 1e-10).position_in_range(0.5e-10), 0.5);
    EXPECT_EQ(mlRange(0, 0.5e-10).position_in_range(0.4e-10) + mlRange(2, 2).position_in_range(5), 0.0 + 1.0);
}

TEST(Math, DerivesByTheRemainderOfTheOrderAndAddsWithoutOverflow) {
    EXPECT_EQ(mlMath::interpolate(0.5, -largest_double, largest_double), largest_double); // b - a overflows
    EXPECT_EQ(mlMath::interpolate(0.0, -largest_double, largest_double), -largest_double);
    EXPECT_EQ(mlMath::interpolate(1.0, 0.7, -0.1), -0.1); // (-0.1 - 0.7) + 0.7 is not that
    EXPECT_EQ(mlRange(0, 4).interpolate(2) + mlMath::rescale(2.5, 2, 4, 10, 20), 4 + 12.5);
    double const volatile x = 0.7; // or the compiler folds the calls, to other last bits
    double const sines[] = {std::sin(x), std::cos(x), -std::sin(x), -std::cos(x), std::sin(x)};
    for (int r = 0; r < 4; ++r) {
        EXPECT_EQ(mlMath::sin_derivative(8 + r, x), sines[r]);
        EXPECT_EQ(mlMath::cos_derivative(8 + r, x), sines[r + 1]);
        EXPECT_EQ(mlMath::sin_derivative(-8 - r, x), r == 0 ? sines[0] : -666.6);
        EXPECT_EQ(mlMath::cos_derivative(-8 - r, x), r == 0 ? sines[1] : -666.6);
        EXPECT_EQ(mlMath::sinh_derivative(1 - r, x), r % 2 == 0 ? std::cosh(x) : std::sinh(x));
        EXPECT_EQ(mlMath::cosh_derivative(1 - r, x), r % 2 == 0 ? std::sinh(x) : std::cosh(x));
    }
    EXPECT_EQ(sum(std::array{INT_MAX, 1, 5}.data(), 3), INT_MIN + 5);
}

TEST(Math, PowersMultiplyFromOneAndBinomialCoefficientsObeyPascalsRuleAsFarAsTheyFit) {
    EXPECT_EQ(utMath::n_choose_i(100, 98), 4950) << "though those on the way there do not all fit";
    EXPECT_EQ(utMath::pow(1.1, -3) + utMath::pow(1.1, 3), 1.0 + 1.1 * 1.1 * 1.1);
    for (int n = 1; n <= 66; ++n) {
        EXPECT_EQ(utMath::n_choose_i(n, 0) + utMath::n_choose_i(n, n + 1), 1);
        for (int i = 1; i <= n; ++i)
            EXPECT_EQ(utMath::n_choose_i(n, i), utMath::n_choose_i(n - 1, i - 1) + utMath::n_choose_i(n - 1, i));
    }
}

TEST(Random, NormalNumbersHaveTheirMoments) {
    mlRandom random(5);
    mlStats stats;
    for (int i = 0; i < 100000; ++i)
        stats.add(1e9 + random.normal()); // whose square would drown the variance
    EXPECT_NEAR(stats.mean(), 1e9, 0.02);
    EXPECT_NEAR(stats.variance(), 1.0, 0.03);
}

} // namespace
