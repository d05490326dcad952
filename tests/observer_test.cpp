// Observers: told of every iteration, able to end each search, and without effect else.

#include "tests/support/test.h"

namespace {

/// What a search finds, and whether it was stopped: one by an object that another search has used before.
template <class Search, class Run> Values once_more(Search && search, mlObserver * observer, Run const & run) {
    mlObserverOf ends_at_once([](mlProgress const &) { return false; });
    search.set_observer(&ends_at_once);
    run(search);
    search.set_observer(observer);
    Values found = run(search);
    found.push_back(search.stopped());
    return found;
}

/// Rosenbrock's valley, which every search takes many iterations through.
double rosenbrock(double x, double y) { return 100.0 * (y - x * x) * (y - x * x) + (1.0 - x) * (1.0 - x); }
mlFunctionN1Of valley(2, [](mlSlice const & p) { return rosenbrock(p[0], p[1]); });

Values simplex(mlObserver * observer) {
    return once_more(mlDownHillSimplex(2), observer, [](mlDownHillSimplex & search) {
        double const value = search.solve(valley, mlVector{-1.2, 1.0}, mlDownHillSimplexNormal);
        return Values{1.0 * search.number_of_calls(), value};
    });
}

Values quasi_newton(mlObserver * observer) {
    return once_more(mlQuasiNewton(2), observer, [](mlQuasiNewton & search) {
        mlVector x{-1.2, 1.0};
        bool const stopped = search.minimise(valley, x) == mlQuasiNewtonStopped;
        EXPECT_EQ(stopped, search.stopped());
        return contents(x);
    });
}

Values powell(mlObserver * observer) {
    mlVector x{-1.2, 1.0};
    mlMatrix directions(mlMatrixIdentity, 2);
    int sweeps = 0;
    ml_powell_minimum_search(x, directions, 1e-12, sweeps, valley, observer);
    return {x[0], x[1], 1.0 * (sweeps < 3)};
}

Values window(mlObserver * observer) {
    mlFunction2Of const f(rosenbrock);
    return once_more(mlMinimiser2(f, -1.2, 1.0, 1e-6), observer, [](mlMinimiser2 & search) {
        double u, v;
        int found, u_end, v_end, not_converged;
        search.minimise(u, v, found, u_end, v_end, not_converged);
        EXPECT_EQ(not_converged, search.stopped());
        EXPECT_EQ(search.state() == mlMinimiser2Stopped, search.stopped());
        return Values{u, v};
    });
}

Values line(mlObserver * observer) {
    mlFunctionOf const f([](double t) { return rosenbrock(t, 2.0); });
    mlMinimiser search(f, 0.0, -30.0, 0.0, 1e-9); // its values are not known before it leaves the end
    search.set_observer(observer);
    int found, end, not_converged;
    double const t = search.minimise(found, end, not_converged);
    EXPECT_EQ(std::tuple(found, end, not_converged), std::tuple(1 - search.stopped(), 0, search.stopped()));
    return {t, 1.0 * search.stopped()};
}

Values newton(mlObserver * observer) {
    mlFunctionNOf const circles(2, 2, [](mlSlice const & p, mlVector & out) {
        out[0] = p[0] * p[0] + p[1] - 11.0;
        out[1] = p[0] + p[1] * p[1] - 7.0;
    });
    return once_more(mlNewtonRaphson(mlNRDim, 2), observer, [&](mlNewtonRaphson & solver) {
        mlVector x{-1.2, 7.0};
        int converged;
        solver.solve(circles, x, 1e-13, converged);
        EXPECT_EQ(solver.status(), solver.stopped() ? mlNRStopped : mlNRConverged);
        return contents(x);
    });
}

/// Misra's model on made-up points, by each method.
template <bool within_bounds> Values fit(mlObserver * observer) {
    mlVector const x{77.6, 114.9, 141.1, 190.8, 239.9}, y{10.07, 14.73, 17.94, 23.93, 29.61}, first{500.0, 0.0001};
    mlCurveModel model(x.slice(), y.slice(), first,
                       [](double t, mlVector const & q) { return q[0] * q[1] * t / (1.0 + q[1] * t); });
    mlVector p;
    if (!within_bounds)
        return once_more(mlLevenbergMarquardt(model), observer, [&](mlLevenbergMarquardt & fitter) {
            fitter.fit(first, p);
            return contents(p);
        });
    return once_more(mlBoundedFit(model, {0.0, 0.0}, {1e4, 1.0}), observer, [&](mlBoundedFit & fitter) {
        bool const stopped = fitter.fit(first, p) == mlBoundedFitStopped;
        EXPECT_EQ(stopped, fitter.stopped());
        return contents(p);
    });
}

TEST(Observer, IsToldOfEveryIterationChangesNothingAndEndsTheSearch) {
    struct {
        char const * name;
        Values (*search)(mlObserver *);
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
        Values const alone = c.search(nullptr);
        EXPECT_EQ(c.search(&observer), alone);
        EXPECT_EQ(alone.back(), 0.0) << "stopped";
        ASSERT_GT(seen.size(), 3U);
        EXPECT_EQ(seen[0].calls, c.calls);
        for (std::size_t i = 0; i < seen.size(); ++i) {
            EXPECT_EQ(seen[i].iteration, static_cast<int>(i) + 1);
            EXPECT_GE(seen[i].step, 0.0);
            EXPECT_FALSE(seen[i].value < seen.back().value) << seen[i].value;
            EXPECT_TRUE(i == 0 || (c.calls > 0 ? seen[i].calls > seen[i - 1].calls : seen[i].calls == -1)) << i;
        }
        if (c.search == simplex) {
            EXPECT_LT(seen.back().calls, alone[0]) << "told of the simplex that ends it";
        }
        for (most = 1; most < 4; ++most) {
            seen.clear();
            Values const ended = c.search(&observer);
            EXPECT_EQ(std::pair(seen.size(), ended.back()), std::pair(most, 1.0));
            EXPECT_NE(Values(ended.begin(), ended.end() - 1), Values(alone.begin(), alone.end() - 1));
        }
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
