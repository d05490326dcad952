// Polynomials beside GSL: values at 1000 points and the coefficients through samples, where the size is the degree, and
// closed-form roots, where it is the number of polynomials. All roots at once beside GSL and Eigen,
// where the size is the degree.

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include <gsl/gsl_poly.h>
#include <unsupported/Eigen/Polynomials>

#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

/// cos(i) for i = 0 .. count - 1.
Values samples(int count) {
    Values values(count);
    for (int i = 0; i < count; ++i)
        values[i] = std::cos(i);
    return values;
}

auto polynomial(Race & race) {
    int const degree = race.size();
    Values const a = samples(degree + 1), t = samples(1000);
    Values own(t.size()), gsl(t.size());
    race.add("maths", own, [&] {
        for (std::size_t i = 0; i < t.size(); ++i)
            mlPolynomial::evaluate(degree, a.data(), t[i], own[i]);
    });
    race.add("gsl", gsl, [&] {
        for (std::size_t i = 0; i < t.size(); ++i)
            gsl[i] = gsl_poly_eval(a.data(), degree + 1, t[i]);
    });
    return race.run();
}

auto polynomial_fit(Race & race) {
    int const degree = race.size(), count = degree + 1;
    Values const y = samples(count);
    Values x(count), own(count), gsl(count), differences(count), work(count);
    for (int i = 0; i < count; ++i)
        x[i] = std::cos((i + 0.5) * std::numbers::pi / count);
    mlPolynomial polynomial;
    race.add("maths", own, [&] { polynomial.fit(x.data(), y.data(), degree, own.data()); });
    race.add("gsl", gsl, [&] { // divided differences, then Taylor's coefficients at 0
        gsl_poly_dd_init(differences.data(), x.data(), y.data(), count);
        gsl_poly_dd_taylor(gsl.data(), 0.0, differences.data(), x.data(), count, work.data());
    });
    return race.run();
}

// --- Roots: all of them are real

/// Writes the roots r of the monic polynomial p, leading coefficient first, in ascending order.
using Solver = void (*)(double const * p, double * r);

/// Monic polynomials with roots in [-1, 1), [3, 5), [7, 9), ... in this order.
Values monic_polynomials(int count, int degree) {
    mlRandom random(count);
    Values coefficients(count * (degree + 1));
    for (int k = 0; k < count; ++k) {
        double * const p = &coefficients[k * (degree + 1)];
        p[0] = 1.0;
        for (int i = 0; i < degree; ++i) {
            double const root = 4.0 * i + random.uniform(-1.0, 1.0);
            for (int j = i + 1; j > 0; --j)
                p[j] -= root * p[j - 1];
        }
    }
    return coefficients;
}

auto roots(Race & race, int degree, Solver own_solver, Solver peer_solver) {
    int const count = race.size();
    Values const coefficients = monic_polynomials(count, degree);
    Values own(count * degree), gsl(count * degree);
    auto const solve_all = [&, count, degree](Solver solve, Values & found) {
        for (int k = 0; k < count; ++k)
            solve(&coefficients[k * (degree + 1)], &found[k * degree]);
    };
    race.add(
        "maths", own, [&] { solve_all(own_solver, own); }, count);
    race.add(
        "gsl", gsl, [&] { solve_all(peer_solver, gsl); }, count);
    return race.run();
}

void own_quadratic(double const * p, double * r) { mlRootSolve::quadratic_solve(p[0], p[1], p[2], r[0], r[1]); }
void gsl_quadratic(double const * p, double * r) { gsl_poly_solve_quadratic(p[0], p[1], p[2], &r[0], &r[1]); }

void own_cubic(double const * p, double * r) { mlRootSolve::cubic_solve(p[0], p[1], p[2], p[3], r[0], r[1], r[2]); }
void gsl_cubic(double const * p, double * r) { gsl_poly_solve_cubic(p[1], p[2], p[3], &r[0], &r[1], &r[2]); }

void own_quartic(double const * p, double * r) {
    mlRootSolve::quartic_solve(p[0], p[1], p[2], p[3], p[4], r[0], r[1], r[2], r[3]);
}

/// There is no closed form of a quartic there: it finds the eigenvalues of the companion matrix.
void gsl_quartic(double const * p, double * r) {
    static std::unique_ptr<gsl_poly_complex_workspace, void (*)(gsl_poly_complex_workspace *)> const work(
        gsl_poly_complex_workspace_alloc(5), gsl_poly_complex_workspace_free);
    double const ascending_powers[] = {p[4], p[3], p[2], p[1], p[0]};
    double z[8];
    gsl_poly_complex_solve(ascending_powers, 5, work.get(), z);
    for (int i = 0; i < 4; ++i)
        r[i] = z[2 * i];
    std::sort(r, r + 4);
}

auto quadratics(Race & race) { return roots(race, 2, own_quadratic, gsl_quadratic); }
auto cubics(Race & race) { return roots(race, 3, own_cubic, gsl_cubic); }
auto quartics(Race & race) { return roots(race, 4, own_quartic, gsl_quartic); }

// --- All roots, complex ones included

int const many = 20; // polynomials of each degree

/// Uniform coefficients in -1 .. 1.
Values uniform_coefficients(int degree) {
    mlRandom random(degree);
    Values a(many * (degree + 1));
    for (double & c : a)
        c = random.uniform(-1.0, 1.0);
    return a;
}

/// The moduli of the roots in ascending order: what contestants can be compared by whose lists differ in order.
void sort_moduli(double * moduli, int count) { std::sort(moduli, moduli + count); }

auto all_roots(Race & race) {
    int const degree = race.size();
    Values const a = uniform_coefficients(degree);
    Values own(many * degree), gsl(many * degree), eigen(many * degree);
    std::unique_ptr<gsl_poly_complex_workspace, void (*)(gsl_poly_complex_workspace *)> const work(
        gsl_poly_complex_workspace_alloc(degree + 1), gsl_poly_complex_workspace_free);
    Values z(2 * degree);
    mlPolynomialSolver solver;
    race.add(
        "maths", own,
        [&, degree] {
            for (int k = 0; k < many; ++k) {
                solver.solve(degree, &a[k * (degree + 1)]);
                for (int i = 0; i < degree; ++i)
                    own[k * degree + i] = std::hypot(solver.real_part(i), solver.imaginary_part(i));
                sort_moduli(&own[k * degree], degree);
            }
        },
        many);
    race.add(
        "gsl", gsl,
        [&, degree] {
            for (int k = 0; k < many; ++k) {
                gsl_poly_complex_solve(&a[k * (degree + 1)], degree + 1, work.get(), z.data());
                for (int i = 0; i < degree; ++i)
                    gsl[k * degree + i] = std::hypot(z[2 * i], z[2 * i + 1]);
                sort_moduli(&gsl[k * degree], degree);
            }
        },
        many);
    Eigen::PolynomialSolver<double, Eigen::Dynamic> eigen_solver;
    race.add(
        "eigen", eigen,
        [&, degree] {
            for (int k = 0; k < many; ++k) {
                eigen_solver.compute(Eigen::Map<Eigen::VectorXd const>(&a[k * (degree + 1)], degree + 1));
                for (int i = 0; i < degree; ++i)
                    eigen[k * degree + i] = std::abs(eigen_solver.roots()[i]);
                sort_moduli(&eigen[k * degree], degree);
            }
        },
        many);
    return race.run();
}

bool const entered = enter("polynomial", {1, 3, 7, 15, 31}, polynomial) &&
                     enter("polynomial_fit", {3, 7, 15}, polynomial_fit) && enter("quadratics", {10000}, quadratics) &&
                     enter("cubics", {10000}, cubics) && enter("quartics", {10000}, quartics) &&
                     enter("all_roots", {5, 10, 20, 100}, all_roots);

} // namespace
