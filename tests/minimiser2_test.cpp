#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>
#include <vector>

#include "maths/maths.h"
#include "tests/support/jets.h"
#include "tests/support/values.h"

namespace {

double const unbounded = mlUnboundedMax;

struct Window {
    double u_min = -unbounded, u_max = unbounded, v_min = -unbounded, v_max = unbounded;

    /// The point of the window that is nearest to (u, v).
    std::pair<double, double> clamp(double u, double v) const {
        return {std::clamp(u, u_min, u_max), std::clamp(v, v_min, v_max)};
    }
};

using Formula = std::function<Jet(Jet, Jet)>;
using Formulas = std::function<std::vector<Jet>(Jet, Jet)>;

/// Counts the calls of a function, none of which may lie outside the window.
template <class F> struct Watch {
    F f;
    Window window;
    mutable int calls = 0;

    auto at(double u, double v) const {
        ++calls;
        EXPECT_EQ(std::pair(u, v), window.clamp(u, v)) << "called outside of the window";
        return f({u, 1.0, 0.0, 0.0, 0.0, 0.0}, {v, 0.0, 1.0, 0.0, 0.0, 0.0});
    }
};

/// A function on a window, beyond which its domain may go on.
struct Watched : mlFunction2, Watch<Formula> {
    Watched(Formula const & formula, Window const & w, int order) : Watch{formula, w} {
        highest_derivative_order = order;
    }
    double function(double u, double v) const override { return values.emplace_back(at(u, v).f); }
    double uv_function_derivative(int i, int j, double u, double v) const override {
        EXPECT_LE(i + j, highest_derivative_order);
        return at(u, v).derivative(i, j);
    }
    double u_min() const override { return domain.u_min; }
    double u_max() const override { return domain.u_max; }
    double v_min() const override { return domain.v_min; }
    double v_max() const override { return domain.v_max; }

    Window domain;
    mutable Values values;
};

/// A vector-valued function on a window, whose squared length is to be minimised.
struct WatchedVector : mlFunctionN, Watch<Formulas> {
    WatchedVector(Formulas const & formulas, Window const & w) : Watch{formulas, w} {
        input_dimension = 2;
        output_dimension = static_cast<int>(f(0.0, 0.0).size());
    }
    void function(mlSlice const & x, mlVector & y) const override {
        int orders[] = {0, 0};
        function_derivative(x, orders, y);
    }
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        std::vector<Jet> const row = at(x[0], x[1]);
        for (int i = 0; i < output_dimension; ++i)
            jacobian(i, 0) = row[i].u, jacobian(i, 1) = row[i].v;
    }
    void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const override {
        std::vector<Jet> const row = at(x[0], x[1]);
        for (int i = 0; i < output_dimension; ++i)
            y[i] = row[i].derivative(orders[0], orders[1]);
    }
};

/// Everything that a search answers.
struct Answer {
    double u, v, value;
    int found, u_end, v_end, not_converged, state, iterations, calls;
    bool operator==(Answer const & a) const = default;
};

/// A search by a minimiser of the function that is watched, with limits where they are given.
template <class F>
Answer minimise(mlBaseMinimiser2 & m, Watch<F> const & f, int limit = 100, double absolute_minimum = nan_value) {
    m.set_window(f.window.u_min, f.window.u_max, f.window.v_min, f.window.v_max);
    m.set_max_iterations(limit);
    m.set_absolute_minimum(absolute_minimum);
    int const before = f.calls;
    Answer a;
    a.value = m.minimise(a.u, a.v, a.found, a.u_end, a.v_end, a.not_converged);
    a.state = m.state();
    a.iterations = m.iterations();
    a.calls = m.number_of_calls();
    EXPECT_EQ(a.calls, f.calls - before);
    EXPECT_EQ(a.not_converged, a.state == mlMinimiser2Failed);
    EXPECT_EQ(a.found, a.not_converged == 0 && a.u_end == 0 && a.v_end == 0);
    bool const at_end = a.state >= mlMinimiser2AtUEnd && a.state <= mlMinimiser2AtCorner;
    EXPECT_LE(a.u_end != 0 || a.v_end != 0, at_end) << "state " << a.state;
    return a;
}

/// Searches with derivatives of the order given, by values alone with 0.
class Minimiser2 : public testing::TestWithParam<int> {
protected:
    int const order = GetParam();

    Answer search(Formula const & f, double u, double v, Window const & window = {}, double resolution = 1e-8) const {
        Watched const watched(f, window, order);
        mlMinimiser2 m(watched, u, v, resolution);
        return minimise(m, watched);
    }
    Answer search(Formulas const & f, double u, double v, Window const & window = {}, double resolution = 1e-8) const {
        WatchedVector const watched(f, window);
        mlVectorMinimiser2 m(watched, u, v, resolution, order);
        return minimise(m, watched);
    }
};
INSTANTIATE_TEST_SUITE_P(ByDerivatives, Minimiser2, testing::Values(0, 1, 2));

Jet rosenbrock(Jet const & u, Jet const & v) { return 100.0 * square(v - u * u) + square(1.0 - u); }
Jet himmelblau(Jet const & u, Jet const & v) { return square(u * u + v - 11.0) + square(u + v * v - 7.0); }
Jet mccormick(Jet const & u, Jet const & v) { return sin(u + v) + square(u - v) - 1.5 * u + 2.5 * v + 1.0; }
Jet hs3(Jet const & u, Jet const & v) { return v + 1e-5 * square(v - u); }
Jet hs4(Jet const & u, Jet const & v) { return 1.0 / 3.0 * (u + 1.0) * square(u + 1.0) + v; }
Jet fourth_powers(Jet const & u, Jet const & v) { return square(square(u)) + square(square(v)); }
Jet slope(Jet const & u, Jet const & v) { return u - 2.0 * v; }
Jet saddle(Jet const & u, Jet const & v) { return u * u - v * v; }
Jet monkey_saddle(Jet const & u, Jet const & v) { return u * u * u - 3.0 * u * v * v; }
Jet raised(Jet const & u, Jet const & v) { return 1e6 + rosenbrock(u, v); }
Jet jet(double f, double first, double second) { return {f, first, first, second, second, second}; }
Jet nan_beyond(Jet const & u, Jet const & v) {
    bool const beyond = u.f > 1.5 || v.f < -1.0;
    return beyond ? jet(nan_value, nan_value, nan_value) : square(u - 1.0) + square(square(v - 1.0) + u);
}

struct Problem {
    char const * name;
    Jet (*f)(Jet const &, Jet const &);
    double u0, v0;
    Window window;
    double lowest; ///< the value at the minimum that is to be found
    int calls[3];  ///< by order; a slip in the method costs or saves calls before it costs results
};

// Hock & Schittkowski 1 to 5, and the usual ones of global optimisation, each from a start whose minimum is known.
Problem const problems[] = {
    {"HS1", rosenbrock, -2.0, 1.0, {-unbounded, unbounded, -1.5, unbounded}, 0.0, {90, 71, 63}},
    {"HS2", rosenbrock, -2.0, 1.0, {-unbounded, unbounded, 1.5, unbounded}, 4.9412293179852, {45, 59, 55}},
    {"HS3", hs3, 10.0, 1.0, {-unbounded, unbounded, 0.0, unbounded}, 0.0, {20, 14, 12}},
    {"HS4", hs4, 1.125, 0.125, {1.0, unbounded, 0.0, unbounded}, 8.0 / 3.0, {9, 10, 12}},
    {"HS5", mccormick, 0.0, 0.0, {-1.5, 4.0, -3.0, 3.0}, -1.9132229549810367, {29, 29, 27}},
    {"Rosenbrock", rosenbrock, -1.2, 1.0, {}, 0.0, {60, 54, 48}},
    {"RosenbrockRaised", raised, -1.2, 1.0, {}, 1e6, {54, 52, 46}},
    {"Himmelblau", himmelblau, 0.0, 0.0, {-5.0, 5.0, -5.0, 5.0}, 0.0, {49, 44, 41}},
    {"FourthPowers", fourth_powers, 1.7, 2.2, {}, 0.0, {242, 232, 18}},
    {"NaNBeyond", nan_beyond, -2.0, 3.0, {-4.0, 4.0, -4.0, 4.0}, 0.5, {46, 40, 43}},
    {"Slope", slope, 0.3, 0.4, {0.0, 1.0, 0.0, 1.0}, -2.0, {10, 10, 12}},
};

Answer solve(Problem const & p, Watched const & f, int limit = 100, double absolute_minimum = nan_value) {
    mlMinimiser2 m(f, p.u0, p.v0, 1e-8);
    return minimise(m, f, limit, absolute_minimum);
}

TEST_P(Minimiser2, SolvesEachProblemInItsCalls) {
    for (Problem const & p : problems) {
        Watched const f(p.f, p.window, order);
        Answer const a = solve(p, f);
        SCOPED_TRACE(testing::Message() << p.name << " at " << a.u << ", " << a.v);
        EXPECT_NE(a.state, mlMinimiser2Failed);
        EXPECT_EQ(a.calls, p.calls[order]);
        EXPECT_TRUE(solve(p, f) == a) << "another answer, for the same search";
        EXPECT_TRUE(p.f != raised || order == 0 || std::hypot(a.u - 1.0, a.v - 1.0) < 1e-7) << "lost digits";
        EXPECT_NEAR(a.value, p.lowest, 1e-8 * (order == 0 ? 10.0 : 1e-2) + 1e-15 * p.lowest);
        // No lower value lies a few resolutions down the slope, within the window.
        Jet const g = f.at(a.u, a.v);
        for (double const resolutions : {3.0, 5.0}) {
            double const step = resolutions * 1e-8 / (std::hypot(g.u, g.v) + 1e-300);
            auto const [u, v] = p.window.clamp(a.u - step * g.u, a.v - step * g.v);
            EXPECT_GE(p.f(u, v).f, a.value - 1e-14 * std::fabs(a.value) - 1e-28) << resolutions;
        }
    }
}

TEST_P(Minimiser2, NeverRisesWithAnotherIterationAndStopsAtTheCallThatMeetsTheAbsoluteMinimum) {
    for (Problem const & p : problems) {
        SCOPED_TRACE(p.name);
        Watched const whole(p.f, p.window, order);
        Answer const end = solve(p, whole);
        double last = whole.values[0];
        for (int limit = 0; limit <= end.iterations; ++limit) {
            Answer const a = solve(p, Watched(p.f, p.window, order), limit);
            EXPECT_LE(a.value, last) << limit;
            EXPECT_EQ(std::tuple(a.iterations, a.not_converged), std::tuple(limit, limit < end.iterations));
            EXPECT_EQ(std::pair(a.u, a.v) == p.window.clamp(p.u0, p.v0) && a.calls == 1, limit == 0) << limit;
            last = a.value;
        }
        for (double const least : whole.values) { // those met by differences, too
            if (std::isnan(least)) continue;
            Watched const f(p.f, p.window, order);
            Answer const a = solve(p, f, 100, least);
            EXPECT_EQ(a.state, mlMinimiser2AbsoluteMinimum) << least;
            auto const met = std::find_if(f.values.begin(), f.values.end(), [&](double x) { return x <= least; });
            ASSERT_EQ(met - f.values.begin() + 1, std::ssize(f.values)) << least;
            EXPECT_EQ(std::pair(a.value, p.f(a.u, a.v).f), std::pair(*met, *met)) << "not where it is met";
        }
    }
}

TEST_P(Minimiser2, FollowsValleysToTheirEndsFromEverywhere) {
    int const mean_calls[][3] = {{124, 98, 60}, {126, 11, 61}}, most_calls[][3] = {{650, 240, 230}, {650, 42, 230}};
    for (double const scale : {1e2, 1e4, 1e6})
        for (double const resolution : {1e-2, 1e-3, 1e-6}) {
            Window const box{-2.0, 2.0, -2.0, 2.0};
            auto const roots = [&](Jet u, Jet v) { return std::vector{std::sqrt(scale) * (v - u * u), 1.0 - u}; };
            auto const f = [&](Jet u, Jet v) { return scale * square(v - u * u) + square(1.0 - u); };
            SCOPED_TRACE(testing::Message() << scale << ", resolution " << resolution);
            int calls[] = {0, 0};
            for (int i = 0; i < 289; ++i) {
                double const u = 0.25 * (i / 17) - 2.0, v = 0.25 * (i % 17) - 2.0;
                Answer const a[] = {search(f, u, v, box, resolution), search(roots, u, v, box, resolution)};
                for (int k : {0, 1}) { // by values alone the floor is known to 3e-9
                    EXPECT_EQ(a[k].state, mlMinimiser2Converged) << u << ", " << v;
                    EXPECT_LT(a[k].value, std::max(1e-3 * resolution, 3e-9)) << u << ", " << v;
                    EXPECT_LE(a[k].calls, most_calls[k][order]) << u << ", " << v;
                    calls[k] += a[k].calls;
                }
            }
            for (int k : {0, 1})
                EXPECT_LE(calls[k], 289 * mean_calls[k][order]) << k;
        }
}

TEST_P(Minimiser2, ReportsEndsBeyondWhichTheDomainGoesOn) {
    int const states[][2] = {{mlMinimiser2Converged, mlMinimiser2AtVEnd}, {mlMinimiser2AtUEnd, mlMinimiser2AtCorner}};
    for (double const a : {-9.0, -0.5, 0.0, 0.5, 9.0})
        for (double const b : {-9.0, -0.5, 0.0, 0.5, 9.0}) { // a bowl whose bottom the slopes move, far or not at all
            auto const bowl = [&](Jet u, Jet v) { return square(u) + 2.0 * square(v) + a * u + b * v; };
            Watched f(bowl, {-1.0, 1.0, -1.5, 1.25}, order);
            mlMinimiser2 m(f, 0.3, 0.1, 1e-8), of_closed(f, 0.3, 0.1, 1e-8);
            Answer const open = minimise(m, f);
            SCOPED_TRACE(testing::Message() << "slopes " << a << ", " << b);
            int const u_end = a > 1.0 ? -1 : a < -1.0 ? 1 : 0, v_end = b > 1.0 ? -1 : b < -1.0 ? 1 : 0;
            EXPECT_EQ(open.state, states[std::abs(u_end)][std::abs(v_end)]);
            EXPECT_EQ(std::pair(open.u_end, open.v_end), std::pair(u_end, v_end));
            auto const [u, v] = f.window.clamp(-0.5 * a, -0.25 * b);
            EXPECT_LE(std::fabs(open.u - u), u_end == 0 ? 1e-7 : 0.0);
            EXPECT_LE(std::fabs(open.v - v), v_end == 0 ? 1e-7 : 0.0);
            f.domain = f.window;
            Answer const closed = minimise(of_closed, f);
            EXPECT_EQ(std::pair(closed.state, closed.found), std::pair(open.state, 1));
        }
    for (double const side : {1.0, -1.0}) { // the end is within the resolution
        auto const gentle = [&](Jet u, Jet v) { return exp(side * u) - 0.9 * side * u + square(v); };
        Answer const a = search(gentle, 0.5 * side, 0.2, {std::min(0.0, side), std::max(0.0, side), -1.0, 1.0}, 0.5);
        EXPECT_EQ(std::tuple(a.u, a.state, a.u_end), std::tuple(0.0, mlMinimiser2AtUEnd, -side));
    }
}

TEST_P(Minimiser2, LeavesSaddles) {
    Window const box{-1.0, 1.0, -1.0, 2.0};
    auto const hill = [](Jet u, Jet v) { return square(v) - square(square(u)); };
    EXPECT_LT(search(saddle, 0.0, 0.0, box).value, -0.9);
    EXPECT_LT(search(saddle, 0.5, 0.0, {0.25, 1.0, -1.0, 2.0}).value, -0.9) << "on an end";
    for (double const end : {1.0, -1.0}) // from which the function falls, without a slope
        EXPECT_LT(search(hill, 0.0, 0.5, {std::min(0.0, end), std::max(0.0, end), -1.0, 1.0}).value, -0.9) << end;
    EXPECT_LT(search([](Jet u, Jet v) { return cos(u) * cos(v); }, 0.0, 0.0).value, -0.99);
    EXPECT_LT(search(monkey_saddle, 0.0, 0.0, box).value, -0.9);
    for (double const p : {2.0, -0.5}) {
        auto const slanted = [&](Jet u, Jet v) { return square(u + p * v) - fourth_powers(u, v); };
        EXPECT_LT(search(slanted, 0.0, 0.0, box).value, -0.9) << "flat along a slanted line: " << p;
    }
    EXPECT_LT(search([](Jet u, Jet v) { return u * v; }, 0.0, 0.0, {0.0, 1.0, -1.0, 0.0}).value, -0.9) << "a corner";
}

TEST_P(Minimiser2, NeverConvergesOnNumbersThatAreNone) {
    for (double const none : {nan_value, infinity, -infinity}) {
        auto const constant = [&](Jet, Jet) { return jet(none, none, none); };
        EXPECT_EQ(search(constant, 0.5, 0.5, {0.0, 1.0, 0.0, unbounded}).state, mlMinimiser2Failed) << none;
    }
    EXPECT_EQ(search(saddle, nan_value, 0.5).calls, 0);
    EXPECT_LE(search([](Jet, Jet) { return Jet(3.0); }, 0.5, 0.5).calls, 30 + order) << "a constant";
    for (double const none : {nan_value, mlNoDerivative}) {
        auto const bowl = [&](Jet u, Jet v) { return jet((square(u - 0.3) + square(v)).f, none, none); };
        EXPECT_LT(search(bowl, 1.0, 1.0).value, 1e-14) << "values alone will do";
    }
    auto const untold = [](Jet u, Jet v) {
        Jet const f = rosenbrock(u, v);
        return Jet(f.f, f.u, f.v, mlNoDerivative, mlNoDerivative, mlNoDerivative);
    };
    EXPECT_LE(search(untold, -1.2, 1.0).calls, order == 0 ? 60 : 57) << "takes second derivatives that are not told";
    EXPECT_NE(search(nan_beyond, 3.0, -3.0, {-4.0, 4.0, -4.0, 4.0}).state, mlMinimiser2Failed)
        << "numbers are looked for";
}

TEST_P(Minimiser2, EndsWhereTheFunctionFallsForEver) {
    Formula const falling[] = {slope, saddle, monkey_saddle, [](Jet u, Jet v) { return v * v - log(1.0 + u * u); }};
    for (Formula const & f : falling) {
        Answer const a = search(f, 1.0, 1.0);
        EXPECT_EQ(a.state, mlMinimiser2Failed);
        EXPECT_LE(a.calls, 600);
        EXPECT_TRUE(order == 0 || &f != &falling[0] || a.iterations < 100) << "left the plane late";
    }
    Answer const a = search([](Jet u, Jet v) { return 1.0 + exp(-1.0 * u) + v * v; }, 0.3, 0.7);
    EXPECT_NEAR(a.value, 1.0, 4e-15) << "roundoff hides the fall";
    EXPECT_EQ(a.state, mlMinimiser2Converged);
}

TEST_P(Minimiser2, GoesOnFromWhereItEndedAlsoInAnotherWindowButRemembersNothingOfTheFunction) {
    double bend = 1.0;
    Watched f([&](Jet u, Jet v) { return 100.0 * square(v - bend * u * u) + square(1.0 - u); }, {}, order);
    mlMinimiser2 m(f, -1.2, 1.0, 1e-8);
    Answer const first = minimise(m, f, 5), same = minimise(m, f, 0);
    EXPECT_EQ(std::tuple(same.u, same.v, same.value, same.calls), std::tuple(first.u, first.v, first.value, 1));
    f.window = {-unbounded, unbounded, 1.5, 2.0};
    Answer const clamped = minimise(m, f, 0);
    EXPECT_EQ(std::pair(clamped.u, clamped.v), std::pair(first.u, 1.5));
    EXPECT_EQ(minimise(m, f).v_end, -1);
    f.window = {};
    EXPECT_LT(minimise(m, f).value, 1e-12);

    auto const valley = [&](Jet u, Jet v) { return std::vector{10.0 * (v - bend * u * u), 1.0 - u}; };
    WatchedVector const roots(valley, {-1.0, 0.5, -2.0, 2.0});
    mlVectorMinimiser2 of_length(roots, -3.0, 1.0, 1e-8, order);
    Answer const a = minimise(of_length, roots);
    EXPECT_EQ(std::tuple(a.u, a.state, a.u_end), std::tuple(0.5, mlMinimiser2AtUEnd, 1));
    EXPECT_NEAR(a.v, 0.25, 1e-7);
    bend = 2.0;
    EXPECT_GT(minimise(of_length, roots, 0).value, a.value + 1.0) << "the same point, another function";
}

TEST_P(Minimiser2, StaysInWindowsWithoutWidth) {
    auto const bowl = [](Jet u, Jet v) { return square(u) + square(v) + u * v; };
    Answer const line = search(bowl, 9.0, 2.0, {1.0, 1.0, -2.0, 5.0});
    EXPECT_EQ(std::tuple(line.u, line.state, line.u_end), std::tuple(1.0, mlMinimiser2AtUEnd, order > 0 ? -1 : 1))
        << "to where it falls, as far as that is known";
    EXPECT_NEAR(line.v, -0.5, 1e-7);
    // The lowest corner of a window within the resolution, or so narrow that differences would leave it.
    double const cases[][4] = {
        {0.0, 0.0, 9.0, 1e-8}, {1e-3, 1e-3, 9.0, 0.1}, {1e-10, 1e-10, 9.0, 0.1}, {0x1p-52, 1e-13, 0.0, 1e-8}};
    for (auto const & [u_width, v_width, start, resolution] : cases) {
        Answer const a = search(bowl, start, start, {1.0, 1.0 + u_width, 2.0, 2.0 + v_width}, resolution);
        EXPECT_EQ(std::tuple(a.u, a.v, a.state), std::tuple(1.0, 2.0, mlMinimiser2AtCorner)) << u_width;
    }
}

TEST_P(Minimiser2, GoesByTheScalesOfTheParametersAndFindsKinks) {
    for (double const scale : {1e-8, 1e-3, 1e3, 1e8}) {
        auto const f = [&](Jet u, Jet v) { return square(u * scale - 1.0) + square(v * (1.0 / scale) - 2.0); };
        Answer const a = search(f, 0.0, 0.0, {}, 1e-10);
        EXPECT_TRUE(order == 0 || std::hypot(a.u * scale - 1.0, a.v / scale - 2.0) < 1e-9) << scale;
    }
    Answer const floor = search([](Jet u, Jet v) { return square(u + v); }, 0.75, 0.75);
    EXPECT_LT(floor.value, 1e-15);
    EXPECT_LT(order < 2 ? 0.0 : std::hypot(floor.u, floor.v), 1e-7) << "not the valley's nearest point";
    for (double const slant : {0.0, 0.4}) {
        auto const f = [&](Jet u, Jet v) { return magnitude(u + slant * v - 0.5) + 0.1 * magnitude(u - v); };
        EXPECT_TRUE(order > 0 || search(f, 2.0, 2.0, {}, 1e-6).value < 1e-5) << slant;
    }
}

TEST_P(Minimiser2, FindsFeetOnATorusAndACircleAndConvergesWithLargeResiduals) {
    auto const to_torus = [](double x, double y, double z) { // of radii 3 and 1
        return [=](Jet u, Jet v) {
            Jet const radius = 3.0 + cos(v);
            return std::vector{radius * cos(u) - x, radius * sin(u) - y, sin(v) - z};
        };
    };
    int const most_calls[] = {110, 35, 60};
    double const points[][3] = {{5.0, 1.0, 1.0}, {3.5, 0.5, 0.2}, {1.0, 1.0, 3.0}, {0.1, 0.2, 0.5}, {-4.0, 2.0, -1.0}};
    for (auto const & [x, y, z] : points) {
        Answer const a = search(to_torus(x, y, z), 0.5, 0.5);
        double const from_centre = std::hypot(std::hypot(x, y) - 3.0, z); // line of the tube
        EXPECT_NEAR(std::sqrt(a.value), std::fabs(from_centre - 1.0), 1e-9) << x;
        EXPECT_EQ(a.state, mlMinimiser2Converged) << x;
        EXPECT_LE(a.calls, most_calls[order]) << x;
    }
    Answer const on_axis = search(to_torus(0.0, 0.0, 0.0), 0.5, 2.5); // where all u are alike
    EXPECT_NEAR(on_axis.value, 4.0, 1e-12);
    EXPECT_LE(on_axis.calls, 40);
    EXPECT_NEAR(search(to_torus(3.0, 0.0, 9.0), 0.0, -1.5).value, 64.0, 1e-12) << "v = pi/2";
    // The far side of a circle: the gradient is zero, and the Jacobian does not tell a maximum.
    auto const circle = [](Jet u, Jet v) { return std::vector{cos(u) - 2.0, sin(u), v}; };
    EXPECT_NEAR(search(circle, 3.14159265358979323846, 0.0, {-9.0, 9.0, -1.0, 1.0}).value, 1.0, 1e-12);
    auto const freudenstein_roth = [](Jet u, Jet v) {
        return std::vector{u + ((5.0 - v) * v - 2.0) * v - 13.0, u + ((v + 1.0) * v - 14.0) * v - 29.0};
    };
    Answer const end = search(freudenstein_roth, 0.5, -2.0);
    EXPECT_LT(std::hypot(end.value - 48.98425367924, 0.01 * (end.v + 0.89680525327)), 1e-9);
    EXPECT_LE(end.calls, 60);
}

} // namespace
