#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/functions/mlCachedFunctionN.h"
#include "maths/functions/mlDomain.h"
#include "maths/functions/mlFunction2ApproxUDeriv.h"
#include "maths/functions/mlFunction2ApproxVDeriv.h"
#include "maths/functions/mlFunctionApproxDeriv.h"
#include "tests/support/traces.h"
#include "tests/support/values.h"

namespace {

using Points = std::vector<Values>;

/// u + 10 v on [0, 1] x [2, 4].
struct Plane : mlFunction2 {
    double function(double u, double v) const override {
        points.push_back({u, v});
        return u + 10 * v;
    }
    double uv_function_derivative(int u_order, int v_order, double u, double v) const override {
        return 1000 * u_order + 100 * v_order + 10 * u + v;
    }
    double u_min() const override { return 0.0; }
    double u_max() const override { return 1.0; }
    double v_min() const override { return 2.0; }
    double v_max() const override { return 4.0; }
    mutable Points points;
};

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
    EXPECT_EQ(derivative.function_derivative(1, 1.0), -666.0); // a function's default
}

TEST(ApproxDeriv, OfTwoVariablesHoldsTheOtherOneFixed) {
    Plane const f;
    EXPECT_EQ(f.u_function_derivative(2, 3, 4) + f.v_function_derivative(1, 3, 4), 2034.0 + 134.0);
    mlFunction2ApproxUDeriv const by_u(f, 0.5);
    mlFunction2ApproxVDeriv const by_v(f, 0.5);
    EXPECT_EQ(by_u.function(0.75, 3.0), 1.0);
    EXPECT_EQ(by_v.function(9.0, 3.75), 10.0);
    EXPECT_EQ(f.points, (Points{{0.75, 3}, {0.25, 3}, {9.0, 3.75}, {9.0, 3.25}}));
    EXPECT_EQ((Values{by_u.u_min(), by_u.u_max(), by_u.v_min(), by_u.v_max()}), (Values{0, 1, 2, 4}));
    EXPECT_EQ((Values{by_v.u_min(), by_v.u_max(), by_v.v_min(), by_v.v_max()}), (Values{2, 4, 2, 4}))
        << "the range of v is returned for that of u";
    EXPECT_EQ(by_v.uv_function_derivative(1, 1, 0.5, 3.0), -666.0);
}

TEST(FunctionN1, TakesDifferencesInAToldOrderOfCalls) {
    Vector const storage{0.5, 3, 0.5, -1};
    mlSlice const x = storage.slice(1, 2, 2);
    TracedFunctionN1 const f(2, [](mlSlice const &) { return 1.0; });
    mlVector gradient(mlVectorZero, 5);
    f.gradient(x, gradient);
    double const h = 1.19e-7, first[] = {3, 3 - 1e-7, 3 + 1e-7}, second[] = {-1, -1 - 1e-7, -1 + 1e-7};
    EXPECT_EQ(f.points, (Points{{3 - h, -1}, {3 + h, -1}, {3, -1 - h}, {3, -1 + h}}));

    f.points.clear();
    mlMatrix hessian(mlMatrixZero, 3, 2);
    f.hessian(x, hessian);
    Points calls;
    for (int const k : {11, 21, 12, 22, 0, 10, 20, 0, 1, 2}) // the triangle first, then the diagonal
        calls.push_back({first[k / 10], second[k % 10]});
    EXPECT_EQ(f.points, calls);
    EXPECT_EQ(std::tuple(contents(gradient), contents(hessian)), std::tuple(Values(2), Values(4)));
}

TEST(FunctionN1, HasDifferencesWhoseErrorsArePartsOfItsMagnitude) {
    TracedFunctionN1 const f(2, [](mlSlice const & x) { return std::exp(0.5 * x[0]) * std::cos(x[1]); });
    mlVector gradient;
    mlMatrix hessian;
    double diagonal = 0.0;
    for (double x = -2.0; x < 2.0; x += 0.13) {
        for (double y = -1.0; y < 1.0; y += 0.17) {
            double const e = std::exp(0.5 * x), value = e * std::cos(y);
            f.gradient(Vector{x, y}.slice(), gradient);
            f.hessian(Vector{x, y}.slice(), hessian);
            EXPECT_NEAR(gradient[0], 0.5 * value, 3e-9 * value);
            EXPECT_NEAR(hessian(0, 1), -0.5 * e * std::sin(y), 0.02 * value);
            diagonal = std::max(diagonal, std::fabs(hessian(1, 1) + value) / value);
        }
    }
    EXPECT_TRUE(0.01 < diagonal && diagonal < 0.1) << diagonal;
    TracedFunctionN1 const rough(2, [](mlSlice const & x) { return std::sin(1e9 * x[0] + 3e9 * x[1]); });
    rough.hessian(Vector{0.5, 0.25}.slice(), hessian); // of differences that are scaled one by one
    auto const at = [&](int i, int j) { return rough.function(Vector{0.5 + i * 1e-7, 0.25 + j * 1e-7}.slice()); };
    EXPECT_EQ(hessian(0, 1), ((at(1, 1) - at(-1, 1)) * 5e6 - (at(1, -1) - at(-1, -1)) * 5e6) * 5e6);
    EXPECT_EQ(hessian(0, 0), ((at(1, 0) - at(0, 0)) * 1e7 - (at(0, 0) - at(-1, 0)) * 1e7) * 1e7);
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
            if (x[1] != 1.0) return;
            out.fill(-1.0);
            throw std::bad_alloc();
        }
    } const failing(this);
    mlMatrix jacobian(mlMatrixZero, 2, 2);
    Vector x{0, 0};
    failing.function_gradient(x.slice(), jacobian);
    x[1] = 1.0;
    EXPECT_THROW(failing.function_gradient(x.slice(), jacobian), std::bad_alloc);
    x[1] = 0.0;
    failing.function_gradient(x.slice(), jacobian);
    EXPECT_EQ(contents(jacobian), (Values{41, 20, 40, 21})) << "the first column anew";
}

} // namespace
