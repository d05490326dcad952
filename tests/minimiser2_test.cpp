#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "maths/maths.h"
#include "tests/support/jets.h"

namespace {

double const unbounded = mlUnboundedMax;
double const nan = std::numeric_limits<double>::quiet_NaN();
double const infinity = std::numeric_limits<double>::infinity();

struct Window {
    double u_min = -unbounded, u_max = unbounded, v_min = -unbounded, v_max = unbounded;
};

using Formula = std::function<Jet(Jet, Jet)>;

/// A function on a window, outside of which it must never be called; its domain may go on beyond. Keeps its values.
class Watched : public mlFunction2 {
public:
    Watched(Formula f, Window const & window, int order, Window const & its_domain = {})
        : domain(its_domain), f_(std::move(f)), window_(window) {
        highest_derivative_order = order;
    }
    double function(double u, double v) const override {
        values.push_back(at(u, v).f);
        return values.back();
    }
    double uv_function_derivative(int i, int j, double u, double v) const override {
        EXPECT_LE(i + j, highest_derivative_order);
        return at(u, v).derivative(i, j);
    }
    double u_min() const override { return domain.u_min; }
    double u_max() const override { return domain.u_max; }
    double v_min() const override { return domain.v_min; }
    double v_max() const override { return domain.v_max; }

    Jet at(double u, double v) const {
        ++calls;
        EXPECT_TRUE(window_.u_min <= u && u <= window_.u_max && window_.v_min <= v && v <= window_.v_max)
            << "called at " << u << ", " << v;
        return f_({u, 1.0, 0.0, 0.0, 0.0, 0.0}, {v, 0.0, 1.0, 0.0, 0.0, 0.0});
    }

    Window domain;
    mutable int calls = 0;
    mutable std::vector<double> values;

private:
    Formula f_;
    Window window_;
};

/// Everything that a search answers.
struct Answer {
    double u, v, value;
    int found, u_end, v_end, not_converged, state, iterations, calls;

    explicit Answer(mlBaseMinimiser2 & m) {
        value = m.minimise(u, v, found, u_end, v_end, not_converged);
        state = m.state();
        iterations = m.iterations();
        calls = m.number_of_calls();
    }
    bool operator==(Answer const & a) const {
        return std::memcmp(&u, &a.u, 3 * sizeof u) == 0 && std::memcmp(&found, &a.found, 7 * sizeof found) == 0;
    }
};

void set_window(mlBaseMinimiser2 & m, Window const & w) { m.set_window(w.u_min, w.u_max, w.v_min, w.v_max); }

struct Problem {
    char const * name;
    Formula f;
    double u0, v0;
    Window window;
    double lowest;     ///< the value at the minimum that is to be found
    int most_calls[3]; ///< by order
};

Answer search(Problem const & p, int order, int limit = 100, double absolute_minimum = nan,
              Watched const * watched = nullptr) {
    Watched const own(p.f, p.window, order);
    Watched const & f = watched ? *watched : own;
    mlMinimiser2 m(f, p.u0, p.v0, 1e-8);
    set_window(m, p.window);
    m.set_max_iterations(limit);
    m.set_absolute_minimum(absolute_minimum);
    Answer const a(m);
    EXPECT_EQ(a.calls, f.calls);
    return a;
}

Jet rosenbrock(Jet const & u, Jet const & v) { return 100.0 * square(v - u * u) + square(1.0 - u); }
Jet himmelblau(Jet const & u, Jet const & v) { return square(u * u + v - 11.0) + square(u + v * v - 7.0); }
Jet beale(Jet const & u, Jet const & v) {
    return square(1.5 - u + u * v) + square(2.25 - u + u * v * v) + square(2.625 - u + u * v * v * v);
}
Jet mccormick(Jet const & u, Jet const & v) { return sin(u + v) + square(u - v) - 1.5 * u + 2.5 * v + 1.0; }
Jet camel(Jet const & u, Jet const & v) {
    Jet const w = u * u;
    return 2.0 * w - 1.05 * w * w + 1.0 / 6.0 * w * w * w + u * v + v * v;
}
Jet branin(Jet const & u, Jet const & v) {
    double const pi = 3.14159265358979323846;
    return square(v - 5.1 / (4.0 * pi * pi) * u * u + 5.0 / pi * u - 6.0) + 10.0 * (1.0 - 1.0 / (8.0 * pi)) * cos(u) +
           10.0;
}
Jet goldstein_price(Jet const & u, Jet const & v) {
    return (1.0 + square(u + v + 1.0) * (19.0 - 14.0 * u + 3.0 * u * u - 14.0 * v + 6.0 * u * v + 3.0 * v * v)) *
           (30.0 +
            square(2.0 * u - 3.0 * v) * (18.0 - 32.0 * u + 12.0 * u * u + 48.0 * v - 36.0 * u * v + 27.0 * v * v));
}
Jet saddle(Jet const & u, Jet const & v) { return u * u - v * v; }
Jet monkey_saddle(Jet const & u, Jet const & v) { return u * u * u - 3.0 * u * v * v; }
Jet nan_beyond(Jet const & u, Jet const & v) {
    return u.f > 1.5 || v.f < -1.0 ? Jet(nan, nan, nan, nan, nan, nan) : square(u - 1.0) + square(square(v - 1.0) + u);
}

// Hock & Schittkowski 1 to 5, and the usual ones of global optimisation, each from a start whose minimum is known.
Problem const problems[] = {
    {"HS1", rosenbrock, -2.0, 1.0, {-unbounded, unbounded, -1.5, unbounded}, 0.0, {220, 190, 200}},
    {"HS2", rosenbrock, -2.0, 1.0, {-unbounded, unbounded, 1.5, unbounded}, 4.9412293179852, {80, 70, 70}},
    {"HS3",
     [](Jet u, Jet v) { return v + 1e-5 * square(v - u); },
     10.0,
     1.0,
     {-unbounded, unbounded, 0.0, unbounded},
     0.0,
     {25, 16, 15}},
    {"HS4",
     [](Jet u, Jet v) { return 1.0 / 3.0 * (u + 1.0) * square(u + 1.0) + v; },
     1.125,
     0.125,
     {1.0, unbounded, 0.0, unbounded},
     8.0 / 3.0,
     {15, 12, 14}},
    {"HS5", mccormick, 0.0, 0.0, {-1.5, 4.0, -3.0, 3.0}, -1.9132229549810367, {40, 32, 32}},
    {"Rosenbrock", rosenbrock, -1.2, 1.0, {}, 0.0, {240, 170, 160}},
    {"Himmelblau", himmelblau, 0.0, 0.0, {-5.0, 5.0, -5.0, 5.0}, 0.0, {60, 55, 50}},
    {"Beale", beale, 1.0, 1.0, {-4.5, 4.5, -4.5, 4.5}, 0.0, {125, 80, 75}},
    {"camel", camel, 0.9, 0.5, {-5.0, 5.0, -5.0, 5.0}, 0.0, {50, 40, 40}},
    {"Branin", branin, 2.5, 7.5, {-5.0, 10.0, 0.0, 15.0}, 0.39788735772973816, {45, 40, 45}},
    {"Goldstein-Price", goldstein_price, 0.0, -0.9, {-2.0, 2.0, -2.0, 2.0}, 3.0, {60, 60, 60}},
    {"quartic",
     [](Jet u, Jet v) { return square(square(u - 0.3)) + square(square(v + 0.2)); },
     2.0,
     2.0,
     {},
     0.0,
     {400, 250, 30}},
    {"NaN beyond", nan_beyond, -2.0, 3.0, {-4.0, 4.0, -4.0, 4.0}, nan, {80, 60, 60}},
    {"linear", [](Jet u, Jet v) { return u - 2.0 * v; }, 0.3, 0.4, {0.0, 1.0, 0.0, 1.0}, -2.0, {20, 15, 15}},
    {"saddle", saddle, 0.0, 0.0, {-1.0, 1.0, -1.0, 2.0}, nan, {30, 20, 20}},
};

class EachProblem : public testing::TestWithParam<Problem> {};

TEST_P(EachProblem, IsSolvedWithinItsCallsWithEachOrderOfDerivatives) {
    Problem const & p = GetParam();
    for (int order : {0, 1, 2}) {
        Answer const a = search(p, order);
        SCOPED_TRACE(testing::Message() << "order " << order << ", at " << a.u << ", " << a.v);
        EXPECT_NE(a.state, mlMinimiser2Failed);
        EXPECT_EQ(a.not_converged, 0);
        if (!std::isnan(p.lowest)) {
            EXPECT_NEAR(a.value, p.lowest, 1e-7 * (order == 0 ? 1.0 : 1e-3));
        }
        EXPECT_LE(a.calls, p.most_calls[order]);
        EXPECT_TRUE(search(p, order) == a) << "another answer, for the same search";

        // No lower value lies a few resolutions down the slope, within the window.
        Jet const f = p.f({a.u, 1.0, 0.0, 0.0, 0.0, 0.0}, {a.v, 0.0, 1.0, 0.0, 0.0, 0.0});
        double const slope = std::hypot(f.u, f.v);
        for (double const resolutions : {2.0, 3.0, 5.0}) {
            if (!(slope > 0.0)) break;
            double const step = resolutions * 1e-8 / slope;
            double const u = std::clamp(a.u - step * f.u, p.window.u_min, p.window.u_max);
            double const v = std::clamp(a.v - step * f.v, p.window.v_min, p.window.v_max);
            EXPECT_GE(p.f(u, v).f, a.value - 1e-14 * std::fabs(a.value) - 1e-28) << resolutions;
        }
    }
}

TEST_P(EachProblem, NeverRisesWithAnotherIteration) {
    Problem const & p = GetParam();
    for (int order : {0, 1, 2}) {
        double const u = std::clamp(p.u0, p.window.u_min, p.window.u_max);
        double const v = std::clamp(p.v0, p.window.v_min, p.window.v_max);
        double last = p.f(u, v).f;
        int const iterations = search(p, order).iterations;
        for (int limit = 0; limit <= iterations; ++limit) {
            Answer const a = search(p, order, limit);
            EXPECT_LE(a.value, last) << "order " << order << ", limit " << limit;
            EXPECT_EQ(a.state == mlMinimiser2Failed, limit < iterations);
            EXPECT_EQ(a.iterations, limit);
            last = a.value;
            if (limit > 0) continue;
            EXPECT_EQ(a.u, u);
            EXPECT_EQ(a.v, v);
            EXPECT_EQ(a.not_converged, 1);
            EXPECT_EQ(a.found, 0);
        }
    }
}

TEST_P(EachProblem, StopsAtTheCallThatMeetsTheAbsoluteMinimum) {
    Problem const & p = GetParam();
    for (int order : {0, 1, 2}) {
        Watched const whole(p.f, p.window, order);
        Answer const end = search(p, order, 100, nan, &whole);
        for (double const part : {0.0, 0.3, 0.9, 1.0}) { // of the way down
            double const least = part == 1.0 ? *std::min_element(whole.values.begin(), whole.values.end())
                                             : whole.values[0] + part * (end.value - whole.values[0]);
            Watched const f(p.f, p.window, order);
            Answer const a = search(p, order, 100, least, &f);
            SCOPED_TRACE(testing::Message() << "order " << order << ", least " << least);
            EXPECT_EQ(a.state, mlMinimiser2AbsoluteMinimum);
            EXPECT_EQ(a.found, 1);
            EXPECT_TRUE(a.u_end == 0 && a.v_end == 0 && a.not_converged == 0);
            auto const met = std::find_if(f.values.begin(), f.values.end(), [&](double x) { return x <= least; });
            ASSERT_NE(met, f.values.end());
            EXPECT_EQ(met + 1, f.values.end());
            EXPECT_EQ(a.value, *met);
            EXPECT_EQ(p.f(a.u, a.v).f, a.value);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, EachProblem, testing::ValuesIn(problems), [](auto const & problem) {
    std::string name = problem.param.name;
    std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
    return name;
});

Answer search(Formula const & f, double u0, double v0, Window const & window, int order, double resolution = 1e-8,
              Window const & domain = {}) {
    Watched const watched(f, window, order, domain);
    mlMinimiser2 m(watched, u0, v0, resolution);
    set_window(m, window);
    return Answer(m);
}

TEST(Minimiser2, ReportsEndsBeyondWhichTheDomainGoesOn) {
    struct Case {
        double u_slope, v_slope;
        int state;
    };
    // A bowl whose bottom the slopes move, far or not at all.
    for (Case const & c : {Case{9.0, 0.0, mlMinimiser2AtUEnd}, Case{-9.0, 0.5, mlMinimiser2AtUEnd},
                           Case{0.5, 9.0, mlMinimiser2AtVEnd}, Case{0.0, -9.0, mlMinimiser2AtVEnd},
                           Case{-9.0, 9.0, mlMinimiser2AtCorner}, Case{0.5, -0.5, mlMinimiser2Converged}}) {
        auto const f = [&](Jet u, Jet v) { return square(u) + 2.0 * square(v) + c.u_slope * u + c.v_slope * v; };
        for (int order : {0, 1, 2}) {
            Window const window{-1.0, 1.0, -1.5, 1.25};
            Answer const open = search(f, 0.3, 0.1, window, order),
                         closed = search(f, 0.3, 0.1, window, order, 1e-8, window);
            SCOPED_TRACE(testing::Message() << "slopes " << c.u_slope << ", " << c.v_slope << ", order " << order);
            bool const at_u = c.state == mlMinimiser2AtUEnd || c.state == mlMinimiser2AtCorner;
            bool const at_v = c.state == mlMinimiser2AtVEnd || c.state == mlMinimiser2AtCorner;
            EXPECT_EQ(open.state, c.state);
            EXPECT_EQ(open.u_end, !at_u ? 0 : c.u_slope > 0.0 ? -1 : 1);
            EXPECT_EQ(open.v_end, !at_v ? 0 : c.v_slope > 0.0 ? -1 : 1);
            EXPECT_EQ(open.found, c.state == mlMinimiser2Converged);
            EXPECT_EQ(open.not_converged, 0);
            if (at_u) {
                EXPECT_EQ(open.u, c.u_slope > 0.0 ? -1.0 : 1.0);
            }
            if (at_v) {
                EXPECT_EQ(open.v, c.v_slope > 0.0 ? -1.5 : 1.25);
            }
            EXPECT_EQ(closed.state, c.state);
            EXPECT_TRUE(closed.u_end == 0 && closed.v_end == 0 && closed.found == 1);
        }
    }
}

TEST(Minimiser2, FindsAnEndWithinTheResolutionOfTheStart) {
    auto const f = [](Jet u, Jet v) { return 1e-3 * u + square(v); };
    for (int order : {0, 1, 2}) {
        Answer const a = search(f, 1e-4, 0.0, {0.0, 1.0, -1.0, 1.0}, order, 1e-2);
        EXPECT_EQ(a.u, 0.0) << order;
        EXPECT_EQ(a.state, mlMinimiser2AtUEnd) << order;
        EXPECT_EQ(a.u_end, -1) << order;
    }
}

TEST(Minimiser2, LeavesSaddles) {
    Window const box{-1.0, 1.0, -1.0, 2.0};
    for (int order : {0, 1, 2}) {
        EXPECT_LT(search(saddle, 0.0, 0.0, box, order).value, -0.9) << order;
        EXPECT_LT(search(saddle, 0.5, 0.0, box, order).value, -0.9) << order;
        EXPECT_LT(search(saddle, 0.5, 0.0, {0.25, 1.0, -1.0, 2.0}, order).value, -0.9) << "on an end, " << order;
        EXPECT_LT(search([](Jet u, Jet v) { return cos(u) * cos(v); }, 0.0, 0.0, {}, order).value, -0.99) << order;
    }
    EXPECT_LT(search(monkey_saddle, 0.0, 0.0, box, 2).value, -0.9);
    EXPECT_LT(search([](Jet u, Jet v) { return u * v; }, 0.0, 0.0, {0.0, 1.0, -1.0, 0.0}, 2).value, -0.9) << "a corner";
}

TEST(Minimiser2, DoesNotTakeABadlyScaledValleyForAMinimum) {
    // Beside the floor Newton's step is shorter than the resolution, which overlooks how the valley falls.
    for (double const scale : {100.0, 1e4, 1e6}) {
        auto const f = [&](Jet u, Jet v) { return scale * square(v - u * u) + square(1.0 - u); };
        for (int order : {0, 1, 2})
            for (double const side : {-1e-4, 0.0, 1e-4}) {
                Watched const watched(f, {}, order);
                mlMinimiser2 m(watched, 0.1, 0.01 + side, 1e-2);
                m.set_max_iterations(10000);
                EXPECT_LT(Answer(m).value, 1e-3) << scale << ", order " << order << ", " << side;
            }
    }
}

TEST(Minimiser2, FollowsNarrowValleysAroundTheirBends) {
    for (double const scale : {1e4, 1e6}) {
        auto const f = [&](Jet u, Jet v) { return scale * square(v - u * u) + square(1.0 - u); };
        double const starts[][2] = {{-2.0, -2.0}, {2.0, 2.0}, {-1.2, 1.0}, {-0.5, -0.7}, {1.69, -1.17}};
        for (auto const & [u, v] : starts)
            for (int order : {1, 2}) {
                Answer const a = search(f, u, v, {-2.0, 2.0, -2.0, 2.0}, order, 1e-6);
                EXPECT_NEAR(a.u, 1.0, 1e-5) << scale << ", from " << u << ", " << v << ", order " << order;
                EXPECT_LE(a.calls, 200);
            }
    }
}

TEST(Minimiser2, DoesNotRelyOnCurvatureAcrossItsWayThatItNeverSaw) {
    // Steps along one direction: what lies across them is known from far away alone.
    Answer const a = search(beale, 4.5, 4.5, {-4.5, 4.5, -4.5, 4.5}, 1, 1e-3);
    EXPECT_LT(a.value, 4.6);
    auto const valley = [](Jet u, Jet v) { return 1e6 * square(v - u * u) + square(1.0 - u); };
    double const starts[][2] = {{-1.25, -1.5}, {0.5, 0.0}, {0.75, -0.5}, {1.25, -1.5}, {1.25, 1.25}};
    for (auto const & [u, v] : starts)
        EXPECT_LT(search(valley, u, v, {-2.0, 2.0, -2.0, 2.0}, 1, 1e-3).value, 1e-4) << u << ", " << v;
}

TEST(Minimiser2, FindsTheLastDigitsWhereValuesAreEqual) {
    auto const raised = [](Jet u, Jet v) { return 1e6 + rosenbrock(u, v); };
    for (int order : {1, 2}) {
        Answer const a = search(raised, -1.2, 1.0, {}, order);
        EXPECT_NEAR(a.u, 1.0, 1e-7) << order;
        EXPECT_NEAR(a.v, 1.0, 1e-7) << order;
    }
}

TEST(Minimiser2, NeverConvergesOnNumbersThatAreNone) {
    for (double const value : {nan, infinity, -infinity})
        for (int order : {0, 1, 2}) {
            auto const f = [&](Jet, Jet) { return Jet(value, value, value, value, value, value); };
            Answer const a = search(f, 0.5, 0.5, {0.0, 1.0, 0.0, unbounded}, order);
            EXPECT_EQ(a.state, mlMinimiser2Failed);
            EXPECT_TRUE(a.found == 0 && a.not_converged == 1 && a.u_end == 0 && a.v_end == 0);
        }
    EXPECT_EQ(search(saddle, nan, 0.5, {}, 2).calls, 0);

    auto const nan_slopes = [](Jet u, Jet v) { return Jet((square(u - 0.3) + square(v)).f, nan, nan, nan, nan, nan); };
    EXPECT_LT(search(nan_slopes, 1.0, 1.0, {}, 2, 1e-4).value, 1e-7) << "values alone will do";
    Answer const from_outside = search(nan_beyond, 3.0, -3.0, {-4.0, 4.0, -4.0, 4.0}, 2);
    EXPECT_NE(from_outside.state, mlMinimiser2Failed) << "numbers are looked for";
}

TEST(Minimiser2, EndsWhereTheFunctionFallsForEver) {
    Formula const falling[] = {[](Jet u, Jet v) { return u + 2.0 * v; }, [](Jet u, Jet v) { return v * v - u * u; },
                               [](Jet u, Jet v) { return u * u * u + v * v; },
                               [](Jet u, Jet v) { return v * v - log(1.0 + u * u); }};
    for (Formula const & f : falling)
        for (int order : {0, 1, 2}) {
            Answer const a = search(f, 1.0, 1.0, {}, order);
            EXPECT_EQ(a.state, mlMinimiser2Failed);
            EXPECT_LE(a.calls, 600);
        }
}

TEST(Minimiser2, GoesOnFromWhereItEndedAlsoInAnotherWindow) {
    for (int order : {0, 1, 2}) {
        Watched f(rosenbrock, {}, order);
        mlMinimiser2 m(f, -1.2, 1.0, 1e-8);
        m.set_max_iterations(5);
        Answer const first(m);
        ASSERT_EQ(first.state, mlMinimiser2Failed);
        m.set_max_iterations(0);
        Answer const same(m);
        EXPECT_TRUE(same.u == first.u && same.v == first.v && same.value == first.value && same.calls == 1);

        m.set_window(-unbounded, unbounded, 1.5, 2.0);
        Answer const clamped(m);
        EXPECT_TRUE(clamped.u == first.u && clamped.v == 1.5);
        m.set_max_iterations(100);
        EXPECT_EQ(Answer(m).v_end, -1);
        m.set_window(-unbounded, unbounded, -unbounded, unbounded);
        EXPECT_LT(Answer(m).value, 1e-12);
    }
}

TEST(Minimiser2, StaysInWindowsWithoutWidth) {
    auto const bowl = [](Jet u, Jet v) { return square(u) + square(v) + u * v; };
    for (int order : {0, 1, 2}) {
        Answer const line = search(bowl, 9.0, 2.0, {1.0, 1.0, -2.0, 5.0}, order);
        EXPECT_EQ(line.u, 1.0);
        EXPECT_NEAR(line.v, -0.5, 1e-7);
        EXPECT_EQ(line.state, mlMinimiser2AtUEnd);
        EXPECT_EQ(line.u_end, order > 0 ? -1 : 1) << "to where it falls, as far as that is known";
        Answer const point = search(bowl, 9.0, 2.0, {1.0, 1.0, -2.0, -2.0}, order);
        EXPECT_EQ(point.value, 3.0);
        EXPECT_EQ(point.state, mlMinimiser2AtCorner);
    }
    // The far end of a window within the resolution is the minimum where the function falls to it.
    for (double const width : {1e-3, 1e-10})
        for (int order : {0, 1, 2}) {
            Answer const a = search(bowl, 9.0, 9.0, {1.0, 1.0 + width, 2.0, 2.0 + width}, order, 0.1);
            EXPECT_TRUE(a.u == 1.0 && a.v == 2.0 && a.state == mlMinimiser2AtCorner) << order;
        }

    // Nor do differences of first derivatives or of values leave a window narrower than they are apart.
    for (int order : {0, 1, 2})
        EXPECT_EQ(search(bowl, 0.0, 0.0, {1.0, std::nextafter(1.0, 2.0), 1.0, 1.0 + 1e-13}, order).value, 3.0);
}

TEST(Minimiser2, TakesDerivativesOf666ThroughoutForMissing) {
    class ValuesAlone : public mlFunction2 { // and promises second derivatives, as the base class does
    public:
        double function(double u, double v) const override {
            return square(u - 1.0).f + square(v + 2.0).f + 0.5 * u * v;
        }
    };
    ValuesAlone const f;
    mlMinimiser2 m(f, 5.0, 5.0, 1e-7);
    Answer const a(m);
    EXPECT_NEAR(a.u, 1.6, 1e-7);
    EXPECT_NEAR(a.v, -2.4, 1e-7);
    EXPECT_EQ(a.state, mlMinimiser2Converged);
}

TEST(Minimiser2, FindsKinksWithValuesAlone) {
    auto const kinks = [](Jet u, Jet v) { return magnitude(u - 0.3) + 10.0 * magnitude(v + 0.7); };
    auto const askew = [](Jet u, Jet v) { return magnitude(u + 0.4 * v - 0.5) + 0.1 * magnitude(u - v); };
    EXPECT_LT(search(kinks, 2.0, 2.0, {}, 0, 1e-6).value, 1e-5);
    EXPECT_LT(search(askew, 2.0, 2.0, {}, 0, 1e-6).value, 1e-5);
}

TEST(Minimiser2, GoesByTheScalesOfTheParameters) {
    for (double const scale : {1e-8, 1e-3, 1e3, 1e8})
        for (int order : {1, 2}) {
            auto const f = [&](Jet u, Jet v) {
                return square(u * scale - 1.0) + square(v * (1.0 / scale) - 2.0) + 0.5 * u * v;
            };
            Watched const watched(f, {}, order);
            mlMinimiser2 m(watched, 0.0, 0.0, 1e-10);
            Answer const a(m);
            EXPECT_NEAR(a.u * scale, 8.0 / 15.0, 1e-9);
            EXPECT_NEAR(a.v / scale, 28.0 / 15.0, 1e-9);
        }
}

/// A vector-valued function on a window, outside of which it must never be called.
class WatchedVector : public mlFunctionN {
public:
    using Formulas = std::function<std::vector<Jet>(Jet, Jet)>;

    explicit WatchedVector(Formulas f, Window const & window = {}) : f_(std::move(f)), window_(window) {
        input_dimension = 2;
        output_dimension = static_cast<int>(f_(0.0, 0.0).size());
    }
    void function(mlSlice const & x, mlVector & y) const override {
        derive(x, 0, 0, y);
        squares.push_back(y.modulus_squared());
    }
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        std::vector<Jet> const f = at(x);
        for (int i = 0; i < output_dimension; ++i) {
            jacobian(i, 0) = f[i].u;
            jacobian(i, 1) = f[i].v;
        }
    }
    void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const override {
        derive(x, orders[0], orders[1], y);
    }

    mutable int calls = 0;
    mutable std::vector<double> squares;

private:
    std::vector<Jet> at(mlSlice const & x) const {
        ++calls;
        double const u = x[0], v = x[1];
        EXPECT_TRUE(window_.u_min <= u && u <= window_.u_max && window_.v_min <= v && v <= window_.v_max);
        return f_({u, 1.0, 0.0, 0.0, 0.0, 0.0}, {v, 0.0, 1.0, 0.0, 0.0, 0.0});
    }
    void derive(mlSlice const & x, int i, int j, mlVector & y) const {
        std::vector<Jet> const f = at(x);
        for (int k = 0; k < output_dimension; ++k)
            y[k] = f[k].derivative(i, j);
    }

    Formulas f_;
    Window window_;
};

/// From a point (x, y, z) to the torus of radii 3 and 1.
WatchedVector::Formulas to_torus(double x, double y, double z) {
    return [=](Jet u, Jet v) {
        Jet const radius = 3.0 + cos(v);
        return std::vector<Jet>{radius * cos(u) - x, radius * sin(u) - y, sin(v) - z};
    };
}

std::vector<Jet> freudenstein_roth(Jet const & u, Jet const & v) {
    return {-13.0 + u + ((5.0 - v) * v - 2.0) * v, -29.0 + u + ((v + 1.0) * v - 14.0) * v};
}

Answer search(WatchedVector const & f, double u0, double v0, Window const & window, int order) {
    mlVectorMinimiser2 m(f, u0, v0, 1e-8, order);
    set_window(m, window);
    int const before = f.calls;
    Answer const a(m);
    EXPECT_EQ(a.calls, f.calls - before);
    return a;
}

TEST(VectorMinimiser2, FindsFeetOnATorus) {
    double const points[][3] = {{5.0, 1.0, 1.0}, {3.5, 0.5, 0.2}, {1.0, 1.0, 3.0}, {0.1, 0.2, 0.5}, {-4.0, 2.0, -1.0}};
    for (auto const & p : points) {
        double const from_centre = std::hypot(std::hypot(p[0], p[1]) - 3.0, p[2]); // line of the tube
        for (int order : {0, 1, 2}) {
            Answer const a = search(WatchedVector(to_torus(p[0], p[1], p[2])), 0.5, 0.5, {}, order);
            EXPECT_NEAR(std::sqrt(a.value), std::fabs(from_centre - 1.0), 1e-9) << p[0] << ", order " << order;
            EXPECT_LE(a.calls, order == 0 ? 110 : order == 1 ? 35 : 60);
            EXPECT_EQ(a.state, mlMinimiser2Converged);
        }
    }
    for (int order : {0, 1, 2}) { // on the axis, where all u are alike; from above, where v = pi/2 is the nearest
        EXPECT_NEAR(search(WatchedVector(to_torus(0.0, 0.0, 0.0)), 0.5, 2.5, {}, order).value, 4.0, 1e-12);
        EXPECT_NEAR(search(WatchedVector(to_torus(3.0, 0.0, 9.0)), 0.0, -1.5, {}, order).value, 64.0, 1e-12);
    }
}

TEST(VectorMinimiser2, ConvergesWithLargeResidualsByFirstDerivatives) {
    Answer const a = search(WatchedVector(freudenstein_roth), 0.5, -2.0, {}, 1);
    EXPECT_NEAR(a.value, 48.98425367924, 1e-9);
    EXPECT_NEAR(a.v, -0.89680525327, 1e-7);
    EXPECT_LE(a.calls, 50);
}

TEST(VectorMinimiser2, LeavesAMaximumWithJacobiansAlone) {
    // The far side of the circle: the gradient is zero, and the Jacobian does not tell a maximum.
    auto const circle = [](Jet u, Jet v) { return std::vector<Jet>{cos(u) - 2.0, sin(u), v}; };
    for (int order : {0, 1, 2})
        EXPECT_NEAR(search(WatchedVector(circle), 3.14159265358979323846, 0.0, {-9.0, 9.0, -1.0, 1.0}, order).value,
                    1.0, 1e-12);
}

TEST(VectorMinimiser2, StaysInItsWindowAndReportsItsEnds) {
    Window const window{-1.0, 0.5, -2.0, 2.0};
    auto const valley = [](Jet u, Jet v) { return std::vector<Jet>{10.0 * (v - u * u), 1.0 - u}; };
    for (int order : {0, 1, 2}) {
        WatchedVector const f(valley, window);
        Answer const a = search(f, -3.0, 1.0, window, order);
        EXPECT_EQ(a.u, 0.5);
        EXPECT_NEAR(a.v, 0.25, 1e-7);
        EXPECT_EQ(a.state, mlMinimiser2AtUEnd);
        EXPECT_TRUE(a.found == 0 && a.u_end == 1 && a.v_end == 0 && a.not_converged == 0);
        EXPECT_TRUE(search(WatchedVector(valley, window), -3.0, 1.0, window, order) == a);
    }
}

TEST(VectorMinimiser2, StopsAtTheValueThatMeetsTheAbsoluteMinimumAlsoOfDifferences) {
    for (int order : {0, 1, 2})
        for (double const least : {1e3, 400.0, 60.0, 48.98426}) {
            WatchedVector const f(freudenstein_roth);
            mlVectorMinimiser2 m(f, 0.5, -2.0, 1e-8, order);
            m.set_absolute_minimum(least);
            Answer const a(m);
            EXPECT_EQ(a.state, mlMinimiser2AbsoluteMinimum);
            EXPECT_EQ(std::count_if(f.squares.begin(), f.squares.end(), [&](double x) { return x <= least; }), 1);
            EXPECT_EQ(f.squares.back(), a.value);
        }
}

TEST(VectorMinimiser2, RemembersNothingOfTheFunctionBetweenSearches) {
    double x = 5.0;
    WatchedVector const f([&](Jet u, Jet v) { return to_torus(x, 1.0, 1.0)(u, v); });
    for (int order : {0, 1, 2}) {
        mlVectorMinimiser2 m(f, 0.5, 0.5, 1e-8, order);
        x = 5.0;
        Answer const there(m);
        m.set_max_iterations(0);
        x = 6.0; // the same point, another function
        EXPECT_GT(Answer(m).value, there.value + 1.0);
    }
}

} // namespace
