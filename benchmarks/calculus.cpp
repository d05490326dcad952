// Romberg's integration and the minimisers beside GSL's and Boost.Math's: the time for each call of the user's
// function, which the methods need in different numbers. Neither peer has Powell's method: GSL's simplex stands beside
// it, there in time for a whole search.

#include <cmath>
#include <memory>

#include <boost/math/tools/minima.hpp>
#include <gsl/gsl_integration.h>
#include <gsl/gsl_min.h>
#include <gsl/gsl_multimin.h>

#include "benchmarks/peers.h"
#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

int calls; // of the function under test

/// How many calls an operation makes.
template <class Operation> double calls_of(Operation operation) {
    calls = 0;
    operation();
    return calls;
}

/// Adds a contestant whose result is one number, timed by the call. The number is added to 1: minima may be zero.
template <class Operation> void add(Race & race, char const * library, Values & found, Operation operation) {
    race.add(
        library, found, [&found, operation] { found[0] = 1.0 + operation(); }, calls_of(operation));
}

// --- Integration of exp over [0, 1]: the size is the number of decimals of the tolerance

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

auto romberg(Race & race) {
    double const tolerance = std::pow(10.0, -race.size());
    Exponential const f;
    mlIntegrateRomberg const rule(tolerance, 20);
    gsl_function peer_f{gsl_exponential, nullptr};
    std::unique_ptr<gsl_integration_romberg_workspace, decltype(&gsl_integration_romberg_free)> const work(
        gsl_integration_romberg_alloc(20), gsl_integration_romberg_free);
    Values own(1), gsl(1);
    race.set_tolerance(tolerance);
    add(race, "maths", own, [&] { return rule.integrate(f, 0.0, 1.0); });
    add(race, "gsl", gsl, [&, tolerance] {
        double integral = 0.0;
        std::size_t evaluations = 0;
        gsl_integration_romberg(&peer_f, 0.0, 1.0, tolerance, 0.0, &integral, &evaluations, work.get());
        return integral;
    });
    return race.run();
}

// --- Brent's search from a bracket, to 6 digits

double curve(double t) {
    ++calls;
    return std::cosh(t - 2.0) + 0.1 * t;
}
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

// --- Rosenbrock's function of n variables, pair by pair: the size is n

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

double gsl_simplex(int n) {
    GslVector const x(gsl_vector_alloc(n), gsl_vector_free), steps(gsl_vector_alloc(n), gsl_vector_free);
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

auto brent(Race & race) {
    Values own(1), gsl(1), boost(1);
    race.set_tolerance(1e-5);
    add(race, "maths", own, own_brent);
    add(race, "gsl", gsl, gsl_brent);
    add(race, "boost", boost, boost_brent);
    return race.run();
}

auto simplex(Race & race) {
    int const n = race.size();
    Values own(1), gsl(1);
    add(race, "maths", own, [n] { return own_simplex(n); });
    add(race, "gsl", gsl, [n] { return gsl_simplex(n); });
    return race.run();
}

auto powell(Race & race) {
    int const n = race.size();
    Values own(1), gsl(1);
    race.add("maths", own, [&, n] { own[0] = 1.0 + own_powell(n); });
    race.add("gsl_simplex", gsl, [&, n] { gsl[0] = 1.0 + gsl_simplex(n); });
    return race.run();
}

bool const entered = enter("romberg", {6, 10, 14}, romberg) && enter("brent", {6}, brent) &&
                     enter("simplex", {2, 4}, simplex) && enter("powell", {2}, powell);

} // namespace
