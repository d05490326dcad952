#include <algorithm>
#include <cmath>

#include "fuzz/support/answers.h"

// Integrators, root finders, minimisers, fits and equation solvers, whose functions answer anything: they end, and what
// they say of their result holds.

namespace {

double finite(Bytes & script) {
    double const x = script.number();
    return std::isfinite(x) ? x : 1.0;
}

void search_a_line(Bytes & script, Answers & f) {
    double const a = script.number(), b = script.number(), tolerance = script.number();
    int converged = -1;
    switch (script.below(6)) {
    case 0: {
        int const levels = script.below(12);
        mlIntegrateTrapezoid(tolerance, levels).integrate(f, a, b);
        mlIntegrateSimpson(tolerance, levels).integrate(f, a, b);
        mlIntegrateRomberg(tolerance, levels).integrate(f, a, b);
        break;
    }
    case 1: mlRootSolve::newton_raphson(f, a, tolerance, converged, 100); break;
    case 2: mlRootSolve::newton_raphson(f, a, b, tolerance, converged, 100); break;
    case 3: mlRootSolve::regula_falsi(f, a, b, tolerance, converged, 100); break;
    case 4: {
        double low = a, high = b, c, fa, fb, fc, least = a;
        ml_minimum_bracketing(f, low, high, c, fa, fb, fc);
        ml_brent_minimum_search(f, low, high, c, tolerance, 100, &least);
        break;
    }
    case 5: {
        int range_end = -9, failed = -9;
        mlMinimiser minimiser(f, script.number(), a, b, tolerance);
        minimiser.minimise(converged, range_end, failed);
        minimiser.change_range(script.number());
        minimiser.minimise(converged, range_end, failed);
        require(range_end >= -1 && range_end <= 1 && failed >= 0 && failed <= 1, "flags of a minimiser");
        break;
    }
    }
    require(converged >= -1 && converged <= 1, "converged or not");
}

void search_a_window(mlBaseMinimiser2 & minimiser, Bytes & script) {
    double const u_min = finite(script), u_max = u_min + std::fabs(finite(script));
    double const v_min = finite(script), v_max = v_min + std::fabs(finite(script));
    int found, u_end, v_end, failed;
    for (int search = 0; search < 2; ++search) {
        double u = u_min, v = v_min;
        if (search == 0 || script.below(2) == 0) minimiser.set_window(u_min, u_max, v_min, v_max);
        minimiser.set_absolute_minimum(script.number());
        minimiser.minimise(u, v, found, u_end, v_end, failed);
        require(failed == (minimiser.state() == mlMinimiser2Failed), "failed or not");
        require(failed + found + (u_end != 0 || v_end != 0) == 1, "one of three ends");
        bool const inside = u >= u_min && u <= u_max && v >= v_min && v <= v_max;
        require(inside || std::isnan(u) || std::isnan(v), "a point of the window");
    }
}

void search_many_variables(Bytes & script, Answers & f) {
    mlVector x(mlVectorZero, 2), low(mlVectorZero, 2), high(mlVectorZero, 2), result;
    mlMatrix directions(mlMatrixZero, 2, 2);
    int flag = 0;
    script.fill(x);
    double const tolerance = script.number();
    switch (script.below(7)) {
    case 0: mlDownHillSimplex(2).solve(f, x, mlDownHillSimplexQuick); break;
    case 1:
        script.fill(directions);
        ml_powell_minimum_search(x, directions, tolerance, flag, f);
        break;
    case 2: {
        mlNewtonRaphson solver(mlNRDim, 2);
        solver.solve(f, x, tolerance, flag);
        require(flag == 0 || solver.status() == mlNRConverged, "the status of a solver that converged");
        break;
    }
    case 3: {
        mlLevenbergMarquardt fit(f);
        fit.set_strict(script.below(2));
        fit.fit(x, result);
        require(result.size() == 2, "as many results as parameters");
        break;
    }
    case 4: {
        script.fill(low);
        script.fill(high);
        mlBoundedFit fit(f, low, high);
        if (fit.fit(x, result) == mlBoundedFitEmptyBox) break;
        for (int j = 0; j < 2; ++j)
            require(std::isnan(result[j]) || (low[j] <= result[j] && result[j] <= high[j]), "a fit inside its box");
        break;
    }
    case 5: {
        mlFitQuality const quality(f, x, tolerance);
        require(quality.rank() >= 0 && quality.rank() <= 2, "the rank of a fit");
        break;
    }
    case 6: {
        mlMatrix h(mlMatrixZero, 2, 2);
        f.gradient(x.slice(), result);
        f.hessian(x.slice(), h);
        script.fill(low);
        script.fill(high);
        mlQuasiNewton search(2, script.below(5));
        search.set_box(low, high);
        search.set_max_iterations(200);
        if (search.minimise(f, x) == mlQuasiNewtonEmptyBox) break;
        for (int j = 0; j < 2; ++j)
            require(std::isnan(x[j]) || (low[j] <= x[j] && x[j] <= high[j]), "a search inside its box");
        break;
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Bytes script(data, size);
    int const what = script.below(4);
    Answers f(script);
    if (what == 0) search_a_line(script, f);
    if (what == 1) search_many_variables(script, f);
    if (what == 2) {
        mlMinimiser2 minimiser(f, script.number(), script.number(), script.number());
        search_a_window(minimiser, script);
    }
    if (what == 3) {
        double const u = script.number(), v = script.number(), resolution = script.number();
        mlVectorMinimiser2 minimiser(f, u, v, resolution, script.below(3));
        search_a_window(minimiser, script);
    }
    return 0;
}
