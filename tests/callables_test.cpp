#include <array>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"

namespace {

double const none = -666, far = largest_double;

TEST(FunctionOf, HasTheDerivativesAndTheDomainThatItWasGivenAndLetsExceptionsPass) {
    auto const f = [](double t) { return t != 9.0 ? t * t * t : throw t; };
    auto const df = [](double t) { return 3.0 * t * t; };
    auto const ddf = [](double t) { return 6.0 * t; };
    auto const all = [](mlFunction const & g) {
        return Values{1.0 * g.highest_derivative_order,
                      g.t_min(),
                      g.t_max(),
                      g.function(2.0),
                      g.function_derivative(1, 2.0),
                      g.function_derivative(2, 2.0),
                      g.function_derivative(3, 2.0)};
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
    std::vector<Values> points;
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
    EXPECT_TRUE(j(2, 1) == -4.0 && points.empty());
    bare.function_gradient(x, j);
    double const h = 0x1p-17; // relative to the argument, or to 1 where it is smaller
    EXPECT_EQ(points, (std::vector<Values>{{-4 - 4 * h, 0.25}, {-4 + 4 * h, 0.25}, {-4, 0.25 - h}, {-4, 0.25 + h}}));
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
