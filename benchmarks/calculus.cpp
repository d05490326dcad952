// Romberg's integration and the minimisers beside GSL's and Boost.Math's, in calls of the function and in time. Each
// contestant's answer is checked before it is timed. Neither peer has Powell's method: GSL's simplex stands beside it.

#include <cmath>
#include <functional>
#include <memory>

#include <benchmark/benchmark.h>
#include <boost/math/tools/minima.hpp>
#include <gsl/gsl_integration.h>
#include <gsl/gsl_min.h>
#include <gsl/gsl_multimin.h>

#include "maths/maths.h"

namespace {

int calls; // of the function under test

/// Times the operation once its answer is the one expected; reports its calls.
template <class Operation> void race(benchmark::State & state, double expected, double tolerance, Operation operation) {
    calls = 0;
    double const answer = operation();
    state.counters["calls"] = calls;
    if (!(std::fabs(answer - expected) <= tolerance)) {
        state.SkipWithError("a wrong answer");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(operation());
}

// --- Integration of exp over [0, 1]: the argument is the number of decimals of the tolerance

class Exponential : public mlFunction {
public:
    double function(double t) const override {
        ++calls;
        return std::exp(t);
    }
};

double gsl_exponential(double t, void *) {
    ++calls;
    return std::exp(t);
}

void romberg(benchmark::State & state, bool own) {
    double const tolerance = std::pow(10.0, -static_cast<double>(state.range(0)));
    Exponential const f;
    mlIntegrateRomberg const rule(tolerance, 20);
    gsl_function peer_f{gsl_exponential, nullptr};
    std::unique_ptr<gsl_integration_romberg_workspace, decltype(&gsl_integration_romberg_free)> const work(
        gsl_integration_romberg_alloc(20), gsl_integration_romberg_free);
    race(state, std::exp(1.0) - 1.0, tolerance, [&] {
        if (own) return rule.integrate(f, 0.0, 1.0);
        double integral = 0.0;
        std::size_t evaluations = 0;
        gsl_integration_romberg(&peer_f, 0.0, 1.0, tolerance, 0.0, &integral, &evaluations, work.get());
        return integral;
    });
}

// --- Brent's search from a bracket, to 6 digits

double curve(double t) {
    ++calls;
    return std::cosh(t - 2.0) + 0.1 * t;
}
double const curve_minimum = 2.0 - std::asinh(0.1);
double const bracket[] = {-4.0, 3.0, 7.0};
double const line_tolerance = 1e-6; // GSL waits for both ends of the bracket, in vain at half the digits

class Curve : public mlFunction {
public:
    double function(double t) const override { return curve(t); }
};

double own_brent() {
    Curve f;
    double t = 0.0;
    ml_brent_minimum_search(f, bracket[0], bracket[1], bracket[2], line_tolerance, 100, &t);
    return t;
}

double gsl_brent() {
    gsl_function f{[](double t, void *) { return curve(t); }, nullptr};
    std::unique_ptr<gsl_min_fminimizer, decltype(&gsl_min_fminimizer_free)> const search(
        gsl_min_fminimizer_alloc(gsl_min_fminimizer_brent), gsl_min_fminimizer_free);
    gsl_min_fminimizer_set(search.get(), &f, bracket[1], bracket[0], bracket[2]);
    for (int k = 0; k < 100; ++k) {
        gsl_min_fminimizer_iterate(search.get());
        if (gsl_min_test_interval(gsl_min_fminimizer_x_lower(search.get()), gsl_min_fminimizer_x_upper(search.get()),
                                  0.0, 2.0 * line_tolerance) == GSL_SUCCESS)
            break;
    }
    return gsl_min_fminimizer_x_minimum(search.get());
}

double boost_brent() { return boost::math::tools::brent_find_minima(curve, bracket[0], bracket[2], 20).first; }

void brent(benchmark::State & state, double (*contestant)()) { race(state, curve_minimum, 1e-5, contestant); }

// --- Rosenbrock's function of n variables, pair by pair: the argument is n

class Rosenbrock : public mlFunctionN1 {
public:
    explicit Rosenbrock(int n) { dimension = n; }
    double function(mlSlice const & x) const override {
        return value(dimension, [&](int i) { return x[i]; });
    }
    static double gsl_value(gsl_vector const * x, void *) {
        return value(static_cast<int>(x->size), [&](int i) { return gsl_vector_get(x, i); });
    }

private:
    template <class Element> static double value(int n, Element x) {
        ++calls;
        double sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            double const bend = x(i + 1) - x(i) * x(i), rest = 1.0 - x(i);
            sum += 100.0 * bend * bend + rest * rest;
        }
        return sum;
    }
};

double start(int i) { return i % 2 == 0 ? -1.2 : 1.0; }

double own_simplex(int n) {
    Rosenbrock f(n);
    mlVector x(mlVectorZero, n);
    for (int i = 0; i < n; ++i)
        x[i] = start(i);
    mlDownHillSimplex simplex(n);
    return simplex.solve(f, x, mlDownHillSimplexThorough);
}

double own_powell(int n) {
    Rosenbrock f(n);
    mlVector x(mlVectorZero, n);
    for (int i = 0; i < n; ++i)
        x[i] = start(i);
    mlMatrix axes(mlMatrixIdentity, n);
    int iterations = 0;
    return ml_powell_minimum_search(x, axes, 1e-10, iterations, f);
}

using Vector = std::unique_ptr<gsl_vector, decltype(&gsl_vector_free)>;

double gsl_simplex(int n) {
    Vector const x(gsl_vector_alloc(n), gsl_vector_free), steps(gsl_vector_alloc(n), gsl_vector_free);
    for (int i = 0; i < n; ++i)
        gsl_vector_set(x.get(), i, start(i));
    gsl_vector_set_all(steps.get(), 0.1);
    gsl_multimin_function f{Rosenbrock::gsl_value, static_cast<std::size_t>(n), nullptr};
    std::unique_ptr<gsl_multimin_fminimizer, decltype(&gsl_multimin_fminimizer_free)> const search(
        gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex2, n), gsl_multimin_fminimizer_free);
    gsl_multimin_fminimizer_set(search.get(), &f, x.get(), steps.get());
    for (int k = 0; k < 20000; ++k) {
        gsl_multimin_fminimizer_iterate(search.get());
        if (gsl_multimin_test_size(gsl_multimin_fminimizer_size(search.get()), 1e-10) == GSL_SUCCESS) break;
    }
    return gsl_multimin_fminimizer_minimum(search.get());
}

void rosenbrock(benchmark::State & state, double (*contestant)(int)) {
    int const n = static_cast<int>(state.range(0));
    race(state, 0.0, 1e-12, [&] { return contestant(n); });
}
void simplex(benchmark::State & state, double (*contestant)(int)) { rosenbrock(state, contestant); }
void powell(benchmark::State & state, double (*contestant)(int)) { rosenbrock(state, contestant); }

BENCHMARK_CAPTURE(romberg, maths, true)->Arg(6)->Arg(10)->Arg(14);
BENCHMARK_CAPTURE(romberg, gsl, false)->Arg(6)->Arg(10)->Arg(14);
BENCHMARK_CAPTURE(brent, maths, own_brent);
BENCHMARK_CAPTURE(brent, gsl, gsl_brent);
BENCHMARK_CAPTURE(brent, boost, boost_brent);
BENCHMARK_CAPTURE(simplex, maths, own_simplex)->Arg(2)->Arg(4);
BENCHMARK_CAPTURE(simplex, gsl, gsl_simplex)->Arg(2)->Arg(4);
BENCHMARK_CAPTURE(powell, maths, own_powell)->Arg(2);
BENCHMARK_CAPTURE(powell, gsl_simplex, gsl_simplex)->Arg(2);

} // namespace
