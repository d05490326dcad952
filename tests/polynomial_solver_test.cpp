#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/core/mlRandom.h"
#include "maths/polynomials/all_roots/mlRootEnclosure.h"
#include "maths/polynomials/mlPolynomialSolver.h"
#include "maths/polynomials/mlRootSolve.h"
#include "tests/support/ratios.h"
#include "tests/support/values.h"

namespace {

using Extended = long double;
using Point = std::complex<Extended>;
using Pairs = std::vector<std::pair<double, double>>;

/// The coefficients of the product of (t - root) and of t^2 - 2 x t + x^2 + y^2 for the pairs x + i y, exactly while
/// 64 bits hold them.
Values polynomial(Values const & roots, Pairs const & pairs = {}) {
    std::vector<Extended> p{1.0L};
    auto const multiply = [&p](Extended c, Extended b, bool quadratic) {
        p.resize(p.size() + 1 + quadratic);
        for (std::size_t i = p.size(); i-- > 0;)
            p[i] = c * p[i] + (i > 0 ? b * p[i - 1] : 0.0L) + (quadratic && i > 1 ? p[i - 2] : 0.0L);
    };
    for (double const root : roots)
        multiply(-root, 1.0L, false);
    for (auto const & [x, y] : pairs)
        multiply(static_cast<Extended>(x) * x + static_cast<Extended>(y) * y, -2.0L * x, true);
    return Values(p.begin(), p.end());
}

mlPolynomialSolverStatus solve(mlPolynomialSolver & solver, Values const & a) {
    return solver.solve(static_cast<int>(a.size()) - 1, a.data());
}

Point root(mlPolynomialSolver const & solver, int i) { return {solver.real_part(i), solver.imaginary_part(i)}; }

/// A polynomial's value, derivative and sum of magnitudes, divided by z^n beyond the unit circle.
struct At {
    At(Values const & a, Point z) {
        bool const reversed = std::abs(z) > 1.0L;
        Point const w = reversed ? 1.0L / z : z;
        Extended const r = std::abs(w);
        for (std::size_t i = a.size(); i-- > 0;) {
            double const c = a[reversed ? a.size() - 1 - i : i];
            slope = slope * w + value;
            value = value * w + static_cast<Extended>(c);
            sum = sum * r + std::fabs(c);
        }
        if (reversed) slope = w * (Extended(a.size() - 1) * value - w * slope);
    }
    Point value, slope;
    Extended sum = 0.0L;
};

/// The list is in order, pairs stand together and are opposite to the bit, and every root meets the stopping test.
void expect_sound(mlPolynomialSolver const & solver, Values const & a, char const * name) {
    int const n = solver.num_roots();
    ASSERT_EQ(solver.status(), mlPolynomialSolverSolved) << name;
    int real = 0;
    for (int i = 0; i < n; ++i) {
        double const x = solver.real_part(i), y = solver.imaginary_part(i), bound = solver.error_bound(i);
        EXPECT_TRUE(std::isfinite(x) && std::isfinite(y) && bound >= 0.0 && std::isfinite(bound)) << name << i;
        EXPECT_FALSE((x == 0.0 && std::signbit(x)) || (y == 0.0 && std::signbit(y))) << name << i;
        int const before = std::max(i - 1, 0), other = y < 0.0 ? i + 1 : before; // of the pair
        EXPECT_LE(std::tuple(solver.real_part(before), std::fabs(solver.imaginary_part(before))),
                  std::tuple(x, std::fabs(y)))
            << name << i;
        real += y == 0.0;
        if (y != 0.0) {
            ASSERT_LT(other, n) << name;
            EXPECT_EQ(root(solver, other), std::conj(root(solver, i))) << name << i;
            EXPECT_EQ(solver.error_bound(other), bound) << name << i;
        }
        At const at(a, root(solver, i));
        EXPECT_LE(std::abs(at.value), 4.0L * n * roundoff * at.sum) << name << i;
    }
    EXPECT_EQ(solver.num_real_roots(), real) << name;
}

/// The polynomial's roots are listed, within 2 n eps times their condition and within their bounds, which are at most
/// 140 times the former.
void expect_roots(Values const & a, std::vector<Point> const & roots, char const * name) {
    mlPolynomialSolver solver;
    solve(solver, a);
    expect_sound(solver, a, name);
    if (testing::Test::HasFatalFailure()) return;
    ASSERT_EQ(solver.num_roots(), static_cast<int>(roots.size())) << name;
    std::vector<bool> taken(roots.size());
    for (Point const z : roots) {
        int nearest = -1;
        for (int i = 0; i < solver.num_roots(); ++i)
            if (!taken[i] && (nearest < 0 || std::abs(root(solver, i) - z) < std::abs(root(solver, nearest) - z)))
                nearest = i;
        taken[nearest] = true;
        At const at(a, z);
        Extended const figure = 2.0L * roots.size() * roundoff * at.sum / std::abs(at.slope);
        Extended const error = std::abs(root(solver, nearest) - z);
        EXPECT_LE(error, figure) << name << ", " << z;
        EXPECT_LE(error, solver.error_bound(nearest) + 1e-18L * std::abs(z)) << name << ", " << z;
        EXPECT_LE(solver.error_bound(nearest), 140.0L * figure) << name << ", " << z;
        EXPECT_EQ(solver.imaginary_part(nearest) == 0.0, z.imag() == 0.0L) << name << ", " << z;
    }
}

std::vector<Point> points(Values const & roots, Pairs const & pairs = {}) {
    std::vector<Point> z(roots.begin(), roots.end());
    for (auto const & [x, y] : pairs)
        z.insert(z.end(), {Point(x, y), Point(x, -y)});
    return z;
}

TEST(PolynomialSolver, TellsWhatHasNoListOfRoots) {
    mlPolynomialSolver solver;
    EXPECT_EQ(solver.status(), mlPolynomialSolverEverywhere);
    mlVector real;
    auto const expect = [&](mlPolynomialSolverStatus status, Values const & a) {
        solve(solver, {2.0, -3.0, 1.0}); // to be forgotten
        EXPECT_EQ(solve(solver, a), status);
        EXPECT_EQ(solver.status(), status);
        solver.real_roots(real);
        EXPECT_EQ(solver.num_roots() + solver.num_real_roots() + real.size(), 0);
    };
    expect(mlPolynomialSolverEverywhere, {});
    expect(mlPolynomialSolverEverywhere, {0.0, -0.0, 0.0});
    expect(mlPolynomialSolverNotFinite, {0.0, nan_value, 0.0});
    expect(mlPolynomialSolverNotFinite, {1.0, 2.0, infinity});
    expect(mlPolynomialSolverNotFinite, {-infinity});
    expect(mlPolynomialSolverSolved, {-3.0});
    expect(mlPolynomialSolverSolved, {5e-324, 0.0, -0.0});
}

TEST(PolynomialSolver, TakesExactZerosForWhatTheyAre) {
    Values const a{-0.0, 0.0, -8.0, 2.0, 1.0, -0.0, 0.0};
    mlPolynomialSolver solver;
    ASSERT_EQ(solve(solver, a), mlPolynomialSolverSolved);
    ASSERT_EQ(solver.num_roots(), 4);
    expect_sound(solver, Values(a.begin(), a.begin() + 5), "zeros");
    EXPECT_EQ(solver.error_bound(1) + solver.error_bound(2), 0.0);
    EXPECT_GT(solver.error_bound(3), 0.0);

    mlVector out;
    solver.real_roots(out);
    EXPECT_EQ(contents(out), (Values{-4.0, 0.0, 0.0, 2.0}));
    solver.real_roots(mlRange(0.0, 2.0), out); // closed
    EXPECT_EQ(contents(out), (Values{0.0, 0.0, 2.0}));
    solver.real_roots(mlRange(0.5, 1.75), out);
    EXPECT_EQ(out.size(), 0);
    solver.real_roots(mlRange(), out);
    EXPECT_EQ(out.size(), 0);
}

TEST(PolynomialSolver, FindsRootsThatAreKnown) {
    struct {
        char const * name;
        Values roots;
        Pairs pairs;
    } const cases[] = {
        {"linear", {-1.5}, {}},
        {"Wilkinson's of degree 15", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {}},
        {"on the imaginary axis", {}, {{0, 1}, {0, 2}, {0, 3}}},
        {"symmetric", {-3, 3}, {{2, 1}, {-2, 1}}},
        {"real beside complex", {-4, 0.25, 7}, {{0.25, 0x1p-10}, {-4, 0x1p-9}}},
        {"near the real axis", {3}, {{2, 0x1p-20}}},
        {"near each other", {1, 1 + 0x1p-20, 3}, {}},
        {"graded", {0x1p-20, 0x1p-10, 1, 0x1p10, 0x1p20}, {}},
        {"on one circle", {5, -5}, {{3, 4}, {-3, 4}, {4, 3}}},
    };
    for (auto const & c : cases)
        expect_roots(polynomial(c.roots, c.pairs), points(c.roots, c.pairs), c.name);
    Extended const pi = 3.14159265358979323846264338327950288L; // that of a standard library may be a double's
    for (int const n : {2, 3, 30, 500, 1000}) {
        Values a(n + 1);
        a[0] = -1.0;
        a[n] = 1.0;
        std::vector<Point> roots;
        for (int k = 0; k < n; ++k) {
            Extended const angle = 2.0L * pi * k / n;
            roots.emplace_back(std::cos(angle), 2 * k % n == 0 ? 0.0L : std::sin(angle));
        }
        expect_roots(a, roots, "of unity");
    }
}

// What is left of a k-fold root: a cluster that narrow, whose bounds hold and tell it from 0.
TEST(PolynomialSolver, KeepsMultipleRootsTogether) {
    mlPolynomialSolver solver;
    for (int k = 2; k <= 5; ++k) {
        Values roots{-2.0, 7.0};
        roots.insert(roots.end(), k, 1.25);
        Pairs const pairs{{0.5, 2.0}, {0.5, 2.0}};
        Values const a = polynomial(roots, pairs);
        solve(solver, a);
        expect_sound(solver, a, "multiple");
        int found = 0;
        for (int i = 0; i < solver.num_roots(); ++i) {
            Extended nearest = infinity;
            for (Point const z : points(roots, pairs))
                nearest = std::min(nearest, std::abs(root(solver, i) - z));
            EXPECT_LE(nearest, solver.error_bound(i)) << k;
            EXPECT_LT(solver.error_bound(i), std::pow(1e-16, 1.0 / k)) << k;
            found += std::abs(root(solver, i) - Point(1.25)) < std::pow(1e-29, 1.0 / k);
        }
        EXPECT_EQ(found, k);
    }
}

// (t - 45/32)^2 (t^2000 - 1): t^2002 overflows where its reciprocal does not.
TEST(PolynomialSolver, BoundsADoubleRootFarOutsideOfManyOthers) {
    Values a(2003, 0.0);
    Values const square{2025.0 / 1024.0, -2.8125, 1.0};
    for (int i = 0; i < 3; ++i) {
        a[i] = -square[i];
        a[2000 + i] = square[i];
    }
    mlPolynomialSolver solver;
    ASSERT_EQ(solve(solver, a), mlPolynomialSolverSolved);
    for (int const i : {2000, 2001}) {
        Extended const error = std::abs(root(solver, i) - Point(1.40625L));
        EXPECT_LE(error, std::min(solver.error_bound(i), 1e-14));
        EXPECT_LT(solver.error_bound(i), 0.1);
    }
}

/// The enclosure's bound of the distance from z to the nearest root.
double enclosure(Values const & a, mlComplex const & z) {
    mlScaledPolynomial scaled;
    scaled.become(static_cast<int>(a.size()) - 1, a.data(), 0);
    double value, sum;
    return mlRootEnclosure().distance(scaled, z, value, sum);
}

// The least of the bounds of all orders k is at most 1.45 n times the distance, and roots of order k are rounded up.
TEST(RootEnclosure, HoldsTheNearestRootAndLittleMore) {
    for (Values const & roots : {Values{1, 1, 1, 1, 1, 1}, {1, 1, 1, -0.5, 2}, {1, 1 + 0x1p-10, 0.75, 1.5}})
        for (double distance = 1.0; distance > 1e-3; distance *= 0.75)
            for (mlComplex const turn : {mlComplex{-0.96, 0.28}, {1.0, 0.0}, {0.0, 1.0}, {-0.8, 0.6}}) {
                mlComplex const z{1.0 + turn.re * distance, turn.im * distance};
                Extended nearest = infinity;
                for (double const root : roots)
                    nearest = std::min(nearest, std::abs(Point(z.re, z.im) - Point(root)));
                double const bound = enclosure(polynomial(roots), z);
                EXPECT_GE(bound, nearest) << roots.size() << ", " << z.re << ", " << z.im;
                EXPECT_LE(bound, 1.55L * roots.size() * nearest + 1e-20L)
                    << roots.size() << ", " << z.re << ", " << z.im;
            }
    Values a(62); // (t - 2^20) (t^60 - 1), whose powers overflow there: the bound is found around 1 / z
    a[0] = 0x1p20;
    a[1] = -1.0;
    a[60] = -0x1p20;
    a[61] = 1.0;
    for (double distance = 1.0; distance < 0x1p13; distance *= 4.0) {
        EXPECT_GE(enclosure(a, {0x1p20 + distance, 0.0}), distance);
        EXPECT_LE(enclosure(a, {0x1p20 + distance, 0.0}), 100.0 * distance);
    }
}

// Beyond degrees that doubles serve the roots listed are poor, and said to be, but the bounds hold.
TEST(PolynomialSolver, TellsWhereItCannotEvaluate) {
    Values a(2001, 0.0); // roots of magnitudes (1/3)^(1/1000) and (3e300)^(1/1000), but for roundoff
    a[0] = 1.0;
    a[1000] = -3.0;
    a[2000] = 1e-300;
    mlPolynomialSolver solver;
    EXPECT_EQ(solve(solver, a), mlPolynomialSolverIterationLimit);
    Extended worst = 0.0L;
    for (int i = 0; i < 2000; ++i) {
        Extended const r = std::abs(root(solver, i)), error = std::min(std::fabs(r - std::pow(1 / 3.0L, 1e-3L)),
                                                                       std::fabs(r - std::pow(3e300L, 1e-3L)));
        EXPECT_LE(error, solver.error_bound(i) + 1e-15L) << i;
        EXPECT_LT(solver.error_bound(i), infinity) << i;
        worst = std::max(worst, error);
    }
    EXPECT_GT(worst, 1.0L);
}

TEST(PolynomialSolver, FindsRootsOfAllMagnitudesInOnePolynomial) {
    mlPolynomialSolver solver;
    Values const roots{-1e150, -3e-150, 1e-40, 2.0, 1e40}; // of the two terms of a coefficient one is negligible
    ASSERT_EQ(solve(solver, polynomial(roots)), mlPolynomialSolverSolved);
    for (int i = 0; i < 5; ++i) {
        EXPECT_NEAR(solver.real_part(i), roots[i], 1e-14 * std::fabs(roots[i]));
        EXPECT_LT(solver.error_bound(i), 1e-13 * std::fabs(roots[i]));
        EXPECT_EQ(solver.imaginary_part(i), 0.0);
    }
    ASSERT_EQ(solve(solver, {1e-300, 1.0, 1e300, 1e10}), mlPolynomialSolverSolved); // s^2 + s + 1 in s = 1e300 t
    EXPECT_NEAR(solver.real_part(2) * 1e300, -0.5, 1e-14);
    EXPECT_NEAR(solver.imaginary_part(2) * 1e300, std::sqrt(0.75), 1e-14);
    EXPECT_NEAR(solver.real_part(0) / 1e290, -1.0, 1e-14);
}

TEST(PolynomialSolver, ListsARootOutOfRangeAtTheEndOfTheRange) {
    mlPolynomialSolver solver;
    for (Values const & a :
         {Values{1e300, 1e-300}, Values{1.0, 5e-324}, Values{1.0, 1e-309}, Values{1e308, 1e308, 1e308, -1e308, -1e-308},
          Values{1e-300, -1e-200, 1.0, 1e-309}, Values{1e308, 0.0, -5e-324}}) {
        ASSERT_EQ(solve(solver, a), mlPolynomialSolverIterationLimit);
        EXPECT_EQ(solver.real_part(0), -largest_double);
        for (int i = 0; i < solver.num_roots(); ++i)
            EXPECT_EQ(solver.error_bound(i) == infinity, std::fabs(solver.real_part(i)) == largest_double) << a[0];
    }
    ASSERT_EQ(solve(solver, {1e308, 0.0, 5e-324}), mlPolynomialSolverIterationLimit);
    EXPECT_EQ(solver.imaginary_part(1), largest_double);
    EXPECT_EQ(solver.error_bound(0) + solver.error_bound(1), infinity);
}

TEST(PolynomialSolver, JudgesARootBelowTheNormalNumbersAsItIsListed) {
    mlPolynomialSolver solver;
    EXPECT_EQ(solve(solver, {0x1p-1070, 4.0}), mlPolynomialSolverSolved);
    EXPECT_EQ(solver.real_part(0), -0x1p-1072);
    for (Values const & a : {Values{0x1p-1070, 3.0}, Values{0x1p-1070, 3.0, 1.0}}) {
        EXPECT_EQ(solve(solver, a), mlPolynomialSolverIterationLimit);
        EXPECT_NEAR(solver.real_part(solver.num_roots() - 1), -0x1p-1070 / 3.0, 0x1p-1074);
        EXPECT_LE(solver.error_bound(solver.num_roots() - 1), 0x1p-1070);
    }
    EXPECT_EQ(solve(solver, {1e-300, 1e300}), mlPolynomialSolverIterationLimit); // its root is listed as 0
    EXPECT_EQ(solve(solver, {1e-300, 1e300, 1e300}), mlPolynomialSolverIterationLimit);
    EXPECT_NEAR(solver.real_part(1), 0.0, solver.error_bound(1));
}

TEST(PolynomialSolver, LeavesQuadraticsToTheClosedFormWhereItIsExactEnough) {
    mlPolynomialSolver solver;
    for (Values const & a : {Values{2.0, -3.0, 1.0}, Values{-1.0, 1e8, 1.0}, Values{0.0, 1.0, 3.7, 1.1},
                             Values{1.0, -2.0, 1.0}, Values{-7e200, 3e210, 1e220}}) {
        std::size_t const last = a.size() - 1;
        double low, high;
        ASSERT_EQ(mlRootSolve::quadratic_solve(a[last], a[last - 1], a[last - 2], low, high), mlRootTypeTwo);
        ASSERT_EQ(solve(solver, a), mlPolynomialSolverSolved);
        EXPECT_EQ(solver.real_part(0), low);
        EXPECT_EQ(solver.real_part(1), high);
    }
    // It takes these discriminants for zero: roots 1 and 1 + 2^-20, and 1 +- 2^-20 i.
    ASSERT_EQ(solve(solver, {1.0 + 0x1p-20, -2.0 - 0x1p-20, 1.0}), mlPolynomialSolverSolved);
    EXPECT_EQ(solver.real_part(0), 1.0);
    EXPECT_EQ(solver.real_part(1), 1.0 + 0x1p-20);
    ASSERT_EQ(solve(solver, {1.0 + 0x1p-40, -2.0, 1.0}), mlPolynomialSolverSolved);
    EXPECT_EQ(solver.imaginary_part(1), 0x1p-20);
}

// Powers of two in the coefficients and in the variable change nothing but exponents, nor does what was solved before.
TEST(PolynomialSolver, ListsTheRootsOfRandomPolynomialsTheSameEachTimeAndScaled) {
    for (int const n : {1, 2, 3, 4, 5, 8, 13, 30, 100, 600}) {
        mlRandom random(n);
        for (int round = 0; round < (n < 100 ? 20 : 1); ++round) {
            bool const scales = n != 2 && n < 30; // the closed form of a quadratic goes by absolute tolerances
            int const e = scales ? 300 * (round % 5 - 2) : 0, k = scales ? 14 * (round % 3 - 1) : 0;
            Values a(n + 1), b;
            for (double & c : a) {
                c = std::ldexp(random.uniform(-1.0, 1.0), round % 2 == 0 ? 0 : static_cast<int>(random.uniform() * 80));
                b.push_back(std::ldexp(c, e - k * static_cast<int>(b.size())));
            }
            mlPolynomialSolver solver, other;
            solve(solver, a);
            expect_sound(solver, a, "random");
            ASSERT_EQ(solver.num_roots(), n);
            solve(other, {1.0, 2.0, 3.0, 4.0});
            solve(other, b);
            Extended product = 1.0L; // of the magnitudes: no root is missing
            for (int i = 0; i < n; ++i) {
                EXPECT_EQ(root(other, i), root(solver, i) * std::ldexp(1.0L, k)) << n << ", " << round;
                EXPECT_TRUE(a != b || other.error_bound(i) == solver.error_bound(i)) << n << ", " << round;
                product *= std::abs(root(solver, i));
            }
            EXPECT_NEAR(static_cast<double>(product / std::fabs(a[0] / Extended(a[n]))), 1.0, 1e-14 * n);
        }
    }
}

} // namespace
