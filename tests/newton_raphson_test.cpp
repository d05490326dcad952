#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "maths/maths.h"

namespace {

/// Equations made of two callables; `trace` gets a v for each value and a j for each Jacobian asked for.
class Equations : public mlFunctionN {
public:
    using Values = std::function<void(mlSlice const &, mlVector &)>;
    using Jacobian = std::function<void(mlSlice const &, mlMatrix &)>;

    Equations(int n, Values values, Jacobian jacobian) : values_(std::move(values)), jacobian_(std::move(jacobian)) {
        input_dimension = output_dimension = n;
    }
    void function(mlSlice const & x, mlVector & y) const override {
        trace += 'v';
        values_(x, y);
    }
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        trace += 'j';
        jacobian_(x, jacobian);
    }

    mutable std::string trace;

private:
    Values values_;
    Jacobian jacobian_;
};

struct Outcome {
    mlNRStatus status;
    int converged;
    double x;
    std::string trace;
};

/// One equation whose value, and slope, are given by the number of the step, from the start x = 0. With a slope of 1
/// the step is the value just seen.
Outcome solve_script(std::function<double(int)> value, std::function<double(int)> slope, double tolerance) {
    int values = 0, slopes = 0;
    Equations const f(
        1, [&](mlSlice const &, mlVector & y) { y[0] = value(values++); },
        [&](mlSlice const &, mlMatrix & j) { j(0, 0) = slope(slopes++); });
    mlNewtonRaphson solver(mlNRDim, 1);
    mlVector x(mlVectorZero, 1);
    Outcome outcome;
    solver.solve(f, x, tolerance, outcome.converged);
    outcome.status = solver.status();
    outcome.x = x[0];
    outcome.trace = f.trace;
    return outcome;
}

double one(int) { return 1.0; }
double halving(int k) { return std::ldexp(1.0, -k); }

std::string steps(int n) {
    std::string trace = "v";
    for (; n > 0; --n)
        trace += "jv";
    return trace;
}

void expect(Outcome const & outcome, mlNRStatus status, int converged, std::string const & trace) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.converged, converged);
    EXPECT_EQ(outcome.trace, trace);
}

TEST(NewtonRaphson, FindsTheNearRootOfACircleAndAHyperbola) {
    Equations const f(
        2,
        [](mlSlice const & x, mlVector & y) {
            y[0] = x[0] * x[0] + x[1] * x[1] - 4.0;
            y[1] = x[0] * x[1] - 1.0;
        },
        [](mlSlice const & x, mlMatrix & j) {
            j(0, 0) = 2.0 * x[0];
            j(0, 1) = 2.0 * x[1];
            j(1, 0) = x[1];
            j(1, 1) = x[0];
        });
    mlNewtonRaphson solver(mlNRDim, 2);
    for (int repeat = 0; repeat < 2; ++repeat) { // an object's second solve owes nothing to its first
        mlVector x(mlVectorZero, 2);
        x[0] = 2.0;
        x[1] = 1.0;
        int converged = 0;
        solver.solve(f, x, 1e-10, converged);
        EXPECT_EQ(converged, 1);
        EXPECT_EQ(solver.status(), mlNRConverged);
        EXPECT_NEAR(x[0], std::sqrt(2.0 + std::sqrt(3.0)), 1e-14);
        EXPECT_NEAR(x[1], std::sqrt(2.0 - std::sqrt(3.0)), 1e-14);
    }
}

TEST(NewtonRaphson, TakesOneStepForALinearSystem) {
    Equations const f(
        1, [](mlSlice const & x, mlVector & y) { y[0] = 4.0 * x[0] - 8.0; },
        [](mlSlice const &, mlMatrix & j) { j(0, 0) = 4.0; });
    mlVector x(mlVectorZero, 1);
    int converged = 0;
    mlNewtonRaphson(mlNRDim, 1).solve(f, x, 0.0, converged);
    EXPECT_EQ(f.trace, steps(1));
    EXPECT_EQ(converged, 1);
    EXPECT_EQ(x[0], 2.0);
}

TEST(NewtonRaphson, StopsBeforeTheFirstStepOnlyWithinTheTolerance) {
    expect(solve_script(halving, one, 1.0), mlNRConverged, 1, "v");
    expect(solve_script([](int) { return 9e-15; }, one, -1.0), mlNRConverged, 1, "v"); // a tolerance of 1e-14
    expect(solve_script([](int) { return std::numeric_limits<double>::quiet_NaN(); }, one, 0.1), mlNRConverged, 1, "v");
}

TEST(NewtonRaphson, GoesOnPastTheToleranceToTheLimit) {
    expect(solve_script(halving, one, 1e-3), mlNRConverged, 1, steps(20));
    expect(solve_script(halving, one, 1e-7), mlNRIterationLimit, 0, steps(20));
    expect(solve_script([](int k) { return k < 3 ? 1.0 / (k + 1) : 1e-14; }, one, 0.0), mlNRConverged, 1, steps(3));
}

TEST(NewtonRaphson, StopsAtASingularJacobian) {
    auto const singular_at = [](int last) { return [last](int k) { return k == last ? 0.0 : 1.0; }; };
    Outcome const at_start = solve_script(halving, singular_at(0), 1e-3);
    expect(at_start, mlNRSingularJacobian, 0, "vj");
    EXPECT_EQ(at_start.x, 0.0);
    expect(solve_script(halving, singular_at(19), 1e-7), mlNRSingularJacobian, 0, steps(19) + "j");
    expect(solve_script(halving, singular_at(12), 1e-3), mlNRConverged, 1, steps(12) + "j");
}

TEST(NewtonRaphson, StopsWhenFiveStepsInARowGainLessThanAThousandth) {
    expect(solve_script([](int k) { return 1.0 - 0.0009 * k; }, one, 0.1), mlNRSlowProgress, 0, steps(5));
    auto const late_gain = [](int k) { return k < 5 ? 1001.0 : 1000.0; }; // just a thousandth of the new
    expect(solve_script(late_gain, one, 0.1), mlNRSlowProgress, 0, steps(10));
    expect(solve_script([](int k) { return k == 0 ? 1.0 : std::numeric_limits<double>::infinity(); }, one, 0.1),
           mlNRSlowProgress, 0, steps(5));
}

TEST(NewtonRaphson, StopsWhenNothingChanges) {
    expect(solve_script(
               one, [](int) { return 1e308; }, 0.1),
           mlNRSlowProgress, 0, steps(5));
    expect(solve_script(
               one, [](int) { return std::numeric_limits<double>::infinity(); }, 0.1),
           mlNRNoChange, 0, steps(1));
}

TEST(NewtonRaphson, KeepsTheBestPointAndNotTheLast) {
    double const values[] = {8.0, 16.0, 4.0, 32.0, 64.0, 5.0, 7.0, 9.0};
    Outcome const outcome = solve_script([&](int k) { return values[k]; }, one, 0.1);
    expect(outcome, mlNRSlowProgress, 0, steps(7));
    EXPECT_EQ(outcome.x, -8.0 - 16.0);
}

} // namespace
