#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "maths/functions/mlFunctionOf.h"
#include "maths/optimisation/mlMinimiser.h"
#include "maths/optimisation/ml_brent_minimum_search.h"
#include "maths/optimisation/ml_minimum_bracketing.h"
#include "tests/support/traces.h"
#include "tests/support/values.h"

namespace {

TracedFunction parabola(double m, int order = 0) {
    TracedFunction f([m](double t) { return (t - m) * (t - m); }, [m](double t) { return 2 * (t - m); },
                     [](double) { return 2.0; });
    f.highest_derivative_order = order;
    return f;
}

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
            EXPECT_NEAR(f.calls[k].second, asked[k], 1e-12 * asked[k]) << testing::PrintToString(answers);
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

TEST(BrentSearch, ReturnsTheBestPointThatItHasMet) {
    TracedFunction f = parabola(1.0);
    double x = NAN;
    EXPECT_LT(ml_brent_minimum_search(f, 0.0, 0.5, 3.0, 1e-8, 100, &x), 1e-15);
    EXPECT_NEAR(x, 1.0, 3e-8);
    EXPECT_EQ(ml_brent_minimum_search(f, 0.0, 0.5, 3.0, 1e-8, 0, &x), 0.25) << "without iterations f(b)";
    EXPECT_EQ(x, 0.5);
}

/// Where the published method asks for values, in one loop.
Values asked_by_the_published_method(TracedFunction::Formula const & f, double start, double tolerance) {
    struct {
        double t, value;
    } x{start, f(start)}, w = x, v = x, u;
    double low = -1.0, high = 1.0, step = 0.0, before_last = 0.0;
    Values asked{start};
    for (int i = 0; i < 100; ++i) {
        double const middle = (low + high) * 0.5, least = tolerance * std::fabs(x.t) + 1e-20, margin = 2.0 * least;
        if (std::fabs(x.t - middle) <= margin - (high - low) * 0.5) break;
        bool golden = std::fabs(before_last) <= least;
        if (!golden) {
            double const r = (x.t - w.t) * (x.value - v.value), s = (x.t - v.t) * (x.value - w.value);
            double const p = ((x.t - v.t) * s - (x.t - w.t) * r) * (s > r ? -1.0 : 1.0), q = std::fabs(2.0 * (s - r));
            golden = std::fabs(p) >= std::fabs(0.5 * q * before_last) || p <= q * (low - x.t) || p >= q * (high - x.t);
            before_last = step;
            if (!golden) {
                step = p / q;
                if (x.t + step - low < margin || high - (x.t + step) < margin) step = middle >= x.t ? least : -least;
            }
        }
        if (golden) {
            before_last = (x.t >= middle ? low : high) - x.t;
            step = 0.381966 * before_last;
        }
        u.t = x.t + (std::fabs(step) >= least ? step : step >= 0.0 ? least : -least);
        u.value = f(u.t);
        asked.push_back(u.t);
        bool const better = u.value <= x.value;
        (better == (u.t >= x.t) ? low : high) = better ? x.t : u.t;
        if (better) {
            v = w, w = x, x = u;
        } else if (u.value <= w.value || w.t == x.t) {
            v = w, w = u;
        } else if (u.value <= v.value || v.t == x.t || v.t == w.t) {
            v = u;
        }
    }
    return asked;
}

TEST(BrentSearch, AsksWhereThePublishedMethodDoes) {
    TracedFunction::Formula const formulas[] = {
        [](double t) { return std::cos(t + 2.0); },
        [](double t) { return std::fabs(t - 0.3); },
        [](double t) { return std::exp(t) - t; },
        [](double t) { return t * t * t * t - t; },
        [](double t) { return std::round(8.0 * t * t); },
        [](double t) { return t < 0.2 ? 2.0 - t : t * t; },
        [](double t) { return -t; },
        [](double t) { return t; },
    };
    for (auto const & formula : formulas)
        for (double const tolerance : {0.2, 1e-3, 1e-10})
            for (double b = -0.9; b < 1.0; b += 0.1)
                for (double const end : {-1.0, 1.0}) {
                    Values asked;
                    double x;
                    mlFunctionOf f([&](double t) { return asked.push_back(t), formula(t); });
                    ml_brent_minimum_search(f, end, b, -end, tolerance, 100, &x);
                    EXPECT_EQ(asked, asked_by_the_published_method(formula, b, tolerance))
                        << &formula - formulas << ", from " << b;
                }
}

/// Shows what a deriving class may use.
class Minimiser : public mlMinimiser {
public:
    using mlMinimiser::mlMinimiser;
    using mlMinimiser::search;
    using mlMinimiser::which_way;
};

/// Where a search ends; found, range_end and not_converged.
auto ended(mlMinimiser & m) {
    int found = -9, range_end = -9, not_converged = -9;
    double const t = m.minimise(found, range_end, not_converged);
    return std::tuple(t, found, range_end, not_converged);
}

TEST(MinimiserProbing, TellsTheWayByTheSlopeOrBySamples) {
    for (int order = 0; order <= 2; ++order) {
        TracedFunction const f = parabola(3.0, order);
        for (auto const & [start, way] :
             {std::pair(1.0, mlMinimiserGoHigher), {5.0, mlMinimiserGoLower}, {3.0, mlMinimiserBracketed}})
            EXPECT_EQ(Minimiser(f, start, -9.0, 9.0, 0.1).which_way(-9.0, 9.0), way) << "order " << order;
    }
    TracedFunction const peak([](double t) { return t == 1.0 ? 0.0 : -1.0; });
    EXPECT_EQ(Minimiser(peak, 1.0, 0.0, 2.0, 0.1).which_way(0.0, 2.0), mlMinimiserFailed);
}

TEST(MinimiserSearch, TakesANewtonStepConfirmsItWithSamplesAndKeepsWhatItKnows) {
    TracedFunction const f = parabola(3.0, 2), rising = parabola(-5.0, 2);
    Minimiser m(f, 0.0, -10.0, 10.0, 0.125), at_end(rising, 1.0, 1.0, 2.0, 0.125);
    EXPECT_EQ(m.search(), mlMinimiserBracketed);
    EXPECT_EQ(std::tuple(m.value(), m.iterations()), std::tuple(0.0, 1)); // without a call
    std::vector<Call> const asked = {{0, 0.0}, {1, 0.0}, {2, 0.0}, {0, 3.0}, {1, 3.0}, {0, 3.125}, {0, 2.875}};
    EXPECT_EQ(std::exchange(f.calls, {}), asked);
    EXPECT_EQ(ended(m), std::tuple(3.0, 1, 0, 0)); // continues from there: what is known of the point is kept
    EXPECT_EQ(f.calls, (std::vector<Call>{{0, 3.125}, {0, 2.875}}));
    EXPECT_EQ(m.iterations(), 0) << "each search counts for itself";
    EXPECT_EQ(at_end.search(), mlMinimiserAtRangeEnd);
    EXPECT_EQ(rising.calls, (std::vector<Call>{{0, 1.0}, {1, 1.0}}));
    EXPECT_EQ(at_end.value(), 36.0);
    EXPECT_EQ(rising.calls.size(), 3u) << "not kept by a search that never left its start";
}

TEST(MinimiserSearch, GoesOnAtALevelAndTakesNoCurvatureThatIsLostBesideOne) {
    double slope = -1.0;
    auto const derivative = [&](double) { return slope; };
    TracedFunction const level([](double) { return 5.0; }, derivative),
        nearly([](double) { return 5.0; }, derivative, [](double) { return 1e-17; });
    Minimiser(level, 0.0, 0.0, mlUnboundedMax, 0.125).search();
    EXPECT_EQ(level.calls.at(4), (Call{0, 11.0})) << "from 1 on, by ten times the step";
    slope = -1e-17;
    Minimiser(nearly, 0.0, 0.0, 3.0, 0.125).search();
    EXPECT_EQ(nearly.calls.at(3), (Call{0, 3.0})) << "no Newton step to 1";
}

TEST(MinimiserSearch, EndsInTheStateThatSaysWhy) {
    TracedFunction const flat([](double) { return 5.0; }),
        no_slope([](double t) { return t * t; }, [](double) { return NAN; });
    TracedFunction const tiny_step([](double t) { return t; }, [](double) { return -1e-20; },
                                   [](double) { return 1.0; });
    struct {
        TracedFunction const & f;
        double start, end;
        mlMinimiserState state;
        std::size_t calls;
    } const cases[] = {
        {flat, 0.5, 1.0, mlMinimiserFlat, 9},
        {flat, 0.5, mlUnboundedMax, mlMinimiserFailed, 201}, // out of iterations
        {no_slope, 0.0, 1.0, mlMinimiserBracketed, 4},       // sampled instead
        {tiny_step, 1.0, 2.0, mlMinimiserNewtonConverged, 3},
        {parabola(-9.0, 0), -7.0, 1.0, mlMinimiserBracketConverged, 7},
        {parabola(-9.0, 1), 0.0, 1.0, mlMinimiserAtRangeEnd, 4},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(&c - cases);
        c.f.calls.clear();
        EXPECT_EQ(Minimiser(c.f, c.start, -c.end, c.end, 0.125).search(), c.state);
        EXPECT_EQ(c.f.calls.size(), c.calls);
        mlMinimiser again(c.f, c.start, -c.end, c.end, 0.125);
        EXPECT_EQ(std::get<3>(ended(again)), c.state == mlMinimiserFailed);
    }
}

TEST(MinimiserSearch, HasFoundAMinimumAtARangeEndOnlyWhereTheDomainEndsToo) {
    for (int const order : {1, 2})
        for (double const sign : {1.0, -1.0}) {
            TracedFunction f = parabola(-5.0 * sign, order);
            Minimiser m(f, 0.5 * sign, std::min(0.0, sign), std::max(0.0, sign), 0.01);
            EXPECT_EQ(ended(m), std::tuple(0.0, 0, -int(sign), 0));
            f.low = f.high = 0.0;
            EXPECT_EQ(ended(m), std::tuple(0.0, 1, 0, 0));
        }
}

TEST(MinimiserSearch, TakesTheDefaultAnswerForASlopeWhenTheOrderOfDerivativesIsNotSet) {
    for (int const order : {2, 0}) {
        TracedFunction f([](double t) { return (t - 0.25) * (t - 0.25); });
        f.highest_derivative_order = order;
        mlMinimiser m(f, 0.75, 0.0, 1.0, 1e-6);
        EXPECT_EQ(std::fabs(std::get<0>(ended(m)) - 0.25) < 1e-5, order == 0);
    }
}

TEST(FunctionValue, CopiesWhatIsKnown) {
    double const none = mlUnboundedMin;
    struct {
        double value;
        bool invalidated;
        Values copied; // the value and its derivatives
    } const cases[] = {{none, false, {none, 7, 7}}, {3, true, {3, none, 7}}, {3, false, {3, 9, 9}}};
    for (auto const & c : cases) {
        mlFunctionValue source(1.0), target(2.0);
        target.first_derivative = target.second_derivative = 7.0;
        source.first_derivative = source.second_derivative = 9.0;
        source.value = c.value;
        if (c.invalidated) source.invalidate_derivatives();
        target = source;
        EXPECT_EQ((Values{target.value, target.first_derivative, target.second_derivative}), c.copied);
        EXPECT_EQ(target.t, 1.0);
    }
}

TEST(FunctionValue, KnowsNothingThatACallWhichThrewWasToTell) {
    struct Computing : mlFunctionValue {
        using mlFunctionValue::mlFunctionValue;
        void compute(int order, mlFunction const & f) { order == 2 ? do_fn2(f) : order == 1 ? do_fn1(f) : do_fn0(f); }
    } entry(1.0);
    bool fails = false;
    auto const formula = [&](double) { return fails ? throw std::bad_alloc() : 2.0; };
    TracedFunction const f(formula, formula, formula);
    entry.compute(2, f);
    fails = true;
    Values known = {2, 2, 2};
    for (int const order : {2, 1, 0}) {
        EXPECT_THROW(entry.compute(order, f), std::bad_alloc);
        known[order] = mlUnboundedMin;
        EXPECT_EQ((Values{entry.value, entry.first_derivative, entry.second_derivative}), known) << order;
    }
}

} // namespace
