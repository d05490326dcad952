// Powell's direction-set method: that it finds minima, and the odd ways in which it ends.

#include <cmath>
#include <utility>

#include <gtest/gtest.h>

#include "maths/optimisation/ml_powell_minimum_search.h"
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

TEST(Powell, FindsTheMinimaOfQuadraticForms) {
    for (int n = 1; n <= 6; ++n) {
        TracedFunctionN1 f(n, [n](mlSlice const & x) { // its lowest point is (1, 2, 3, ...)
            double sum = 1.0;
            for (int i = 0; i < n; ++i)
                sum += (i + 1) * std::pow(x[i] - i - 1 + (i > 0 ? 0.5 * (x[i - 1] - i) : 0.0), 2);
            return sum;
        });
        Powell const search(f, std::vector<double>(n, 2.0), 1e-14);
        EXPECT_NEAR(search.least, 1.0, 1e-12) << "n = " << n;
        for (int i = 0; i < n; ++i)
            EXPECT_NEAR(search.x[i], i + 1, 1e-5) << "n = " << n;
    }
}

TEST(Powell, StopsWhereItsCounterEquals39AndNotBeyond) {
    for (int const start : {38, 39, 40}) {
        TracedFunctionN1 f(
            2, [](mlSlice const & x) { return 100.0 * std::pow(x[1] - x[0] * x[0], 2) + std::pow(1.0 - x[0], 2); });
        Powell const search(f, {-1.2, 1.0}, 1e-12, start);
        EXPECT_EQ(search.iterations == 39, start < 40);
        EXPECT_EQ(search.least < 1e-12, start == 40); // no limit any more: to the end
    }
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
}

} // namespace
