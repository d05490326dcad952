// Fitting and solving: published regression problems and shapes by Levenberg-Marquardt, a curve through a profile by
// chord-length interpolation, the angles of a robot's arm by Newton-Raphson.
//
// fit [--progress] [data [folder]]     With --progress standard error shows how each problem's fit proceeds. The first
// folder holds the regression problems' observations; the default is in examples/data. The second gets the curve of one
// fit with its standard error, fit_curve.txt, and the observations with their residuals, fit_residuals.txt.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>

#include "examples/fit/nist.h"
#include "examples/fit/shapes.h"
#include "examples/support/agreeing_digits.h"
#include "examples/support/column_table.h"
#include "examples/support/figure_file.h"
#include "examples/support/progress_option.h"

namespace {

struct Fit {
    mlVector parameters, deviations;
    double residual_sum;
    int iterations, tries;
};

// Strictly, since the ordinary fit stops as soon as lambda has fallen to 1e-10, which costs Lanczos3 half its digits.
void fit_from_start(NistProblem const & problem, ColumnTable const & table, int start, mlObserver * observer,
                    Fit & fit) {
    NistFit model(problem, table.column(0), table.column(1));
    mlVector b;
    b.become(utConvert, problem.starts[start].data(), model.n_parameters());
    mlLevenbergMarquardt solver(model);
    solver.set_strict(true);
    solver.set_observer(observer);
    solver.fit(b, fit.parameters);
    fit.iterations = model.gradients / model.n_points();
    fit.tries = model.distances / model.n_points();

    // What the fit returns is the mean one step before the result.
    model.set_parameters(fit.parameters);
    fit.residual_sum = 0.0;
    for (int i = 0; i < model.n_points(); ++i) {
        double d;
        model.distance(d, i);
        fit.residual_sum += d * d;
    }
    fit.deviations.become(utCopy, mlFitQuality(model, fit.parameters).standard_errors());
}

void print_beside(std::string const & name, double certified, double first, double second) {
    std::printf("  %-12s %17.10e   %17.10e %4.1f   %17.10e %4.1f\n", name.c_str(), certified, first,
                agreeing_digits(first, certified), second, agreeing_digits(second, certified));
}

void fit_reference_problem(NistProblem const & problem, std::string const & folder, mlObserver * observer) {
    ColumnTable const table(folder + problem.data, 2);
    Fit fits[2];
    for (int start = 0; start < 2; ++start)
        fit_from_start(problem, table, start, observer, fits[start]);

    std::printf("%s, %s level, %d observations\n", problem.name, problem.level, table.rows());
    std::printf("  %-12s %17s   %17s %4s   %17s %4s\n", "", "certified", "from start 1", "dig.", "from start 2",
                "dig.");
    for (int j = 0; j < fits[0].parameters.size(); ++j) {
        print_beside(std::string("b").append(std::to_string(j + 1)), problem.certified[j], fits[0].parameters[j],
                     fits[1].parameters[j]);
        print_beside("  deviation", problem.deviations[j], fits[0].deviations[j], fits[1].deviations[j]);
    }
    print_beside("residual sum", problem.residual_sum, fits[0].residual_sum, fits[1].residual_sum);
    std::printf("  %-12s %17s   %17d %4s   %17d\n", "iterations", "", fits[0].iterations, "", fits[1].iterations);
    std::printf("  %-12s %17s   %17d %4s   %17d\n\n", "tries", "", fits[0].tries, "", fits[1].tries);
}

/// The fitted curve, its standard error, which the parameters' covariance carries over, and what the fit leaves.
void draw_fit(NistProblem const & problem, std::string const & data, std::string const & folder) {
    ColumnTable const table(data + problem.data, 2);
    mlSlice const x = table.column(0), y = table.column(1);
    Fit fit;
    fit_from_start(problem, table, 1, nullptr, fit);
    NistFit model(problem, x, y);
    mlFitQuality const quality(model, fit.parameters);
    mlVector gradient(mlVectorZero, fit.parameters.size()), moved;
    double const first = *std::min_element(x.begin(), x.end()), last = *std::max_element(x.begin(), x.end());

    FigureFile curve(folder + "/fit_curve.txt", 12);
    curve << "# x, the fitted curve there, its standard error\n";
    for (int i = 0; i <= 200; ++i) {
        double const at = first + (last - first) * i / 200;
        double const value = problem.formula(fit.parameters.data(), at, gradient.data());
        multiply(quality.covariance(), gradient, moved);
        curve << at << ' ' << value << ' ' << std::sqrt(scalar_product(gradient, moved)) << '\n';
    }
    curve.finish();

    FigureFile residuals(folder + "/fit_residuals.txt", 12);
    residuals << "# x, y, y less the fitted curve; their residual deviation is " << quality.residual_deviation()
              << '\n';
    for (int i = 0; i < x.length(); ++i)
        residuals << x[i] << ' ' << y[i] << ' ' << y[i] - problem.formula(fit.parameters.data(), x[i], gradient.data())
                  << '\n';
    residuals.finish();
}

void print_residuals(mlDistanceLeastSquares & model, mlVector const & parameters) {
    model.set_parameters(parameters);
    std::printf("  residuals");
    double sum = 0.0;
    for (int i = 0; i < model.n_points(); ++i) {
        double d;
        model.distance(d, i);
        sum += d * d;
        std::printf("%s%8.4f", i % 8 == 0 ? "\n    " : " ", d);
    }
    std::printf("\n  root of their mean square %.4f\n\n", std::sqrt(sum / model.n_points()));
}

void fit_circle() {
    mlRandom random(1);
    mlTinyVector2coDynArr points;
    for (int i = 0; i < 16; ++i) { // a third of a circle
        double const angle = 2.0 * std::numbers::pi / 3.0 * i / 15;
        points[i][0] = 3.0 + 5.0 * std::cos(angle) + 0.01 * random.normal();
        points[i][1] = -2.0 + 5.0 * std::sin(angle) + 0.01 * random.normal();
    }
    CircleFit circle(points);
    mlVector start(mlVectorZero, 3), found;
    start[2] = 1.0;
    mlLevenbergMarquardt(circle).fit(start, found);
    std::printf("Circle through 16 points on a third of the circle around (3, -2) of radius 5, disturbed by 0.01\n");
    std::printf("  centre (%.4f, %.4f), radius %.4f; point distribution quality %.2f\n", found[0], found[1], found[2],
                circle.point_distribution_quality(found));
    print_residuals(circle, found);
}

void fit_plane() {
    mlRandom random(2);
    mlTinyVector3coDynArr points;
    for (int i = 0; i < 16; ++i) { // z = 6 - x / 2 + y / 4, so the normal is (2, -1, 4) / sqrt(21)
        points[i][0] = i % 4;
        points[i][1] = i / 4;
        points[i][2] = 6.0 - 0.5 * points[i][0] + 0.25 * points[i][1] + 0.01 * random.normal();
    }
    PlaneFit plane(points);
    mlVector start(mlVectorZero, 4), found;
    start[2] = 1.0;
    mlLevenbergMarquardt(plane).fit(start, found);
    std::printf("Plane through 16 points of 2 x - y + 4 z = 24, disturbed by 0.01 along z\n");
    std::printf("  normal (%.4f, %.4f, %.4f), %.4f from the origin; undisturbed (%.4f, %.4f, %.4f), %.4f\n", found[0],
                found[1], found[2], found[3], 2 / std::sqrt(21), -1 / std::sqrt(21), 4 / std::sqrt(21),
                24 / std::sqrt(21));
    print_residuals(plane, found);
}

/// Half the thickness of the NACA 0012 aerofoil at x along its chord; Abbott & von Doenhoff, Theory of Wing Sections.
double half_thickness(double x) {
    double const coefficients[] = {0.0, -0.1260, -0.3516, 0.2843, -0.1015};
    double polynomial;
    mlPolynomial::evaluate(4, coefficients, x, polynomial);
    return 5.0 * 0.12 * (0.2969 * std::sqrt(x) + polynomial);
}

// Round the nose, where the profile is no function of x.
void draw_nose() {
    int const n = 12;
    mlTinyVector2 points[n + 1], curve[n + 1];
    for (int i = 0; i <= n; ++i) { // closer towards the ends, where a high degree would swing
        double const u = std::sin((2.0 * i / n - 1.0) * std::numbers::pi / 2.0);
        points[i][0] = 0.05 * u * u;
        points[i][1] = std::copysign(half_thickness(points[i][0]), u);
    }
    mlTinyVector2Polynomial().fit(-1.0, 1.0, points, n, curve);

    std::printf("NACA 0012, the first 5 %% of its profile: a curve of degree %d through %d points\n", n, n + 1);
    std::printf("  %5s   %9s %9s   %s\n", "t", "x", "y", "off the profile");
    double worst = 0.0;
    for (int i = 0; i <= 40; ++i) {
        double const t = i / 20.0 - 1.0;
        mlTinyVector2 p;
        mlTinyVector2Polynomial::evaluate(n, curve, t, p);
        double const off = std::fabs(p[1]) - half_thickness(std::max(p[0], 0.0));
        worst = std::max(worst, std::fabs(off));
        if (i % 4 == 0) std::printf("  %5.2f   %9.6f %9.6f   %9.1e\n", t, p[0], p[1], off);
    }
    int degree = n;
    mlTinyVector2Polynomial::derivative(1, degree, curve);
    mlTinyVector2 direction;
    mlTinyVector2Polynomial::evaluate(degree, curve, 0.0, direction);
    std::printf("  at most %.1e off; direction at the nose (%.1e, %.4f)\n\n", worst, direction[0], direction[1]);
}

/// Where the hand of an arm of two links misses its target, for the angle of the first link to the x axis and that of
/// the second to the first.
class ArmError : public mlFunctionN {
public:
    ArmError(double x, double y) : x_(x), y_(y) { input_dimension = output_dimension = 2; }

    void function(mlSlice const & angles, mlVector & error) const override {
        double const sum = angles[0] + angles[1];
        error[0] = upper * std::cos(angles[0]) + lower * std::cos(sum) - x_;
        error[1] = upper * std::sin(angles[0]) + lower * std::sin(sum) - y_;
        ++calls;
    }
    void function_gradient(mlSlice const & angles, mlMatrix & jacobian) const override {
        double const sum = angles[0] + angles[1];
        jacobian(0, 1) = -lower * std::sin(sum);
        jacobian(1, 1) = lower * std::cos(sum);
        jacobian(0, 0) = jacobian(0, 1) - upper * std::sin(angles[0]);
        jacobian(1, 0) = jacobian(1, 1) + upper * std::cos(angles[0]);
    }

    mutable int calls = 0;

private:
    static constexpr double upper = 1.0, lower = 0.8;
    double x_, y_;
};

char const * name_of(mlNRStatus status) {
    switch (status) {
    case mlNRConverged: return "converged";
    case mlNRSingularJacobian: return "singular Jacobian";
    case mlNRIterationLimit: return "iteration limit";
    case mlNRSlowProgress: return "slow progress";
    default: return "no change";
    }
}

void reach(double x, double y, double first, double second) {
    ArmError const arm_error(x, y);
    mlVector angles(mlVectorZero, 2);
    angles[0] = first;
    angles[1] = second;
    mlNewtonRaphson solver(mlNRDim, 2);
    int converged;
    solver.solve(arm_error, angles, 1e-12, converged);
    std::printf("  (%4.1f, %4.1f)  (%4.1f, %4.1f)   (%9.6f, %9.6f)   %9d   %d %s\n", x, y, first, second, angles[0],
                angles[1], arm_error.calls, solver.status(), name_of(solver.status()));
}

} // namespace

int main(int argc, char ** argv) {
    ProgressOption progress(argc, argv);
    int const first = progress.first_argument();
    std::string const folder = argc > first ? std::string(argv[first]) + '/' : MATHS_EXAMPLE_DATA;
    for (NistProblem const & problem : nist_problems())
        fit_reference_problem(problem, folder, progress.observer());
    if (argc > first + 1) draw_fit(nist_problems()[1], folder, argv[first + 1]); // Chwirut2
    fit_circle();
    fit_plane();
    draw_nose();

    std::printf("Angles of an arm with links of 1 and 0.8 that reaches for a target\n");
    std::printf("  %-12s  %-12s   %-22s   %9s   %s\n", "target", "start", "angles", "calls of F", "status");
    reach(1.2, 0.7, 0.3, 0.5);
    reach(1.2, 0.7, 0.3, -0.5);
    reach(-0.9, 1.1, 0.3, 0.5);
    reach(-0.9, 1.1, 1.5, 1.5);
    reach(1.2, 0.7, 0.5, 0.0); // stretched out, where the hand moves across the arm only
    reach(1.5, 1.5, 0.3, 0.5); // out of reach
}
