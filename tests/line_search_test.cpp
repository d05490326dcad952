#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "maths/optimisation/mlMinimiser.h"
#include "maths/optimisation/ml_brent_minimum_search.h"
#include "maths/optimisation/ml_minimum_bracketing.h"
#include "tests/support/traces.h"
#include "tests/support/values.h"

namespace {

TracedFunction parabola(double m, int order = 0) {
    auto const slope = [m](double t) { return 2 * (t - m); };
    return TracedFunction([m](double t) { return (t - m) * (t - m); }, order > 0 ? slope : TracedFunction::Formula(),
                          order > 1 ? [](double) { return 2.0; } : TracedFunction::Formula());
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
    TracedFunction f = parabola(1.0), reversed = f;
    double x = NAN, first = 0.5 + 0.381966 * (3.0 - 0.5);
    EXPECT_LT(ml_brent_minimum_search(f, 0.0, 0.5, 3.0, 1e-8, 100, &x), 1e-15);
    EXPECT_NEAR(x, 1.0, 3e-8);
    ASSERT_GT(f.calls.size(), 4u);
    EXPECT_EQ(std::tuple(f.calls[0].t, f.calls[1].t), std::tuple(0.5, first));
    EXPECT_EQ(f.calls[2].t, first + 0.381966 * (3.0 - first)); // three points, two of them equal, make no parabola
    EXPECT_NEAR(f.calls[3].t, 1.0, 1e-15);
    TracedFunction flat([](double) { return 1.0; });
    ml_brent_minimum_search(flat, 0.0, 0.5, 3.0, 1e-8, 2, &x);
    EXPECT_EQ(flat.calls[2].t, first + 0.381966 * (3.0 - first)) << "of equal values the later is the better";
    ml_brent_minimum_search(reversed, 3.0, 0.5, 0.0, 1e-8, 100, &x);
    EXPECT_EQ(reversed.calls, f.calls);
    EXPECT_EQ(ml_brent_minimum_search(f, 0.0, 0.5, 3.0, 1e-8, 0, &x), 0.25); // without iterations f(b)
    EXPECT_EQ(x, 0.5);
}

/// Where the published method asks for values, in one loop.
Values asked_by_the_published_method(TracedFunction::Formula const & f, double low, double x, double high, double tol) {
    double w = x, v = x, fx = f(x), fw = fx, fv = fx, d = 0.0, e = 0.0;
    Values asked{x};
    for (int i = 0; i < 100; ++i) {
        double const middle = (low + high) * 0.5, least = tol * std::fabs(x) + 1e-20, margin = 2.0 * least;
        if (std::fabs(x - middle) <= margin - (high - low) * 0.5) break;
        bool golden = true;
        if (std::fabs(e) > least) {
            double const r = (x - w) * (fx - fv), s = (x - v) * (fx - fw), q = std::fabs(2.0 * (s - r));
            double const p = ((x - v) * s - (x - w) * r) * (s > r ? -1.0 : 1.0);
            golden = std::fabs(p) >= std::fabs(0.5 * q * e) || p <= q * (low - x) || p >= q * (high - x);
            e = d;
            if (!golden) d = p / q;
            if (!golden && (x + d - low < margin || high - (x + d) < margin)) d = middle >= x ? least : -least;
        }
        if (golden) {
            e = (x >= middle ? low : high) - x;
            d = 0.381966 * e;
        }
        double const u = x + (std::fabs(d) >= least ? d : d >= 0.0 ? least : -least), fu = f(u);
        asked.push_back(u);
        (fu <= fx ? (u >= x ? low : high) : (u < x ? low : high)) = fu <= fx ? x : u;
        if (fu <= fx || fu <= fw || w == x) {
            v = std::exchange(w, fu <= fx ? std::exchange(x, u) : u);
            fv = std::exchange(fw, fu <= fx ? std::exchange(fx, fu) : fu);
        } else if (fu <= fv || v == x || v == w) {
            v = u;
            fv = fu;
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
            for (double b = -0.9; b < 1.0; b += 0.1) {
                TracedFunction f(formula);
                double x;
                ml_brent_minimum_search(f, -1.0, b, 1.0, tolerance, 100, &x);
                Values asked;
                for (Call const & call : f.calls)
                    asked.push_back(call.t);
                EXPECT_EQ(asked, asked_by_the_published_method(formula, -1.0, b, 1.0, tolerance))
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

struct Flags {
    double t;
    int found = -9, range_end = -9, not_converged = -9;
    explicit Flags(mlMinimiser & m) { t = m.minimise(found, range_end, not_converged); }
    Flags(double at, int f, int r, int n) : t(at), found(f), range_end(r), not_converged(n) {}
    friend bool operator==(Flags const &, Flags const &) = default;
};

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

TEST(MinimiserSearch, TakesANewtonStepAndConfirmsItWithSamples) {
    TracedFunction const f = parabola(3.0, 2);
    Minimiser m(f, 0.0, -10.0, 10.0, 0.125);
    EXPECT_EQ(m.search(), mlMinimiserBracketed);
    std::vector<Call> const asked = {{0, 0.0}, {1, 0.0}, {2, 0.0}, {0, 3.0}, {1, 3.0}, {0, 3.125}, {0, 2.875}};
    EXPECT_EQ(f.calls, asked);
    f.calls.clear();
    EXPECT_EQ(Flags(m), Flags(3.0, 1, 0, 0)); // continues from there: what is known of the point is not evaluated again
    EXPECT_EQ(f.calls, (std::vector<Call>{{0, 3.125}, {0, 2.875}}));
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
        EXPECT_EQ(Flags(again).not_converged, c.state == mlMinimiserFailed);
    }
}

TEST(MinimiserSearch, HasFoundAMinimumAtARangeEndOnlyWhereTheDomainEndsToo) {
    for (int order = 1; order <= 2; ++order) {
        for (double const sign : {1.0, -1.0}) {
            TracedFunction f = parabola(-5.0 * sign, order);
            Minimiser m(f, 0.5 * sign, std::min(0.0, sign), std::max(0.0, sign), 0.01);
            EXPECT_EQ(Flags(m), Flags(0.0, 0, -int(sign), 0));
            f.low = f.high = 0.0;
            EXPECT_EQ(Flags(m), Flags(0.0, 1, 0, 0));
        }
    }
}

TEST(MinimiserSearch, TellsTheValueAndTheIterationsWithoutChangingWhatASearchAsks) {
    TracedFunction const f = parabola(3.0, 2), rising = parabola(-5.0, 2);
    Minimiser m(f, 0.0, -10.0, 10.0, 0.125), at_end(rising, 1.0, 1.0, 2.0, 0.125);
    m.search();
    std::size_t const calls = f.calls.size();
    EXPECT_EQ(m.value(), 0.0);
    EXPECT_EQ(std::tuple(m.iterations(), f.calls.size()), std::tuple(1, calls));
    m.search();
    EXPECT_EQ(m.iterations(), 0) << "each search counts for itself";
    EXPECT_EQ(at_end.search(), mlMinimiserAtRangeEnd);
    EXPECT_EQ(rising.calls, (std::vector<Call>{{0, 1.0}, {1, 1.0}}));
    EXPECT_EQ(at_end.value(), 36.0);
    EXPECT_EQ(rising.calls.size(), 3u) << "not kept by a search that never left its start";
}

TEST(MinimiserSearch, TakesTheDefaultAnswerForASlopeWhenTheOrderOfDerivativesIsNotSet) {
    for (int const order : {2, 0}) {
        TracedFunction f = parabola(0.25);
        f.highest_derivative_order = order;
        mlMinimiser m(f, 0.75, 0.0, 1.0, 1e-6);
        EXPECT_EQ(std::fabs(Flags(m).t - 0.25) < 1e-5, order == 0);
    }
}

TEST(FunctionValue, CopiesWhatIsKnownAndForgetsDerivatives) {
    mlFunctionValue source(1.0), target(2.0);
    target.first_derivative = target.second_derivative = 7.0;
    source.first_derivative = source.second_derivative = 9.0; // after an unknown value these count for nothing
    target = source;
    EXPECT_EQ(std::tuple(target.t, target.first_derivative), std::tuple(1.0, 7.0));
    source.value = 3.0;
    source.invalidate_derivatives();
    target = source;
    EXPECT_EQ(std::tuple(target.value, target.first_derivative, target.second_derivative),
              std::tuple(3.0, mlUnboundedMin, 7.0));
    source.first_derivative = 4.0;
    target = source;
    EXPECT_EQ(std::tuple(target.first_derivative, target.second_derivative), std::tuple(4.0, 9.0));
}

TEST(FunctionValue, KnowsNothingThatACallWhichThrewWasToTell) {
    struct Computing : mlFunctionValue {
        using mlFunctionValue::do_fn0;
        using mlFunctionValue::do_fn1;
        using mlFunctionValue::do_fn2;
        using mlFunctionValue::mlFunctionValue;
    } entry(1.0);
    double (*const fails)(double) = [](double) -> double { throw std::bad_alloc(); };
    auto const slope = [](double t) { return 2 * t; };
    entry.do_fn2(TracedFunction(slope, slope, slope));
    entry.t = 3.0;
    auto const left = [&] { return Values{entry.value, entry.first_derivative, entry.second_derivative}; };
    EXPECT_THROW(entry.do_fn2(TracedFunction(slope, slope, fails)), std::bad_alloc);
    EXPECT_EQ(left(), (Values{2, 2, mlUnboundedMin}));
    EXPECT_THROW(entry.do_fn1(TracedFunction(slope, fails, slope)), std::bad_alloc);
    EXPECT_EQ(left(), (Values{2, mlUnboundedMin, mlUnboundedMin}));
    EXPECT_THROW(entry.do_fn0(TracedFunction(fails)), std::bad_alloc);
    EXPECT_EQ(entry.value, mlUnboundedMin);
}

} // namespace
