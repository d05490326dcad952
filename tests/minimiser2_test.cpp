#include <functional>

#include "tests/support/test.h"

namespace {

/// A value with its first and second partial derivatives by u and v.
struct Jet {
    double f, u = 0.0, v = 0.0, uu = 0.0, uv = 0.0, vv = 0.0;

    Jet(double constant) : f(constant) {}
    Jet(double f_, double u_, double v_, double uu_, double uv_, double vv_)
        : f(f_), u(u_), v(v_), uu(uu_), uv(uv_), vv(vv_) {}

    double derivative(int u_order, int v_order) const {
        double const by_order[3][3] = {{f, v, vv}, {u, uv, mlNoDerivative}, {uu, mlNoDerivative, mlNoDerivative}};
        return by_order[u_order][v_order];
    }
};

Jet operator+(Jet const & a, Jet const & b) {
    return {a.f + b.f, a.u + b.u, a.v + b.v, a.uu + b.uu, a.uv + b.uv, a.vv + b.vv};
}
Jet operator*(Jet const & a, Jet const & b) {
    return {a.f * b.f,
            a.u * b.f + a.f * b.u,
            a.v * b.f + a.f * b.v,
            a.uu * b.f + 2.0 * a.u * b.u + a.f * b.uu,
            a.uv * b.f + a.u * b.v + a.v * b.u + a.f * b.uv,
            a.vv * b.f + 2.0 * a.v * b.v + a.f * b.vv};
}
Jet operator-(Jet const & a, Jet const & b) { return a + -1.0 * b; }
Jet square(Jet const & a) { return a * a; }

double const unbounded = mlUnboundedMax, endless = -1e100;

struct Window {
    double u_min = -unbounded, u_max = unbounded, v_min = -unbounded, v_max = unbounded;

    /// The point of the window that is nearest to (u, v).
    std::pair<double, double> clamp(double u, double v) const {
        return {std::clamp(u, u_min, u_max), std::clamp(v, v_min, v_max)};
    }
};

using Jets = std::vector<Jet>;
using Formula = std::function<Jets(Jet, Jet)>;

/// A value, or a vector whose squared length is one, on a window. It may not be called outside of this, but its domain
/// may go on.
struct Watched : mlFunction2, mlFunctionN {
    Watched(Formula const & f, Window const & w, int order) : formula(f), window(w) {
        highest_derivative_order = order;
        input_dimension = 2;
        output_dimension = static_cast<int>(f(0.0, 0.0).size());
    }

    Jets at(double u, double v) const {
        ++calls;
        EXPECT_EQ(std::pair(u, v), window.clamp(u, v)) << "called outside of the window";
        return formula({u, 1.0, 0.0, 0.0, 0.0, 0.0}, {v, 0.0, 1.0, 0.0, 0.0, 0.0});
    }
    static Jet total(Jets const & parts) {
        Jet sum = 0.0;
        for (Jet const & part : parts)
            sum = sum + square(part);
        return parts.size() == 1 ? parts[0] : sum;
    }

    double function(double u, double v) const override { return values.emplace_back(total(at(u, v)).f); }
    double uv_function_derivative(int i, int j, double u, double v) const override {
        EXPECT_LE(i + j, highest_derivative_order);
        return total(at(u, v)).derivative(i, j);
    }
    double u_min() const override { return domain.u_min; }
    double u_max() const override { return domain.u_max; }
    double v_min() const override { return domain.v_min; }
    double v_max() const override { return domain.v_max; }

    void function(mlSlice const & x, mlVector & y) const override {
        int orders[] = {0, 0};
        function_derivative(x, orders, y);
    }
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        Jets const row = at(x[0], x[1]);
        for (int i = 0; i < output_dimension; ++i) {
            jacobian(i, 0) = row[i].u;
            jacobian(i, 1) = row[i].v;
        }
    }
    void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const override {
        Jets const row = at(x[0], x[1]);
        for (int i = 0; i < output_dimension; ++i)
            y[i] = row[i].derivative(orders[0], orders[1]);
    }

    Formula formula;
    Window window, domain;
    mutable int calls = 0;
    mutable Values values;
};

/// Everything that a search answers.
struct Answer {
    double u, v, value;
    int found, u_end, v_end, not_converged, state, iterations, calls;
};

/// A search by a minimiser of the function that is watched, with limits where they are given.
Answer minimise(mlBaseMinimiser2 & m, Watched const & f, int limit = 100, double absolute_minimum = nan_value) {
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
    Answer search_vector(Formula const & f, double u, double v, Window const & window, double resolution = 1e-8) const {
        Watched const watched(f, window, order);
        mlVectorMinimiser2 m(watched, u, v, resolution, order);
        return minimise(m, watched);
    }
};
INSTANTIATE_TEST_SUITE_P(ByDerivatives, Minimiser2, testing::Values(0, 1, 2));

Formula valley(double steepness) {
    return [=](Jet const & u, Jet const & v) { return Jets{steepness * (v - u * u), 1.0 - u}; };
}
Formula nearest_to(double x, double y, double z) { // on a paraboloid
    return [=](Jet const & u, Jet const & v) { return Jets{u - x, v - y, u * u + v * v - z}; };
}
Formula scaled(double s) {
    return [=](Jet const & u, Jet const & v) { return Jets{s * u - 1.0, 1.0 / s * v - 2.0}; };
}
Jets raised(Jet const & u, Jet const & v) { return {1e3, 10.0 * (v - u * u), 1.0 - u}; }
Jets hs3(Jet const & u, Jet const & v) { return {v + 1e-5 * square(v - u)}; }
Jets himmelblau(Jet const & u, Jet const & v) { return {u * u + v - 11.0, u + v * v - 7.0}; }
Jets freudenstein_roth(Jet const & u, Jet const & v) {
    return {u + ((5.0 - v) * v - 2.0) * v - 13.0, u + ((v + 1.0) * v - 14.0) * v - 29.0};
}
Jets fourth_powers(Jet const & u, Jet const & v) { return {u * u, v * v}; }
Jets constant(Jet const &, Jet const &) { return {3.0}; }
Jets slope(Jet const & u, Jet const & v) { return {u - 2.0 * v}; }
Jets saddle(Jet const & u, Jet const & v) { return {u * u - v * v}; }
Jets monkey_saddle(Jet const & u, Jet const & v) { return {u * u * u - 3.0 * u * v * v}; }
Jets hill(Jet const & u, Jet const & v) { return {square(v) - square(square(u))}; }
Jets slanted(Jet const & u, Jet const & v) { return {square(u + 2.0 * v) - square(square(u)) - square(square(v))}; }
Jet jet(double f, double first, double second) { return {f, first, first, second, second, second}; }
Jets untold(Jet const & u, Jet const & v) {
    Jet const f = 100.0 * square(v - u * u) + square(1.0 - u);
    return {{f.f, f.u, f.v, mlNoDerivative, mlNoDerivative, mlNoDerivative}};
}
Jets nan_beyond(Jet const & u, Jet const & v) {
    bool const beyond = u.f > 1.5 || v.f < -1.0;
    return {beyond ? jet(nan_value, nan_value, nan_value) : square(u - 1.0) + square(square(v - 1.0) + u)};
}

struct Problem {
    char const * name;
    Formula f;
    double u0, v0;
    Window window;
    double lowest;   ///< the value at the minimum that is to be found, or `endless` where it falls for ever
    int calls[2][3]; ///< as a function or a vector, by order; a slip in the method costs or saves calls before results
};

// Hock & Schittkowski 1 to 3, the usual ones of global optimisation, saddles, feet and functions that fall for ever,
// each from a start whose minimum is known.
Problem const problems[] = {
    {"HS1", valley(10.0), -2.0, 1.0, {-unbounded, unbounded, -1.5, unbounded}, 0.0, {{90, 71, 63}, {90, 11, 63}}},
    {"HS2", valley(10.0), -2.0, 1.0, {-9.0, unbounded, 1.5, unbounded}, 4.941229318, {{45, 59, 55}, {45, 12, 58}}},
    {"HS3", hs3, 10.0, 1.0, {-unbounded, unbounded, 0.0, unbounded}, 0.0, {{20, 14, 12}}},
    {"Rosenbrock", valley(10.0), -1.2, 1.0, {}, 0.0, {{60, 54, 48}, {60, 9, 48}}},
    {"Raised", raised, -1.2, 1.0, {}, 1e6, {{54, 52, 46}, {54, 9, 46}}},
    {"Untold", untold, -1.2, 1.0, {}, 0.0, {{60, 54, 57}}},
    {"Himmelblau", himmelblau, 0.0, 0.0, {-5.0, 5.0, -5.0, 5.0}, 0.0, {{49, 44, 41}, {49, 16, 41}}},
    {"FreudensteinRoth", freudenstein_roth, 0.5, -2.0, {}, 48.98425367924, {{55, 46, 40}, {55, 36, 40}}},
    {"FourthPowers", fourth_powers, 1.7, 2.2, {}, 0.0, {{242, 232, 18}, {242, 84, 22}}},
    {"FootFromAxis", nearest_to(0.0, 0.0, 3.0), 0.5, 2.5, {}, 2.75, {{51, 29, 35}, {51, 14, 35}}},
    {"TopOfAxis", nearest_to(0.0, 0.0, 3.0), 0.0, 0.0, {}, 2.75, {{69, 40, 45}, {69, 28, 45}}},
    {"Scaled1e8", scaled(1e8), 0.0, 0.0, {}, 0.0, {{107, 34, 36}, {99, 20, 36}}},
    {"Constant", constant, 0.5, 0.5, {}, 3.0, {{30, 31, 30}}},
    {"NaNBeyond", nan_beyond, -2.0, 3.0, {-4.0, 4.0, -4.0, 4.0}, 0.5, {{46, 40, 43}}},
    {"Saddle", saddle, 0.0, 0.0, {-1.0, 1.0, -1.0, 1.0}, -1.0, {{13, 10, 12}}},
    {"SaddleOnAnEnd", saddle, 0.5, 0.0, {0.25, 1.0, -1.0, 1.0}, -0.9375, {{9, 10, 12}}},
    {"MonkeySaddle", monkey_saddle, 0.0, 0.0, {-1.0, 1.0, -1.0, 1.0}, -1.0, {{54, 20, 20}}},
    {"HillOfAnEnd", hill, 0.0, 0.5, {0.0, 1.0, -1.0, 1.0}, -1.0, {{17, 10, 25}}},
    {"HillOfAnUpperEnd", hill, 0.0, 0.5, {-1.0, 0.0, -1.0, 1.0}, -1.0, {{17, 10, 25}}},
    {"FlatAlongALine", slanted, 0.0, 0.0, {-1.0, 1.0, -1.0, 1.0}, -1.09016994374947, {{34, 34, 43}}},
    {"EndlessSlope", slope, 1.0, 1.0, {}, endless, {{307, 142, 141}}},
    {"EndlessMonkeySaddle", monkey_saddle, 1.0, 1.0, {}, endless, {{360, 123, 160}}},
};

TEST_P(Minimiser2, SolvesEachProblemInItsCalls) {
    for (Problem const & p : problems)
        for (bool const as_vector : {false, true}) {
            if (as_vector && p.f(0.0, 0.0).size() == 1) continue;
            Answer const a = as_vector ? search_vector(p.f, p.u0, p.v0, p.window) : search(p.f, p.u0, p.v0, p.window);
            SCOPED_TRACE(testing::Message() << p.name << " at " << a.u << ", " << a.v << (as_vector ? ", vector" : ""));
            EXPECT_EQ(a.calls, p.calls[as_vector][order]);
            EXPECT_EQ(a.state == mlMinimiser2Failed, p.lowest == endless);
            EXPECT_LE(a.value, p.lowest + 1e-15 * p.lowest + (order == 0 ? 1e-7 : 1e-10));
        }
}

TEST_P(Minimiser2, StopsAtTheCallThatMeetsTheAbsoluteMinimum) {
    for (Problem const & p : problems) {
        SCOPED_TRACE(p.name);
        auto const solve = [&](Watched const & f, double absolute_minimum) {
            mlMinimiser2 m(f, p.u0, p.v0, 1e-8);
            return minimise(m, f, 100, absolute_minimum);
        };
        Watched const whole(p.f, p.window, order);
        solve(whole, nan_value);
        for (double const least : whole.values) { // those met by differences, too
            if (std::isnan(least)) continue;
            Watched const f(p.f, p.window, order);
            Answer const a = solve(f, least);
            EXPECT_EQ(a.state, mlMinimiser2AbsoluteMinimum) << least;
            auto const met = std::find_if(f.values.begin(), f.values.end(), [&](double x) { return x <= least; });
            ASSERT_EQ(met - f.values.begin() + 1, std::ssize(f.values)) << least;
            double const there = Watched::total(p.f(a.u, a.v)).f;
            EXPECT_EQ(std::pair(a.value, there), std::pair(*met, *met)) << "not where it is met";
        }
    }
}

TEST_P(Minimiser2, FollowsValleysToTheirEndsFromEverywhere) {
    int const calls[][3] = {{227513, 200855, 139713}, {227513, 26556, 141084}};
    int all[] = {0, 0};
    for (double const steepness : {1e1, 1e2, 1e3})
        for (double const resolution : {1e-2, 1e-3, 1e-6})
            for (int i = 0; i < 289; ++i) {
                double const u = 0.25 * (i / 17) - 2.0, v = 0.25 * (i % 17) - 2.0;
                Window const box{-2.0, 2.0, -2.0, 2.0};
                Answer const a[] = {search(valley(steepness), u, v, box, resolution),
                                    search_vector(valley(steepness), u, v, box, resolution)};
                SCOPED_TRACE(testing::Message() << steepness << ", " << resolution << " from " << u << ", " << v);
                for (int k : {0, 1}) { // by values alone the floor is known to 3e-9
                    EXPECT_EQ(a[k].state, mlMinimiser2Converged);
                    EXPECT_LT(a[k].value, std::max(1e-3 * resolution, 3e-9));
                    all[k] += a[k].calls;
                }
            }
    for (int k : {0, 1})
        EXPECT_EQ(all[k], calls[k][order]) << k;
}

TEST_P(Minimiser2, ReportsEndsBeyondWhichTheDomainGoesOn) {
    int const states[][2] = {{mlMinimiser2Converged, mlMinimiser2AtVEnd}, {mlMinimiser2AtUEnd, mlMinimiser2AtCorner}};
    for (double const a : {-9.0, -0.5, 0.0, 0.5, 9.0})
        for (double const b : {-9.0, -0.5, 0.0, 0.5, 9.0}) { // a bowl whose bottom the slopes move, far or not at all
            auto const bowl = [&](Jet u, Jet v) { return Jets{square(u) + 2.0 * square(v) + a * u + b * v}; };
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
        auto const gentle = [&](Jet u, Jet v) {
            return Jets{u * (0.1 * side + u * (0.5 + 1.0 / 6.0 * side * u)) + square(v)};
        };
        Answer const a = search(gentle, 0.5 * side, 0.2, {std::min(0.0, side), std::max(0.0, side), -1.0, 1.0}, 0.5);
        EXPECT_EQ(std::tuple(a.u, a.state, a.u_end), std::tuple(0.0, mlMinimiser2AtUEnd, -side));
    }
}

TEST_P(Minimiser2, NeverConvergesOnNumbersThatAreNone) {
    for (double const none : {nan_value, infinity, -infinity}) {
        auto const always = [&](Jet, Jet) { return Jets{jet(none, none, none)}; };
        EXPECT_EQ(search(always, 0.5, 0.5, {0.0, 1.0, 0.0, unbounded}).state, mlMinimiser2Failed) << none;
    }
    EXPECT_EQ(search(saddle, nan_value, 0.5).calls, 0);
    for (double const none : {nan_value, mlNoDerivative}) {
        auto const bowl = [&](Jet u, Jet v) { return Jets{jet((square(u - 0.3) + square(v)).f, none, none)}; };
        EXPECT_LT(search(bowl, 1.0, 1.0).value, 1e-14) << "values alone will do";
    }
    EXPECT_NE(search(nan_beyond, 3.0, -3.0, {-4.0, 4.0, -4.0, 4.0}).state, mlMinimiser2Failed)
        << "numbers are looked for";
}

TEST_P(Minimiser2, GoesOnFromWhereItEndedInAnotherWindowButRemembersNothingOfTheFunction) {
    Watched f(valley(10.0), {}, order);
    mlVectorMinimiser2 m(f, -1.2, 1.0, 1e-8, order);
    Answer const first = minimise(m, f, 2);
    EXPECT_EQ(std::pair(first.iterations, first.state), std::pair(2, 0 + mlMinimiser2Failed));
    f.window = {-unbounded, unbounded, first.v + 0.5, 4.0};
    Answer const clamped = minimise(m, f, 0);
    EXPECT_EQ(std::tuple(clamped.u, clamped.v, clamped.calls), std::tuple(first.u, first.v + 0.5, 1));
    f.window = {-1.0, 0.5, -2.0, 2.0};
    Answer const a = minimise(m, f);
    EXPECT_EQ(std::tuple(a.u, a.state, a.u_end), std::tuple(0.5, mlMinimiser2AtUEnd, 1));
    EXPECT_NEAR(a.v, 0.25, 1e-7);
    f.formula = himmelblau;
    EXPECT_GT(minimise(m, f, 0).value, a.value + 1.0) << "the same point, another function";
}

TEST_P(Minimiser2, StaysInWindowsWithoutWidthAndAtTheNearestOfEqualPoints) {
    auto const bowl = [](Jet u, Jet v) { return Jets{square(u) + square(v) + u * v}; };
    Answer const line = search(bowl, 9.0, 2.0, {1.0, 1.0, -2.0, 5.0});
    EXPECT_EQ(std::tuple(line.u, line.state, line.u_end), std::tuple(1.0, mlMinimiser2AtUEnd, order > 0 ? -1 : 1))
        << "to where it falls, as far as that is known";
    EXPECT_EQ(line.calls, order == 2 ? 12 : 11);
    EXPECT_NEAR(line.v, -0.5, 1e-7);
    // The lowest corner of a window within the resolution, or so narrow that differences would leave it.
    double const cases[][4] = {
        {0.0, 0.0, 9.0, 1e-8}, {1e-3, 1e-3, 9.0, 0.1}, {1e-10, 1e-10, 9.0, 0.1}, {0x1p-52, 1e-13, 0.0, 1e-8}};
    for (auto const & [u_width, v_width, start, resolution] : cases) {
        Answer const a = search(bowl, start, start, {1.0, 1.0 + u_width, 2.0, 2.0 + v_width}, resolution);
        EXPECT_EQ(std::tuple(a.u, a.v, a.state), std::tuple(1.0, 2.0, mlMinimiser2AtCorner)) << u_width;
    }
    Answer const floor = search([](Jet u, Jet v) { return Jets{square(u + v)}; }, 0.75, 0.75);
    EXPECT_LT(order < 2 ? 0.0 : std::hypot(floor.u, floor.v), 1e-7) << "not the nearest point of the valley";
}

} // namespace
