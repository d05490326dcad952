#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "maths/core/mlRandom.h"
#include "maths/polynomials/mlRootSolve.h"
#include "tests/support/ratios.h"
#include "tests/support/traces.h"

namespace {

using Roots = std::vector<double>;

double const nan = std::numeric_limits<double>::quiet_NaN();

/// The type that a closed-form solver answers for these coefficients, highest power first, and all the roots it writes.
struct Solution {
    explicit Solution(std::vector<double> const & p) : roots(p.size() - 1, nan) {
        if (p.size() == 3) type = mlRootSolve::quadratic_solve(p[0], p[1], p[2], roots[0], roots[1]);
        if (p.size() == 4) type = mlRootSolve::cubic_solve(p[0], p[1], p[2], p[3], roots[0], roots[1], roots[2]);
        if (p.size() == 5)
            type = mlRootSolve::quartic_solve(p[0], p[1], p[2], p[3], p[4], roots[0], roots[1], roots[2], roots[3]);
    }

    int type = 99;
    Roots roots;
};

/// The coefficients of leading * product of (x - root), highest power first.
std::vector<double> polynomial(double leading, Roots const & roots) {
    std::vector<double> p{leading};
    for (double const root : roots) {
        p.push_back(0.0);
        for (std::size_t i = p.size() - 1; i > 0; --i)
            p[i] -= root * p[i - 1];
    }
    return p;
}

/// How many roundoffs in the coefficients explain that x is not an exact root.
double backward_error(std::vector<double> const & p, double x) {
    long double value = 0.0L, magnitude = 0.0L;
    for (double const coefficient : p) {
        value = value * x + coefficient;
        magnitude = magnitude * std::fabs(x) + std::fabs(coefficient);
    }
    return static_cast<double>(std::fabs(value) / (magnitude * roundoff));
}

TEST(Quadratic, HasTheRootsThatItsCoefficientsSay) {
    struct {
        std::vector<double> p;
        int type;
        Roots roots;
    } const cases[] = {
        {{0, 0, 0}, -1, {0, 0}},  {{0, 0, 5}, 0, {0, 0}},      {{0, 2, -4}, 1, {2, 0}},         {{1, -2, 1}, 2, {1, 1}},
        {{1, 0, 1}, 0, {0, 0}},   {{1, 0, -1}, 2, {-1, 1}},    {{-1, 3, 0}, 2, {0, 3}},         {{2, 8, 0}, 2, {-4, 0}},
        {{-2, 0, 8}, 2, {-2, 2}}, {{1e-12, 1, -3}, 1, {3, 0}}, {{1, -2, 1 - 1e-12}, 2, {1, 1}},
    };
    for (auto const & c : cases) {
        Solution const s(c.p);
        EXPECT_EQ(s.type, c.type) << c.p[0] << " " << c.p[1] << " " << c.p[2];
        EXPECT_EQ(s.roots, c.roots) << c.p[0] << " " << c.p[1] << " " << c.p[2];
    }
}

TEST(Quadratic, LosesNothingToCancellationOrScale) {
    for (int seed = 1; seed <= 500; ++seed) {
        mlRandom random(seed);
        double const scale = std::pow(10.0, random.uniform(-280.0, 280.0));
        double const small = random.uniform(1.0, 2.0) * std::pow(10.0, random.uniform(-9.0, 0.0));
        double const large = random.uniform(3.0, 9.0) * (seed % 2 ? 1.0 : -1.0);
        Solution const s(polynomial(seed % 3 ? scale : -scale, {small, large}));
        ASSERT_EQ(s.type, 2);
        EXPECT_NEAR(s.roots[large > 0 ? 0 : 1], small, 30 * roundoff * small);
        EXPECT_NEAR(s.roots[large > 0 ? 1 : 0], large, 30 * roundoff * std::fabs(large));
    }
}

TEST(Cubic, HasTheRootsThatItsCoefficientsSay) {
    struct {
        std::vector<double> p;
        int type;
        Roots roots;
        double tolerance;
    } const cases[] = {
        {{0, 0, 0, 0}, -1, {0, 0, 0}, 0},
        {{1, -6, 11, -6}, 3, {1, 2, 3}, 1e-14},
        {{1, 0, 0, 0}, 3, {0, 0, 0}, 0},
        {{1, 0, 1, 0}, 1, {0, 0, 0}, 0},
        {{2, -6, 4, 0}, 3, {0, 1, 2}, 1e-15},
        {{1e-13, 0, 1, 0}, 1, {0, 0, 0}, 0},            // the quadratic of the others has no root
        {{1e-13, 1e-4, 1, 0}, 2, {-10000, 0, 0}, 1e-9}, // that quadratic is linear: it has one
        {{1, 0, 0, -8}, 1, {2, 0, 0}, 1e-15},
        {{-1, -3, -3, -1}, 3, {-1, -1, -1}, 0}, // D is exactly 0
        {{1, 0, -12, 16}, 3, {-4, 2, 2}, 1e-14},
        {{0.99e-10, 1, -3, 2}, 2, {1, 2, 0}, 1e-14},
        {{1.01e-10, 1, 0, 0}, 3, {-1 / 1.01e-10, 0, 0}, 1e-4},
    };
    for (auto const & c : cases) {
        Solution const s(c.p);
        EXPECT_EQ(s.type, c.type) << c.p[0] << " " << c.p[1] << " " << c.p[2] << " " << c.p[3];
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(s.roots[i], c.roots[i], c.tolerance) << c.p[0] << " " << c.p[1] << " " << c.p[2];
    }
}

TEST(Quartic, HasTheRootsThatItsCoefficientsSay) {
    struct {
        std::vector<double> p;
        int type;
        Roots roots;
    } const cases[] = {
        {{0, 0, 0, 0, 0}, -1, {0, 0, 0, 0}},
        {{1, 0, -5, 0, 4}, 4, {-2, -1, 1, 2}},
        {{1, 0, -3, 0, -4}, 2, {-2, 2, 0, 0}}, // z = -1 and 4
        {{1, 0, 0, 0, 1}, 0, {0, 0, 0, 0}},
        {{1, 0, 0, 0, 0}, 1, {0, 0, 0, 0}},          // 0 and -0, and both again: one root
        {{1, 0, -1e-14, 0, 0}, 2, {-1e-7, 0, 0, 0}}, // 0, then 1e-7, which is dropped, and -1e-7, which is not
        {{1, -10, 35, -50, 24}, 4, {1, 2, 3, 4}},
        {{-2, 20, -70, 100, -48}, 4, {1, 2, 3, 4}},
        {{0.5e-10, 1, -6, 11, -6}, 3, {1, 2, 3, 0}},
    };
    for (auto const & c : cases) {
        Solution const s(c.p);
        EXPECT_EQ(s.type, c.type) << c.p[2] << " " << c.p[4];
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(s.roots[i], c.roots[i], 1e-13) << c.p[2] << " " << c.p[4];
    }
}

TEST(CubicAndQuartic, FindWellSeparatedRootsInAscendingOrder) {
    for (int seed = 1; seed <= 400; ++seed) {
        mlRandom random(seed);
        Roots roots{random.uniform(-4.0, -2.0), random.uniform(-1.0, 1.0), random.uniform(2.0, 4.0)};
        if (seed % 2) roots.push_back(random.uniform(5.0, 7.0));
        std::vector<double> const p = polynomial(random.uniform(-3.0, 3.0), roots);
        Solution const s(p);
        ASSERT_EQ(s.type, static_cast<int>(roots.size()));
        for (std::size_t i = 0; i < roots.size(); ++i) {
            EXPECT_NEAR(s.roots[i], roots[i], 1e-12);
            EXPECT_LT(backward_error(p, s.roots[i]), 1000.0) << seed;
        }
    }
}

TEST(CubicAndQuartic, KeepHalfOfTheDigitsOfNearlyDoubleRoots) {
    for (double gap = 1e-2; gap > 1e-14; gap *= 0.1) {
        for (Roots const & roots : {Roots{1.0, 1.0 + gap, 3.0}, Roots{-2.0, 1.0, 1.0 + gap, 3.0}}) {
            std::vector<double> const p = polynomial(1.0, roots);
            Solution const s(p);
            ASSERT_GE(s.type, 1);
            for (int i = 0; i < s.type; ++i)
                EXPECT_LT(backward_error(p, s.roots[i]), 1000.0) << gap;
            EXPECT_NEAR(s.roots[s.type - 1], 3.0, 1e-12) << "the others are not harmed";
        }
    }
}

TEST(ClosedForms, OfNaNAndInfinityEnd) {
    double const strange[] = {nan, std::numeric_limits<double>::infinity(), 0.0, 1.0, -1e300, 5e-324};
    for (int code = 0; code < 6 * 6 * 6 * 6 * 6; ++code) {
        std::vector<double> p;
        for (int rest = code, i = 0; i < 5; ++i, rest /= 6)
            p.push_back(strange[rest % 6]);
        for (int degree = 4; degree >= 2; --degree, p.pop_back()) {
            Solution const s(p);
            EXPECT_TRUE(-1 <= s.type && s.type <= degree);
        }
    }
}

// --- Roots of functions
// -----------------------------------------------------------------------------------------------

TracedFunction line() {
    return TracedFunction([](double x) { return x - 1.0; }, [](double) { return 1.0; });
}

TracedFunction square_minus_two() {
    return TracedFunction([](double x) { return x * x - 2.0; }, [](double x) { return 2.0 * x; });
}

using Calls = std::vector<Call>;

TEST(NewtonRaphson, AsksForValueAndSlopeOnceAStep) {
    TracedFunction const f = line();
    int converged = 7;
    EXPECT_EQ(mlRootSolve::newton_raphson(f, 3.0, 1e-9, converged, 10), 1.0);
    EXPECT_EQ(converged, 1);
    EXPECT_EQ(f.calls, (Calls{{0, 3}, {1, 3}, {0, 1}, {1, 1}}));

    f.calls.clear();
    EXPECT_EQ(mlRootSolve::newton_raphson(f, 3.0, 1e-9, converged, 1), 1.0);
    EXPECT_EQ(converged, 0) << "the limit came before the test of the point reached";
    EXPECT_EQ(mlRootSolve::newton_raphson(f, 3.0, 1e-9, converged, 0), 3.0);
    EXPECT_EQ(converged, 0);
    EXPECT_EQ(f.calls.size(), 2u);

    TracedFunction const flat([](double) { return 2.0; }, [](double) { return 0.0; });
    EXPECT_EQ(mlRootSolve::newton_raphson(flat, 3.0, 1e-9, converged, 10), std::numeric_limits<double>::max());
    EXPECT_EQ(converged, 0);
}

TEST(NewtonRaphson, StopsAtABorderOnlyWhenTheFunctionLeadsOutOfTheDomain) {
    TracedFunction below = line();
    below.low = 2.0;
    int converged = 7;
    EXPECT_EQ(mlRootSolve::newton_raphson(below, 3.0, 1e-9, converged, 10), 2.0);
    EXPECT_EQ(converged, 0);
    EXPECT_EQ(below.calls, (Calls{{0, 3}, {1, 3}, {1, 2}, {0, 2}})) << "the slope first";

    TracedFunction above = line();
    above.high = 0.5;
    EXPECT_EQ(mlRootSolve::newton_raphson(above, -1.0, 1e-9, converged, 10), 0.5);
    EXPECT_EQ(converged, 0);

    TracedFunction back = square_minus_two();
    back.high = 1.75;
    EXPECT_NEAR(mlRootSolve::newton_raphson(back, 0.5, 1e-9, converged, 10), std::sqrt(2.0), 1e-15);
    EXPECT_EQ(converged, 1);
    back.calls.resize(6);
    EXPECT_EQ(back.calls, (Calls{{0, 0.5}, {1, 0.5}, {1, 1.75}, {0, 1.75}, {0, 1.75}, {1, 1.75}}));
}

TEST(NewtonRaphsonInABracket, StartsFromTheSecantAndFallsBackToIt) {
    TracedFunction const f = line();
    int converged = 7;
    EXPECT_EQ(mlRootSolve::newton_raphson(f, 0.0, 3.0, 1e-9, converged, 10), 1.0);
    EXPECT_EQ(f.calls, (Calls{{0, 0}, {0, 3}, {0, 1}, {1, 1}}));
    EXPECT_EQ(converged, 1);

    // Without a slope every step is one of regula falsi: -2, 2 | 1: -1 | 4/3: -2/9.
    TracedFunction const slopeless([](double x) { return x * x - 2.0; }, [](double) { return 0.0; });
    double const x = mlRootSolve::newton_raphson(slopeless, 0.0, 2.0, 1e-9, converged, 2);
    EXPECT_EQ(converged, 0);
    EXPECT_NEAR(x, 7.0 / 5.0, 1e-15);
    EXPECT_EQ(slopeless.calls, (Calls{{0, 0}, {0, 2}, {0, 1}, {1, 1}, {0, 4.0 / 3.0}, {1, 4.0 / 3.0}}));

    // A slope that leads out of the bracket is not followed, on either side of the root.
    for (double const slope : {-0.001, 0.001}) {
        for (double const side : {0.0, 2.0}) {
            TracedFunction const misled(
                [side](double t) { return (side == 0.0 ? 1.0 : -1.0) * ((t - side) * (t - side) - 2.0); },
                [slope](double) { return slope; });
            mlRootSolve::newton_raphson(misled, 0.0, 2.0, 1e-9, converged, 50);
            for (Call const & call : misled.calls)
                EXPECT_TRUE(0.0 <= call.t && call.t <= 2.0) << call.t;
        }
    }

    TracedFunction const good = square_minus_two();
    EXPECT_NEAR(mlRootSolve::newton_raphson(good, 0.0, 2.0, 1e-9, converged, 20), std::sqrt(2.0), 1e-9);
    EXPECT_EQ(converged, 1);
    EXPECT_LT(good.calls.size(), 14u) << "quadratic convergence";
    EXPECT_EQ(mlRootSolve::newton_raphson(good, 0.0, std::sqrt(2.0), 1e-9, converged, 0), std::sqrt(2.0));
    EXPECT_EQ(converged, 1) << "an end that is a root needs no step";
}

TEST(RegulaFalsi, HalvesTheValueAtAnEndThatStays) {
    TracedFunction const f = square_minus_two();
    int converged = 7;
    mlRootSolve::regula_falsi(f, 0.0, 2.0, 1e-9, converged, 3);
    EXPECT_EQ(converged, 0);
    double const third = (-1.0 * 1.5 - 0.25 * 1.0) / (-1.0 - 0.25);
    EXPECT_EQ(f.calls, (Calls{{0, 0}, {0, 2}, {0, 0}, {0, 1}, {0, 1.5}, {0, third}}));

    EXPECT_NEAR(mlRootSolve::regula_falsi(f, 0.0, 2.0, 1e-9, converged, 60), std::sqrt(2.0), 1e-9);
    EXPECT_EQ(converged, 1);
    TracedFunction const exact = line();
    EXPECT_EQ(mlRootSolve::regula_falsi(exact, 0.0, 3.0, 1e-9, converged, 60), 1.0);
    EXPECT_EQ(exact.calls, (Calls{{0, 0}, {0, 3}, {0, 0}, {0, 1}}));
}

TEST(IterativeFinders, EndForNaN) {
    TracedFunction const f([](double) { return nan; }, [](double) { return nan; });
    int converged = 7;
    mlRootSolve::newton_raphson(f, 1.0, 1e-9, converged, 30);
    EXPECT_EQ(converged, 0);
    mlRootSolve::newton_raphson(f, 0.0, 1.0, 1e-9, converged, 30);
    EXPECT_EQ(converged, 0);
    mlRootSolve::regula_falsi(f, 0.0, 1.0, 1e-9, converged, 30);
    EXPECT_EQ(converged, 0);
}

} // namespace
