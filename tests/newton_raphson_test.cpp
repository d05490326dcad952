#include "tests/support/test.h"

namespace {

/// An equation with a value and a slope for each step, the last of them for ever. `trace` gets a v for each value and a
/// j for each Jacobian; `best` is the first point of the smallest value.
struct Script : mlFunctionN {
    Script(Values const & its_values, Values const & its_slopes) : values(its_values), slopes(its_slopes) {
        input_dimension = output_dimension = 1;
    }

    void function(mlSlice const & x, mlVector & y) const override {
        trace += 'v';
        y[0] = next(values);
        if (y[0] < smallest) smallest = y[0], best = x[0];
    }
    void function_gradient(mlSlice const &, mlMatrix & jacobian) const override {
        trace += 'j';
        jacobian(0, 0) = next(slopes);
    }
    static double next(Values & script) {
        double const value = script[0];
        if (script.size() > 1) script.erase(script.begin());
        return value;
    }
    mutable Values values, slopes;
    mutable std::string trace;
    mutable double smallest = infinity, best = 0.0;
};

std::string steps(int n) { return n > 0 ? steps(n - 1) + "jv" : "v"; }

TEST(NewtonRaphson, StopsByItsRulesAtTheBestPoint) {
    mlNewtonRaphson solver(mlNRDim, 1); // reused: a solve must not depend on the one before
    auto const expect = [&](mlNRStatus status, std::string const & trace, Script const & f, double tolerance) {
        Vector x{0};
        int converged = -1;
        solver.solve(f, x, tolerance, converged);
        EXPECT_EQ(f.trace, trace);
        EXPECT_EQ(std::tuple(solver.status(), converged, x[0]), std::tuple(status, (status == mlNRConverged), f.best))
            << trace;
    };
    Values const one = {1};
    Values halving, late(19, 1), later(19, 1);
    for (int k = 0; k < 25; ++k)
        halving.push_back(std::ldexp(1, -k));
    late[12] = later.emplace_back() = 0;
    // At the start only within the tolerance, which is at least 1e-14, and otherwise past it to the limit,
    expect(mlNRConverged, "v", {halving, one}, 1.0);
    expect(mlNRConverged, "v", {{9e-15}, one}, -1.0);
    expect(mlNRConverged, "v", {{nan_value}, one}, 0.1); // values that are all NaN
    expect(mlNRConverged, steps(20), {halving, one}, 1e-3);
    expect(mlNRIterationLimit, steps(20), {halving, one}, 1e-7);
    expect(mlNRConverged, steps(3), {{1, 0.5, 0.25, 1e-14}, one}, 0.0);
    // at a singular Jacobian,
    expect(mlNRSingularJacobian, "vjvj", {{1, 2}, {1, 0}}, 0.1);
    expect(mlNRSingularJacobian, steps(19) + "j", {halving, later}, 1e-7);
    expect(mlNRConverged, steps(12) + "j", {halving, late}, 1e-3);
    // after five steps in a row that gain less than a thousandth of the value reached,
    expect(mlNRSlowProgress, steps(5), {{1, 0.9991, 0.9982, 0.9973, 0.9964, 0.9955}, one}, 0.1);
    expect(mlNRSlowProgress, steps(10), {{1001, 1001, 1001, 1001, 1001, 1000}, one}, 0.1);
    expect(mlNRSlowProgress, steps(7), {{8, 16, 4, 32, 64, 5, 7, 9}, one}, 0.1);
    // or when neither value nor point changes.
    expect(mlNRSlowProgress, steps(5), {one, {1e308}}, 0.1);
    expect(mlNRNoChange, steps(1), {one, {infinity}}, 0.1);
}

} // namespace
