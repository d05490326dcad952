#include <cmath>
#include <limits>
#include <sstream>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "maths/maths.h"

namespace {

int dimension(double) { return 1; }
template <int N> int dimension(mlTinyVector<N> const &) { return N; }
double & component(double & c, int) { return c; }
template <int N> double & component(mlTinyVector<N> & c, int k) { return c[k]; }

double dot(double a, double b) { return a * b; }
template <int N> double dot(mlTinyVector<N> const & a, mlTinyVector<N> const & b) { return scalar_product(a, b); }

template <class C> std::vector<C> random_coefficients(int n, long seed) {
    mlRandom random(seed);
    std::vector<C> a(n + 1);
    for (C & c : a) {
        for (int k = 0; k < dimension(c); ++k)
            component(c, k) = random.uniform(-1.0, 1.0);
    }
    return a;
}

template <class C> double largest_difference(C a, C const & b) {
    a -= b;
    return std::sqrt(dot(a, a));
}

template <class C> struct PolynomialOver { using type = mlPolynomial; };
template <int N> struct PolynomialOver<mlTinyVector<N>> { using type = mlTinyVectorPolynomial<N>; };

template <class C> C value_of(std::vector<C> const & a, double t) {
    C v;
    PolynomialOver<C>::type::evaluate(static_cast<int>(a.size()) - 1, a.data(), t, v);
    return v;
}

template <class C> class PolynomialsOver : public testing::Test {};
using Coefficients = testing::Types<double, mlTinyVector2, mlTinyVector3, mlTinyVector4, mlTinyVector5, mlTinyVector6>;
TYPED_TEST_SUITE(PolynomialsOver, Coefficients);

TYPED_TEST(PolynomialsOver, DifferentiateWhatTheyIntegrate) {
    using Polynomial = typename PolynomialOver<TypeParam>::type;
    for (int n = 0; n <= 9; ++n) {
        auto const a = random_coefficients<TypeParam>(n, n);
        auto b = a;
        b.resize(n + 3);
        int degree = n;
        Polynomial::integral(degree, b.data());
        EXPECT_EQ(largest_difference(b[0], TypeParam()), 0.0);
        Polynomial::integral(degree, b.data());
        EXPECT_EQ(degree, n + 2);
        Polynomial::derivative(2, degree, b.data());
        EXPECT_EQ(degree, n);
        for (int i = 0; i <= n; ++i)
            EXPECT_LT(largest_difference(b[i], a[i]), 1e-15);
        EXPECT_EQ(largest_difference(b[n + 2], TypeParam()), 0.0) << "the freed coefficients are zero";
        Polynomial::derivative(n + 1, degree, b.data());
        EXPECT_EQ(degree, -1);
        EXPECT_EQ(largest_difference(b[0], TypeParam()), 0.0);
    }
}

TYPED_TEST(PolynomialsOver, HaveTheValuesOfTheirSumsAndProducts) {
    using Polynomial = typename PolynomialOver<TypeParam>::type;
    int const n = 4, m = 3;
    auto const numbers = random_coefficients<double>(n, 1);
    auto const a = random_coefficients<TypeParam>(n, 2);
    auto const b = random_coefficients<TypeParam>(m, 3);
    std::vector<TypeParam> product(n + m + 1), in_place = b, sum = a;
    std::vector<double> dots(n + m + 1);
    int d = 0, raised = m;
    Polynomial::multiply(n, numbers.data(), m, b.data(), d, product.data());
    ASSERT_EQ(d, n + m);
    in_place.resize(n + m + 1);
    Polynomial().multiply(n, numbers.data(), raised, in_place.data());
    ASSERT_EQ(raised, n + m);
    Polynomial::multiply(-0.5, n, sum.data());
    Polynomial::add(m, b.data(), n, sum.data());
    Polynomial::subtract(n, a.data(), 0, sum.data()); // whatever degree is told, coefficients 0 .. n change
    if constexpr (!std::is_same_v<TypeParam, double>)
        Polynomial::scalar_product(n, a.data(), m, b.data(), d, dots.data());
    else
        Polynomial::multiply(n, a.data(), m, b.data(), d, dots.data());
    for (double const t : {-1.5, -0.3, 0.0, 0.7, 2.0}) {
        TypeParam expected = value_of(b, t), total = value_of(a, t);
        EXPECT_NEAR(value_of(dots, t), dot(total, expected), 1e-13 * std::pow(2.0, n + m));
        total *= -1.5;
        total += expected;
        EXPECT_LT(largest_difference(value_of(sum, t), total), 1e-14 * std::pow(2.0, n));
        expected *= value_of(numbers, t);
        EXPECT_LT(largest_difference(value_of(product, t), expected), 1e-14 * std::pow(2.0, n + m));
    }
    for (int i = 0; i <= n + m; ++i)
        EXPECT_EQ(largest_difference(in_place[i], product[i]), 0.0);
}

TYPED_TEST(PolynomialsOver, PassThroughTheSamplesThatTheyWereFittedTo) {
    using Polynomial = typename PolynomialOver<TypeParam>::type;
    Polynomial fitter; // reused: what a fit leaves behind must not matter
    for (int const n : {6, 0, 1, 3}) {
        auto const y = random_coefficients<TypeParam>(n, 10 + n);
        std::vector<double> x, parameters{0.0};
        for (int i = 0; i <= n; ++i)
            x.push_back(0.5 * i - 1.0);
        std::vector<TypeParam> c(n + 1), chord(n + 1), expected(n + 1);
        fitter.fit(x.data(), y.data(), n, c.data());
        fitter.fit(-1.0, 2.3, y.data(), n, chord.data());
        for (int i = 1; i <= n; ++i)
            parameters.push_back(parameters.back() + largest_difference(y[i], y[i - 1]));
        double const total = parameters.back();
        for (int i = 0; i <= n; ++i)
            parameters[i] = i == 0 ? -1.0 : i == n ? 2.3 : parameters[i] * (2.3 - -1.0) / total + -1.0;
        fitter.fit(parameters.data(), y.data(), n, expected.data());
        for (int i = 0; i <= n; ++i) {
            EXPECT_LT(largest_difference(value_of(c, x[i]), y[i]), 1e-12);
            EXPECT_LT(largest_difference(value_of(chord, parameters[i]), y[i]), 1e-9);
            EXPECT_EQ(largest_difference(chord[i], expected[i]), 0.0) << "the same abscissae, to the bit";
        }
    }
}

TYPED_TEST(PolynomialsOver, LeaveOutSamplesThatCoincideWithTheLastOneTaken) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> const along = {0.0, 4e-11, 8e-11, 1.2e-10, nan, 1.6e-10, -3.0};
    std::vector<TypeParam> y(along.size()), c(along.size());
    for (std::size_t i = 0; i < y.size(); ++i)
        component(y[i], dimension(y[i]) - 1) = along[i];
    auto const fit = [&](int n) {
        for (TypeParam & coefficient : c)
            component(coefficient, 0) = 7.0;
        typename PolynomialOver<TypeParam>::type().fit(0.0, 1.0, y.data(), n, c.data());
        int degree = n;
        while (degree > 0 && largest_difference(c[degree], TypeParam()) == 0.0)
            --degree;
        return degree;
    };
    EXPECT_EQ(fit(2), 0);
    EXPECT_EQ(largest_difference(c[0], y[0]), 0.0);
    EXPECT_EQ(fit(6), 2) << "samples 0, 3 and 6";
    EXPECT_LT(largest_difference(value_of(c, 1.0), y[6]), 1e-5);
    EXPECT_EQ(largest_difference(value_of(c, 0.0), y[0]), 0.0);
}

TEST(Polynomial, DividesInItsIntegralWhereVectorsMultiplyByTheReciprocal) {
    double a[4] = {0.0, 0.0, 5.0};
    mlTinyVector2 b[4];
    mlTinyVector2Polynomial::set_zero(3, b);
    b[2].fill(5.0);
    int n = 2, m = 2;
    mlPolynomial::integral(n, a);
    mlTinyVector2Polynomial::integral(m, b);
    EXPECT_EQ(a[3], 5.0 / 3.0);
    EXPECT_EQ(b[3][1], 5.0 * (1.0 / 3.0));
    ASSERT_NE(a[3], b[3][1]);
}

TEST(Polynomial, SquaresItselfInPlace) {
    double a[5] = {1.0, -2.0, 3.0};
    int n = 2;
    mlPolynomial().multiply(n, a, n, a);
    EXPECT_EQ(std::vector<double>(a, a + 5), (std::vector<double>{1.0, -4.0, 10.0, -12.0, 9.0}));
    EXPECT_EQ(n, 4);
}

TEST(Polynomial, TreatsTheDegreeOfZeroAsNothingToGoOver) {
    double a[3] = {4.0, 5.0, 6.0};
    int n = -1, d = 7;
    mlPolynomial::integral(n, a);
    EXPECT_EQ(n, 0);
    double const two = 2.0;
    mlPolynomial::multiply(-1, &two, 2, &two, d, a); // no coefficient of either is read
    EXPECT_EQ(d, 1);
    mlPolynomial::set_zero(-1, a + 2);
    EXPECT_EQ(std::vector<double>(a, a + 3), (std::vector<double>{0.0, 0.0, 6.0}));
}

TEST(Polynomial, PrintsFromTheHighestPowerDown) {
    auto const text = [](auto print) {
        std::ostringstream stream;
        print(stream);
        return stream.str();
    };
    double const a[] = {1.0, 2.0, -3.5, 4.0};
    EXPECT_EQ(text([&](std::ostream & s) { mlPolynomial::print(s, 0, a); }), "1\n");
    EXPECT_EQ(text([&](std::ostream & s) { mlPolynomial::print(s, 1, a); }), "2t + 1\n");
    EXPECT_EQ(text([&](std::ostream & s) { mlPolynomial::print(s, 3, a); }), "4t^3 + -3.5t^2 + 2t + 1\n");
    mlTinyVector2 b[2];
    b[0].fill(1.0);
    b[1].fill(-2.0);
    EXPECT_EQ(text([&](std::ostream & s) {
                  utOstream indenting(s, 1, 2);
                  mlTinyVector2Polynomial::print(indenting, 1, b);
                  mlTinyVector2Polynomial::print(indenting, 0, b);
              }),
              "  <-2,-2>t + <1,1>\n  <1,1>\n");
}

} // namespace
