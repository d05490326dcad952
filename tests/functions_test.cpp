#include "tests/support/test.h"
#include "tests/support/traces.h"

namespace {

using Points = std::vector<Values>;
double const none = -666, far = largest_double;

TEST(ApproxDeriv, TakesTheUpperPointFirstAndDividesByTheStepEvenWhereTheDomainCutsIt) {
    TracedFunction f([](double t) { return t * t; });
    f.low = 0.75;
    f.high = 1.25;
    mlFunctionApproxDeriv const derivative(f, 0.25);
    double const cases[][3] = {{0.875, 1.125, 0.875}, // inside
                               {1.0, 1.25, 1.0},      // up to the end
                               {1.125, 1.125, 0.875}, // backward
                               {0.25, 0.5, 0.75},     // below: the upper point is not clamped there
                               {2.0, 1.25, 1.75}};    // above: nor is the lower one
    for (auto const & [t, upper, lower] : cases) {
        f.calls.clear();
        EXPECT_EQ(derivative.function(t), (upper * upper - lower * lower) / 0.25);
        EXPECT_EQ(f.calls, (std::vector<Call>{{0, upper}, {0, lower}}));
    }
    EXPECT_EQ(std::tuple(derivative.t_min(), derivative.t_max(), derivative.highest_derivative_order),
              std::tuple(0.75, 1.25, 2));
    EXPECT_EQ(derivative.function_derivative(1, 1.0), none); // a function's default
}

TEST(ApproxDeriv, OfTwoVariablesHoldsTheOtherOneFixed) {
    Points points;
    auto const value = [&points](double u, double v) {
        points.push_back({u, v});
        return u + 10 * v;
    };
    auto const gradient = [](double u, double v) { return std::array{u, v}; };
    auto const hessian = [](double u, double v) { return std::array{10 * u, 20 * u, 10 * v}; };
    mlFunction2Of const f(value, gradient, hessian, 0.0, 1.0, 2.0, 4.0);
    EXPECT_EQ(f.u_function_derivative(2, 3, 4) + f.v_function_derivative(1, 3, 4), 30 + 4);
    mlFunction2ApproxUDeriv const by_u(f, 0.5);
    mlFunction2ApproxVDeriv const by_v(f, 0.5);
    auto const domain = [](mlFunction2 const & g) { return Values{g.u_min(), g.u_max(), g.v_min(), g.v_max()}; };
    EXPECT_EQ(domain(by_u), (Values{0, 1, 2, 4}));
    EXPECT_EQ(domain(by_v), (Values{2, 4, 2, 4})) << "the range of v is returned for that of u";
    EXPECT_EQ((Values{by_u.function(0.75, 3.0), by_v.function(9.0, 3.75), by_v.uv_function_derivative(1, 1, 0.5, 3.0)}),
              (Values{1, 10, none}));
    EXPECT_EQ(points, (Points{{0.75, 3}, {0.25, 3}, {9.0, 3.75}, {9.0, 3.25}}));
}

TEST(FunctionN1, TakesDifferencesInAToldOrderOfCallsAndScalesThemOneByOne) {
    auto const rough = [](mlSlice const & x) { return std::sin(1e9 * x[0] + 3e9 * x[1]); };
    TracedFunctionN1 const f(2, rough);
    mlVector gradient(mlVectorZero, 5);
    mlMatrix hessian(mlMatrixZero, 3, 2);
    Vector const storage{3, 0.5, 3, 0.25};
    f.gradient(storage.slice(1, 2, 2), gradient);
    f.hessian(storage.slice(1, 2, 2), hessian);

    double const g = 1.19e-7, h = 1e-7;
    Points calls; // for the gradient, the triangle and the diagonal
    Values v;
    double const steps[][2] = {{-g, 0}, {g, 0}, {0, -g}, {0, g}, {-h, -h}, {h, -h}, {-h, h},
                               {h, h},  {0, 0}, {-h, 0}, {h, 0}, {0, 0},   {0, -h}, {0, h}};
    for (auto const & [i, j] : steps) {
        calls.push_back({0.5 + i, 0.25 + j});
        v.push_back(rough(mlVector(calls.back()).slice()));
    }
    EXPECT_EQ(f.points, calls);
    EXPECT_EQ(gradient.size(), 2);
    EXPECT_DOUBLE_EQ(gradient[0], (v[1] - v[0]) / (2 * g));
    EXPECT_DOUBLE_EQ(gradient[1], (v[3] - v[2]) / (2 * g));
    double const mixed = ((v[7] - v[6]) * 5e6 - (v[5] - v[4]) * 5e6) * 5e6;
    EXPECT_EQ(contents(hessian), (Values{((v[10] - v[8]) * 1e7 - (v[8] - v[9]) * 1e7) * 1e7, mixed, mixed,
                                         ((v[13] - v[11]) * 1e7 - (v[11] - v[12]) * 1e7) * 1e7}));
}

/// Two functions of two variables whose values are ten times the number of the call, plus the orders.
struct Counted : mlFunctionN {
    Counted() { input_dimension = output_dimension = 2; }
    void function(mlSlice const & at, mlVector & y) const override {
        function_derivative(at, std::array{0, 0}.data(), y);
    }
    void function_gradient(mlSlice const &, mlMatrix &) const override { FAIL() << "never to be called"; }
    void function_derivative(mlSlice const & at, int * const orders, mlVector & y) const override {
        mlFunctionN::function_derivative(at, orders, y); // which leaves y as it is
        ++calls;
        y.become(utConvert, Values{10.0 * calls + orders[0], 10.0 * calls + orders[1]}.data(), 2);
        if (at[0] == 13.0) throw std::bad_alloc();
    }
    mutable int calls = 0;
};

struct CachedFunction : testing::Test, Counted {
    /// The number of the call whose result is returned.
    int ask(double first, double second = 0.0) {
        cache.function(Vector{first, second}.slice(), y);
        return static_cast<int>(y[0]) / 10;
    }
    mlCachedFunctionN cache{this};
    Vector y = checked_build ? Vector{0, 0} : Vector{0}; // never resized
};

TEST_F(CachedFunction, RemembersTheLastArgumentUntilCancelledButNoNaNAndNoEmptyMark) {
    EXPECT_EQ(ask(0.0), 1) << "nothing is known at the start, not even at zero";
    EXPECT_EQ(ask(0.0, 5.0), 2);
    EXPECT_EQ(ask(0.0), 3) << "one argument at a time";
    cache.function(Vector{0, 0, 0, 9}.slice(2, 1, 2), y);
    EXPECT_EQ(y[0], 30.0) << "arguments are compared from the storage's beginning: start and stride are ignored";
    cache.cancel_cache();
    EXPECT_EQ(ask(0.0), 4);
    EXPECT_THROW(ask(13.0), std::bad_alloc);
    EXPECT_EQ(ask(0.0), 6) << "a call that failed leaves no result";
    for (int const call : {7, 9}) { // nor does one for a derivative, between these two
        cache.function_derivative(Vector{0, 0}.slice(), std::array{1, 0}.data(), y);
        EXPECT_EQ(y[0], 10 * call + 1);
        EXPECT_THROW(cache.function_derivative(Vector{13, 0}.slice(), std::array{1, 0}.data(), y), std::bad_alloc);
    }
    EXPECT_EQ(ask(mlUnboundedMin) + ask(mlUnboundedMin), 11 + 12);
    EXPECT_EQ(ask(0.0, nan_value) + ask(0.0, nan_value), 13 + 14);
    EXPECT_EQ(y.size(), checked_build ? 2 : 1);
}

TEST_F(CachedFunction, KeepsASlotForEachCombinationOfOrdersWhichServesTheJacobianToo) {
    Vector const zero{0, 0};
    for (int call = 0; call < 18; ++call) {
        int const slot = call % 9;
        int orders[] = {slot % 3, slot / 3};
        cache.function_derivative(zero.slice(), orders, y);
        EXPECT_EQ(y[0], 10 * (slot + 1) + orders[0]);
    }
    EXPECT_EQ(ask(0.0), 1) << "no order at all is the value";
    mlMatrix jacobian(mlMatrixZero, 3, 3);
    cache.function_gradient(zero.slice(), jacobian);
    EXPECT_EQ(contents(jacobian), (Values{21, 40, 0, 20, 41, 0, 0, 0, 0})); // the shape stays
    EXPECT_THROW(cache.function_gradient(Vector{13, 0}.slice(), jacobian), std::bad_alloc);
    cache.function_gradient(zero.slice(), jacobian);
    EXPECT_EQ(jacobian(0, 0), 111.0) << "no column that a call which failed has begun to write";
    cache.cancel_cache();
    cache.function_gradient(zero.slice(), jacobian);
    EXPECT_EQ(calls, 13);
}

TEST(FunctionOf, HasTheDerivativesAndTheDomainThatItWasGivenAndLetsExceptionsPass) {
    auto const f = [](double t) { return t != 9.0 ? t * t * t : throw t; };
    auto const df = [](double t) { return 3.0 * t * t; };
    auto const ddf = [](double t) { return 6.0 * t; };
    auto const all = [](mlFunction const & g) {
        Values values{1.0 * g.highest_derivative_order, g.t_min(), g.t_max(), g.function(2.0)};
        for (int const order : {1, 2, 3})
            values.push_back(g.function_derivative(order, 2.0));
        return values;
    };
    EXPECT_EQ(all(mlFunctionOf(f)), (Values{0, -far, far, 8, none, none, none}));
    EXPECT_EQ(all(mlFunctionOf(f, 0.0, 3.0)), (Values{0, 0, 3, 8, none, none, none}));
    EXPECT_EQ(all(mlFunctionOf(f, df, -1.0, 2.0)), (Values{1, -1, 2, 8, 12, none, none}));
    EXPECT_EQ(all(mlFunctionOf(f, df, ddf)), (Values{2, -far, far, 8, 12, 12, none}));
    EXPECT_EQ(all(mlFunctionOf(f, df, ddf, 4.0, 5.0)), (Values{2, 4, 5, 8, 12, 12, none}));
    EXPECT_THROW(static_cast<void>(mlIntegrateSimpson(1e-6, 5).integrate(mlFunctionOf(f), 0.0, 9.0)), double);
}

TEST(Function2Of, SortsItsDerivativesByTheirOrders) {
    auto const f = [](double u, double v) { return u * u * v; };
    auto const gradient = [](double u, double v) { return std::array{2 * u * v, u * u}; };
    auto const hessian = [](double u, double v) { return std::array{2 * v, 2 * u, 0.5}; };
    auto const all = [](mlFunction2 const & g) {
        Values values{1.0 * g.highest_derivative_order, g.u_min(), g.u_max(), g.v_min(), g.v_max()};
        for (auto const & [i, j] : {std::pair{0, 0}, {1, 0}, {0, 1}, {2, 0}, {1, 1}, {0, 2}, {3, -2}, {-1, 1}})
            values.push_back(g.uv_function_derivative(i, j, 3, 5));
        return values;
    };
    EXPECT_EQ(all(mlFunction2Of(f, 0.0, 1.0, 2.0, 3.0)),
              (Values{0, 0, 1, 2, 3, 45, none, none, none, none, none, none, none}));
    EXPECT_EQ(all(mlFunction2Of(f, gradient, 0.0, 1.0, 2.0, 3.0)),
              (Values{1, 0, 1, 2, 3, 45, 30, 9, none, none, none, none, none}));
    EXPECT_EQ(all(mlFunction2Of(f, gradient, hessian)),
              (Values{2, -far, far, -far, far, 45, 30, 9, 10, 6, 0.5, none, none}));
}

TEST(FunctionOfMany, TakesTheDerivativesGivenOrDifferencesInAToldOrderOfCalls) {
    Points points;
    auto const f = [&points](mlSlice const & x, mlVector & y) {
        points.push_back({x[0], x[1]});
        y = Vector{x[0] * x[1], x[1] * x[1] * x[1], 1.0};
    };
    mlFunctionNOf const bare(2, 3, f);
    mlFunctionNOf const given(2, 3, f, [](mlSlice const & x, mlMatrix & j) { j(2, 1) = x[0]; });
    Vector const storage{8, -4, 0.25, 9};
    mlSlice const x = storage.slice(1, 1, 2);
    mlMatrix j(mlMatrixZero, 3, 2);
    given.function_gradient(x, j);
    EXPECT_EQ(std::pair(j(2, 1), points.size()), std::pair(-4.0, std::size_t{0}));
    bare.function_gradient(x, j);
    double const h = 0x1p-17; // relative to the argument, or to 1 where it is smaller
    EXPECT_EQ(points, (Points{{-4 - 4 * h, 0.25}, {-4 + 4 * h, 0.25}, {-4, 0.25 - h}, {-4, 0.25 + h}}));
    EXPECT_LT(distance_squared(j.col(0), Vector{0.25, 0, 0}.slice()), 1e-18);
    EXPECT_LT(distance_squared(j.col(1), Vector{-4, 3 * 0.0625, 0}.slice()), 1e-18);

    mlFunctionN1Of const sum(
        2, [](mlSlice const & t) { return t[0] * t[0] + 3.0 * t[1]; },
        [](mlSlice const &, mlVector & g) { g.fill(7); });
    Vector g{9, 9, 9};
    sum.gradient(x, g);
    EXPECT_EQ(std::tuple(contents(g), sum.function(x), sum.dimension), std::tuple(Values{7, 7}, 16.75, 2));
    EXPECT_EQ(std::tuple(bare.input_dimension, bare.output_dimension), std::tuple(2, 3));
}

/// u^2 v^3 on a box, which records its calls.
struct Monomial : mlFunction2 {
    double function(double u, double v) const override { return u * u * v * v * v; }
    double uv_function_derivative(int i, int j, double u, double v) const override {
        trace += std::to_string(i) + std::to_string(j) + " ";
        double const in_u[] = {u * u, 2 * u, 2.0, 0.0}, in_v[] = {v * v * v, 3 * v * v, 6 * v, 6.0};
        return in_u[i] * in_v[j];
    }
    double u_min() const override { return asked("u_min ", -2.0); }
    double u_max() const override { return asked("u_max ", 4.0); }
    double v_min() const override { return asked("v_min ", -1.0); }
    double v_max() const override { return asked("v_max ", 3.0); }
    double asked(char const * what, double answer) const {
        trace += what;
        return answer;
    }
    mutable std::string trace;
};

TEST(LineOnFunction2, StaysInsideTheWindowBetweenItsEnds) {
    double const largest = mlUnboundedMax;
    struct {
        double du, dv, window[4], t_min, t_max;
    } const cases[] = {
        {0, 0, {-1, 1, -1, 1}, -largest, largest},
        {0, -2, {-1, 1, -1, 5}, -2, 1},
        {-2, 1, {-3, 3, -4, largest}, -1, 2},
        {1, -1, {-largest, 3, -largest, 7}, -6, 2},
        {-1, 1, {-largest, largest, -largest, largest}, -largest, largest},
        {1, 1, {8, 9, 0, 1}, 7, 0}, // the line misses the window
    };
    Monomial const f;
    for (auto const & c : cases) {
        mlLineOnFunction2 line(c.du, c.dv, 1.0, 1.0, &f);
        static_cast<void>(line.t_max()); // the next window must discard the interval that this has computed
        line.set_window(c.window[0], c.window[1], c.window[2], c.window[3]);
        EXPECT_EQ(std::tuple(line.t_min(), line.t_max()), std::tuple(c.t_min, c.t_max)) << c.du << ", " << c.dv;
    }
}

TEST(LineOnFunction2, AsksForTheDomainOnceAndForTheDerivativesThatHaveAWeight) {
    Monomial f;
    f.highest_derivative_order = 1;
    mlLineOnFunction2 const line(2.0, -1.0, 0.0, 0.0, &f);
    EXPECT_EQ(std::tuple(line.t_min(), line.t_max()), std::tuple(-1.0, 1.0));
    EXPECT_EQ(std::exchange(f.trace, ""), "u_min u_max v_min v_max ");
    EXPECT_EQ(line.highest_derivative_order, 1);
    EXPECT_EQ(line.function_derivative(1, -4.0), 2 * f.uv_function_derivative(1, 0, -2, 3) - 4 * 27); // at a corner
    EXPECT_EQ(line.function_derivative(0, 0.5), -4 / 32.0); // it is 4 t^2 (-t^3)
    EXPECT_EQ(line.function_derivative(3, 0.5), -240 / 4.0);
    f.trace.clear();
    static_cast<void>(mlLineOnFunction2(1.0, 0.0, 0.0, 0.0, &f).function_derivative(2, 0.5));
    static_cast<void>(line.function_derivative(2, 0.5));
    EXPECT_EQ(f.trace, "u_min u_max v_min v_max 20 02 11 20 ");
}

/// (u^2 v, u + v^2) and its derivatives at (2, 3), which records the orders of its calls.
struct Pair : mlFunctionN {
    Pair() { input_dimension = output_dimension = 2; }
    void function(mlSlice const & x, mlVector & y) const override {
        trace += "F ";
        y = Vector{x[0] * x[0] * x[1], x[0] + x[1] * x[1]};
    }
    void function_gradient(mlSlice const &, mlMatrix &) const override { trace += "gradient "; }
    void function_derivative(mlSlice const &, int * const orders, mlVector & y) const override {
        static double const first[3][3] = {{12, 4, 0}, {12, 4, 0}, {6, 2, 0}}, second[3][3] = {{11, 6, 2}, {1}, {}};
        trace += std::to_string(orders[0]) + std::to_string(orders[1]) + " ";
        y = Vector{first[orders[0]][orders[1]], second[orders[0]][orders[1]]};
    }
    mutable std::string trace;
};

TEST(SquaredLength, HasExactDerivativesFromFixedCalls) {
    // g = u^4 v^2 + u^2 + 2 u v^2 + v^4 at (2, 3)
    struct {
        int i, j;
        double value;
        char const * trace;
    } const cases[] = {
        {0, 0, 144 + 4 + 36 + 81, "F "},
        {1, 0, 4 * 8 * 9 + 4 + 18, "F 10 "},
        {0, 1, 2 * 16 * 3 + 4 * 2 * 3 + 4 * 27, "F 01 "},
        {2, 0, 12 * 4 * 9 + 2, "20 F 10 "},
        {0, 2, 2 * 16 + 4 * 2 + 12 * 9, "02 F 01 "},
        {1, 1, 8 * 8 * 3 + 4 * 3, "11 F 10 01 "},
        {1, 2, 0, ""},
    };
    Pair const f;
    for (auto const & c : cases) {
        EXPECT_EQ(mlSquaredLengthFunc2(&f).uv_function_derivative(c.i, c.j, 2.0, 3.0), c.value) << c.i << ", " << c.j;
        EXPECT_EQ(std::exchange(f.trace, ""), c.trace);
    }
}

template <class Rule> struct Integrator : testing::Test {
    static inline bool const is_trapezoid = std::is_same_v<Rule, mlIntegrateTrapezoid>;

    /// The estimate after that many halvings; the trapezoid rule's first level needs none.
    double after(int halvings, mlFunction const & f, double a, double b, double tolerance = -1.0) {
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
