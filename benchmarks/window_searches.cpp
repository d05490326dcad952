// Minima of functions of two variables on a window, beside NLopt's: SLSQP and L-BFGS with first derivatives as
// `mlMinimiser2` has them, BOBYQA with values alone. All are asked for 1e-8 and start at the same points; the time is
// that of all searches, and their calls go to the standard error, a partial derivative counting as one. The size is the
// number of derivatives' orders.

#include <nlopt.h>

#include <cmath>
#include <cstdio>

#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

int calls; // of the function under test and its partial derivatives

/// The value of Himmelblau's function, of Branin's without its cosine, or of Rosenbrock's; and its slopes on demand.
double value(int which, double u, double v, double * g) {
    ++calls;
    if (g != nullptr) calls += 2;
    if (which == 0) {
        double const a = u * u + v - 11.0, b = u + v * v - 7.0;
        if (g != nullptr) g[0] = 4.0 * a * u + 2.0 * b, g[1] = 2.0 * a + 4.0 * b * v;
        return a * a + b * b;
    }
    if (which == 1) {
        double const a = v - 0.129 * u * u + 1.6 * u - 6.0, b = u - 2.0;
        if (g != nullptr) g[0] = 2.0 * a * (1.6 - 0.258 * u) + 2.0 * b, g[1] = 2.0 * a;
        return a * a + b * b;
    }
    double const a = v - u * u, b = 1.0 - u;
    if (g != nullptr) g[0] = -400.0 * a * u - 2.0 * b, g[1] = 200.0 * a;
    return 100.0 * a * a + b * b;
}

struct Start {
    int which;
    double u, v;
};

Start const starts[] = {{0, 0.5, 0.5}, {0, 4.0, -4.0}, {0, -4.0, 3.0}, {1, -4.0, 1.0}, {1, 4.0, 4.0}, {2, -1.2, 1.0}};
double const low = -5.0, high = 5.0;

class OnWindow : public mlFunction2 {
public:
    OnWindow(int which, int order) : which_(which) { highest_derivative_order = order; }
    double function(double u, double v) const override { return value(which_, u, v, nullptr); }
    double uv_function_derivative(int i, int, double u, double v) const override {
        double g[2];
        value(which_, u, v, g);
        calls -= 2; // of which this is one
        return g[1 - i];
    }
    double u_min() const override { return low; }
    double u_max() const override { return high; }
    double v_min() const override { return low; }
    double v_max() const override { return high; }

private:
    int which_;
};

void own_searches(int order, Values & found) {
    for (std::size_t k = 0; k < std::size(starts); ++k) {
        OnWindow const f(starts[k].which, order);
        double u, v;
        int ignored[4];
        mlMinimiser2 search(f, starts[k].u, starts[k].v, 1e-8);
        found[k] = 1.0 + search.minimise(u, v, ignored[0], ignored[1], ignored[2], ignored[3]);
    }
}

double nlopt_value(unsigned, double const * x, double * g, void * which) {
    return value(*static_cast<int const *>(which), x[0], x[1], g);
}

void nlopt_searches(nlopt_algorithm algorithm, Values & found) {
    for (std::size_t k = 0; k < std::size(starts); ++k) {
        nlopt_opt const search = nlopt_create(algorithm, 2);
        int which = starts[k].which;
        double x[] = {starts[k].u, starts[k].v}, least;
        nlopt_set_lower_bounds1(search, low);
        nlopt_set_upper_bounds1(search, high);
        nlopt_set_min_objective(search, nlopt_value, &which);
        nlopt_set_xtol_rel(search, 1e-8);
        nlopt_set_maxeval(search, 20000);
        nlopt_optimize(search, x, &least);
        nlopt_destroy(search);
        found[k] = 1.0 + least; // of several minima a peer may find another
    }
}

bool window_searches(Race & race) {
    int const order = race.size();
    Values own(std::size(starts)), peers[] = {own, own};
    auto const add = [&](char const * library, Values & found, auto searches) {
        calls = 0;
        searches();
        std::fprintf(stderr, "window_search %d: %s makes %.1f calls a search\n", order, library,
                     calls / static_cast<double>(std::size(starts)));
        race.add(library, found, searches);
    };
    add("maths", own, [&, order] { own_searches(order, own); });
    if (order == 0) {
        add("bobyqa", peers[0], [&] { nlopt_searches(NLOPT_LN_BOBYQA, peers[0]); });
    } else {
        add("slsqp", peers[0], [&] { nlopt_searches(NLOPT_LD_SLSQP, peers[0]); });
        add("lbfgs", peers[1], [&] { nlopt_searches(NLOPT_LD_LBFGS, peers[1]); });
    }
    return race.run();
}

bool const entered = enter("window_search", {0, 1}, window_searches);

} // namespace
