// Bracketing a minimum and Brent's search inside the bracket.

#include <cmath>

#include <gtest/gtest.h>

#include "maths/optimisation/ml_brent_minimum_search.h"
#include "maths/optimisation/ml_minimum_bracketing.h"
#include "tests/support/traces.h"
#include "tests/support/values.h"

namespace {

/// The end of the walk from 0 and 1.
double walk_with(TracedFunction & f) {
    double a = 0.0, b = 1.0, c, fa, fb, fc;
    ml_minimum_bracketing(f, a, b, c, fa, fb, fc);
    return c;
}

TEST(MinimumBracketing, WalksByGoldenStridesAndParabolasUpToALimit) {
    double const gold = 1.618034, c = 1.0 + gold, d = c + gold * (c - 1.0), limit = 1.0 + 100.0 * (c - 1.0);
    auto const expect = [](Values const & answers, Values const & asked) {
        TracedFunction f([&, k = 0](double) mutable { return answers.at(k++); });
        walk_with(f);
        ASSERT_EQ(f.calls.size(), asked.size());
        for (std::size_t k = 0; k < asked.size(); ++k)
            EXPECT_NEAR(f.calls[k].t, asked[k], 1e-12 * asked[k]) << testing::PrintToString(answers);
    };
    auto const parabola = [c](double m, double next, double after) {
        return Values{m * m, (1 - m) * (1 - m), (c - m) * (c - m), next, after};
    };
    expect({2, 1, 1}, {0, 1, c});                    // a tie ends the walk ...
    expect({1, 1, 2}, {0, 1, c});                    // ... and does not turn it round
    expect(parabola(2, 0.5, 9), {0, 1, c, 2, d});    // between, and neither end of a bracket
    expect(parabola(40, 0, 9), {0, 1, c, 40, d});    // the next stride is one from the old points
    expect(parabola(1e4, 1e9, 0), {0, 1, c, limit}); // too far
    expect({0, -1, -c, 9}, {0, 1, c, limit});        // a straight line: its minimum is far ahead
    expect({0, -1, -c * c, 9}, {0, 1, c, d});        // upside down
    TracedFunction falling([](double t) { return -t; });
    EXPECT_EQ(walk_with(falling), INFINITY) << "ends where the arithmetic overflows";
}

TEST(BrentSearch, CutsGoldenSectionsUntilAParabolaFits) {
    auto const parabola = [](double t) { return (t - 1.0) * (t - 1.0); };
    TracedFunction f(parabola), reversed(parabola);
    double x = NAN, first = 0.5 + 0.381966 * (3.0 - 0.5);
    EXPECT_LT(ml_brent_minimum_search(f, 0.0, 0.5, 3.0, 1e-8, 100, &x), 1e-15);
    EXPECT_NEAR(x, 1.0, 3e-8);
    ASSERT_GT(f.calls.size(), 4u);
    EXPECT_TRUE(f.calls[0].t == 0.5 && f.calls[1].t == first);
    EXPECT_EQ(f.calls[2].t, first + 0.381966 * (3.0 - first)); // three points, two of them equal, make no parabola
    EXPECT_NEAR(f.calls[3].t, 1.0, 1e-15);
    ml_brent_minimum_search(reversed, 3.0, 0.5, 0.0, 1e-8, 100, &x);
    EXPECT_EQ(reversed.calls, f.calls);
    EXPECT_EQ(ml_brent_minimum_search(f, 0.0, 0.5, 3.0, 1e-8, 0, &x), 0.25); // without iterations f(b)
    EXPECT_EQ(x, 0.5);
}

} // namespace
