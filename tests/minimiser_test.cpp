// The range-bound minimiser: each way in which a search ends, and what it asks on the way there.

#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "maths/optimisation/mlMinimiser.h"
#include "tests/support/traces.h"

namespace {

/// Shows what a deriving class may use.
class Minimiser : public mlMinimiser {
public:
    using mlMinimiser::mlMinimiser;
    using mlMinimiser::search;
    using mlMinimiser::which_way;
};

/// f with its derivatives up to the given order.
TracedFunction of_order(int order, TracedFunction::Formula f, TracedFunction::Formula f1, TracedFunction::Formula f2) {
    return TracedFunction(f, order > 0 ? f1 : nullptr, order > 1 ? f2 : nullptr);
}

TracedFunction parabola(double m, int order) {
    return of_order(
        order, [m](double t) { return (t - m) * (t - m); }, [m](double t) { return 2 * (t - m); },
        [](double) { return 2.0; });
}

TracedFunction constant(double value) {
    return TracedFunction([=](double) { return value; });
}

struct Flags {
    double t;
    int found = -9, range_end = -9, not_converged = -9;
    explicit Flags(mlMinimiser & m) { t = m.minimise(found, range_end, not_converged); }
    Flags(double at, int f, int r, int n) : t(at), found(f), range_end(r), not_converged(n) {}
    friend bool operator==(Flags const &, Flags const &) = default;
};

std::vector<Call> values(std::vector<double> const & abscissae) {
    std::vector<Call> calls;
    for (double const t : abscissae)
        calls.push_back({0, t});
    return calls;
}

TEST(MinimiserProbing, TellsTheWayByTheSlopeOrBySamples) {
    for (int order = 0; order <= 2; ++order) {
        TracedFunction const f = parabola(3.0, order);
        EXPECT_EQ(Minimiser(f, 1.0, -9.0, 9.0, 0.1).which_way(-9.0, 9.0), mlMinimiserGoHigher);
        EXPECT_EQ(Minimiser(f, 5.0, -9.0, 9.0, 0.1).which_way(-9.0, 9.0), mlMinimiserGoLower);
        EXPECT_EQ(Minimiser(f, 3.0, -9.0, 9.0, 0.1).which_way(-9.0, 9.0), mlMinimiserBracketed);
    }
    TracedFunction const peak([](double t) { return t == 1.0 ? 0.0 : -1.0; });
    EXPECT_EQ(Minimiser(peak, 1.0, 0.0, 2.0, 0.1).which_way(0.0, 2.0), mlMinimiserFailed);
}

TEST(MinimiserProbing, SamplesAboveFirstInsideTheLimitsAtGrowingDistances) {
    TracedFunction const f = constant(1.0);
    EXPECT_EQ(Minimiser(f, 0.25, 0.0, 1.0, 0.125).which_way(-1.0, 0.75), mlMinimiserFlat);
    double const s1 = 0.125 * 1.7301, s2 = s1 * 1.7301, s3 = s2 * 1.7301;
    EXPECT_EQ(f.calls,
              values({0.25, 0.25 + 0.125, 0.25 - 0.125, 0.25 + s1, 0.25 - s1, 0.25 + s2, 0.25 - s2, 0.75, 0.25 - s3}));
}

TEST(MinimiserSearch, EndsFlatOnAConstantOrOutOfIterationsWithoutEnds) {
    for (auto const & [hi, state, calls] :
         {std::tuple(1.0, mlMinimiserFlat, 9u), std::tuple(mlUnboundedMax, mlMinimiserFailed, 201u)}) {
        TracedFunction const f = constant(5.0);
        EXPECT_EQ(Minimiser(f, 0.5, -hi, hi, 0.125).search(), state);
        EXPECT_EQ(f.calls.size(), calls);
        mlMinimiser again(f, 0.5, -hi, hi, 0.125);
        bool const failed = state == mlMinimiserFailed;
        EXPECT_EQ(Flags(again), Flags(0.5, !failed, 0, failed));
    }
}

TEST(MinimiserSearch, TakesANewtonStepAndConfirmsItWithSamples) {
    TracedFunction const f = parabola(3.0, 2);
    Minimiser m(f, 0.0, -10.0, 10.0, 0.125);
    EXPECT_EQ(m.search(), mlMinimiserBracketed);
    std::vector<Call> const asked = {{0, 0.0}, {1, 0.0}, {2, 0.0}, {0, 3.0}, {1, 3.0}, {0, 3.125}, {0, 2.875}};
    EXPECT_EQ(f.calls, asked);
    f.calls.clear();
    EXPECT_EQ(Flags(m), Flags(3.0, 1, 0, 0)); // goes on from there: what is known of the point is not asked again
    EXPECT_EQ(f.calls, values({3.125, 2.875}));
}

TEST(MinimiserSearch, ConvergesWhenANewtonStepIsTooSmallForT) {
    TracedFunction const f([](double t) { return t; }, [](double) { return -1e-20; }, [](double) { return 1.0; });
    EXPECT_EQ(Minimiser(f, 1.0, 0.0, 2.0, 0.1).search(), mlMinimiserNewtonConverged);
    EXPECT_EQ(f.calls, (std::vector<Call>{{0, 1.0}, {1, 1.0}, {2, 1.0}}));
}

TEST(MinimiserSearch, DropsALowerNewtonPointThatIsNearInAWideBracket) {
    TracedFunction const f = parabola(3.0, 2);
    Minimiser(f, 2.875, -10.0, 10.0, 0.5).search();
    std::vector<Call> const beginning(f.calls.begin(), f.calls.begin() + 6);
    EXPECT_EQ(beginning,
              (std::vector<Call>{{0, 2.875}, {1, 2.875}, {2, 2.875}, {0, 3.0}, {0, 10.0}, {0, (10.0 + 2.875) * 0.5}}));
}

TEST(MinimiserSearch, BisectsFromAnEndWithoutDerivatives) {
    TracedFunction f([](double t) { return t; });
    f.low = 0.0;
    Minimiser m(f, -7.0, 0.0, 1.0, 0.2); // starts at the nearer end
    EXPECT_EQ(m.search(), mlMinimiserBracketConverged);
    EXPECT_EQ(f.calls, values({0.0, 1.0, 0.5, 0.25, 0.125, 0.0625}));
    EXPECT_EQ(Flags(m), Flags(0.0, 1, 0, 0)); // the domain ends here
    f.low = -1.0;
    EXPECT_EQ(Flags(m), Flags(0.0, 0, -1, 0)); // it goes on
}

TEST(MinimiserSearch, StepsOutTenfoldTowardsAnUnboundedEnd) {
    TracedFunction const f([](double t) { return std::fabs(t - 150.0); });
    EXPECT_EQ(Minimiser(f, 0.0, 0.0, mlUnboundedMax, 0.5).search(), mlMinimiserBracketed);
    // Each point with its two samples, until one is higher; then bisection towards that.
    std::vector<Call> const way = values({0.0, 1.0, 1.5, 0.5, 11.0, 11.5, 10.5, 111.0, 111.5, 110.5, 1111.0, 611.0,
                                          361.0, 236.0, 173.5, 174.0, 173.0, 142.25});
    EXPECT_EQ(std::vector<Call>(f.calls.begin(), f.calls.begin() + way.size()), way);
}

TEST(MinimiserSearch, StopsAtAnEndFromWhichTheFunctionRisesInwards) {
    for (int order = 1; order <= 2; ++order) {
        for (double const sign : {1.0, -1.0}) {
            TracedFunction f = parabola(-5.0 * sign, order);
            Minimiser m(f, 0.5 * sign, std::min(0.0, sign), std::max(0.0, sign), 0.01);
            EXPECT_EQ(m.search(), mlMinimiserAtRangeEnd);
            EXPECT_EQ(Flags(m), Flags(0.0, 0, -int(sign), 0));
            f.low = f.high = 0.0; // the domain ends where the range does
            EXPECT_EQ(Flags(m), Flags(0.0, 1, 0, 0));
        }
    }
}

TEST(MinimiserSearch, GoesOnInTheRangeNextToIt) {
    TracedFunction const f = parabola(-5.0, 2);
    Minimiser m(f, 0.5, 0.0, 1.0, 0.01);
    EXPECT_EQ(Flags(m).range_end, -1);
    f.calls.clear();
    m.change_range(-10.0);
    EXPECT_EQ(Flags(m), Flags(-5.0, 1, 0, 0));
    // The old lower end is the upper one now; nothing is known there, and the Newton step leads to the minimum.
    EXPECT_EQ(f.calls, (std::vector<Call>{
                           {0, 0.0}, {1, 0.0}, {2, 0.0}, {0, -5.0}, {1, -5.0}, {0, -5.0 + 0.01}, {0, -5.0 - 0.01}}));
}

TEST(MinimiserSearch, AfterAChangeOfRangeAwayFromThePointStartsAtTheUpperEnd) {
    TracedFunction const f = parabola(3.0, 0);
    Minimiser m(f, 3.0, 0.0, 10.0, 0.5);
    EXPECT_EQ(m.search(), mlMinimiserBracketed);
    f.calls.clear();
    m.change_range(20.0); // to [10, 20]
    m.search();
    EXPECT_EQ(std::vector<Call>(f.calls.begin(), f.calls.begin() + 2), values({20.0, 10.0}));
}

// Two thousand searches down stairs, on which ties abound, over all orders, ends, starts and resolutions. The digest is
// that of a plain transcription of the method that shares no code with the library.
TEST(MinimiserSearch, GoesItsWayToTheLastBit) {
    Choice choice(1);
    Digest digest;
    for (int run = 0; run < 2000; ++run) {
        int const order = choice(3);
        double const centre = (choice(17) - 8) * 0.5,
                     curvature = std::array{0.25, 1.0, 16.0, -1.0, 1e-17, 1e20}[choice(6)];
        auto const stair = [=](double t) {
            return std::fabs(t) < 1e300 ? std::floor((t - centre) * 4.0) : (t - centre) * 4.0;
        };
        TracedFunction f = of_order(
            order, [=](double t) { return std::fabs(stair(t)); },
            [=](double t) { return stair(t) > 0   ? 0.5
                                   : stair(t) < 0 ? -0.5
                                                  : 0.0; },
            [=](double) { return curvature; });
        f.low = -8.0;
        f.high = 8.0;
        double const lo = std::array{mlUnboundedMin, -8.0, -1.0}[choice(3)],
                     hi = std::array{mlUnboundedMax, 8.0, 1.0}[choice(3)];
        double const t0 = (choice(41) - 20) * 0.5;
        mlMinimiser minimiser(f, t0, lo, hi, std::array{1.0, 0.25, 0.0009765625}[choice(3)]);
        for (int again = 0; again < 2; ++again) {
            Flags const flags(minimiser);
            for (double const x : {flags.t, double(flags.found), double(flags.range_end), double(flags.not_converged)})
                digest.add(x);
            minimiser.change_range(choice(31) - 15);
        }
        digest.add(f.calls);
    }
    EXPECT_EQ(digest.bits(), 0x04bcec050c3ed9d5u);
}

TEST(MinimiserSearch, EndsWhateverTheFunctionAnswers) {
    for (double const value : {double(NAN), double(INFINITY), -double(INFINITY), mlUnboundedMin}) {
        auto const formula = [=](double) { return value; };
        TracedFunction const functions[] = {TracedFunction(formula), TracedFunction(formula, formula),
                                            TracedFunction(formula, formula, formula)};
        for (TracedFunction const & f : functions) {
            for (double const end : {4.0, mlUnboundedMax}) {
                Minimiser(f, 1.0, -end, end, 1e-3).search();
                Minimiser(f, -end, -end, end, 1e-3).search();
                EXPECT_LT(f.calls.size(), 2000u);
            }
        }
    }
    TracedFunction const no_slope([](double t) { return t * t; }, [](double) { return NAN; });
    EXPECT_EQ(Minimiser(no_slope, 0.0, -1.0, 1.0, 0.1).search(), mlMinimiserBracketed); // sampled instead
}

TEST(FunctionValue, CopiesWhatIsKnownAndForgetsDerivatives) {
    mlFunctionValue source(1.0), target(2.0);
    target.first_derivative = target.second_derivative = 7.0;
    source.first_derivative = source.second_derivative = 9.0; // behind an unknown value: nothing
    target = source;
    EXPECT_EQ(target.t, 1.0);
    EXPECT_EQ(target.first_derivative, 7.0);
    source.value = 3.0;
    source.invalidate_derivatives();
    target = source;
    EXPECT_EQ(target.value, 3.0);
    EXPECT_EQ(target.first_derivative, mlUnboundedMin);
    EXPECT_EQ(target.second_derivative, 7.0);
    source.first_derivative = 4.0;
    target = source;
    EXPECT_EQ(target.first_derivative, 4.0);
    EXPECT_EQ(target.second_derivative, 9.0);
}

} // namespace
