#include "tests/support/test.h"
#include "tests/support/traces.h"

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

TEST(BrentSearch, AsksAtGoldenSectionsAndMinimaOfParabolasByItsRules) {
    auto const expect = [](double low, double start, double high, double tolerance, Values answers, Values asked) {
        for (bool const reversed : {false, true}) {
            SCOPED_TRACE(testing::PrintToString(answers) + (reversed ? ", from the upper end" : ""));
            TracedFunction f([&, k = 0](double) mutable { return answers.at(k++); });
            double x;
            double const least = ml_brent_minimum_search(f, reversed ? high : low, start, reversed ? low : high,
                                                         tolerance, static_cast<int>(answers.size()) - 1, &x);
            ASSERT_EQ(f.calls.size(), asked.size());
            for (std::size_t k = 0; k < asked.size(); ++k)
                EXPECT_NEAR(f.calls[k].second, asked[k], 1e-6) << k;
            auto const best =
                std::min_element(answers.rend() - std::ssize(asked), answers.rend()); // the last of equals
            EXPECT_EQ(std::tuple(least, x), std::tuple(*best, f.calls[answers.rend() - best - 1].second));
        }
    };
    expect(0, 0.5, 3, 1e-8, {0.25}, {0.5}); // without iterations
    // The middle is left downwards. A parabola's minimum at x itself becomes the smallest step up, 0.0625 |x|.
    expect(0, 4, 8, 0.0625, {0, 1, 1, 1, 0, 2, 6}, {4, 2.472136, 5.527864, 4.25, 3.416408, 3.202882, 3.639320});
    // No parabola through two equal points. One whose minimum is near an end gives the smallest step to the middle.
    expect(0, 5, 8, 0.0625, {3, 6, 2, 6, 5}, {5, 3.090170, 6.145898, 6.530017, 5.761779});
    // A minimum outside of the interval is refused, and a value above all three is not kept.
    expect(-4, 2, 4, 0.01, {3, 2, 3, 4, 0, 4, 0}, {2, -0.291796, -1.708204, 0.145898, -0.832816, -0.929812, -0.626165});
    // So is a step down of half the last but one. The search ends before its last iteration.
    expect(0, 2, 8, 0.1, {3, 2, 5, 6, 4, 5}, {2, 4.291796, 5.708204, 3.462616, 4.832816});
    // A third best point that is the best one too is replaced whatever the value.
    expect(0, 4, 8, 0.0625, {3, 5, 6, 1, 0, 0}, {4, 2.472136, 5.527864, 3.75, 3.325913, 2.999799});
}

/// Shows what a deriving class may use.
struct Minimiser : mlMinimiser {
    using mlMinimiser::mlMinimiser, mlMinimiser::search;
};

/// Where a search ends; found, range_end and not_converged.
auto ended(mlMinimiser & m) {
    int found = -9, range_end = -9, not_converged = -9;
    double const t = m.minimise(found, range_end, not_converged);
    return std::tuple(t, found, range_end, not_converged);
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
        {flat, 1.0, 1.0, mlMinimiserBracketConverged, 7},    // which level values close, without a step
        {flat, 0.5, mlUnboundedMax, mlMinimiserFailed, 201}, // out of iterations
        {no_slope, 0.0, 1.0, mlMinimiserBracketed, 4},       // sampled instead
        {tiny_step, 1.0, 2.0, mlMinimiserNewtonConverged, 3},
        {parabola(-9.0, 0), -7.0, 1.0, mlMinimiserBracketConverged, 7},
        {parabola(9.0, 0), 0.5, 1.0, mlMinimiserBracketConverged, 7},
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
        for (int const side : {1, -1}) {
            TracedFunction f = parabola(-5.0 * side, order);
            Minimiser m(f, 0.5 * side, std::min(0, side), std::max(0, side), 0.01);
            EXPECT_EQ(ended(m), std::tuple(0.0, 0, -side, 0));
            f.low = f.high = 0.0;
            EXPECT_EQ(ended(m), std::tuple(0.0, 1, 0, 0));
        }
}

TEST(FunctionValue, CopiesWhatIsKnown) {
    mlFunctionValue source(1.0), target(2.0);
    target.first_derivative = target.second_derivative = 7.0;
    target = source; // which knows nothing
    EXPECT_EQ(std::pair(target.t, target.first_derivative), std::pair(1.0, 7.0));
    source.value = 3.0;
    source.first_derivative = source.second_derivative = 9.0;
    source.invalidate_derivatives();
    target = source; // which knows its value
    EXPECT_EQ(std::tuple(target.value, target.first_derivative, target.second_derivative),
              std::tuple(3.0, mlUnboundedMin, 7.0));
    source.first_derivative = 8.0;
    target = source;
    EXPECT_EQ(std::pair(target.first_derivative, target.second_derivative), std::pair(8.0, 9.0));
}

TEST(FunctionValue, KnowsNothingThatACallWhichThrewWasToTell) {
    struct Computing : mlFunctionValue {
        using mlFunctionValue::mlFunctionValue;
        void compute(int order, mlFunction const & f) { order == 2 ? do_fn2(f) : order == 1 ? do_fn1(f) : do_fn0(f); }
    } entry(1.0);
    bool fails = false;
    auto const formula = [&](double) { return fails ? throw std::bad_alloc() : 2.0; };
    TracedFunction const f(formula, formula, formula);
    double const none = mlUnboundedMin; // of the next one too, which may not count when this one does again
    Values const known[] = {{none, none, 2}, {2, none, none}, {2, 2, none}};
    for (int const order : {2, 1, 0}) {
        fails = false;
        entry.compute(2, f);
        fails = true;
        EXPECT_THROW(entry.compute(order, f), std::bad_alloc);
        EXPECT_EQ((Values{entry.value, entry.first_derivative, entry.second_derivative}), known[order]) << order;
    }
}

} // namespace
