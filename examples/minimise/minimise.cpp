// Minima and integrals: the temperature at which water is densest, three test functions that are hard on minimisers,
// one of them in boxes and with many variables, the length of a bridge's cable, and the area of a comet's orbit.
//
// minimise [--progress] [folder]     With --progress standard error shows how the searches proceed. With a folder, the
// ways of three searches are written into it, a table each, rosenbrock_simplex.txt, rosenbrock_powell.txt and
// rosenbrock_quasi_newton.txt, which docs/plots/rosenbrock.gp plots.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "examples/support/agreeing_digits.h"
#include "examples/support/figure_file.h"
#include "examples/support/progress_option.h"
#include "maths/maths.h"

namespace {

/// Minus the density of water in kg/m^3 at t degrees Celsius and atmospheric pressure, with its derivatives, counting
/// calls.
///
/// Source: Tanaka, Girard, Davis, Peuto & Bignell, Recommended table for the density of water between 0 C and 40 C
/// based on recent experimental reports, Metrologia 38 (2001):
///     a5 (1 - (t + a1)^2 (t + a2) / (a3 (t + a4))), so that the maximum lies at -a1.
class MinusDensityOfWater : public mlFunction {
public:
    static constexpr double a1 = -3.983035, a2 = 301.797, a3 = 522528.9, a4 = 69.34881, a5 = 999.974950;

    explicit MinusDensityOfWater(int order) { highest_derivative_order = order; }

    double function(double t) const override {
        ++calls[0];
        return -a5 * (1.0 - numerator(t) / (a3 * (t + a4)));
    }

    double function_derivative(int order, double t) const override {
        ++calls[order];
        double const d = t + a4;
        double const n = numerator(t);
        double const n1 = 2.0 * (t + a1) * (t + a2) + (t + a1) * (t + a1);
        if (order == 1) return a5 / a3 * (n1 - n / d) / d;
        double const n2 = 2.0 * (t + a2) + 4.0 * (t + a1);
        return a5 / a3 * (n2 - 2.0 * (n1 - n / d) / d) / d;
    }

    double t_min() const override { return 0.0; }
    double t_max() const override { return 40.0; }

    mutable int calls[3] = {};

private:
    static double numerator(double t) { return (t + a1) * (t + a1) * (t + a2); }
};

void find_densest_water() {
    std::printf("Water is densest at %.6f C, where its density is %.6f kg/m^3\n"
                "(Tanaka et al., Metrologia 38, 2001)\n\n"
                "  derivatives   calls of f   f'   f''   found, C       digits   converged\n",
                -MinusDensityOfWater::a1, MinusDensityOfWater::a5);
    for (int order = 0; order <= 2; ++order) {
        MinusDensityOfWater const f(order);
        mlMinimiser minimiser(f, 20.0, f.t_min(), f.t_max(), 1e-6);
        int found, range_end, not_converged;
        double const t = minimiser.minimise(found, range_end, not_converged);
        std::printf("  %11d   %10d   %2d   %3d   %.10f   %6.1f   %s\n", order, f.calls[0], f.calls[1], f.calls[2], t,
                    agreeing_digits(t, -MinusDensityOfWater::a1), not_converged ? "no" : "yes");
    }
}

double square(double x) { return x * x; }

double rosenbrock(mlSlice const & x) { return 100.0 * square(x[1] - x[0] * x[0]) + square(1.0 - x[0]); }

double powell_singular(mlSlice const & x) {
    return square(x[0] + 10.0 * x[1]) + 5.0 * square(x[2] - x[3]) + square(square(x[1] - 2.0 * x[2])) +
           10.0 * square(square(x[0] - x[3]));
}

double wood(mlSlice const & x) {
    return 100.0 * square(x[1] - x[0] * x[0]) + square(1.0 - x[0]) + 90.0 * square(x[3] - x[2] * x[2]) +
           square(1.0 - x[2]) + 10.1 * (square(x[1] - 1.0) + square(x[3] - 1.0)) + 19.8 * (x[1] - 1.0) * (x[3] - 1.0);
}

/// A test function with its customary start and its only minimum, 0 where every coordinate is `solution`.
/// Source: Moré, Garbow & Hillstrom, Testing unconstrained optimization software (1981).
struct Problem {
    char const * name;
    double (*value)(mlSlice const &);
    std::vector<double> start;
    double solution;
};

Problem const problems[] = {
    {"Rosenbrock", rosenbrock, {-1.2, 1.0}, 1.0},
    {"Powell's singular", powell_singular, {3.0, -1.0, 0.0, 1.0}, 0.0},
    {"Wood", wood, {-3.0, -1.0, -3.0, -1.0}, 1.0},
};

/// A problem's function, which counts its calls and keeps each point that is lower than all before it.
class Followed : public mlFunctionN1 {
public:
    struct Step {
        int call;
        double x, y, value;
    };

    explicit Followed(Problem const & problem) : value_(problem.value) {
        dimension = static_cast<int>(problem.start.size());
    }

    double function(mlSlice const & x) const override {
        double const value = value_(x);
        ++calls;
        if (value < lowest_) way.push_back({calls, x[0], x[1], lowest_ = value});
        return value;
    }

    mutable int calls = 0;
    mutable std::vector<Step> way;

private:
    double (*value_)(mlSlice const &);
    mutable double lowest_ = std::numeric_limits<double>::infinity();
};

/// Prints a line of the table: how low the search came, and to how many digits it knows every coordinate.
void print_result(char const * problem, char const * method, int calls, double least, mlVector const & x,
                  double solution) {
    double digits = 11.0, distance = 0.0;
    for (double const x_i : x) {
        digits = std::min(digits, agreeing_digits(x_i, solution));
        distance = std::max(distance, std::fabs(x_i - solution));
    }
    char digits_text[8] = "-";
    if (solution != 0.0) std::snprintf(digits_text, sizeof digits_text, "%.1f", digits);
    std::printf("  %-18s   %-7s   %5d   %11.3e   %11.3e   %6s\n", problem, method, calls, least, distance, digits_text);
}

void write_way(std::vector<Followed::Step> const & way, std::string const & path) {
    FigureFile file(path, 12);
    file << "# The points of a search on Rosenbrock's function that are lower than all before: call, x, y, value\n";
    for (Followed::Step const & step : way)
        file << step.call << ' ' << step.x << ' ' << step.y << ' ' << step.value << '\n';
    file.finish();
}

void search_by_both_methods(Problem const & problem, std::string const & folder, mlObserver * observer) {
    Followed by_simplex(problem), by_powell(problem);
    int const n = by_simplex.dimension;
    mlVector start(mlVectorZero, n), x(mlVectorZero, n);
    start.become(utConvert, problem.start.data(), n);

    mlDownHillSimplex simplex(n);
    simplex.set_observer(observer);
    double least = simplex.solve(by_simplex, start, mlDownHillSimplexThorough);
    simplex.result(x);
    print_result(problem.name, "simplex", by_simplex.calls, least, x, problem.solution);

    x = start;
    mlMatrix axes(mlMatrixIdentity, n);
    int iterations = 0;
    least = ml_powell_minimum_search(x, axes, 1e-10, iterations, by_powell, observer);
    print_result(problem.name, "Powell", by_powell.calls, least, x, problem.solution);

    if (folder.empty() || problem.value != rosenbrock) return;
    write_way(by_simplex.way, folder + "/rosenbrock_simplex.txt");
    write_way(by_powell.way, folder + "/rosenbrock_powell.txt");
}

/// Rosenbrock's function of each pair of variables, summed; its gradient.
double sum_of_valleys(mlSlice const & x) {
    double sum = 0.0;
    for (int i = 0; i < x.length(); i += 2)
        sum += 100.0 * square(x[i + 1] - square(x[i])) + square(1.0 - x[i]);
    return sum;
}

void slope_of_valleys(mlSlice const & x, mlVector & g) {
    for (int i = 0; i < x.length(); i += 2) {
        double const off = x[i + 1] - square(x[i]);
        g[i] = -400.0 * off * x[i] - 2.0 * (1.0 - x[i]);
        g[i + 1] = 200.0 * off;
    }
}

/// With gradients and by differences, in the open and with every second variable between -2 and 0.5.
void search_with_gradients(mlObserver * observer) {
    std::printf(
        "\nRosenbrock's valley with gradients\n\n"
        "  variables   box   gradient       steps   calls   least value    x[0]     x[1]    projected gradient\n");
    auto const search = [&](mlFunctionN1 const & f, bool boxed, char const * gradient) {
        int const n = f.dimension;
        mlVector x(mlVectorZero, n), lower(mlVectorZero, n), upper(mlVectorZero, n);
        for (int i = 0; i < n; ++i) {
            x[i] = i % 2 == 0 ? -1.2 : 1.0;
            lower[i] = i % 2 == 0 ? mlUnboundedMin : -2.0;
            upper[i] = i % 2 == 0 ? mlUnboundedMax : 0.5;
        }
        mlQuasiNewton minimiser(n);
        minimiser.set_observer(observer);
        if (boxed) minimiser.set_box(lower, upper);
        bool const good = minimiser.minimise(f, x) <= mlQuasiNewtonNoDecrease;
        std::printf("  %9d   %-3s   %-11s   %5d   %5d   %11.3e   %.4f   %.4f   %.0e%s\n", n, boxed ? "yes" : "no",
                    gradient, minimiser.iterations(), minimiser.calls(), minimiser.value(), x[0], x[1],
                    minimiser.projected_gradient_norm(), good ? "" : "   not converged");
    };
    for (int const n : {2, 100000}) {
        for (bool const boxed : {false, true}) {
            search(mlFunctionN1Of(n, sum_of_valleys, slope_of_valleys), boxed, "supplied");
            if (n == 2) search(mlFunctionN1Of(n, sum_of_valleys), boxed, "differences");
        }
    }
}

/// The way of a search with gradients, for the picture.
void follow_quasi_newton(std::string const & path) {
    Followed const rosenbrocks(problems[0]);
    mlVector x{-1.2, 1.0};
    mlQuasiNewton(2).minimise(
        mlFunctionN1Of(
            2, [&rosenbrocks](mlSlice const & p) { return rosenbrocks.function(p); }, slope_of_valleys),
        x);
    write_way(rosenbrocks.way, path);
}

/// The length of a cable per length of the span at a distance x from one tower: a parabola of the given sag.
class CableLength : public mlFunction {
public:
    explicit CableLength(double sag, double span) : slope_(8.0 * sag / (span * span)), middle_(span / 2.0) {}
    double function(double x) const override {
        ++calls;
        return std::sqrt(1.0 + square(slope_ * (x - middle_)));
    }
    mutable int calls = 0;

private:
    double slope_, middle_;
};

/// The estimate after that many halvings of the step. The tolerance 0 is never met: the levels end the integration.
template <class Rule> double integrate(mlFunction const & f, double end, int levels) {
    return Rule(0.0, levels).integrate(f, 0.0, end);
}

/// A line of the table of errors of the three rules after k halvings.
void print_errors(mlFunction const & f, int const & calls, double end, int k, double exact) {
    int const before = calls;
    double const romberg = integrate<mlIntegrateRomberg>(f, end, k);
    int const points = calls - before; // the same for all three
    double const simpson = integrate<mlIntegrateSimpson>(f, end, k);
    double const trapezoid = integrate<mlIntegrateTrapezoid>(f, end, k + 1); // counts the estimate before, too
    std::printf("  %8d   %5d   %18.2e   %11.2e   %11.2e\n", k, points, trapezoid - exact, simpson - exact,
                romberg - exact);
}

void measure_cable() {
    double const span = 4200.0, sag = 470.0; // feet: the main span of the Golden Gate Bridge
    double const n = sag / span;
    double const exact = span / 2.0 * std::sqrt(1.0 + 16.0 * n * n) + span / (8.0 * n) * std::asinh(4.0 * n);
    CableLength const f(sag, span);
    std::printf("\nThe main cable of the Golden Gate Bridge, span %.0f ft, sag %.0f ft, is %.6f ft long\n\n"
                "  halvings   calls   error of trapezoid       Simpson       Romberg\n",
                span, sag, exact);
    for (int k = 1; k <= 8; ++k)
        print_errors(f, f.calls, span, k, exact);
}

/// Half the square of the distance from the sun by the angle from the perihelion, whose integral is the orbit's area.
class SweptArea : public mlFunction {
public:
    SweptArea(double half_axis, double eccentricity)
        : parameter_(half_axis * (1.0 - square(eccentricity))), eccentricity_(eccentricity) {}
    double function(double angle) const override {
        ++calls;
        return 0.5 * square(parameter_ / (1.0 + eccentricity_ * std::cos(angle)));
    }
    mutable int calls = 0;

private:
    double parameter_, eccentricity_;
};

// The whole period of a smooth periodic function: every point counts as much as the next, and Simpson's weights, which
// differ, only spoil that.
void measure_orbit() {
    double const half_axis = 17.834, eccentricity = 0.96714; // astronomical units: Halley's comet
    double const exact = std::numbers::pi * square(half_axis) * std::sqrt(1.0 - square(eccentricity));
    SweptArea const f(half_axis, eccentricity);
    std::printf("\nThe orbit of Halley's comet, half axis %.3f AU, eccentricity %.5f, encloses %.6f square AU\n\n"
                "  by angle   calls   error of trapezoid       Simpson       Romberg\n",
                half_axis, eccentricity, exact);
    for (int k = 1; k <= 9; ++k)
        print_errors(f, f.calls, 2.0 * std::numbers::pi, k, exact);
}

} // namespace

int main(int argc, char ** argv) {
    ProgressOption progress(argc, argv);
    int const first = progress.first_argument();
    find_densest_water();
    std::printf("\n  %-18s   %-7s   %5s   %11s   %11s   %6s\n", "function", "method", "calls", "least value",
                "distance", "digits");
    for (Problem const & problem : problems)
        search_by_both_methods(problem, argc > first ? argv[first] : "", progress.observer());
    search_with_gradients(progress.observer());
    if (argc > first) follow_quasi_newton(std::string(argv[first]) + "/rosenbrock_quasi_newton.txt");
    measure_cable();
    measure_orbit();
}
