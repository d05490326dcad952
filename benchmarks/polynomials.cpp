// Polynomials beside GSL: values at 1000 points and the coefficients through samples, where the size is the degree, and
// closed-form roots, where it is the number of polynomials. All roots at once beside GSL and Eigen, where the size is
// the degree; their errors go to the standard error.

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <limits>
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

using Roots = std::vector<std::complex<double>>;

/// The largest |p(z)| of the roots z, as a multiple of eps times the sum of the magnitudes of p's terms, which is what
/// rounded coefficients do: with 1, the error of z is eps times its condition. Rounding z alone can make it n / 2.
double worst_error(int degree, double const * a, Roots const & roots) {
    long double worst = 0.0L;
    for (std::complex<long double> const z : roots) {
        std::complex<long double> value;
        long double sum = 0.0L;
        for (int i = degree; i >= 0; --i) {
            value = value * z + static_cast<long double>(a[i]);
            sum = sum * std::abs(z) + std::fabs(a[i]);
        }
        worst = std::max(worst, std::abs(value) / sum);
    }
    return static_cast<double>(worst / std::numeric_limits<double>::epsilon());
}

/// Adds a contestant whose `solve` writes the roots of one polynomial, and tells their largest error on the standard
/// error. The moduli in ascending order are what is compared: the lists differ in theirs.
template <class Solve>
void add_all_roots(Race & race, char const * library, Values const & a, Values & moduli, Solve solve) {
    int const degree = race.size();
    double error = 0.0;
    Roots z(degree);
    for (int k = 0; k < many; ++k) {
        solve(&a[k * (degree + 1)], z);
        error = std::max(error, worst_error(degree, &a[k * (degree + 1)], z));
    }
    std::fprintf(stderr, "all_roots %d: %s is wrong by %.2f eps times the condition of a root\n", degree, library,
                 error);
    race.add(
        library, moduli,
        [&a, &moduli, degree, z, solve]() mutable {
            for (int k = 0; k < many; ++k) {
                solve(&a[k * (degree + 1)], z);
                for (int i = 0; i < degree; ++i)
                    moduli[k * degree + i] = std::abs(z[i]);
                std::sort(&moduli[k * degree], &moduli[k * degree] + degree);
            }
        },
        many);
}

auto all_roots(Race & race) {
    int const degree = race.size();
    Values const a = uniform_coefficients(degree);
    Values own(many * degree), gsl(many * degree), eigen(many * degree);
    mlPolynomialSolver solver;
    add_all_roots(race, "maths", a, own, [&solver, degree](double const * p, Roots & z) {
        solver.solve(degree, p);
        for (int i = 0; i < degree; ++i)
            z[i] = {solver.real_part(i), solver.imaginary_part(i)};
    });
    std::unique_ptr<gsl_poly_complex_workspace, void (*)(gsl_poly_complex_workspace *)> const work(
        gsl_poly_complex_workspace_alloc(degree + 1), gsl_poly_complex_workspace_free);
    add_all_roots(race, "gsl", a, gsl, [&work, degree](double const * p, Roots & z) {
        gsl_poly_complex_solve(p, degree + 1, work.get(), reinterpret_cast<double *>(z.data()));
    });
    if (degree > 20) return race.run(); // Eigen's are wrong in the third digit
    Eigen::PolynomialSolver<double, Eigen::Dynamic> eigen_solver;
    add_all_roots(race, "eigen", a, eigen, [&eigen_solver, degree](double const * p, Roots & z) {
        eigen_solver.compute(Eigen::Map<Eigen::VectorXd const>(p, degree + 1));
        std::copy_n(eigen_solver.roots().data(), degree, z.data());
    });
    return race.run();
}

bool const entered = enter("polynomial", {1, 3, 7, 15, 31}, polynomial) &&
                     enter("polynomial_fit", {3, 7, 15}, polynomial_fit) && enter("quadratics", {10000}, quadratics) &&
                     enter("cubics", {10000}, cubics) && enter("quartics", {10000}, quartics) &&
                     enter("all_roots", {5, 10, 20, 100}, all_roots);

} // namespace
