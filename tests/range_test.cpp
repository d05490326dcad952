#include <climits>

#include <gtest/gtest.h>

#include "maths/core/mlMath.h"
#include "maths/core/mlRandom.h"
#include "maths/core/mlRange.h"
#include "maths/core/mlStats.h"
#include "maths/core/sum.h"
#include "tests/support/values.h"

namespace {

Values ends(mlRange const & r) { return {r.low, r.high}; }

TEST(Range, GrowsByMergingAndShrinksByIntersection) {
    mlRange r;
    r.merge(largest_double);
    r.merge(mlRange());
    EXPECT_EQ(ends(r), (Values{largest_double, -largest_double}));
    r.merge(3.0);
    r.merge(mlRange(1, largest_double)); // an end that is the largest double is skipped
    r.merge(nan_value);
    EXPECT_EQ(ends(r), (Values{1, 3}));
    EXPECT_EQ(ends(intersect(r, mlRange(2, 4))), (Values{2, 3}));
    EXPECT_EQ(ends(intersect(r, mlRange(3, 4))), (Values{3, 3}));
    EXPECT_EQ(intersect(r, mlRange(4, 5)).empty() + intersect(mlRange(), r).empty(), 2);
    for (double at : {-1.0, 0.0, 1.5, 2.5, 3.0, 3.5}) {
        EXPECT_EQ(r.crosses(mlRange(at, at + 1)), at >= 0 && at <= 3) << at;
        EXPECT_EQ(mlRange(at, at).crosses(r), at >= 1 && at <= 3) << at;
    }
}

TEST(Range, PlacesPoints) {
    mlRange const r(0, 4);
    EXPECT_EQ((Values{r.clip(-1), r.clip(9), r.clip(3), mlRange(5, 1).clip(3)}), (Values{0, 4, 3, 5}));
    EXPECT_EQ((Values{r.position_in_range(1), mlRange(2, 2).position_in_range(5),
                      mlRange(0, 0.5e-10).position_in_range(0.4e-10)}),
              (Values{0.25, 1, 0}));
    EXPECT_EQ(r.coincident(mlRange(0.5, 3.5), 0.5) + r.coincident(mlRange(nan_value, 4), 0.5), 2);
    EXPECT_EQ(r.coincident(mlRange(0.5, 3), 0.5), 0);
    EXPECT_EQ((Values{mlMath::interpolate(0.5, 4, 2), mlMath::interpolate(-1, 4, 2), r.interpolate(2)}),
              (Values{3, 4, 4}));
    EXPECT_EQ(mlMath::interpolate(0.5, -largest_double, largest_double), largest_double); // b - a overflows
    EXPECT_EQ(mlMath::rescale(2.5, 2, 4, 10, 20), 12.5);
}

TEST(Math, DerivativesFollowTheRemainderOfTheOrder) {
    double const volatile x = 0.7; // or the compiler folds the calls, to other last bits
    double const sines[] = {std::sin(x), std::cos(x), -std::sin(x), -std::cos(x), std::sin(x)};
    for (int r = 0; r < 4; ++r) {
        EXPECT_EQ(mlMath::sin_derivative(8 + r, x), sines[r]);
        EXPECT_EQ(mlMath::cos_derivative(8 + r, x), sines[r + 1]);
        EXPECT_EQ(mlMath::sin_derivative(-8 - r, x), r == 0 ? sines[0] : -666.6);
        EXPECT_EQ(mlMath::sinh_derivative(1 - r, x), r % 2 == 0 ? std::cosh(x) : std::sinh(x));
        EXPECT_EQ(mlMath::cosh_derivative(1 - r, x), r % 2 == 0 ? std::sinh(x) : std::cosh(x));
    }
}

TEST(Random, NumbersHaveTheirDistributionsAndDependOnTheSeedAlone) {
    mlRandom a(5), b(5), c(6);
    mlStats uniform, normal;
    for (int i = 0; i < 100000; ++i) {
        double const x = a.uniform();
        ASSERT_TRUE(0.0 <= x && x < 1.0 && x == b.uniform());
        uniform.add(1e9 + x); // whose square would drown the variance
        normal.add(c.normal());
    }
    EXPECT_NEAR(uniform.mean(), 1e9 + 0.5, 0.005);
    EXPECT_NEAR(uniform.variance(), 1 / 12.0, 0.002);
    EXPECT_NEAR(normal.mean(), 0.0, 0.02);
    EXPECT_NEAR(normal.variance(), 1.0, 0.03);
}

TEST(Sum, Wraps) {
    int values[] = {INT_MAX, 1, 5};
    EXPECT_EQ(sum(values, 3), INT_MIN + 5);
}

} // namespace
