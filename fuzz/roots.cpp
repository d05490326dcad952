#include <algorithm>
#include <cmath>
#include <limits>

#include "fuzz/support/bytes.h"
#include "maths/polynomials/mlPolynomialSolver.h"
#include "maths/polynomials/mlRootSolve.h"

// Roots in closed form, and all roots of polynomials of any degree (see below). For all coefficients the result is a
// number of roots. Where the leading coefficient is not negligible, the roots are numbers in ascending order, and each
// is one of a polynomial with nearly the same coefficients.

namespace {

/// How far out the roots of p can be, but for a factor.
double reach(double const * p, int degree) {
    double far = 0.0;
    for (int i = 1; i <= degree; ++i)
        far = std::max(far, std::pow(std::fabs(p[i] / p[0]), 1.0 / i));
    return far;
}

/// |p(x)| relative to the sum of the magnitudes of p's terms as far out as its roots can be.
double backward_error(double const * p, int degree, double x) {
    double const far = std::max(reach(p, degree), std::fabs(x));
    long double value = 0.0L, magnitude = 0.0L;
    for (int i = 0; i <= degree; ++i) {
        value = value * x + p[i];
        magnitude = magnitude * far + std::fabs(p[i]);
    }
    return value == 0.0L ? 0.0 : static_cast<double>(std::fabs(value) / magnitude);
}

/// The error that the method explains: the quadratic takes small discriminants for zero; the cubic loses up to two
/// thirds of the digits in a cube root; the quartic divides by what the cubic has left, and has no bound unless the
/// linear term of its depressed form is zero or far from zero.
double bound(double const * p, int degree) {
    if (degree == 2) return 1e-11;
    if (degree == 3) return 1e-4;
    double const a = p[0], b = p[1], c = p[2], d = p[3], far = reach(p, 4);
    double const linear = (b * b * b - 4.0 * a * b * c + 8.0 * a * a * d) / (8.0 * a * a * a);
    if (linear == 0.0) return 1e-10;
    return std::fabs(linear) > 0.3 * far * far * far ? 1e-2 : std::numeric_limits<double>::infinity();
}

int solve(double const * p, int degree, double * r) {
    switch (degree) {
    case 2: return mlRootSolve::quadratic_solve(p[0], p[1], p[2], r[0], r[1]);
    case 3: return mlRootSolve::cubic_solve(p[0], p[1], p[2], p[3], r[0], r[1], r[2]);
    default: return mlRootSolve::quartic_solve(p[0], p[1], p[2], p[3], p[4], r[0], r[1], r[2], r[3]);
    }
}

// All roots: whatever the coefficients, the list is in order, pairs are adjacent and exactly conjugate, every
// number is one, and what the status says of the coefficients holds.
void check_all_roots(Bytes & script) {
    int const n = script.below(24) - 1;
    double a[24];
    bool const any = script.below(2) == 0;
    for (int i = 0; i <= n; ++i)
        a[i] = any ? script.any_double() : script.byte() - 128.0;
    mlPolynomialSolver solver;
    mlPolynomialSolverStatus const status = solver.solve(n, a);
    bool const finite = std::all_of(a, a + (n + 1), [](double c) { return std::isfinite(c); });
    bool const zero = std::all_of(a, a + (n + 1), [](double c) { return c == 0.0; });
    require((status == mlPolynomialSolverNotFinite) == !finite, "a coefficient is not finite");
    require((status == mlPolynomialSolverEverywhere) == zero, "no roots, or all numbers");
    require(any || status == mlPolynomialSolverSolved || zero, "solved");
    int real = 0;
    for (int i = 0; i < solver.num_roots(); ++i) {
        double const x = solver.real_part(i), y = solver.imaginary_part(i);
        require(std::isfinite(x) && std::isfinite(y) && solver.error_bound(i) >= 0.0, "a root and its bound");
        require(status != mlPolynomialSolverSolved || std::isfinite(solver.error_bound(i)), "a bound of a solved root");
        require(i == 0 || solver.real_part(i - 1) <= x, "ascending real parts");
        require(!(y < 0.0) || (i + 1 < solver.num_roots() && solver.imaginary_part(i + 1) == -y), "a pair together");
        real += y == 0.0;
    }
    require(real == solver.num_real_roots(), "the number of real roots");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Bytes script(data, size);
    int const degree = 2 + script.below(4);
    if (degree == 5) {
        check_all_roots(script);
        return 0;
    }
    bool const any = script.below(2) == 0;
    double p[5], r[4];
    for (int i = 0; i <= degree; ++i)
        p[i] = any ? script.any_double() : (script.byte() * 256 + script.byte() - 32768) / 1024.0;
    std::fill(r, r + 4, std::numeric_limits<double>::quiet_NaN());

    int const count = solve(p, degree, r);
    require(-1 <= count && count <= degree, "number of roots");
    bool const nothing = std::all_of(p, p + degree + 1, [](double c) { return c == 0.0 || std::isnan(c); });
    require(!(count == -1) || nothing, "roots everywhere"); // a NaN may be taken for nothing
    if (any || p[0] == 0.0) return 0;
    for (int i = 0; i < degree; ++i) {
        require(std::isfinite(r[i]), "root is a number");
        if (i >= count) continue;
        require(i == 0 || r[i - 1] <= r[i], "ascending roots");
        require(backward_error(p, degree, r[i]) <= bound(p, degree), "root of a nearby polynomial");
    }
    return 0;
}
