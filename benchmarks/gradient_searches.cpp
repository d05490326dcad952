// Minima of the extended Rosenbrock function of many variables with gradients, beside NLopt's L-BFGS and, where its
// n^3 operations an iteration allow, SLSQP; in a box whose upper bounds of every fourth variable are in the way. The
// time is that of a search, which ends when a step lowers the value by less than 1e-10 of it; its calls go to the
// standard error.

#include <nlopt.h>

#include <cstdio>

#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

int calls; // value and gradient together

/// Writes the gradient unless there is no room for it.
double extended_rosenbrock(int n, double const * x, double * g) {
    ++calls;
    double sum = 0.0;
    for (int i = 0; i < n; i += 2) {
        double const a = x[i + 1] - x[i] * x[i], b = 1.0 - x[i];
        sum += 100.0 * a * a + b * b;
        if (g == nullptr) continue;
        g[i] = -400.0 * a * x[i] - 2.0 * b;
        g[i + 1] = 200.0 * a;
    }
    return sum;
}

double start(int i) { return i % 2 == 0 ? -1.2 : 1.0; }
double upper_bound(int i) { return i % 4 == 0 ? 0.5 : 10.0; }

void own_search(int n, Values & found) {
    mlVector kept(mlVectorZero, n), x(mlVectorZero, n), lower(mlVectorZero, n), upper(mlVectorZero, n);
    for (int i = 0; i < n; ++i)
        x[i] = start(i), lower[i] = -10.0, upper[i] = upper_bound(i);
    mlFunctionN1Of const f(
        n, [&](mlSlice const & p) { return extended_rosenbrock(n, p.data(), kept.data()); },
        [&](mlSlice const &, mlVector & g) { g = kept; }); // asked for after the value at the same point
    mlQuasiNewton search(n);
    search.set_box(lower, upper);
    search.set_value_tolerance(1e-10);
    search.minimise(f, x);
    found[0] = search.value();
}

double nlopt_value(unsigned n, double const * x, double * g, void *) {
    return extended_rosenbrock(static_cast<int>(n), x, g);
}

void nlopt_search(nlopt_algorithm algorithm, int n, Values & found) {
    nlopt_opt const search = nlopt_create(algorithm, static_cast<unsigned>(n));
    Values x, upper;
    for (int i = 0; i < n; ++i) {
        x.push_back(start(i));
        upper.push_back(upper_bound(i));
    }
    nlopt_set_lower_bounds1(search, -10.0);
    nlopt_set_upper_bounds(search, upper.data());
    nlopt_set_min_objective(search, nlopt_value, nullptr);
    nlopt_set_ftol_rel(search, 1e-10);
    nlopt_set_maxeval(search, 20000);
    nlopt_optimize(search, x.data(), &found[0]);
    nlopt_destroy(search);
}

bool gradient_searches(Race & race) {
    int const n = race.size();
    Values own(1), peers[] = {own, own};
    race.set_tolerance(1e-6);
    auto const add = [&](char const * library, Values & found, auto search) {
        calls = 0;
        search();
        std::fprintf(stderr, "gradient_search %d: %s makes %d calls\n", n, library, calls);
        race.add(library, found, search);
    };
    add("maths", own, [&, n] { own_search(n, own); });
    add("lbfgs", peers[0], [&, n] { nlopt_search(NLOPT_LD_LBFGS, n, peers[0]); });
    if (n <= 100) add("slsqp", peers[1], [&, n] { nlopt_search(NLOPT_LD_SLSQP, n, peers[1]); });
    return race.run();
}

bool const entered = enter("gradient_search", {4, 20, 100, 1000, 100000}, gradient_searches);

} // namespace
