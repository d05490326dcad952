// Observers: told of every iteration, able to end each search, and without effect else.

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "maths/maths.h"

namespace {

/// Rosenbrock's valley, which every search here takes many iterations through.
double rosenbrock(double x, double y) { return 100.0 * (y - x * x) * (y - x * x) + (1.0 - x) * (1.0 - x); }

auto const valley = mlFunctionN1Of(2, [](mlSlice const & p) { return rosenbrock(p[0], p[1]); });

struct Outcome {
    std::vector<double> numbers; ///< value and point
    int stopped;                 ///< what the object says
};

mlVector start() { return mlVector{-1.2, 1.0}; }

Outcome outcome(double value, mlVector const & x, int stopped) { return {{value, x[0], x[1]}, stopped}; }

Outcome simplex(mlObserver * observer) {
    mlDownHillSimplex search(2);
    search.set_observer(observer);
    auto f = valley;
    mlVector x;
    double const value = search.solve(f, start(), mlDownHillSimplexNormal);
    search.result(x);
    return outcome(value, x, search.stopped());
}

Outcome powell(mlObserver * observer) {
    auto f = valley;
    mlVector x = start();
    mlMatrix directions(mlMatrixIdentity, 2);
    int sweeps = 0;
    double const value = ml_powell_minimum_search(x, directions, 1e-12, sweeps, f, observer);
    return outcome(value, x, sweeps == 2);
}

Outcome window(mlObserver * observer) {
    auto const f = mlFunction2Of(rosenbrock);
    mlMinimiser2 search(f, -1.2, 1.0, 1e-6);
    search.set_observer(observer);
    double u, v;
    int found, u_end, v_end, not_converged;
    double const value = search.minimise(u, v, found, u_end, v_end, not_converged);
    EXPECT_EQ(not_converged, search.stopped());
    EXPECT_EQ(search.state() == mlMinimiser2Stopped, search.stopped());
    return outcome(value, {u, v}, search.stopped());
}

Outcome line(mlObserver * observer) {
    auto const f = mlFunctionOf([](double t) { return rosenbrock(t, 2.0); });
    mlMinimiser search(f, -3.0, -3.0, 0.0, 1e-9);
    search.set_observer(observer);
    int found, end, not_converged;
    double const t = search.minimise(found, end, not_converged);
    EXPECT_EQ(not_converged, search.stopped());
    EXPECT_NE(found, search.stopped());
    return outcome(search.value(), {t, 0.0}, search.stopped());
}

Outcome newton(mlObserver * observer) {
    mlNewtonRaphson solver(mlNRDim, 2);
    solver.set_observer(observer);
    mlVector x{-1.2, 7.0};
    int converged;
    auto const f = mlFunctionNOf(2, 2, [](mlSlice const & p, mlVector & out) {
        out[0] = p[0] * p[0] + p[1] - 11.0;
        out[1] = p[0] + p[1] * p[1] - 7.0;
    });
    solver.solve(f, x, 1e-13, converged);
    EXPECT_EQ(solver.status() == mlNRStopped, solver.stopped());
    return outcome(converged, x, solver.stopped());
}

/// Misra's model on made-up points.
template <class Fit> Outcome fit(Fit run) {
    mlVector const x{77.6, 114.9, 141.1, 190.8, 239.9}, y{10.07, 14.73, 17.94, 23.93, 29.61};
    mlVector p{500.0, 0.0001};
    mlCurveModel model(x.slice(), y.slice(), p,
                       [](double t, mlVector const & q) { return q[0] * q[1] * t / (1.0 + q[1] * t); });
    return run(model, p);
}

Outcome damped(mlObserver * observer) {
    return fit([&](auto & model, mlVector & p) {
        mlLevenbergMarquardt fitter(model);
        fitter.set_observer(observer);
        double const mean = fitter.fit(p, p);
        return outcome(mean, p, fitter.stopped());
    });
}

Outcome bounded(mlObserver * observer) {
    return fit([&](auto & model, mlVector & p) {
        mlBoundedFit fitter(model, {0.0, 0.0}, {1e4, 1.0});
        fitter.set_observer(observer);
        mlBoundedFitStatus const status = fitter.fit(p, p);
        EXPECT_EQ(status == mlBoundedFitStopped, fitter.stopped());
        return outcome(fitter.residual_sum(), p, fitter.stopped());
    });
}

using Search = Outcome (*)(mlObserver *);
struct Case {
    char const * name;
    Search search;
    bool counts_calls;
};
class Observed : public testing::TestWithParam<Case> {};

TEST_P(Observed, IsToldOfEveryIterationAndChangesNothing) {
    std::vector<mlProgress> seen;
    mlObserverOf observer([&](mlProgress const & progress) {
        seen.push_back(progress);
        return true;
    });
    Outcome const alone = GetParam().search(nullptr), watched = GetParam().search(&observer);
    EXPECT_EQ(watched.numbers, alone.numbers);
    ASSERT_GE(seen.size(), 3U);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        EXPECT_EQ(seen[i].iteration, static_cast<int>(i) + 1);
        EXPECT_GE(seen[i].step, 0.0);
        int const before = i == 0 ? 0 : seen[i - 1].calls;
        EXPECT_TRUE(GetParam().counts_calls ? seen[i].calls > before : seen[i].calls == -1) << seen[i].calls;
    }
    EXPECT_LE(seen.back().value, seen.front().value);
}

TEST_P(Observed, EndsTheSearch) {
    int told = 0;
    double value = 0.0;
    mlObserverOf observer([&](mlProgress const & progress) {
        value = progress.value;
        return ++told < 3;
    });
    Outcome const ended = GetParam().search(&observer);
    EXPECT_EQ(told, 3);
    EXPECT_EQ(ended.stopped, 1);
    EXPECT_NE(ended.numbers, GetParam().search(nullptr).numbers);
}

INSTANTIATE_TEST_SUITE_P(Searches, Observed,
                         testing::Values(Case{"simplex", simplex, true}, Case{"powell", powell, false},
                                         Case{"window", window, true}, Case{"line", line, false},
                                         Case{"newton", newton, true}, Case{"damped", damped, true},
                                         Case{"bounded", bounded, true}),
                         [](auto const & search) { return search.param.name; });

TEST(ProgressLine, IsWrittenAnewAndEnded) {
    std::ostringstream stream;
    {
        mlProgressLine line(stream);
        EXPECT_TRUE(line.iterated({1, 0.5, 12, 0.25}));
        line.iterated({2, std::numeric_limits<double>::quiet_NaN(), -1, 1.0});
        line.iterated({1, 0.5, -1, 1.0}); // of another search
    }
    EXPECT_EQ(stream.str(), "\riteration 1   value 5.000000e-01   step 2.5e-01   calls 12"
                            "\riteration 2   step 1.0e+00" +
                                std::string(32, ' ') +
                                "\n"
                                "\riteration 1   value 5.000000e-01   step 1.0e+00\n");
}

} // namespace
