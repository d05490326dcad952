// Bracketing a minimum and Brent's search inside the bracket.

#include <algorithm>
#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "maths/optimisation/ml_brent_minimum_search.h"
#include "maths/optimisation/ml_minimum_bracketing.h"
#include "tests/support/traces.h"

namespace {

double const gold = 1.618034;
double const not_finite[] = {-INFINITY, INFINITY, NAN};

/// Answers the given values call by call, then the last one.
TracedFunction scripted(std::vector<double> values) {
    return TracedFunction(
        [values, k = std::size_t{0}](double) mutable { return values[std::min(k++, values.size() - 1)]; });
}

struct Bracket {
    double a, b, c = NAN, fa = NAN, fb = NAN, fc = NAN;
    explicit Bracket(TracedFunction & f, double a0 = 0.0, double b0 = 1.0) : a(a0), b(b0) {
        ml_minimum_bracketing(f, a, b, c, fa, fb, fc);
    }
};

void expect_asked(TracedFunction const & f, std::vector<double> const & abscissae) {
    ASSERT_EQ(f.calls.size(), abscissae.size());
    for (std::size_t k = 0; k < abscissae.size(); ++k)
        EXPECT_NEAR(f.calls[k].t, abscissae[k], 1e-12 * std::fabs(abscissae[k])) << "call " << k;
}

// From 0 and 1 the third point is c = 1 + gold, and the golden stride beyond it ends at c + gold (c - 1).
double const c0 = 1.0 + gold * (1.0 - 0.0);
double const c1 = c0 + gold * (c0 - 1.0);

struct Walk {
    char const * what;
    std::vector<double> values;    // answered call by call
    std::vector<double> abscissae; // asked for
    std::vector<int> bracket;      // which of them are a, b and c
};

/// The parabola (t - m)^2 at the first three abscissae, then the rest.
std::vector<double> on_parabola(double m, std::vector<double> const & rest) {
    std::vector<double> values = {m * m, (1 - m) * (1 - m), (c0 - m) * (c0 - m)};
    values.insert(values.end(), rest.begin(), rest.end());
    return values;
}

TEST(MinimumBracketing, TakesEachWay) {
    double const limit = 1.0 + 100.0 * (c0 - 1.0);
    Walk const walks[] = {
        {"at once", {2, 1, 1}, {0, 1, c0}, {0, 1, 2}},
        {"downhill from b to a", {1, 2, 3}, {0, 1, -gold}, {1, 0, 2}},
        {"parabola between, lower than c", on_parabola(2, {0}), {0, 1, c0, 2}, {1, 3, 2}},
        {"parabola between, higher than b", on_parabola(2, {5}), {0, 1, c0, 2}, {0, 1, 3}},
        {"parabola between, neither", on_parabola(2, {0.5, 9}), {0, 1, c0, 2, c1}, {1, 2, 4}},
        {"parabola beyond, higher than c", on_parabola(5, {9}), {0, 1, c0, 5}, {1, 2, 3}},
        {"parabola beyond, lower: the next stride from the old points",
         on_parabola(5, {0, 9}),
         {0, 1, c0, 5, c1},
         {2, 3, 4}},
        {"parabola far beyond, lower: the next stride falls short of it",
         on_parabola(40, {0, 9}),
         {0, 1, c0, 40, c1},
         {2, 3, 4}},
        {"parabola beyond the limit", on_parabola(1e4, {1e9}), {0, 1, c0, limit}, {1, 2, 3}},
        {"parabola upside down", {0, -1, -c0 * c0, 9}, {0, 1, c0, c1}, {1, 2, 3}},
    };
    for (Walk const & walk : walks) {
        SCOPED_TRACE(walk.what);
        TracedFunction f = scripted(walk.values);
        Bracket const found(f);
        expect_asked(f, walk.abscissae);
        EXPECT_EQ(found.a, f.calls[walk.bracket[0]].t);
        EXPECT_EQ(found.b, f.calls[walk.bracket[1]].t);
        EXPECT_EQ(found.c, f.calls[walk.bracket[2]].t);
        EXPECT_EQ(found.fa, walk.values[walk.bracket[0]]);
        EXPECT_EQ(found.fb, walk.values[walk.bracket[1]]);
        EXPECT_EQ(found.fc, walk.values[walk.bracket[2]]);
    }
}

TEST(MinimumBracketing, EndsOnNaNAndWhereTheArithmeticOverflows) {
    for (double const value : not_finite) {
        for (std::size_t position = 0; position < 6; ++position) {
            std::vector<double> values = {0, -1, -2, -3, -4, -5};
            values[position] = value;
            TracedFunction f = scripted(values);
            Bracket const found(f);
            EXPECT_FALSE(found.fb > found.fc);
        }
    }
    TracedFunction falling([](double t) { return -t; });
    EXPECT_EQ(Bracket(falling).c, INFINITY);
    EXPECT_LT(falling.calls.size(), 1000u);
}

TEST(BrentSearch, CutsGoldenSectionsUntilAParabolaFits) {
    TracedFunction f([](double t) { return (t - 1.0) * (t - 1.0); });
    double x = NAN;
    EXPECT_LT(ml_brent_minimum_search(f, 0.0, 0.5, 3.0, 1e-8, 100, &x), 1e-15);
    EXPECT_NEAR(x, 1.0, 3e-8);
    ASSERT_GT(f.calls.size(), 4u);
    double const first = 0.5 + 0.381966 * (3.0 - 0.5);
    EXPECT_EQ(f.calls[0].t, 0.5);
    EXPECT_EQ(f.calls[1].t, first);
    EXPECT_EQ(f.calls[2].t, first + 0.381966 * (3.0 - first)); // three points, two of them equal, make no parabola
    EXPECT_NEAR(f.calls[3].t, 1.0, 1e-15);
    EXPECT_EQ(ml_brent_minimum_search(f, 0.0, 0.5, 3.0, 1e-8, 0, &x), 0.25); // without iterations f(b)
    EXPECT_EQ(x, 0.5);
    f.calls.pop_back();
    TracedFunction reversed([](double t) { return (t - 1.0) * (t - 1.0); });
    ml_brent_minimum_search(reversed, 3.0, 0.5, 0.0, 1e-8, 100, &x);
    EXPECT_EQ(reversed.calls, f.calls);
}

// Two thousand walks and searches down stairs, on which ties abound. The digest is that of a plain transcription of
// both methods that shares no code with the library.
TEST(BrentSearch, AfterTheBracketingGoesItsWayToTheLastBit) {
    Choice choice(2);
    Digest digest;
    for (int run = 0; run < 2000; ++run) {
        double const centre = (choice(401) - 200) * 0.5;
        TracedFunction f([=](double t) { return std::fabs(std::floor((t - centre) * 4.0)); });
        double const a = choice(21) - 10, b = a + (choice(4) - 2) * 0.75 + 0.25;
        Bracket const bracket(f, a, b);
        for (double const x : {bracket.a, bracket.b, bracket.c})
            digest.add(x);
        double const tolerance = std::array{0.2, 1e-3, 1e-8}[choice(3)];
        double x = NAN;
        double const least =
            ml_brent_minimum_search(f, bracket.a, bracket.b, bracket.c, tolerance, choice(2) == 0 ? 3 : 100, &x);
        digest.add(x);
        digest.add(least);
        for (Call const & call : f.calls)
            digest.add(call.t);
    }
    EXPECT_EQ(digest.bits(), 0xd1fa69a3487b3e6cu);
}

TEST(BrentSearch, EndsOnNaNAndInfinity) {
    for (double const value : not_finite) {
        TracedFunction everywhere([=](double) { return value; });
        TracedFunction beyond([=](double t) { return t > 0.5 ? value : t * t; });
        double x = NAN;
        ml_brent_minimum_search(everywhere, -1.0, 0.4, 3.0, 1e-8, 100, &x);
        EXPECT_LE(everywhere.calls.size(), 101u);
        ml_brent_minimum_search(beyond, -1.0, 0.4, 3.0, 1e-8, 100, &x);
        EXPECT_LE(beyond.calls.size(), 101u);
        EXPECT_TRUE(value < 0.0 || std::fabs(x) < 1e-7) << x;
    }
}

} // namespace
