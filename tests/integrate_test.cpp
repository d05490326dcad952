// The three integrators: where they evaluate, when they stop and how fast they converge.

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "maths/functions/mlIntegrateRomberg.h"
#include "maths/functions/mlIntegrateSimpson.h"
#include "maths/functions/mlIntegrateTrapezoid.h"
#include "tests/support/traces.h"

namespace {

double const never = -1.0; // a tolerance

template <class Rule> struct Integrator : testing::Test {
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
    TracedFunction const f([](double t) { return t; });
    EXPECT_EQ(this->after(2, f, -1.0, 3.0), 4.0);
    EXPECT_EQ(this->converged, 0);
    double const without_levels = this->after(std::numeric_limits<int>::min(), f, 1.0, 5.0, 1e300);
    EXPECT_EQ(std::pair(without_levels, this->converged), std::pair(this->is_trapezoid ? 12.0 : 0.0, 0));
    EXPECT_EQ(f.calls, (std::vector<Call>{{0, 3}, {0, -1}, {0, 1}, {0, 0}, {0, 2}, {0, 5}, {0, 1}}));
}

TYPED_TEST(Integrator, StopsAtTheFirstTestAtWhichTheChangeIsBelowTheTolerance) {
    TracedFunction const f([](double t) { return std::exp(t); }), odd([](double t) { return 3.0 * t; });
    EXPECT_EQ(this->after(10, odd, -2.0, 2.0, 1e-300), 0.0); // also what the first estimate might be compared with
    EXPECT_EQ(this->converged, 1);
    EXPECT_EQ(odd.calls.size(), (this->is_trapezoid ? 3u : 5u));
    double const third = this->after(3, f, 0.0, 1.0), change = std::fabs(third - this->after(2, f, 0.0, 1.0));
    EXPECT_EQ(this->after(7, f, 0.0, 1.0, std::nextafter(change, 1.0)), third);
    EXPECT_EQ(this->after(7, f, 0.0, 1.0, change), this->after(4, f, 0.0, 1.0));
}

TYPED_TEST(Integrator, LosesItsErrorAtItsOrder) {
    TracedFunction const f([](double t) { return std::exp(t); }), one([](double) { return 1.0; });
    auto const error = [&](int halvings) {
        return std::fabs(this->after(halvings, f, 0.0, 1.0) - (std::exp(1.0) - 1));
    };
    EXPECT_EQ(this->after(18, one, 0.0, 1.0), 1.0) << "Romberg's divisors outgrow 32 bits";
    if (std::is_same_v<TypeParam, mlIntegrateRomberg>)
        EXPECT_LT(error(5), 1e-15);
    else
        for (int k = 2; k < 6; ++k)
            EXPECT_NEAR(error(k) / error(k + 1), this->is_trapezoid ? 4 : 16, 0.1) << k;
}

} // namespace
