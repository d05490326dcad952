#include "maths/functions/mlLineOnFunction2.h"
#include "maths/functions/mlSquaredLengthFunc2.h"

#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/values.h"

namespace {

/// u^2 v^3 on a box, which records its calls.
struct Monomial : mlFunction2 {
    double function(double u, double v) const override { return u * u * v * v * v; }
    double uv_function_derivative(int i, int j, double u, double v) const override {
        trace += std::to_string(i) + std::to_string(j) + " ";
        double const in_u[] = {u * u, 2 * u, 2.0, 0.0}, in_v[] = {v * v * v, 3 * v * v, 6 * v, 6.0};
        return in_u[i] * in_v[j];
    }
    double u_min() const override { return trace += "u_min ", -2.0; }
    double u_max() const override { return trace += "u_max ", 4.0; }
    double v_min() const override { return trace += "v_min ", -1.0; }
    double v_max() const override { return trace += "v_max ", 3.0; }
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

} // namespace
