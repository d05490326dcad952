#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "maths/maths.h"
#include "tests/support/jets.h"

namespace {

double const unbounded = mlUnboundedMax;
double const nan = std::numeric_limits<double>::quiet_NaN();

struct Window {
    double u_min = -unbounded, u_max = unbounded, v_min = -unbounded, v_max = unbounded;
};

using Formula = std::function<Jet(Jet, Jet)>;
using Formulas = std::function<std::vector<Jet>(Jet, Jet)>;

Jet u_at(double u) { return {u, 1.0, 0.0, 0.0, 0.0, 0.0}; }
Jet v_at(double v) { return {v, 0.0, 1.0, 0.0, 0.0, 0.0}; }

/// Counts the calls of a function, none of which may lie outside the window, and keeps its values.
struct Watch {
    Window window;
    mutable int calls = 0;
    mutable std::vector<double> values;

    explicit Watch(Window const & w) : window(w) {}
    void see(double u, double v) const {
        ++calls;
        EXPECT_TRUE(window.u_min <= u && u <= window.u_max && window.v_min <= v && v <= window.v_max)
            << "called at " << u << ", " << v;
    }
};

/// A function on a window, beyond which its domain may go on.
struct Watched : mlFunction2, Watch {
    Watched(Formula formula, Window const & w, int order, Window const & its_domain = {})
        : Watch(w), f(std::move(formula)), domain(its_domain) {
        highest_derivative_order = order;
    }
    double function(double u, double v) const override {
        see(u, v);
        return values.emplace_back(f(u, v).f);
    }
    double uv_function_derivative(int i, int j, double u, double v) const override {
        see(u, v);
        EXPECT_LE(i + j, highest_derivative_order);
        return f(u_at(u), v_at(v)).derivative(i, j);
    }
    double u_min() const override { return domain.u_min; }
    double u_max() const override { return domain.u_max; }
    double v_min() const override { return domain.v_min; }
    double v_max() const override { return domain.v_max; }

    Formula f;
    Window domain;
};

/// A vector-valued function on a window; its values are squared lengths.
struct WatchedVector : mlFunctionN, Watch {
    explicit WatchedVector(Formulas formulas, Window const & w = {}) : Watch(w), f(std::move(formulas)) {
        input_dimension = 2;
        output_dimension = static_cast<int>(f(0.0, 0.0).size());
    }
    std::vector<Jet> at(mlSlice const & x) const {
        see(x[0], x[1]);
        return f(u_at(x[0]), v_at(x[1]));
    }
    void function(mlSlice const & x, mlVector & y) const override {
        int orders[] = {0, 0};
        function_derivative(x, orders, y);
        values.push_back(y.modulus_squared());
    }
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        std::vector<Jet> const row = at(x);
        for (int i = 0; i < output_dimension; ++i)
            jacobian(i, 0) = row[i].u, jacobian(i, 1) = row[i].v;
    }
    void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const override {
        std::vector<Jet> const row = at(x);
        for (int i = 0; i < output_dimension; ++i)
            y[i] = row[i].derivative(orders[0], orders[1]);
    }

    Formulas f;
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
        EXPECT_EQ(not_converged, state == mlMinimiser2Failed);
        EXPECT_EQ(found, not_converged == 0 && u_end == 0 && v_end == 0);
        EXPECT_TRUE((u_end == 0 && v_end == 0) || (state >= mlMinimiser2AtUEnd && state <= mlMinimiser2AtCorner));
    }
    bool operator==(Answer const & a) const = default;
};

/// A search by a minimiser of the function that is watched, with limits where they are given.
Answer search(mlBaseMinimiser2 & m, Watch const & f, int limit = 100, double absolute_minimum = nan) {
    m.set_window(f.window.u_min, f.window.u_max, f.window.v_min, f.window.v_max);
    m.set_max_iterations(limit);
    m.set_absolute_minimum(absolute_minimum);
    int const before = f.calls;
    Answer const a(m);
    EXPECT_EQ(a.calls, f.calls - before);
    return a;
}

Answer search(Formula const & f, double u0, double v0, Window const & window, int order, double resolution = 1e-8,
              Window const & domain = {}) {
    Watched const watched(f, window, order, domain);
    mlMinimiser2 m(watched, u0, v0, resolution);
    return search(m, watched);
}

Answer search(Formulas const & f, double u0, double v0, Window const & window, int order, double resolution = 1e-8) {
    WatchedVector const watched(f, window);
    mlVectorMinimiser2 m(watched, u0, v0, resolution, order);
    return search(m, watched);
}

Jet rosenbrock(Jet const & u, Jet const & v) { return 100.0 * square(v - u * u) + square(1.0 - u); }
Jet himmelblau(Jet const & u, Jet const & v) { return square(u * u + v - 11.0) + square(u + v * v - 7.0); }
Jet beale(Jet const & u, Jet const & v) {
    return square(1.5 - u + u * v) + square(2.25 - u + u * v * v) + square(2.625 - u + u * v * v * v);
}
Jet mccormick(Jet const & u, Jet const & v) { return sin(u + v) + square(u - v) - 1.5 * u + 2.5 * v + 1.0; }
Jet hs3(Jet const & u, Jet const & v) { return v + 1e-5 * square(v - u); }
Jet hs4(Jet const & u, Jet const & v) { return 1.0 / 3.0 * (u + 1.0) * square(u + 1.0) + v; }
Jet fourth_powers(Jet const & u, Jet const & v) { return square(square(u)) + square(square(v)); }
Jet slope(Jet const & u, Jet const & v) { return u - 2.0 * v; }
Jet saddle(Jet const & u, Jet const & v) { return u * u - v * v; }
Jet monkey_saddle(Jet const & u, Jet const & v) { return u * u * u - 3.0 * u * v * v; }
Jet raised(Jet const & u, Jet const & v) { return 1e6 + rosenbrock(u, v); }
Jet nan_beyond(Jet const & u, Jet const & v) {
    return u.f > 1.5 || v.f < -1.0 ? Jet(nan, nan, nan, nan, nan, nan) : square(u - 1.0) + square(square(v - 1.0) + u);
}

struct Problem {
    char const * name;
    Jet (*f)(Jet const &, Jet const &);
    double u0, v0;
    Window window;
    double resolution;
    double lowest;     ///< the value at the minimum that is to be found
    int most_calls[3]; ///< by order
};

// Hock & Schittkowski 1 to 5, and the usual ones of global optimisation, each from a start whose minimum is known.
Problem const problems[] = {
    {"HS1", rosenbrock, -2.0, 1.0, {-unbounded, unbounded, -1.5, unbounded}, 1e-8, 0.0, {90, 71, 63}},
    {"HS2", rosenbrock, -2.0, 1.0, {-unbounded, unbounded, 1.5, unbounded}, 1e-8, 4.9412293179852, {45, 59, 55}},
    {"HS3", hs3, 10.0, 1.0, {-unbounded, unbounded, 0.0, unbounded}, 1e-8, 0.0, {20, 14, 12}},
    {"HS4", hs4, 1.125, 0.125, {1.0, unbounded, 0.0, unbounded}, 1e-8, 8.0 / 3.0, {9, 10, 12}},
    {"HS5", mccormick, 0.0, 0.0, {-1.5, 4.0, -3.0, 3.0}, 1e-8, -1.9132229549810367, {31, 31, 29}},
    {"HS5Coarse", mccormick, 0.0, 0.0, {-1.5, 4.0, -3.0, 3.0}, 1e-3, -1.9132229549810367, {27, 29, 24}},
    {"Rosenbrock", rosenbrock, -1.2, 1.0, {}, 1e-8, 0.0, {60, 54, 48}},
    {"RosenbrockRaised", raised, -1.2, 1.0, {}, 1e-8, 1e6, {54, 52, 46}},
    {"Himmelblau", himmelblau, 0.0, 0.0, {-5.0, 5.0, -5.0, 5.0}, 1e-8, 0.0, {49, 44, 41}},
    {"Beale", beale, 1.0, 1.0, {-4.5, 4.5, -4.5, 4.5}, 1e-8, 0.0, {91, 67, 47}},
    {"HimmelblauCoarse", himmelblau, 0.0, 0.0, {-5.0, 5.0, -5.0, 5.0}, 1e-2, 0.0, {38, 40, 35}},
    {"FourthPowers", fourth_powers, 1.7, 2.2, {}, 1e-8, 0.0, {242, 232, 18}},
    {"FourthPowersCoarse", fourth_powers, 2.0, 1.0, {-1.0, 2.0, -3.0, 1.0}, 1e-6, 0.0, {148, 227, 18}},
    {"NaNBeyond", nan_beyond, -2.0, 3.0, {-4.0, 4.0, -4.0, 4.0}, 1e-8, 0.5, {46, 40, 43}},
    {"Slope", slope, 0.3, 0.4, {0.0, 1.0, 0.0, 1.0}, 1e-8, -2.0, {10, 10, 12}},
};

Answer search(Problem const & p, Watched const & f, int limit = 100, double absolute_minimum = nan) {
    mlMinimiser2 m(f, p.u0, p.v0, p.resolution);
    return search(m, f, limit, absolute_minimum);
}

TEST(Minimiser2, SolvesEachProblemWithinItsCallsWithEachOrderOfDerivatives) {
    for (Problem const & p : problems)
        for (int order : {0, 1, 2}) {
            Watched const f(p.f, p.window, order), again(p.f, p.window, order);
            Answer const a = search(p, f);
            SCOPED_TRACE(testing::Message() << p.name << ", order " << order << ", at " << a.u << ", " << a.v);
            EXPECT_NE(a.state, mlMinimiser2Failed);
            EXPECT_LE(a.calls, p.most_calls[order]);
            EXPECT_TRUE(search(p, again) == a) << "another answer, for the same search";
            EXPECT_TRUE(p.f != raised || order == 0 || std::hypot(a.u - 1.0, a.v - 1.0) < 1e-7) << "lost digits";
            EXPECT_NEAR(a.value, p.lowest, p.resolution * (order == 0 ? 10.0 : 1e-2) + 1e-15 * p.lowest);
            // No lower value lies a few resolutions down the slope, within the window.
            Jet const g = p.f(u_at(a.u), v_at(a.v));
            for (double const resolutions : {3.0, 5.0}) {
                double const step = resolutions * p.resolution / (std::hypot(g.u, g.v) + 1e-300);
                double const u = std::clamp(a.u - step * g.u, p.window.u_min, p.window.u_max);
                double const v = std::clamp(a.v - step * g.v, p.window.v_min, p.window.v_max);
                EXPECT_GE(p.f(u, v).f, a.value - 1e-14 * std::fabs(a.value) - 1e-28) << resolutions;
            }
        }
}

TEST(Minimiser2, NeverRisesWithAnotherIterationAndStopsAtTheCallThatMeetsTheAbsoluteMinimum) {
    for (Problem const & p : problems)
        for (int order : {0, 1, 2}) {
            Watched const whole(p.f, p.window, order);
            Answer const end = search(p, whole);
            double const start = whole.values[0];
            double last = start;
            for (int limit = 0; limit <= end.iterations; ++limit) {
                Answer const a = search(p, Watched(p.f, p.window, order), limit);
                SCOPED_TRACE(testing::Message() << p.name << ", order " << order << ", limit " << limit);
                EXPECT_LE(a.value, last);
                EXPECT_TRUE(a.iterations == limit && a.not_converged == (limit < end.iterations));
                EXPECT_TRUE(limit > 0 || (a.u == std::clamp(p.u0, p.window.u_min, p.window.u_max) &&
                                          a.v == std::clamp(p.v0, p.window.v_min, p.window.v_max) && a.calls == 1));
                last = a.value;
            }
            double const lowest = *std::min_element(whole.values.begin(), whole.values.end()), way = end.value - start;
            for (double const least : {start, start + 0.3 * way, start + 0.9 * way, lowest}) {
                Watched const f(p.f, p.window, order);
                Answer const a = search(p, f, 100, least);
                SCOPED_TRACE(testing::Message() << p.name << ", order " << order << ", least " << least);
                EXPECT_EQ(a.state, mlMinimiser2AbsoluteMinimum);
                auto const met = std::find_if(f.values.begin(), f.values.end(), [&](double x) { return x <= least; });
                ASSERT_EQ(met - f.values.begin() + 1, std::ssize(f.values));
                EXPECT_TRUE(a.value == *met && p.f(a.u, a.v).f == a.value);
            }
        }
}

TEST(Minimiser2, FollowsValleysToTheirEndsFromEverywhere) {
    Window const box{-2.0, 2.0, -2.0, 2.0};
    int const mean_calls[][3] = {{124, 98, 60}, {126, 11, 61}}, most_calls[][3] = {{650, 240, 230}, {650, 42, 230}};
    for (double const scale : {1e2, 1e4, 1e6})
        for (double const resolution : {1e-2, 1e-3, 1e-6})
            for (int order : {0, 1, 2}) {
                auto const f = [&](Jet u, Jet v) { return scale * square(v - u * u) + square(1.0 - u); };
                auto const roots = [&](Jet u, Jet v) {
                    return std::vector<Jet>{std::sqrt(scale) * (v - u * u), 1.0 - u};
                };
                SCOPED_TRACE(testing::Message() << scale << ", resolution " << resolution << ", order " << order);
                int calls[] = {0, 0};
                for (int i = 0; i < 289; ++i) {
                    double const u = 0.25 * (i / 17) - 2.0, v = 0.25 * (i % 17) - 2.0;
                    Answer const a[] = {search(f, u, v, box, order, resolution),
                                        search(roots, u, v, box, order, resolution)};
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

TEST(Minimiser2, ReportsEndsBeyondWhichTheDomainGoesOn) {
    Window const window{-1.0, 1.0, -1.5, 1.25};
    int const states[][2] = {{mlMinimiser2Converged, mlMinimiser2AtVEnd}, {mlMinimiser2AtUEnd, mlMinimiser2AtCorner}};
    for (double const a : {-9.0, -0.5, 0.0, 0.5, 9.0})
        for (double const b : {-9.0, -0.5, 0.0, 0.5, 9.0})
            for (int order : {0, 1, 2}) { // a bowl whose bottom the slopes move, far or not at all
                auto const f = [&](Jet u, Jet v) { return square(u) + 2.0 * square(v) + a * u + b * v; };
                Answer const open = search(f, 0.3, 0.1, window, order);
                SCOPED_TRACE(testing::Message() << "slopes " << a << ", " << b << ", order " << order);
                int const u_end = a > 1.0 ? -1 : a < -1.0 ? 1 : 0, v_end = b > 1.0 ? -1 : b < -1.0 ? 1 : 0;
                EXPECT_EQ(open.state, states[std::abs(u_end)][std::abs(v_end)]);
                EXPECT_TRUE(open.u_end == u_end && (u_end == 0 || open.u == u_end));
                EXPECT_TRUE(open.v_end == v_end && (v_end == 0 || open.v == (v_end < 0 ? -1.5 : 1.25)));
                Answer const closed = search(f, 0.3, 0.1, window, order, 1e-8, window);
                EXPECT_TRUE(closed.state == open.state && closed.found == 1);
            }
    for (double const side : {1.0, -1.0}) { // the end is within the resolution
        auto const gentle = [&](Jet u, Jet v) { return exp(side * u) - 0.9 * side * u + square(v); };
        Window const half{std::min(0.0, side), std::max(0.0, side), -1.0, 1.0};
        for (int order : {0, 1, 2}) {
            Answer const a = search(gentle, 0.5 * side, 0.2, half, order, 0.5);
            EXPECT_TRUE(a.u == 0.0 && a.state == mlMinimiser2AtUEnd && a.u_end == -side) << order;
        }
    }
}

TEST(Minimiser2, LeavesSaddles) {
    Window const box{-1.0, 1.0, -1.0, 2.0};
    auto const waves = [](Jet u, Jet v) { return cos(u) * cos(v); };
    auto const slanted = [](Jet u, Jet v) { return square(u + 2.0 * v) - fourth_powers(u, v); };
    for (int order : {0, 1, 2}) {
        EXPECT_LT(search(saddle, 0.0, 0.0, box, order).value, -0.9) << order;
        EXPECT_LT(search(saddle, 0.5, 0.0, {0.25, 1.0, -1.0, 2.0}, order).value, -0.9) << "on an end, " << order;
        EXPECT_LT(search(waves, 0.0, 0.0, {}, order).value, -0.99) << order;
        EXPECT_LT(search(monkey_saddle, 0.0, 0.0, box, order).value, -0.9) << order;
        EXPECT_LT(search(slanted, 0.0, 0.0, box, order).value, -0.9) << "flat along a slanted line, " << order;
    }
    EXPECT_LT(search([](Jet u, Jet v) { return u * v; }, 0.0, 0.0, {0.0, 1.0, -1.0, 0.0}, 2).value, -0.9) << "a corner";
}

TEST(Minimiser2, NeverConvergesOnNumbersThatAreNone) {
    for (double const value : {nan, HUGE_VAL, -HUGE_VAL})
        for (int order : {0, 1, 2}) {
            auto const f = [&](Jet, Jet) { return Jet(value, value, value, value, value, value); };
            EXPECT_EQ(search(f, 0.5, 0.5, {0.0, 1.0, 0.0, unbounded}, order).state, mlMinimiser2Failed);
        }
    EXPECT_EQ(search(saddle, nan, 0.5, {}, 2).calls, 0);
    EXPECT_LE(search([](Jet, Jet) { return Jet(3.0); }, 0.5, 0.5, {}, 0).calls, 30) << "a constant";
    auto const slopes_of = [](double none) { // NaN, or what says that there are no derivatives
        return [=](Jet u, Jet v) { return Jet((square(u - 0.3) + square(v)).f, none, none, none, none, none); };
    };
    EXPECT_LT(search(slopes_of(nan), 1.0, 1.0, {}, 2, 1e-4).value, 1e-7) << "values alone will do";
    EXPECT_LT(search(slopes_of(mlNoDerivative), 1.0, 1.0, {}, 2).value, 1e-14);
    Answer const from_outside = search(nan_beyond, 3.0, -3.0, {-4.0, 4.0, -4.0, 4.0}, 2);
    EXPECT_NE(from_outside.state, mlMinimiser2Failed) << "numbers are looked for";
}

TEST(Minimiser2, EndsWhereTheFunctionFallsForEver) {
    Formula const falling[] = {slope, saddle, monkey_saddle, [](Jet u, Jet v) { return v * v - log(1.0 + u * u); }};
    for (int order : {0, 1, 2}) {
        for (Formula const & f : falling) {
            Answer const a = search(f, 1.0, 1.0, {}, order);
            EXPECT_EQ(a.state, mlMinimiser2Failed);
            EXPECT_LE(a.calls, 600);
            EXPECT_TRUE(order == 0 || &f != &falling[0] || a.iterations < 100) << "left the plane late";
        }
        Answer const a = search([](Jet u, Jet v) { return 1.0 + exp(-u) + v * v; }, 0.3, 0.7, {}, order);
        EXPECT_NEAR(a.value, 1.0, 4e-15) << "roundoff hides the fall";
        EXPECT_EQ(a.state, mlMinimiser2Converged);
    }
}

TEST(Minimiser2, GoesOnFromWhereItEndedAlsoInAnotherWindow) {
    for (int order : {0, 1, 2}) {
        Watched f(rosenbrock, {}, order);
        mlMinimiser2 m(f, -1.2, 1.0, 1e-8);
        Answer const first = search(m, f, 5), same = search(m, f, 0);
        EXPECT_TRUE(same.u == first.u && same.v == first.v && same.value == first.value && same.calls == 1);
        f.window = {-unbounded, unbounded, 1.5, 2.0};
        Answer const clamped = search(m, f, 0);
        EXPECT_TRUE(clamped.u == first.u && clamped.v == 1.5);
        EXPECT_EQ(search(m, f).v_end, -1);
        f.window = {};
        EXPECT_LT(search(m, f).value, 1e-12);
    }
}

TEST(Minimiser2, StaysInWindowsWithoutWidth) {
    auto const bowl = [](Jet u, Jet v) { return square(u) + square(v) + u * v; };
    for (int order : {0, 1, 2}) {
        Answer const line = search(bowl, 9.0, 2.0, {1.0, 1.0, -2.0, 5.0}, order);
        EXPECT_TRUE(line.u == 1.0 && line.state == mlMinimiser2AtUEnd);
        EXPECT_NEAR(line.v, -0.5, 1e-7);
        EXPECT_EQ(line.u_end, order > 0 ? -1 : 1) << "to where it falls, as far as that is known";
        Answer const point = search(bowl, 9.0, 2.0, {1.0, 1.0, -2.0, -2.0}, order);
        EXPECT_TRUE(point.value == 3.0 && point.state == mlMinimiser2AtCorner);
        // The far end of a window within the resolution is the minimum where the function falls to it.
        for (double const width : {1e-3, 1e-10}) {
            Answer const a = search(bowl, 9.0, 9.0, {1.0, 1.0 + width, 2.0, 2.0 + width}, order, 0.1);
            EXPECT_TRUE(a.u == 1.0 && a.v == 2.0 && a.state == mlMinimiser2AtCorner) << order;
        }
        // Nor do differences of first derivatives or of values leave a window narrower than they are apart.
        EXPECT_EQ(search(bowl, 0.0, 0.0, {1.0, std::nextafter(1.0, 2.0), 1.0, 1.0 + 1e-13}, order).value, 3.0);
    }
}

TEST(Minimiser2, GoesByTheScalesOfTheParametersAndFindsKinks) {
    for (double const scale : {1e-8, 1e-3, 1e3, 1e8})
        for (int order : {1, 2}) {
            auto const f = [&](Jet u, Jet v) { return square(u * scale - 1.0) + square(v * (1.0 / scale) - 2.0); };
            Answer const a = search(f, 0.0, 0.0, {}, order, 1e-10);
            EXPECT_LT(std::hypot(a.u * scale - 1.0, a.v / scale - 2.0), 1e-9) << scale << ", order " << order;
        }
    for (double const slant : {0.0, 0.4}) {
        auto const f = [&](Jet u, Jet v) { return magnitude(u + slant * v - 0.5) + 0.1 * magnitude(u - v); };
        EXPECT_LT(search(f, 2.0, 2.0, {}, 0, 1e-6).value, 1e-5);
    }
}

/// From a point (x, y, z) to the torus of radii 3 and 1.
Formulas to_torus(double x, double y, double z) {
    return [=](Jet u, Jet v) {
        Jet const radius = 3.0 + cos(v);
        return std::vector<Jet>{radius * cos(u) - x, radius * sin(u) - y, sin(v) - z};
    };
}

TEST(VectorMinimiser2, FindsFeetOnATorusAndACircle) {
    double const points[][3] = {{5.0, 1.0, 1.0}, {3.5, 0.5, 0.2}, {1.0, 1.0, 3.0}, {0.1, 0.2, 0.5}, {-4.0, 2.0, -1.0}};
    int const most_calls[] = {110, 35, 60};
    for (int order : {0, 1, 2}) {
        for (auto const & [x, y, z] : points) {
            Answer const a = search(to_torus(x, y, z), 0.5, 0.5, {}, order);
            double const from_centre = std::hypot(std::hypot(x, y) - 3.0, z); // line of the tube
            EXPECT_NEAR(std::sqrt(a.value), std::fabs(from_centre - 1.0), 1e-9) << x << ", order " << order;
            EXPECT_TRUE(a.state == mlMinimiser2Converged && a.calls <= most_calls[order]) << a.calls;
        }
        Answer const on_axis = search(to_torus(0.0, 0.0, 0.0), 0.5, 2.5, {}, order); // where all u are alike
        EXPECT_NEAR(on_axis.value, 4.0, 1e-12);
        EXPECT_LE(on_axis.calls, 40);
        EXPECT_NEAR(search(to_torus(3.0, 0.0, 9.0), 0.0, -1.5, {}, order).value, 64.0, 1e-12) << "v = pi/2";
        // The far side of a circle: the gradient is zero, and the Jacobian does not tell a maximum.
        auto const circle = [](Jet u, Jet v) { return std::vector<Jet>{cos(u) - 2.0, sin(u), v}; };
        EXPECT_NEAR(search(circle, 3.14159265358979323846, 0.0, {-9.0, 9.0, -1.0, 1.0}, order).value, 1.0, 1e-12);
    }
}

TEST(VectorMinimiser2, ConvergesWithLargeResiduals) {
    for (int order : {0, 1, 2}) {
        auto const freudenstein_roth = [](Jet u, Jet v) {
            return std::vector<Jet>{u + ((5.0 - v) * v - 2.0) * v - 13.0, u + ((v + 1.0) * v - 14.0) * v - 29.0};
        };
        Answer const end = search(freudenstein_roth, 0.5, -2.0, {}, order);
        EXPECT_LT(std::hypot(end.value - 48.98425367924, 0.01 * (end.v + 0.89680525327)), 1e-9);
        EXPECT_LE(end.calls, 60);
    }
}

TEST(VectorMinimiser2, ReportsEveryEndAndRemembersNothingOfTheFunctionBetweenSearches) {
    double bend = 1.0;
    auto const valley = [&](Jet u, Jet v) { return std::vector<Jet>{10.0 * (v - bend * u * u), 1.0 - u}; };
    WatchedVector const f(valley, {-1.0, 0.5, -2.0, 2.0});
    for (int order : {0, 1, 2}) {
        mlVectorMinimiser2 m(f, -3.0, 1.0, 1e-8, order);
        bend = 1.0;
        Answer const a = search(m, f);
        EXPECT_TRUE(a.u == 0.5 && a.state == mlMinimiser2AtUEnd && a.u_end == 1 && std::fabs(a.v - 0.25) < 1e-7);
        bend = 2.0; // the same point, another function
        EXPECT_GT(search(m, f, 0).value, a.value + 1.0);
    }
}

} // namespace
