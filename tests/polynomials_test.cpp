#include <numeric>

#include "tests/support/polynomials.h"
#include "tests/support/ratios.h"
#include "tests/support/test.h"
#include "tests/support/traces.h"

namespace {

// A coefficient, a double or a fixed-size vector, as a row of numbers.
template <class C> constexpr int dimension = sizeof(C) / sizeof(double);
template <class C> double * numbers(C & c) { return reinterpret_cast<double *>(&c); }

template <class C> double dot(C a, C b) {
    return std::inner_product(numbers(a), numbers(a) + dimension<C>, numbers(b), 0.0);
}
template <class C> double distance(C a, C const & b) {
    a -= b;
    return std::sqrt(dot(a, a));
}

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
    EXPECT_EQ(std::pair(c[2] != 0.0, Values(c.begin() + 3, c.end())), std::pair(true, Values(4)));
}

TEST(Polynomial, TreatsTheDegreeOfZeroAsNothingToGoOver) {
    double a[] = {4.0, 5.0, 6.0}, two = 2.0, value = 5.0;
    int n = -1, d = 7;
    mlPolynomial::integral(n, a);
    mlPolynomial::multiply(-1, &two, 2, &two, d, a); // no coefficient of either is read
    mlPolynomial::set_zero(-1, a + 2);
    mlTinyVector2 point;
    point.fill(5.0);
    mlPolynomial::evaluate(-1, a, 2.0, value);
    mlTinyVector2Polynomial::evaluate(-1, nullptr, 2.0, point);
    EXPECT_EQ((Values{1.0 * n, 1.0 * d, a[0], a[1], a[2], value, point[0], point[1]}),
              (Values{0, 1, 0, 0, 6, 0, 0, 0}));
}

/// The type that a closed-form solver returns for these coefficients, highest power first, and all the roots it writes.
struct Solution {
    explicit Solution(Values const & p) : roots(p.size() - 1, nan_value) {
        Values & r = roots;
        type = p.size() == 3   ? mlRootSolve::quadratic_solve(p[0], p[1], p[2], r[0], r[1])
               : p.size() == 4 ? mlRootSolve::cubic_solve(p[0], p[1], p[2], p[3], r[0], r[1], r[2])
                               : mlRootSolve::quartic_solve(p[0], p[1], p[2], p[3], p[4], r[0], r[1], r[2], r[3]);
    }
    int type;
    Values roots;
};

TEST(ClosedForms, HaveTheRootsThatTheCoefficientsSay) {
    struct {
        Values p;
        int type;
        Values roots;
        double tolerance;
    } const cases[] = {
        {{0, 0, 0}, -1, {0, 0}, 0},
        {{1, -2, 1}, 2, {1, 1}, 0},
        {{1, 1, 1}, 0, {0, 0}, 0},
        {{1e-12, 1, -3}, 1, {3, 0}, 0},
        {{0x1p900, -0x1p902, 0x1p870}, 2, {0x1p-32, 4 - 0x1p-32}, 1e-19}, // nothing is lost to cancellation
        {{1, -2, 1 - 1e-12}, 2, {1, 1}, 0},
        {{0, 0, 0, 0}, -1, {0, 0, 0}, 0},
        {{2, -6, 4, 0}, 3, {0, 1, 2}, 1e-15},
        {{1e-13, 0, 1, 0}, 1, {0, 0, 0}, 0},            // the quadratic of the others has no root
        {{1e-13, 1e-4, 1, 0}, 2, {-10000, 0, 0}, 1e-9}, // that quadratic is linear: it has one
        {{1e-13, -1e-4, 1, 0}, 2, {0, 10000, 0}, 1e-9},
        {{-1, -3, -3, -1}, 3, {-1, -1, -1}, 0}, // D is exactly 0
        {{1, 0, -12, 16}, 3, {-4, 2, 2}, 1e-14},
        {{0.99e-10, 1, -3, 2}, 2, {1, 2, 0}, 1e-14},
        {{1.01e-10, 1, 0, 0}, 3, {-1 / 1.01e-10, 0, 0}, 1e-4},
        {{1, 0, -3, 0, -4}, 2, {-2, 2, 0, 0}, 0},           // z = -1 and 4
        {{1, 0, -2, 0, 1}, 2, {-1, 1, 0, 0}, 0},            // z = 1 twice
        {{1, 0, 0, 0, 0}, 1, {0, 0, 0, 0}, 0},              // 0 and -0, and both again: one root
        {{1, 0, -1e-14, 0, 0}, 2, {-1e-7, 0, 0, 0}, 1e-13}, // 0, then 1e-7, which is dropped, and -1e-7, which is not
        {{1, 0, 1, 0, -1.6e-13}, 2, {-4e-7, 4e-7, 0, 0}, 1e-18}, // the lower one comes last, and so counts
        {{0.5e-10, 1, -6, 11, -6}, 3, {1, 2, 3, 0}, 1e-13},
        {{1, 0, 3, 0x1p-30, 1}, 0, {0, 0, 0, 0}, 0}, // rounding leaves the square of s below zero
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.p));
        Solution const s(c.p);
        EXPECT_EQ(s.type, c.type);
        for (std::size_t i = 0; i < c.roots.size(); ++i)
            EXPECT_NEAR(s.roots[i], c.roots[i], c.tolerance);
    }
}

TEST(ClosedForms, FindSeparateRootsInOrderAndKeepHalfOfTheDigitsOfNearlyDoubleOnes) {
    for (int seed = 1; seed <= 600; ++seed) {
        SCOPED_TRACE(seed);
        mlRandom random(seed);
        Values roots{random.uniform(-4.0, -2.0), random.uniform(-1.0, 1.0), random.uniform(2.0, 4.0)};
        if (seed % 2) roots.push_back(random.uniform(5.0, 7.0));
        bool const separate = seed % 4 < 2;
        if (!separate) roots[1] = roots[0] + std::pow(10.0, random.uniform(-14.0, -2.0));
        Solution const s(polynomial_of(roots, random.uniform(-3.0, 3.0)));
        ASSERT_TRUE(separate ? s.type == static_cast<int>(roots.size()) : s.type >= 1) << s.type;
        for (int i = 0; i < s.type; ++i) // if any are lost, they are of the pair
            EXPECT_NEAR(s.roots[i], roots[i + roots.size() - s.type], separate ? 1e-12 : 1e-5);
    }
}

/// The function f, which claims to have that slope everywhere.
TracedFunction claim(double slope, TracedFunction::Formula const & f) {
    return TracedFunction(f, [slope](double) { return slope; });
}

double line(double t) { return t - 1.0; }
double rising(double t) { return t * t - 2.0; }

double secant(double a, double fa, double b, double fb) { return (fa * b - fb * a) / (fa - fb); }

TEST(IterativeFinders, AskInAFixedOrderAndKnowWhenTheyHaveConverged) {
    double (*const bracketed)(mlFunction const &, double, double, double, int &, int) = mlRootSolve::newton_raphson;
    enum { newton, inside, falsi };
    TracedFunction const steep([](double t) { return t == 0 ? -1 : t == 1 ? 15 : 1; });
    double const a = 1.375, b = 1.4375, p = secant(a, rising(a), b, rising(b)), q = secant(p, rising(p), b, rising(b)),
                 r = secant(1, -1, 1.5, 0.25), none = nan_value, top = largest_double;
    struct {
        int finder;
        TracedFunction f;
        double from, to; // the bracket; the domain of Newton-Raphson, which starts at 3
        int limit;
        double x;
        int converged;
        std::vector<Call> calls;
    } const cases[] = {
        {newton, claim(1, line), -9, 9, 1, 1, 0, {{0, 3}, {1, 3}}}, // the point reached is not looked at
        {newton, claim(32, line), -9, 9, 9, 2.876953125, 1, {{0, 3}, {1, 3}, {0, 2.9375}, {1, 2.9375}}},
        {newton, claim(0, line), -9, 9, 9, top, 0, {{0, 3}, {1, 3}}},
        {newton, claim(-1, line), -9, 4, 9, 4, 0, {{0, 3}, {1, 3}, {1, 4}, {0, 4}}}, // at a border the slope is first
        // a root at one
        {newton, claim(1, line), 1, 9, 2, 1, 0, {{0, 3}, {1, 3}, {1, 1}, {0, 1}, {0, 1}, {1, 1}, {1, 1}, {0, 1}}},
        {inside, claim(1, line), 1.0625, 3, 9, 1.0625, 1, {{0, 1.0625}}},             // a root by its value
        {inside, claim(32, rising), 0, 2, 9, 1, 1, {{0, 0}, {0, 2}, {0, 1}, {1, 1}}}, // before a short step
        {inside, claim(0, rising), 0, 2, 2, 1.4, 0, {{0, 0}, {0, 2}, {0, 1}, {1, 1}, {0, 4 / 3.0}, {1, 4 / 3.0}}},
        {inside, claim(0.05, rising), a, b, 9, q, 1, {{0, a}, {0, b}, {0, p}, {1, p}}},         // too flat to follow
        {inside, claim(nan_value, rising), 0, 2, 1, none, 0, {{0, 0}, {0, 2}, {0, 1}, {1, 1}}}, // is followed
        {falsi, steep, 0, 1, 1, 0.0625, 1, {{0, 0}, {0, 1}, {0, 0}, {0, 0.0625}}}, // leaves as much as is tolerated
        {falsi, claim(0, rising), a, b, 9, a, 1, {{0, a}, {0, b}, {0, a}}},        // short enough
        {falsi,
         claim(0, rising),
         2,
         0,
         3,
         16 / 11.0,
         0,
         {{0, 2}, {0, 0}, {0, 2}, {0, 1}, {0, 4 / 3.0}, {0, 16 / 11.0}}},
        {falsi, claim(0, rising), 0, 2, 3, r, 0, {{0, 0}, {0, 2}, {0, 0}, {0, 1}, {0, 1.5}, {0, r}}}, // a value halved
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(&c - cases);
        TracedFunction f = c.f;
        double const tolerance = 0.0625;
        int converged = 7;
        f.low = c.from;
        f.high = c.to;
        double const x = c.finder == newton ? mlRootSolve::newton_raphson(f, 3.0, tolerance, converged, c.limit)
                                            : (c.finder == inside ? bracketed : mlRootSolve::regula_falsi)(
                                                  f, c.from, c.to, tolerance, converged, c.limit);
        EXPECT_TRUE(same(x, c.x) || std::fabs(x - c.x) <= 1e-15) << x << " for " << c.x;
        EXPECT_EQ(converged, c.converged);
        EXPECT_EQ(f.calls, c.calls);
    }
}

} // namespace
