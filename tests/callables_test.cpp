#include <array>
#include <cmath>
#include <stdexcept>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"

namespace {

double const none = -666;

TEST(FunctionOf, HasTheDerivativesAndTheDomainThatItWasGiven) {
    auto const f = [](double t) { return t * t * t; };
    auto const df = [](double t) { return 3.0 * t * t; };
    auto const ddf = [](double t) { return 6.0 * t; };
    auto const all = [](mlFunction const & g) {
        Values values{1.0 * g.highest_derivative_order, g.t_min(), g.t_max(), g.function(2.0)};
        for (int order : {1, 2, 3})
            values.push_back(g.function_derivative(order, 2.0));
        return values;
    };
    EXPECT_EQ(all(mlFunctionOf(f)), (Values{0, -largest_double, largest_double, 8, none, none, none}));
    EXPECT_EQ(all(mlFunctionOf(f, 0.0, 3.0)), (Values{0, 0, 3, 8, none, none, none}));
    EXPECT_EQ(all(mlFunctionOf(f, df, -1.0, 2.0)), (Values{1, -1, 2, 8, 12, none, none}));
    EXPECT_EQ(all(mlFunctionOf(f, df, ddf)), (Values{2, -largest_double, largest_double, 8, 12, 12, none}));
    EXPECT_EQ(all(mlFunctionOf(f, df, ddf, 4.0, 5.0)), (Values{2, 4, 5, 8, 12, 12, none}));
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
    double const far = largest_double;
    EXPECT_EQ(all(mlFunction2Of(f, 0.0, 1.0, 2.0, 3.0)),
              (Values{0, 0, 1, 2, 3, 45, none, none, none, none, none, none, none}));
    EXPECT_EQ(all(mlFunction2Of(f, gradient, 0.0, 1.0, 2.0, 3.0)),
              (Values{1, 0, 1, 2, 3, 45, 30, 9, none, none, none, none, none}));
    EXPECT_EQ(all(mlFunction2Of(f, gradient, hessian)),
              (Values{2, -far, far, -far, far, 45, 30, 9, 10, 6, 0.5, none, none}));
}

TEST(FunctionN1Of, TakesTheGradientGivenOrTheUsualDifferences) {
    auto const f = [](mlSlice const & x) { return x[0] * x[0] + 3.0 * x[1]; };
    mlFunctionN1Of const bare(2, f);
    mlFunctionN1Of const given(2, f, [](mlSlice const &, mlVector & g) { g[0] = 7.0, g[1] = 8.0; });
    Vector const x{2, 5};
    Vector g{9, 9, 9};
    given.gradient(x.slice(), g);
    EXPECT_EQ(contents(g), (Values{7, 8}));
    bare.gradient(x.slice(), g);
    EXPECT_NEAR(g[0], 4.0, 1e-6);
    EXPECT_NEAR(g[1], 3.0, 1e-6);
    EXPECT_EQ(std::tuple(bare.function(x.slice()), bare.dimension, given.dimension), std::tuple(19.0, 2, 2));
}

TEST(FunctionNOf, TakesTheJacobianGivenOrCentralDifferencesInAToldOrderOfCalls) {
    std::vector<Values> points;
    auto const f = [&points](mlSlice const & x, mlVector & y) {
        points.push_back({x[0], x[1]});
        y[0] = x[0] * x[1];
        y[1] = x[1] * x[1] * x[1];
        y[2] = 1.0;
    };
    mlFunctionNOf const bare(2, 3, f);
    mlFunctionNOf const given(2, 3, f, [](mlSlice const & x, mlMatrix & j) { j(2, 1) = x[0]; });
    Vector const storage{8, -4, 0.25, 9};
    mlSlice const x = storage.slice(1, 1, 2);
    mlMatrix j(mlMatrixZero, 3, 2);
    given.function_gradient(x, j);
    EXPECT_TRUE(j(2, 1) == -4.0 && points.empty());
    bare.function_gradient(x, j);
    double const far = 4 * 0x1p-17, near = 0x1p-17; // relative to 1 for an argument below it
    EXPECT_EQ(points, (std::vector<Values>{{-4 - far, 0.25}, {-4 + far, 0.25}, {-4, 0.25 - near}, {-4, 0.25 + near}}));
    double const exact[] = {0.25, -4, 0, 3 * 0.0625, 0, 0};
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(j[i], exact[i], 1e-9) << i;
    EXPECT_EQ(std::tuple(bare.input_dimension, bare.output_dimension), std::tuple(2, 3));
}

TEST(FunctionsOfCallables, LetExceptionsPass) {
    mlFunctionOf const thrower([](double t) { return t > 1.0 ? throw std::runtime_error("far") : t; });
    EXPECT_THROW(static_cast<void>(mlIntegrateSimpson(1e-6, 5).integrate(thrower, 0.0, 2.0)), std::runtime_error);
}

} // namespace
