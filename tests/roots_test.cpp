#include <cmath>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/core/mlRandom.h"
#include "maths/polynomials/mlRootSolve.h"
#include "tests/support/ratios.h"
#include "tests/support/traces.h"
#include "tests/support/values.h"

namespace {

/// The type that a closed-form solver answers for these coefficients, highest power first, and all the roots it writes.
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

/// The coefficients of leading * product of (x - root), highest power first.
Values polynomial(double leading, Values const & roots) {
    Values p{leading};
    for (double const root : roots) {
        p.push_back(0.0);
        for (std::size_t i = p.size() - 1; i > 0; --i)
            p[i] -= root * p[i - 1];
    }
    return p;
}

/// How many roundoffs in the coefficients explain that x is not an exact root.
double backward_error(Values const & p, double x) {
    long double value = 0.0L, magnitude = 0.0L;
    for (double const coefficient : p) {
        value = value * x + coefficient;
        magnitude = magnitude * std::fabs(x) + std::fabs(coefficient);
    }
    return static_cast<double>(std::fabs(value) / (magnitude * roundoff));
}

TEST(ClosedForms, HaveTheRootsThatTheCoefficientsSay) {
    struct {
        Values p;
        int type;
        Values roots;
        double tolerance;
    } const cases[] = {
        {{0, 0, 0}, -1, {0, 0}, 0},
        {{0, 0, 5}, 0, {0, 0}, 0},
        {{1, -2, 1}, 2, {1, 1}, 0},
        {{1, 0, 1}, 0, {0, 0}, 0},
        {{1, 0, -1}, 2, {-1, 1}, 0},
        {{-1, 3, 0}, 2, {0, 3}, 0},
        {{2, 8, 0}, 2, {-4, 0}, 0},
        {{1e-12, 1, -3}, 1, {3, 0}, 0},
        {{1, -2, 1 - 1e-12}, 2, {1, 1}, 0},
        {{0, 0, 0, 0}, -1, {0, 0, 0}, 0},
        {{1, 0, 0, 0}, 3, {0, 0, 0}, 0},
        {{2, -6, 4, 0}, 3, {0, 1, 2}, 1e-15},
        {{1e-13, 0, 1, 0}, 1, {0, 0, 0}, 0},            // the quadratic of the others has no root
        {{1e-13, 1e-4, 1, 0}, 2, {-10000, 0, 0}, 1e-9}, // that quadratic is linear: it has one
        {{1, 0, 0, -8}, 1, {2, 0, 0}, 1e-15},
        {{-1, -3, -3, -1}, 3, {-1, -1, -1}, 0}, // D is exactly 0
        {{1, 0, -12, 16}, 3, {-4, 2, 2}, 1e-14},
        {{0.99e-10, 1, -3, 2}, 2, {1, 2, 0}, 1e-14},
        {{1.01e-10, 1, 0, 0}, 3, {-1 / 1.01e-10, 0, 0}, 1e-4},
        {{0, 0, 0, 0, 0}, -1, {0, 0, 0, 0}, 0},
        {{1, 0, -3, 0, -4}, 2, {-2, 2, 0, 0}, 0}, // z = -1 and 4
        {{1, 0, 0, 0, 1}, 0, {0, 0, 0, 0}, 0},
        {{1, 0, 0, 0, 0}, 1, {0, 0, 0, 0}, 0},              // 0 and -0, and both again: one root
        {{1, 0, -1e-14, 0, 0}, 2, {-1e-7, 0, 0, 0}, 1e-13}, // 0, then 1e-7, which is dropped, and -1e-7, which is not
        {{-2, 20, -70, 100, -48}, 4, {1, 2, 3, 4}, 1e-13},
        {{0.5e-10, 1, -6, 11, -6}, 3, {1, 2, 3, 0}, 1e-13},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.p));
        Solution const s(c.p);
        EXPECT_EQ(s.type, c.type);
        for (std::size_t i = 0; i < c.roots.size(); ++i)
            EXPECT_NEAR(s.roots[i], c.roots[i], c.tolerance);
    }
}

TEST(ClosedForms, OfTheQuadraticLoseNothingToCancellationOrScale) {
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

TEST(ClosedForms, OfHigherDegreeFindSeparateRootsInOrderAndKeepHalfOfTheDigitsOfNearlyDoubleOnes) {
    for (int seed = 1; seed <= 400; ++seed) {
        mlRandom random(seed);
        Values roots{random.uniform(-4.0, -2.0), random.uniform(-1.0, 1.0), random.uniform(2.0, 4.0)};
        if (seed % 2) roots.push_back(random.uniform(5.0, 7.0));
        bool const separate = seed % 4 < 2;
        if (!separate) roots[1] = roots[0] + std::pow(10.0, random.uniform(-14.0, -2.0));
        Values const p = polynomial(random.uniform(-3.0, 3.0), roots);
        Solution const s(p);
        ASSERT_TRUE(separate ? s.type == static_cast<int>(roots.size()) : s.type >= 1) << seed;
        for (int i = 0; i < s.type; ++i) {
            EXPECT_LT(backward_error(p, s.roots[i]), 1000.0) << seed;
            if (separate) EXPECT_NEAR(s.roots[i], roots[i], 1e-12) << seed;
        }
        EXPECT_NEAR(s.roots[s.type - 1], roots.back(), 1e-11) << "the others are not harmed, " << seed;
    }
}

TEST(ClosedForms, OfNaNAndInfinityEnd) {
    double const strange[] = {nan_value, infinity, 0.0, 1.0, -1e300, 5e-324};
    for (int code = 0; code < 6 * 6 * 6 * 6 * 6; ++code) {
        Values p;
        for (int rest = code, i = 0; i < 5; ++i, rest /= 6)
            p.push_back(strange[rest % 6]);
        for (int degree = 4; degree >= 2; --degree, p.pop_back()) {
            Solution const s(p);
            EXPECT_TRUE(-1 <= s.type && s.type <= degree);
        }
    }
}

/// What an iterative finder answers, whether it says that it has converged, and what it asked.
using Result = std::tuple<double, int, std::vector<Call>>;

template <class... Point>
Result search(double (*find)(mlFunction const &, Point..., double, int &, int), TracedFunction const & f, int limit,
              std::common_type_t<Point>... points) {
    f.calls.clear();
    int converged = 7;
    double const x = find(f, points..., 1e-9, converged, limit);
    return {x, converged, f.calls};
}
