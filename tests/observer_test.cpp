// Observers: told of every iteration, able to end each search, and without effect else.

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"

namespace {

struct Outcome {
    Values numbers;
    int stopped; ///< what the object says
};

/// Ends the searches made before those that count, which are to be told of as if they were the first.
mlObserverOf ends_at_once([](mlProgress const &) { return false; });

/// Rosenbrock's valley, which every search takes many iterations through.
double rosenbrock(double x, double y) { return 100.0 * (y - x * x) * (y - x * x) + (1.0 - x) * (1.0 - x); }
mlFunctionN1Of valley(2, [](mlSlice const & p) { return rosenbrock(p[0], p[1]); });

Outcome simplex(mlObserver * observer) {
    mlDownHillSimplex search(2);
    search.set_observer(&ends_at_once);
    search.solve(valley, mlVector{-1.2, 1.0}, mlDownHillSimplexNormal);
    search.set_observer(observer);
    double const value = search.solve(valley, mlVector{-1.2, 1.0}, mlDownHillSimplexNormal);
    return {{value, 1.0 * search.number_of_calls()}, search.stopped()};
}

Outcome quasi_newton(mlObserver * observer) {
    mlQuasiNewton search(2);
    search.set_observer(&ends_at_once);
    mlVector x{-1.2, 1.0}, unused{-1.2, 1.0};
    search.minimise(valley, unused);
    search.set_observer(observer);
    int const stopped = search.minimise(valley, x) == mlQuasiNewtonStopped;
    EXPECT_EQ(stopped, search.stopped());
    return {contents(x), stopped};
}

Outcome powell(mlObserver * observer) {
    mlVector x{-1.2, 1.0};
    mlMatrix directions(mlMatrixIdentity, 2);
    int sweeps = 0;
    ml_powell_minimum_search(x, directions, 1e-12, sweeps, valley, observer);
    return {contents(x), sweeps == 2};
}

Outcome window(mlObserver * observer) {
    mlFunction2Of const f(rosenbrock);
    mlMinimiser2 search(f, -1.2, 1.0, 1e-6);
    search.set_observer(&ends_at_once);
    double u, v;
    int found, u_end, v_end, not_converged;
    search.minimise(u, v, found, u_end, v_end, not_converged);
    search.set_observer(observer);
    search.minimise(u, v, found, u_end, v_end, not_converged);
    EXPECT_EQ(not_converged, search.stopped());
    EXPECT_EQ(search.state() == mlMinimiser2Stopped, search.stopped());
    return {{u, v}, search.stopped()};
}

Outcome line(mlObserver * observer) {
    mlFunctionOf const f([](double t) { return rosenbrock(t, 2.0); });
    mlMinimiser search(f, 0.0, -30.0, 0.0, 1e-9); // its values are not known before it leaves the end
    search.set_observer(observer);
    int found, end, not_converged;
    double const t = search.minimise(found, end, not_converged);
    EXPECT_EQ(not_converged, search.stopped());
    EXPECT_NE(found, search.stopped());
    return {{t}, search.stopped()};
}

Outcome newton(mlObserver * observer) {
    mlFunctionNOf const circles(2, 2, [](mlSlice const & p, mlVector & out) {
        out[0] = p[0] * p[0] + p[1] - 11.0;
        out[1] = p[0] + p[1] * p[1] - 7.0;
    });
    mlNewtonRaphson solver(mlNRDim, 2);
    solver.set_observer(&ends_at_once);
    mlVector x{-1.2, 7.0}, unused{-1.2, 7.0};
    int converged;
    solver.solve(circles, unused, 1e-13, converged);
    solver.set_observer(observer);
    solver.solve(circles, x, 1e-13, converged);
    EXPECT_EQ(solver.status() == mlNRStopped, solver.stopped());
    return {contents(x), solver.stopped()};
}

/// Misra's model on made-up points, by each method.
template <bool within_bounds> Outcome fit(mlObserver * observer) {
    mlVector const x{77.6, 114.9, 141.1, 190.8, 239.9}, y{10.07, 14.73, 17.94, 23.93, 29.61};
    mlVector p{500.0, 0.0001}, unused;
    mlCurveModel model(x.slice(), y.slice(), p,
                       [](double t, mlVector const & q) { return q[0] * q[1] * t / (1.0 + q[1] * t); });
    mlLevenbergMarquardt damped(model);
    mlBoundedFit bounded(model, {0.0, 0.0}, {1e4, 1.0});
    damped.set_observer(&ends_at_once);
    bounded.set_observer(&ends_at_once);
    damped.fit(p, unused);
    if (within_bounds) bounded.fit(p, unused);
    damped.set_observer(observer);
    bounded.set_observer(observer);
    int const stopped = within_bounds ? bounded.fit(p, p) == mlBoundedFitStopped : (damped.fit(p, p), damped.stopped());
    EXPECT_EQ(bounded.stopped(), within_bounds && stopped);
    return {contents(p), stopped};
}

TEST(Observer, IsToldOfEveryIterationChangesNothingAndEndsTheSearch) {
    struct {
        char const * name;
        Outcome (*search)(mlObserver *);
        int calls; // told of the first iteration
    } const cases[] = {{"simplex", simplex, 5},   {"powell", powell, -1},
                       {"window", window, 14},    {"line", line, -1},
                       {"newton", newton, 2},     {"damped", fit<false>, 2},
                       {"bounded", fit<true>, 2}, {"quasi-Newton", quasi_newton, 15}};
    for (auto const & c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<mlProgress> seen;
        std::size_t most = 1000;
        mlObserverOf observer([&](mlProgress const & progress) {
            seen.push_back(progress);
            return seen.size() < most;
        });
        Outcome const alone = c.search(nullptr), watched = c.search(&observer);
        EXPECT_EQ(std::tuple(watched.numbers, watched.stopped, alone.stopped), std::tuple(alone.numbers, 0, 0));
        ASSERT_GT(seen.size(), 3U);
        EXPECT_EQ(seen[0].calls, c.calls);
        for (std::size_t i = 0; i < seen.size(); ++i) {
            EXPECT_EQ(seen[i].iteration, static_cast<int>(i) + 1);
            EXPECT_GE(seen[i].step, 0.0);
            EXPECT_FALSE(seen[i].value < seen.back().value) << seen[i].value;
            EXPECT_TRUE(i == 0 || (c.calls > 0 ? seen[i].calls > seen[i - 1].calls : seen[i].calls == -1)) << i;
        }
        if (c.search == simplex) {
            EXPECT_LT(seen.back().calls, alone.numbers[1]) << "told of the simplex that ends it";
        }
        seen.clear();
        most = 3;
        Outcome const ended = c.search(&observer);
        EXPECT_EQ(std::tuple(seen.size(), ended.stopped), std::tuple(most, 1));
        EXPECT_NE(ended.numbers, alone.numbers);
    }
}

TEST(Observer, EndsASearchWithoutAnEndOfItsRange) {
    mlFunctionOf const falling([](double t) { return -t; }, [](double) { return -1.0; });
    for (bool const ends : {false, true}) {
        mlMinimiser search(falling, 0.0, 0.0, 8.0, 1e-3);
        if (ends) search.set_observer(&ends_at_once);
        int found, end, not_converged;
        EXPECT_EQ(search.minimise(found, end, not_converged), 8.0);
        EXPECT_EQ(std::tuple(found, end, not_converged), std::tuple(0, !ends, ends));
        search.minimise(found, end, not_converged);
        EXPECT_EQ(std::tuple(found, end, search.stopped()), std::tuple(0, 1, 0)) << "without an iteration to tell of";
    }
}

TEST(Observer, IsToldOfStepsByTheirEuclideanLength) {
    mlVector const x{0.0, 1.0}, y{3.0, 4.0};
    mlVector p{0.0, 0.0};
    double step = 0.0;
    mlObserverOf observer([&](mlProgress const & progress) {
        step = progress.step;
        return false;
    });
    mlCurveModel model(x.slice(), y.slice(), p, [](double t, mlVector const & q) { return q[t < 0.5 ? 0 : 1]; });
    ml_curve_fit(model, p, &observer);
    EXPECT_NEAR(step, 5.0, 1e-3);
}

TEST(ProgressLine, IsWrittenAnewAndEnded) {
    std::ostringstream stream;
    {
        mlProgressLine line(stream);
        EXPECT_TRUE(line.iterated({1, 0.5, 12, 0.25}));
        line.iterated({2, nan_value, -1, 1.0});
        line.iterated({1, 0.5, -1, 1.0}); // of another search
    }
    EXPECT_EQ(stream.str(), "\riteration 1   value 5.000000e-01   step 2.5e-01   calls 12"
                            "\riteration 2   step 1.0e+00                                \n"
                            "\riteration 1   value 5.000000e-01   step 1.0e+00\n");
}

} // namespace
