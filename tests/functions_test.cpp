#include <array>
#include <cmath>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/traces.h"
#include "tests/support/values.h"

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
    auto const value = [&points](double u, double v) { return points.push_back({u, v}), u + 10 * v; };
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
    cache.cancel_cache();
    cache.function_gradient(zero.slice(), jacobian);
    EXPECT_EQ(calls, 11);
}

TEST_F(CachedFunction, KeepsNoDerivativeThatAThrowingCallHasBegunToWrite) {
    struct Fails : mlCachedFunctionN {
        using mlCachedFunctionN::mlCachedFunctionN;
        void function_derivative(mlSlice const & x, int * const orders, mlVector & out) const override {
            mlCachedFunctionN::function_derivative(x, orders, out);
            if (x[1] == 0.0) return;
            out.fill(-1.0);
            throw std::bad_alloc();
        }
    } const failing(this);
    Vector const zero{0, 0}, bad{0, 1};
    mlMatrix jacobian(mlMatrixZero, 2, 2);
    failing.function_gradient(zero.slice(), jacobian);
    EXPECT_THROW(failing.function_gradient(bad.slice(), jacobian), std::bad_alloc);
    failing.function_gradient(zero.slice(), jacobian);
    EXPECT_EQ(contents(jacobian), (Values{41, 20, 40, 21})) << "the first column anew";
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

    auto const sum = [](mlSlice const & t) { return t[0] * t[0] + 3.0 * t[1]; };
    mlFunctionN1Of const bare_sum(2, sum);
    mlFunctionN1Of const given_sum(2, sum, [](mlSlice const &, mlVector & g) { g[0] = 7, g[1] = 8; });
    Vector g{9, 9, 9};
    given_sum.gradient(x, g);
    EXPECT_EQ(contents(g), (Values{7, 8}));
    bare_sum.gradient(x, g);
    EXPECT_LT(distance_squared(g.slice(), Vector{-8, 3}.slice()), 1e-12);
    EXPECT_EQ(std::tuple(bare_sum.function(x), bare_sum.dimension, given_sum.dimension), std::tuple(16.75, 2, 2));
    EXPECT_EQ(std::tuple(bare.input_dimension, bare.output_dimension), std::tuple(2, 3));
}

} // namespace
