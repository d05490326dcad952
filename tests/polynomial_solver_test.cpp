#include <complex>
#include <numeric>

#include "maths/polynomials/all_roots/mlRootEnclosure.h"
#include "tests/support/polynomials.h"
#include "tests/support/ratios.h"
#include "tests/support/test.h"

namespace {

using Extended = long double;
using Point = std::complex<Extended>;
using Points = std::vector<Point>;

/// The coefficients of the product of (t - root), lowest power first, exactly while 64 bits hold them.
Values polynomial(Points const & roots) {
    Points const p = polynomial_of(roots);
    Values a;
    std::transform(p.rbegin(), p.rend(), std::back_inserter(a), [](Point c) { return double(c.real()); });
    return a;
}

/// A polynomial's value, derivative and sum of magnitudes, which the range of an extended number holds.
struct At {
    At(Values const & a, Point z) {
        for (auto c = a.rbegin(); c != a.rend(); ++c) {
            slope = slope * z + value;
            value = value * z + Extended(*c);
            sum = sum * std::abs(z) + std::fabs(*c);
        }
    }
    Point value, slope;
    Extended sum = 0.0L;
};

struct PolynomialSolver : testing::Test {
    mlPolynomialSolverStatus solve(Values const & a) { return solver.solve(static_cast<int>(a.size()) - 1, a.data()); }

    Point root(int i) const { return {solver.real_part(i), solver.imaginary_part(i)}; }

    /// All real ones, or those in a range.
    Values real_roots(auto const &... range) const {
        mlVector out{9.0};
        solver.real_roots(range..., out);
        return contents(out);
    }

    /// The list is in order, pairs stand together and are opposite to the bit, and every root meets the stopping test.
    void expect_sound(Values const & a) const {
        int const n = solver.num_roots();
        ASSERT_EQ(solver.status(), mlPolynomialSolverSolved);
        int real = 0;
        for (int i = 0; i < n; ++i) {
            SCOPED_TRACE(testing::Message() << "root " << i << " of " << n);
            double const x = solver.real_part(i), y = solver.imaginary_part(i), bound = solver.error_bound(i);
            int const before = std::max(i - 1, 0), other = y < 0.0 ? i + 1 : before; // of the pair
            EXPECT_LT(std::fabs(x) + std::fabs(y), infinity);
            EXPECT_EQ(bound, std::clamp(bound, 0.0, largest_double));
            for (double const part : {x, y})
                EXPECT_LE(std::signbit(part), part < 0.0) << "-0.0";
            EXPECT_LE(std::tuple(solver.real_part(before), std::fabs(solver.imaginary_part(before))),
                      std::tuple(x, std::fabs(y)));
            real += y == 0.0;
            if (y != 0.0) {
                ASSERT_LT(other, n);
                EXPECT_EQ(root(other), std::conj(root(i)));
                EXPECT_EQ(solver.error_bound(other), bound);
            }
            At const at(a, root(i));
            EXPECT_LE(std::abs(at.value), 4.0L * n * roundoff * at.sum);
        }
        EXPECT_EQ(solver.num_real_roots(), real);
    }

    /// The polynomial's roots are listed, within 2 n eps times their condition, multiple ones within 1e-5, and within
    /// their bounds, which are at most `excess` times the former.
    void expect_roots(Values const & a, Points const & roots, double excess = 140.0) {
        solve(a);
        expect_sound(a);
        if (HasFatalFailure()) return;
        ASSERT_EQ(solver.num_roots(), static_cast<int>(roots.size()));
        std::vector<int> left(roots.size());
        std::iota(left.begin(), left.end(), 0);
        for (Point const z : roots) {
            int const nearest = std::ranges::min(left, {}, [&](int i) { return std::abs(root(i) - z); });
            std::erase(left, nearest);
            At const at(a, z);
            bool const multiple = std::abs(at.slope) == 0.0L;
            Extended const figure = multiple ? 1e-5L : 2.0L * roots.size() * roundoff * at.sum / std::abs(at.slope);
            Extended const error = std::abs(root(nearest) - z);
            EXPECT_LE(error, figure) << z;
            EXPECT_LE(error, solver.error_bound(nearest) + 1e-18L * std::abs(z)) << z;
            EXPECT_LE(solver.error_bound(nearest), excess * figure) << z;
            EXPECT_TRUE(multiple || (solver.imaginary_part(nearest) == 0.0) == (z.imag() == 0.0L)) << z;
        }
    }

    mlPolynomialSolver solver;
};

TEST_F(PolynomialSolver, TellsWhatHasNoListOfRoots) {
    EXPECT_EQ(solver.status(), mlPolynomialSolverEverywhere);
    std::pair<mlPolynomialSolverStatus, Values> const cases[] = {
        {mlPolynomialSolverEverywhere, {}},
        {mlPolynomialSolverEverywhere, {0.0, -0.0, 0.0}},
        {mlPolynomialSolverNotFinite, {0.0, nan_value, 0.0}},
        {mlPolynomialSolverNotFinite, {1.0, 2.0, infinity}},
        {mlPolynomialSolverNotFinite, {-infinity}},
        {mlPolynomialSolverSolved, {-3.0}},
        {mlPolynomialSolverSolved, {5e-324, 0.0, -0.0}},
    };
    for (auto const & [status, a] : cases) {
        solve({2.0, -3.0, 1.0}); // to be forgotten
        EXPECT_EQ(solve(a), status);
        EXPECT_EQ(solver.status(), status);
        EXPECT_EQ(std::tuple(solver.num_roots(), solver.num_real_roots(), real_roots()), std::tuple(0, 0, Values()));
    }
    solve({2.0, -3.0, 1.0});
    coFailStorageAfter(0);
    EXPECT_THROW(solve(Values(99, 1.0)), std::bad_alloc);
    coFailStorageAfter(-1);
    EXPECT_EQ(std::tuple(solver.num_roots(), solver.status()), std::tuple(0, mlPolynomialSolverEverywhere))
        << "after bad_alloc";
}

TEST_F(PolynomialSolver, TakesExactZerosForWhatTheyAre) {
    ASSERT_EQ(solve({-0.0, 0.0, -8.0, 2.0, 1.0, -0.0, 0.0}), mlPolynomialSolverSolved);
    expect_sound({-0.0, 0.0, -8.0, 2.0, 1.0});
    EXPECT_EQ(solver.error_bound(1) + solver.error_bound(2), 0.0);
    EXPECT_GT(solver.error_bound(3), 0.0);

    EXPECT_EQ(real_roots(), (Values{-4.0, 0.0, 0.0, 2.0}));
    EXPECT_EQ(real_roots(mlRange(0.0, 2.0)), (Values{0.0, 0.0, 2.0})); // closed
    EXPECT_EQ(real_roots(mlRange(0.5, 1.75)), Values());
    EXPECT_EQ(real_roots(mlRange()), Values());
}

TEST_F(PolynomialSolver, FindsRootsThatAreKnown) {
    struct {
        char const * name;
        Points roots;
        double excess = 140.0;
    } const cases[] = {
        {"linear", {-1.5}},
        {"Wilkinson's of degree 15", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {"on the imaginary axis", {{0, 1}, {0, -1}, {0, 2}, {0, -2}, {0, 3}, {0, -3}}},
        {"symmetric", {-3, 3, {2, 1}, {2, -1}, {-2, 1}, {-2, -1}}},
        {"real beside complex", {-4, 0.25, 7, {0.25, 0x1p-10}, {0.25, -0x1p-10}, {-4, 0x1p-9}, {-4, -0x1p-9}}},
        {"near the real axis", {3, {2, 0x1p-20}, {2, -0x1p-20}}},
        {"near each other", {1, 1 + 0x1p-20, 3}},
        {"graded", {0x1p-20, 0x1p-10, 1, 0x1p10, 0x1p20}},
        {"of all magnitudes", {-1e150, -3e-150, 1e-40, 2, 1e40}, 20.0},
        {"double", {-2, 7, {0.5, 2}, {0.5, -2}, {0.5, 2}, {0.5, -2}, 1.25, 1.25}},
        {"of fivefold multiplicity", {-2, 7, {0.5, 2}, {0.5, -2}, 1.25, 1.25, 1.25, 1.25, 1.25}},
        {"on one circle", {5, -5, {3, 4}, {3, -4}, {-3, 4}, {-3, -4}, {4, 3}, {4, -3}}},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.name);
        expect_roots(polynomial(c.roots), c.roots, c.excess);
    }
    Extended const pi = 3.14159265358979323846264338327950288L; // that of a standard library may be a double's
    for (int const n : {2, 3, 30, 500, 1000}) {
        SCOPED_TRACE(n); // the roots of unity
        Values a(n + 1);
        a[0] = -1.0;
        a[n] = 1.0;
        Points roots;
        for (int k = 0; k < n; ++k)
            roots.push_back(2 * k % n == 0 ? Point(k == 0 ? 1 : -1) : std::polar(1.0L, 2.0L * pi * k / n));
        expect_roots(a, roots);
    }
    Point const root = std::polar(0x1p-1000L, 2.0L * pi / 3.0L); // of s^2 + s + 1 in s = 2^1000 t
    expect_roots({0x1p-1000, 1.0, 0x1p1000, 0x1p30}, {-0x1p970L, root, std::conj(root)});
}

// (t - 45/32)^2 (t^2000 - 1): t^2002 overflows where its reciprocal does not.
TEST_F(PolynomialSolver, BoundsADoubleRootFarOutsideOfManyOthers) {
    Values a(2003, 0.0);
    for (int i = 0; i < 3; ++i) {
        a[2000 + i] = polynomial({1.40625L, 1.40625L})[i];
        a[i] = -a[2000 + i];
    }
    ASSERT_EQ(solve(a), mlPolynomialSolverSolved);
    for (int const i : {2000, 2001}) {
        EXPECT_LE(std::abs(root(i) - 1.40625L), 1e-14);
        EXPECT_EQ(solver.error_bound(i), 0.010696362976496111) << "found around 1 / z";
    }
}

/// The enclosure's bound of the distance from z to the nearest root.
double enclosure(Values const & a, mlComplex const & z) {
    mlScaledPolynomial scaled;
    scaled.become(static_cast<int>(a.size()) - 1, a.data(), 0);
    auto const at = scaled.evaluate_precisely(z, false, false);
    Point const point(z.re, z.im), slope = point * At(a, point).slope * Extended(scaled.coefficient(0) / a[0]);
    EXPECT_TRUE(!mlScaledPolynomial::is_safe(at.sum) ||
                std::abs(Point(at.slope.re, at.slope.im) - slope) <= scaled.slope_error(at, false))
        << "z p' has a larger error than its bound, at " << point;
    double value, sum;
    return mlRootEnclosure().distance(scaled, z, value, sum);
}

// The least of the bounds of all orders k is at most 1.45 n times the distance, and roots of order k are rounded up.
TEST(RootEnclosure, HoldsTheNearestRootAndLittleMore) {
    for (Points const & roots : {Points{1, 1, 1, 1, 1, 1}, {1, 1, 1, -0.5, 2}, {1, 1 + 0x1p-10, 0.75, 1.5}})
        for (double distance = 1.0; distance > 1e-3; distance *= 0.75)
            for (mlComplex const turn : {mlComplex{-0.96, 0.28}, {1.0, 0.0}, {0.0, 1.0}, {-0.8, 0.6}}) {
                Point const z(1.0 + turn.re * distance, turn.im * distance);
                Extended nearest = infinity;
                for (Point const root : roots)
                    nearest = std::min(nearest, std::abs(root - z));
                double const bound = enclosure(polynomial(roots), {double(z.real()), double(z.imag())});
                EXPECT_GE(bound, nearest) << roots.size() << ", " << z;
                EXPECT_LE(bound, 1.55L * roots.size() * nearest + 1e-20L) << roots.size() << ", " << z;
            }
}

// Beyond degrees that doubles serve the roots listed are poor, and said to be, but the bounds hold.
TEST_F(PolynomialSolver, TellsWhereItCannotEvaluate) {
    Values a(2001, 0.0); // roots of magnitudes (1/3)^(1/1000) and (3e300)^(1/1000), but for roundoff
    a[0] = 1.0;
    a[1000] = -3.0;
    a[2000] = 1e-300;
    EXPECT_EQ(solve(a), mlPolynomialSolverIterationLimit);
    Extended worst = 0.0L;
    for (int i = 0; i < 2000; ++i) {
        Extended const r = std::abs(root(i)), error = std::min(std::fabs(r - std::pow(1 / 3.0L, 1e-3L)),
                                                               std::fabs(r - std::pow(3e300L, 1e-3L)));
        EXPECT_LE(error, solver.error_bound(i) + 1e-15L) << i;
        EXPECT_LT(solver.error_bound(i), infinity) << i;
        worst = std::max(worst, error);
    }
    EXPECT_GT(worst, 1.0L);
}

TEST_F(PolynomialSolver, ListsARootOutOfRangeAtTheEndOfTheRange) {
    for (Values const & a :
         {Values{1e300, 1e-300}, Values{1.0, 5e-324}, Values{1.0, 1e-309}, Values{1e308, 1e308, 1e308, -1e308, -1e-308},
          Values{1e-300, -1e-200, 1.0, 1e-309}, Values{1e308, 0.0, -5e-324}}) {
        ASSERT_EQ(solve(a), mlPolynomialSolverIterationLimit);
        EXPECT_EQ(solver.real_part(0), -largest_double);
        for (int i = 0; i < solver.num_roots(); ++i)
            EXPECT_EQ(solver.error_bound(i) == infinity, std::fabs(solver.real_part(i)) == largest_double) << a[0];
    }
    ASSERT_EQ(solve({1e308, 0.0, 5e-324}), mlPolynomialSolverIterationLimit);
    EXPECT_EQ(solver.imaginary_part(1), largest_double);
    EXPECT_EQ(solver.error_bound(0) + solver.error_bound(1), infinity);
    EXPECT_EQ(solve({-6.0, 11.0, -6.0, 1.0}), mlPolynomialSolverSolved) << "after one that has no such list";
}

TEST_F(PolynomialSolver, JudgesARootBelowTheNormalNumbersAsItIsListed) {
    EXPECT_EQ(solve({0x1p-1070, 4.0}), mlPolynomialSolverSolved);
    EXPECT_EQ(solver.real_part(0), -0x1p-1072);
    for (Values const & a : {Values{0x1p-1070, 3.0}, Values{0x1p-1070, 3.0, 1.0}}) {
        EXPECT_EQ(solve(a), mlPolynomialSolverIterationLimit);
        int const last = solver.num_roots() - 1;
        Extended const error = std::fabs(solver.real_part(last) + 0x1p-1070L / 3.0L);
        EXPECT_LE(error, std::min(solver.error_bound(last), 0x1p-1074)) << "rounding to such numbers is part of it";
        EXPECT_LE(solver.error_bound(last), 0x1p-1070);
    }
    EXPECT_EQ(solve({1e-300, 1e300}), mlPolynomialSolverIterationLimit); // its root is listed as 0
    EXPECT_EQ(solve({1e-300, 1e300, 1e300}), mlPolynomialSolverIterationLimit);
    EXPECT_NEAR(solver.real_part(1), 0.0, solver.error_bound(1));
}

TEST_F(PolynomialSolver, LeavesQuadraticsToTheClosedFormWhereItIsExactEnough) {
    for (Values const & a : {Values{2.0, -3.0, 1.0}, Values{-1.0, 1e8, 1.0}, Values{0.0, 1.0, 3.7, 1.1},
                             Values{1.0, -2.0, 1.0}, Values{-7e200, 3e210, 1e220}}) {
        double const * const end = a.data() + a.size();
        double low, high;
        ASSERT_EQ(mlRootSolve::quadratic_solve(end[-1], end[-2], end[-3], low, high), mlRootTypeTwo);
        ASSERT_EQ(solve(a), mlPolynomialSolverSolved);
        EXPECT_EQ(std::tuple(solver.real_part(0), solver.real_part(1)), std::tuple(low, high));
    }
    // It takes these discriminants for zero: roots 1 and 1 + 2^-20, and 1 +- 2^-20 i.
    ASSERT_EQ(solve({1.0 + 0x1p-20, -2.0 - 0x1p-20, 1.0}), mlPolynomialSolverSolved);
    EXPECT_EQ(real_roots(), (Values{1.0, 1.0 + 0x1p-20}));
    ASSERT_EQ(solve({1.0 + 0x1p-40, -2.0, 1.0}), mlPolynomialSolverSolved);
    EXPECT_EQ(solver.imaginary_part(1), 0x1p-20);
}

// Powers of two in the coefficients and in the variable change nothing but exponents, nor does what was solved before.
TEST_F(PolynomialSolver, ListsTheRootsOfRandomPolynomialsTheSameEachTimeAndScaled) {
    double bounds = 0.0; // relative to the roots
    for (int const n : {1, 2, 3, 4, 5, 8, 13, 30, 100, 600}) {
        mlRandom random(n);
        for (int round = 0; round < (n < 100 ? 20 : 1); ++round) {
            SCOPED_TRACE(testing::Message() << "degree " << n << ", round " << round);
            bool const squared = round % 5 == 4 && n % 2 == 0;
            bool const scales = n != 2 && n < 30 && !squared; // the closed form goes by absolute tolerances
            int const e = scales ? 300 * (round % 5 - 2) : 0, k = scales ? 14 * (round % 3 - 1) : 0;
            Values a(n + 1), b;
            for (double & c : a) {
                c = random.uniform(-1.0, 1.0);
                if (round % 2 == 1) c = std::ldexp(c, static_cast<int>(random.uniform() * 80));
            }
            if (int degree; squared) { // so that the roots stand in pairs
                Values const half(a.begin(), a.begin() + n / 2 + 1);
                mlPolynomial::multiply(n / 2, half.data(), n / 2, half.data(), degree, a.data());
            }
            for (double const c : a)
                b.push_back(std::ldexp(c, e - k * static_cast<int>(b.size())));
            solve(a);
            expect_sound(a);
            ASSERT_EQ(solver.num_roots(), n);
            mlPolynomialSolver fresh;
            fresh.solve(n, b.data());
            Extended product = 1.0L; // of the magnitudes: no root is missing
            for (int i = 0; i < n; ++i) {
                Point const scaled(fresh.real_part(i), fresh.imaginary_part(i));
                EXPECT_EQ(scaled, root(i) * std::ldexp(1.0L, k)) << i;
                EXPECT_TRUE(a != b || fresh.error_bound(i) == solver.error_bound(i)) << i;
                product *= std::abs(root(i));
                bounds +=
                    solver.error_bound(i) / (std::fabs(solver.real_part(i)) + std::fabs(solver.imaginary_part(i)));
            }
            EXPECT_NEAR(static_cast<double>(product / std::fabs(a[0] / Extended(a[n]))), 1.0, 1e-14 * n);
        }
    }
    EXPECT_EQ(bounds, 4.9133780076777976e-08) << "any slip in an enclosure shows";
}

} // namespace
