#include <array>
#include <climits>

#include <gtest/gtest.h>

#include "maths/core/mlMath.h"
#include "maths/core/mlRandom.h"
#include "maths/core/mlRange.h"
#include "maths/core/mlStats.h"
#include "maths/core/sum.h"
#include "platform/utMath.h"
#include "tests/support/values.h"

namespace {

Values ends(mlRange const & r) { return {r.low, r.high}; }

TEST(Range, GrowsByMergingAndShrinksByIntersection) {
    mlRange r;
    r.merge(largest_double); // reserved, as an end of a range too
    r.merge(mlRange());
    EXPECT_TRUE(r.empty());
    r.merge(3.0);
    r.merge(mlRange(1, largest_double));
    r.merge(nan_value);
    EXPECT_EQ(ends(r), (Values{1, 3}));
    EXPECT_EQ(ends(intersect(r, mlRange(3, 4))), (Values{3, 3}));
    EXPECT_EQ(intersect(r, mlRange(4, 5)).empty() + intersect(mlRange(), r).empty(), 2);
    for (double at : {-1.0, 0.0, 1.5, 3.0, 3.5})
        EXPECT_EQ(r.crosses(mlRange(at, at + 1)) + mlRange(at + 1, at).crosses(r), 2 * (at >= 0 && at <= 3)) << at;
    mlRange const four(0, 4);
    EXPECT_EQ((Values{four.clip(-1), four.clip(9), four.clip(3), mlRange(5, 1).clip(3)}), (Values{0, 4, 3, 5}));
    EXPECT_TRUE(four.coincident(mlRange(0.5, 3.5), 0.5) && four.coincident(mlRange(nan_value, 4), 0.5));
    EXPECT_FALSE(four.coincident(mlRange(0.5, 3), 0.5) || four.coincident(mlRange(1, 4), 0.5));
    EXPECT_EQ(mlRange(0, 1e-10).position_in_range(0.5e-10), 0.5);
    EXPECT_EQ(mlRange(0, 0.5e-10).position_in_range(0.4e-10) + mlRange(2, 2).position_in_range(5), 0.0 + 1.0);
}

TEST(Math, DerivesByTheRemainderOfTheOrderAndAddsWithoutOverflow) {
    EXPECT_EQ(mlMath::interpolate(0.5, -largest_double, largest_double), largest_double); // b - a overflows
    EXPECT_EQ(mlMath::interpolate(1.0, 0.7, -0.1), -0.1); // (-0.1 - 0.7) + 0.7 is not that
    EXPECT_EQ(mlRange(0, 4).interpolate(2) + mlMath::rescale(2.5, 2, 4, 10, 20), 4 + 12.5);
    double const volatile x = 0.7; // or the compiler folds the calls, to other last bits
    double const sines[] = {std::sin(x), std::cos(x), -std::sin(x), -std::cos(x), std::sin(x)};
    for (int r = 0; r < 4; ++r) {
        EXPECT_EQ(mlMath::sin_derivative(8 + r, x), sines[r]);
        EXPECT_EQ(mlMath::cos_derivative(8 + r, x), sines[r + 1]);
        EXPECT_EQ(mlMath::sin_derivative(-8 - r, x), r == 0 ? sines[0] : -666.6);
        EXPECT_EQ(mlMath::cos_derivative(-8 - r, x), r == 0 ? sines[1] : -666.6);
        EXPECT_EQ(mlMath::sinh_derivative(1 - r, x), r % 2 == 0 ? std::cosh(x) : std::sinh(x));
        EXPECT_EQ(mlMath::cosh_derivative(1 - r, x), r % 2 == 0 ? std::sinh(x) : std::cosh(x));
    }
    EXPECT_EQ(sum(std::array{INT_MAX, 1, 5}.data(), 3), INT_MIN + 5);
}

TEST(Math, PowersMultiplyFromOneAndBinomialCoefficientsObeyPascalsRuleAsFarAsTheyFit) {
    EXPECT_EQ(utMath::pow(1.1, -3) + utMath::pow(1.1, 3), 1.0 + 1.1 * 1.1 * 1.1);
    for (int n = 1; n <= 66; ++n) {
        EXPECT_EQ(utMath::n_choose_i(n, 0) + utMath::n_choose_i(n, n + 1), 1);
        for (int i = 1; i <= n; ++i)
            EXPECT_EQ(utMath::n_choose_i(n, i), utMath::n_choose_i(n - 1, i - 1) + utMath::n_choose_i(n - 1, i));
    }
}

TEST(Random, NumbersHaveTheirDistributions) {
    mlRandom random(5);
    mlStats uniform, normal;
    for (int i = 0; i < 100000; ++i) {
        uniform.add(1e9 + random.uniform()); // whose square would drown the variance
        normal.add(random.normal());
    }
    EXPECT_NEAR(uniform.mean(), 1e9 + 0.5, 0.005);
    EXPECT_NEAR(uniform.variance(), 1 / 12.0, 0.002);
    EXPECT_NEAR(normal.mean(), 0.0, 0.02);
    EXPECT_NEAR(normal.variance(), 1.0, 0.03);
}

} // namespace
