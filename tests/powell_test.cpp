// Powell's direction-set method: where it goes, how it changes its directions and when it stops.

#include <algorithm>
#include <cmath>
#include <utility>

#include <gtest/gtest.h>

#include "maths/optimisation/ml_powell_minimum_search.h"
#include "tests/support/matrices.h"
#include "tests/support/traces.h"

namespace {

/// A search from a start along the axes.
struct Powell {
    Powell(TracedFunctionN1 & f, std::vector<double> const & start, double tolerance, int first_iteration = 0)
        : directions(mlMatrixIdentity, f.dimension), iterations(first_iteration) {
        x.become(utConvert, start.data(), f.dimension);
        least = ml_powell_minimum_search(x, directions, tolerance, iterations, f);
    }
    mlVector x;
    mlMatrix directions;
    int iterations;
    double least;
};

TracedFunctionN1 rosenbrock() {
    return TracedFunctionN1(2, [](mlSlice const & x) {
        double const a = x[1] - x[0] * x[0], b = 1.0 - x[0];
        return 100.0 * a * a + b * b;
    });
}

TEST(Powell, FindsTheMinimaOfQuadraticForms) {
    for (int n = 1; n <= 6; ++n) {
        mlMatrix a;
        mlVector centre;
        fill_random(a, n + 2, n, 100 + n);
        fill_random(centre, n, n);
        TracedFunctionN1 f(n, [&](mlSlice const & x) { // |a (x - centre)|^2 + 1
            double sum = 1.0;
            for (int r = 0; r < a.rows(); ++r) {
                double image = 0.0;
                for (int c = 0; c < n; ++c)
                    image += a(r, c) * (x[c] - centre[c]);
                sum += image * image;
            }
            return sum;
        });
        Powell const search(f, std::vector<double>(n, 2.0), 1e-14);
        EXPECT_NEAR(search.least, 1.0, 1e-12) << "n = " << n;
        EXPECT_LT(norm_diff(search.x, centre), 1e-5) << "n = " << n;
        EXPECT_LT(search.iterations, 39);
    }
}

TEST(Powell, SearchesTheAxesFromZeroAndOneThenLooksBeyond) {
    // Parabolas apart: each line search ends where it is, and the extrapolated point lies twice as far.
    TracedFunctionN1 f(2, [](mlSlice const & x) { return (x[0] - 1) * (x[0] - 1) + (x[1] - 1) * (x[1] - 1); });
    Powell const search(f, {0.0, 0.0}, 1e-9);
    std::vector<std::vector<double>> const & p = f.points;
    ASSERT_GT(p.size(), 9u);
    EXPECT_EQ(p[0], (std::vector{0.0, 0.0}));
    EXPECT_EQ(p[1], (std::vector{0.0, 0.0}));
    EXPECT_EQ(p[2], (std::vector{1.0, 0.0}));
    EXPECT_EQ(p[3], (std::vector{1.0 + 1.618034 * 1.0, 0.0}));
    EXPECT_EQ(p[4], (std::vector{1.0, 0.0})); // the refinement starts at the middle of the bracket
    EXPECT_NE(std::find(p.begin(), p.end(), std::vector{2.0, 2.0}), p.end());
    EXPECT_EQ(search.least, 0.0);
    EXPECT_EQ(search.iterations, 1);
}

TEST(Powell, PutsTheScaledWayOfASweepLast) {
    TracedFunctionN1 f(1, [](mlSlice const & x) { return std::cosh(x[0] - 3.0); });
    Powell const search(f, {0.0}, 0.0);
    EXPECT_NE(search.directions(0, 0), 1.0); // with one variable the way of a sweep that decreased always replaces it
    EXPECT_NEAR(search.x[0], 3.0, 1e-7);
}

TEST(Powell, FollowsRosenbrocksValleyInAsManyStepsAsItsCriterionAllows) {
    TracedFunctionN1 f = rosenbrock();
    Powell const search(f, {-1.2, 1.0}, 1e-10);
    EXPECT_NEAR(search.x[0], 1.0, 1e-10);
    EXPECT_NEAR(search.x[1], 1.0, 1e-10);
    EXPECT_EQ(f.points.size(), 655u); // square roots in the criterion: squares lead another way
    EXPECT_EQ(search.iterations, 28);
}

TEST(Powell, StopsWhereItsCounterEquals39AndNotBeyond) {
    for (int const start : {38, 39, 40, 100}) {
        TracedFunctionN1 f = rosenbrock();
        Powell const search(f, {-1.2, 1.0}, 1e-12, start);
        if (start < 40)
            EXPECT_EQ(search.iterations, 39);
        else
            EXPECT_LT(search.least, 1e-12); // no limit any more: to the end
    }
    TracedFunctionN1 nowhere(2, [](mlSlice const &) { return NAN; });
    EXPECT_EQ(Powell(nowhere, {0.0, 0.0}, 1e-6).iterations, 39);
}

TEST(Powell, ReturnsToTheBestSweepWhenTheValueHasGrownTenfold) {
    bool grown = false; // from the first look beyond the minimum at 3 on, there is only a far higher one at 7
    TracedFunctionN1 f(1, [&](mlSlice const & x) {
        grown = grown || x[0] > 5.5;
        return grown ? 1000.0 + (x[0] - 7.0) * (x[0] - 7.0) : 1.0 + (x[0] - 3.0) * (x[0] - 3.0);
    });
    Powell const search(f, {0.0}, -10.0); // a tolerance that is never met
    EXPECT_EQ(search.iterations, 1);
    EXPECT_NEAR(search.x[0], 3.0, 1e-6);
    EXPECT_NEAR(search.least, 1.0, 1e-12);
    EXPECT_GT(f.points.back()[0], 5.0);
}

TEST(Powell, SearchesTheWayOfASweepWithoutReplacingADirectionWhenNoneHasDecreased) {
    // The first line answers NaN alone, so neither line counts as a decrease, and yet the sweep ends lower.
    bool first = true;
    TracedFunctionN1 f(2, [&](mlSlice const & x) {
        if (std::exchange(first, false)) return 5.0;
        if (x[0] == 2.0 && x[1] == 2.0) return -10.0; // the extrapolated point
        return x[1] == 0.0 ? double(NAN) : 1.0 + (x[1] - 1.0) * (x[1] - 1.0);
    });
    Powell const search(f, {0.0, 0.0}, 1e-9);
    EXPECT_EQ(search.least, -10.0);
    EXPECT_TRUE(search.directions == mlMatrix(mlMatrixIdentity, 2));
    EXPECT_NE(std::find(f.points.begin(), f.points.end(), std::vector{2.0, 2.0}), f.points.end());
}

} // namespace
