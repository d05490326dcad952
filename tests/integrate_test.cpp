// The three integrators: what they ask, when they stop and how fast they converge.

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "maths/functions/mlIntegrateRomberg.h"
#include "maths/functions/mlIntegrateSimpson.h"
#include "maths/functions/mlIntegrateTrapezoid.h"
#include "tests/support/traces.h"

namespace {

double const never = -1.0; // a tolerance

template <class Rule> class Integrator : public testing::Test {
public:
    static inline bool const is_trapezoid = std::is_same_v<Rule, mlIntegrateTrapezoid>;

    /// The estimate after that many halvings; the trapezoid rule's first level needs none.
    double after(int halvings, mlFunction const & f, double a, double b, double tolerance = never) {
        Rule const rule(tolerance, halvings + is_trapezoid);
        double const estimate = rule.integrate(f, a, b);
        converged = rule.converged;
        return estimate;
    }
    int converged = 9;
};
using Rules = testing::Types<mlIntegrateTrapezoid, mlIntegrateSimpson, mlIntegrateRomberg>;
TYPED_TEST_SUITE(Integrator, Rules);

TYPED_TEST(Integrator, AsksTheUpperEndFirstAndThenOnlyMidpoints) {
    TracedFunction const f([](double t) { return t * t * t * t; });
    this->after(3, f, -1.0, 3.0);
    EXPECT_EQ(f.calls,
              (std::vector<Call>{{0, 3}, {0, -1}, {0, 1}, {0, 0}, {0, 2}, {0, -0.5}, {0, 0.5}, {0, 1.5}, {0, 2.5}}));
    EXPECT_EQ(this->converged, 0);
}

TYPED_TEST(Integrator, GivesALinearFunctionExactlyAndStopsAtTheFirstTest) {
    TracedFunction const f([](double t) { return 3.0 * t; });
    EXPECT_EQ(this->after(10, f, -2.0, 2.0, 1e-300), 0.0); // also what the first estimate might be compared with
    EXPECT_EQ(this->converged, 1);
    EXPECT_EQ(f.calls.size(), (this->is_trapezoid ? 3u : 5u));
    EXPECT_EQ(this->after(5, f, 2.0, 0.0, 0.0), -6.0); // no change at all is not below 0
    EXPECT_EQ(this->converged, 0);
    EXPECT_EQ(this->after(4, f, 0.7, 0.7), 0.0);
}

TYPED_TEST(Integrator, StopsWhereTheChangeIsBelowTheTolerance) {
    TracedFunction const f([](double t) { return std::exp(t); });
    double estimates[8];
    for (int k = 1; k < 8; ++k)
        estimates[k] = this->after(k, f, 0.0, 1.0);
    double const change = std::fabs(estimates[3] - estimates[2]);
    EXPECT_EQ(this->after(7, f, 0.0, 1.0, std::nextafter(change, 1.0)), estimates[3]);
    EXPECT_EQ(this->converged, 1);
    EXPECT_EQ(this->after(7, f, 0.0, 1.0, change), estimates[4]);
    TracedFunction const broken([](double t) { return t == 0.5 ? NAN : t; });
    EXPECT_TRUE(std::isnan(this->after(6, broken, 0.0, 1.0, 1e300)));
    EXPECT_EQ(this->converged, 0);
}

TYPED_TEST(Integrator, WithoutLevelsAsksTheEndsAlone) {
    for (int const levels : {0, -7, std::numeric_limits<int>::min()}) {
        TracedFunction const f([](double t) { return t; });
        TypeParam const rule(1e300, levels);
        EXPECT_EQ(rule.integrate(f, 1.0, 3.0), this->is_trapezoid ? 4.0 : 0.0);
        EXPECT_EQ(rule.converged, 0);
        EXPECT_EQ(f.calls.size(), 2u);
    }
}

TEST(Integrators, LoseTheirErrorAtTheirOrders) {
    TracedFunction const f([](double t) { return std::exp(t); });
    double const exact = std::exp(1.0) - 1.0;
    auto const error = [&](auto const & rule) { return std::fabs(rule.integrate(f, 0.0, 1.0) - exact); };
    for (int k = 3; k < 6; ++k) {
        EXPECT_NEAR(error(mlIntegrateTrapezoid(never, k)) / error(mlIntegrateTrapezoid(never, k + 1)), 4, 0.1);
        EXPECT_NEAR(error(mlIntegrateSimpson(never, k)) / error(mlIntegrateSimpson(never, k + 1)), 16, 0.1);
    }
    EXPECT_LT(error(mlIntegrateRomberg(never, 5)), 1e-15);
}

TEST(Integrators, RombergsDivisorsOutgrow32Bits) {
    TracedFunction const f([](double) { return 1.0; });
    EXPECT_EQ(mlIntegrateRomberg(never, 18).integrate(f, 0.0, 1.0), 1.0); // a divisor of 0 would make this NaN
}

} // namespace
