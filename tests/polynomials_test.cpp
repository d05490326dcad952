#include <cmath>
#include <numeric>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"

namespace {

// A coefficient, a double or a fixed-size vector, as a row of numbers.
template <class C> constexpr int dimension = sizeof(C) / sizeof(double);
template <class C> double * numbers(C & c) { return reinterpret_cast<double *>(&c); }

template <class C> double dot(C a, C b) {
    return std::inner_product(numbers(a), numbers(a) + dimension<C>, numbers(b), 0.0);
}
template <class C> double distance(C a, C const & b) { return a -= b, std::sqrt(dot(a, a)); }

template <class C>
using PolynomialOver =
    std::conditional_t<std::is_same_v<C, double>, mlPolynomial, mlTinyVectorPolynomial<dimension<C>>>;

template <class C> C value_of(std::vector<C> const & a, double t) {
    C v;
    PolynomialOver<C>::evaluate(static_cast<int>(a.size()) - 1, a.data(), t, v);
    return v;
}

template <class C> std::vector<C> random_coefficients(int n, long seed) {
    mlRandom random(seed);
    std::vector<C> a(n + 1);
    for (C & c : a)
        std::generate_n(numbers(c), dimension<C>, [&] { return random.uniform(-1.0, 1.0); });
    return a;
}

template <class C> class PolynomialsOver : public testing::Test {};
using Coefficients = testing::Types<double, mlTinyVector2, mlTinyVector3, mlTinyVector4, mlTinyVector5, mlTinyVector6>;
TYPED_TEST_SUITE(PolynomialsOver, Coefficients);

TYPED_TEST(PolynomialsOver, DifferentiateWhatTheyIntegrateAndPassThroughTheirSamples) {
    using Polynomial = PolynomialOver<TypeParam>;
    Polynomial fitter; // reused: a fit must not depend on the one before
    for (int const n : {6, 0, 1, 3}) {
        auto const y = random_coefficients<TypeParam>(n, 10 + n);
        auto a = y, b = y, c = y;
        a.resize(n + 3);
        b.resize(n + 3);
        int degree = n;
        Polynomial::integral(degree, b.data());
        Polynomial::integral(degree, b.data());
        EXPECT_EQ(degree + distance(b[0], TypeParam()), n + 2);
        Polynomial::derivative(2, degree, b.data());
        for (int i = 0; i < n + 3; ++i)
            EXPECT_LT(distance(b[i], a[i]), 1e-15) << "the freed coefficients are zero";
        Polynomial::derivative(n + 1, degree, b.data());
        EXPECT_EQ(degree + distance(b[0], TypeParam()), -1);

        Values t{0.0}; // the length of the chords up to a sample
        for (int i = 1; i <= n; ++i)
            t.push_back(t.back() + distance(y[i], y[i - 1]));
        fitter.fit(-1.0, 2.3, y.data(), n, c.data());
        for (int i = 0; i <= n; ++i)
            EXPECT_LT(distance(value_of(c, n > 0 ? t[i] * 3.3 / t[n] - 1.0 : 0.0), y[i]), 1e-9);
        if (n != 1) continue;
        Values const ends{-1.0, 1e-3};
        fitter.fit(ends[0], ends[1], y.data(), n, c.data());
        fitter.fit(ends.data(), y.data(), n, a.data());
        EXPECT_EQ(distance(c[0], a[0]), 0.0) << "the last parameter is the end itself, not the end but for roundoff";
    }
}

TYPED_TEST(PolynomialsOver, HaveTheValuesOfTheirSumsAndProducts) {
    using Polynomial = PolynomialOver<TypeParam>;
    auto const factor = random_coefficients<double>(4, 1);
    auto const a = random_coefficients<TypeParam>(4, 2), b = random_coefficients<TypeParam>(3, 3);
    auto product = b, sum = a;
    Values dots(8);
    int degree = 3, d = 0;
    product.resize(8);
    Polynomial().multiply(4, factor.data(), degree, product.data());
    Polynomial::multiply(-0.5, 4, sum.data());
    Polynomial::add(3, b.data(), 4, sum.data());
    Polynomial::subtract(4, a.data(), 0, sum.data()); // the second degree is ignored: coefficients 0 .. 4 change
    if constexpr (std::is_same_v<TypeParam, double>)
        Polynomial::multiply(4, a.data(), 3, b.data(), d, dots.data());
    else
        Polynomial::scalar_product(4, a.data(), 3, b.data(), d, dots.data());
    EXPECT_EQ(std::tuple(degree, d), std::tuple(7, 7));
    TypeParam expected = value_of(b, 0.7), total = value_of(a, 0.7);
    EXPECT_NEAR(value_of(dots, 0.7), dot(total, expected), 1e-12);
    total *= -1.5;
    total += expected;
    EXPECT_LT(distance(value_of(sum, 0.7), total), 1e-12);
    expected *= value_of(factor, 0.7);
    EXPECT_LT(distance(value_of(product, 0.7), expected), 1e-12);
}

TEST(Polynomial, LeavesOutSamplesThatCoincideWithTheLastOneTaken) {
    Values const y = {0.0, 4e-11, 8e-11, 1.2e-10, nan_value, 1.6e-10, -3.0};
    Values c(7, 9.0);
    mlPolynomial().fit(0.0, 1.0, y.data(), 2, c.data());
    EXPECT_EQ(c, (Values{0, 0, 0, 9, 9, 9, 9}));
    mlPolynomial().fit(0.0, 1.0, y.data(), 6, c.data()); // takes samples 0, 3 and 6
    EXPECT_TRUE(c[2] != 0.0 && Values(c.begin() + 3, c.end()) == Values(4));
}

TEST(Polynomial, TreatsTheDegreeOfZeroAsNothingToGoOver) {
    double a[] = {4.0, 5.0, 6.0}, two = 2.0;
    int n = -1, d = 7;
    mlPolynomial::integral(n, a);
    mlPolynomial::multiply(-1, &two, 2, &two, d, a); // no coefficient of either is read
    mlPolynomial::set_zero(-1, a + 2);
    EXPECT_EQ(std::tuple(n, d), std::tuple(0, 1));
    EXPECT_EQ(Values(a, a + 3), (Values{0, 0, 6}));
    double value = 5.0;
    mlTinyVector2 point = mlTinyVector2(mlVectorZero);
    point.fill(5.0);
    mlPolynomial::evaluate(-1, a, 2.0, value);
    mlTinyVector2Polynomial::evaluate(-1, nullptr, 2.0, point);
    EXPECT_EQ(std::tuple(value, point[0], point[1]), std::tuple(0.0, 0.0, 0.0));
}

TEST(Polynomial, PrintsFromTheHighestPowerDown) {
    std::ostringstream stream;
    utOstream indenting(stream, 1, 2);
    mlTinyVector2 const zero(mlVectorZero), b[] = {zero, zero};
    for (int n : {0, 1, 3})
        mlPolynomial::print(stream, n, Values{1, 2, -3.5, 4}.data());
    mlTinyVector2Polynomial::print(indenting, 1, b);
    EXPECT_EQ(stream.str(), "1\n2t + 1\n4t^3 + -3.5t^2 + 2t + 1\n  <0,0>t + <0,0>\n");
}

} // namespace
