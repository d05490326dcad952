#include "platform/utMath.h"

#include <gtest/gtest.h>

namespace {

TEST(UtMath, PowerMultipliesFromOneOnTheLeft) {
    double const x = 1.1;
    double product = 1.0;
    for (int n = 0; n <= 40; ++n) {
        EXPECT_EQ(utMath::pow(x, n), product) << "n = " << n;
        product *= x;
    }
    EXPECT_EQ(utMath::pow(x, -3), 1.0);
}

TEST(UtMath, BinomialCoefficientsObeyPascalsRuleAsFarAsTheyFit) {
    for (int n = 1; n <= 66; ++n) {
        EXPECT_EQ(utMath::n_choose_i(n, 0), 1);
        EXPECT_EQ(utMath::n_choose_i(n, n + 1), 0);
        for (int i = 1; i <= n; ++i)
            EXPECT_EQ(utMath::n_choose_i(n, i), utMath::n_choose_i(n - 1, i - 1) + utMath::n_choose_i(n - 1, i))
                << n << " choose " << i;
    }
}

} // namespace
