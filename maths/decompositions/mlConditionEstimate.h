#pragma once

#include <algorithm>
#include <cmath>
#include <concepts>
#include <limits>

#include "maths/core/mlExactArithmetic.h"
#include "maths/core/mlNorms.h"

// What a factorisation tells of its matrix and its solutions without the inverse. For use inside the library.

/// The inverse of an n x n matrix A: `solve(x)` overwrites the n doubles x by A^-1 x, `solve_transposed(x)` by A^-T x.
template <class T>
concept mlInverse = requires(T const & inverse, double * x) {
    { inverse.size() } -> std::same_as<int>;
    inverse.solve(x);
    inverse.solve_transposed(x);
};

/// An estimate, from below, of the 1-norm of an n x n matrix M, n > 0, of which only M x and M^T x are known, both
/// formed in place by the callables. It has the magnitude of some M x with a 1-norm of x of 1: the columns that the
/// gradient of this convex function leads to, 5 products at most, and one x of alternating signs. Usually exact, rarely
/// below a third of the norm. NaN and infinity pass through.
/// Source: Hager, Condition estimates (1984); Higham, FORTRAN codes for estimating the one-norm of a real or complex
/// matrix, with applications to condition estimation (1988).
template <std::invocable<double *> Apply, std::invocable<double *> ApplyTransposed>
[[nodiscard]] double ml_estimate_one_norm(int n, Apply apply, ApplyTransposed apply_transposed) {
    mlVector x(mlVectorZero, n), signs(mlVectorZero, n);
    x.fill(1.0 / n);
    apply(x.data());
    double estimate = one_norm(x);
    if (n == 1) return estimate;
    auto const magnitude_less = [](double a, double b) { return std::fabs(a) < std::fabs(b); };
    int unit = -1;
    for (int step = 0; step < 4; ++step) {
        bool changed = false;
        for (int i = 0; i < n; ++i) {
            double const sign = x[i] >= 0.0 ? 1.0 : -1.0;
            changed = changed || sign != signs[i];
            signs[i] = x[i] = sign;
        }
        if (!changed) break;
        apply_transposed(x.data());
        int const steepest = static_cast<int>(std::max_element(x.begin(), x.end(), magnitude_less) - x.begin());
        if (unit >= 0 && !(std::fabs(x[steepest]) > std::fabs(x[unit]))) break;
        unit = steepest;
        x.fill(0.0);
        x[unit] = 1.0;
        apply(x.data());
        double const larger = one_norm(x);
        if (larger <= estimate) break;
        estimate = larger;
    }
    for (int i = 0; i < n; ++i)
        x[i] = (i % 2 == 0 ? 1.0 : -1.0) * (1.0 + i / (n - 1.0));
    apply(x.data());
    double const alternating = 2.0 * one_norm(x) / (3.0 * n);
    return estimate < alternating ? alternating : estimate;
}

/// 1 / (|A| |A^-1|) in the 1-norm, |A| being `norm` and that of the inverse estimated. NaN when the norm is; 0 when
/// solutions overflow.
template <mlInverse Inverse> [[nodiscard]] double ml_reciprocal_condition(double norm, Inverse const & inverse) {
    if (inverse.size() < 1) return 1.0;
    double const inverse_norm = ml_estimate_one_norm(
        inverse.size(), [&](double * x) { inverse.solve(x); }, [&](double * x) { inverse.solve_transposed(x); });
    if (norm != norm) return norm;
    return inverse_norm <= std::numeric_limits<double>::max() ? (1.0 / inverse_norm) / norm : 0.0;
}

/// One step of iterative refinement of A x = b, and a bound of what is left.
///
/// `a(i, j)` is an element of A, `weights` are the row sums of |L| |U|, by the rows of A, of the triangles that the
/// inverse solves with. With residuals r in twice the working precision, x += A^-1 r, and then d = A^-1 r is what a
/// further step would add. For the error e of x, e = d + (1 - B A) e, where B is the inverse that is solved with, and
/// |1 - B A| <= rho = 3 n u |A^-1| |L| |U| in the maximum norm: so |e| <= |d| / (1 - rho), and as much more as the
/// residual can be wrong. The norm of |A^-1| |L| |U| is estimated, and three times that is taken.
/// Returns the bound, divided by |x|, or infinity when rho is not below 1/2.
/// Source: Higham, Accuracy and Stability of Numerical Algorithms (2002), chapters 9, 12 and 15.
template <mlInverse Inverse, std::invocable<int, int> Element>
[[nodiscard]] double ml_refine(Inverse const & inverse, Element a, mlVector const & weights, mlSlice const & b,
                               mlVector & x) {
    int const n = inverse.size();
    mlVector correction(mlVectorZero, n);
    auto const take_residual = [&] {
        for (int i = 0; i < n; ++i) {
            mlPreciseSum sum;
            sum.add(b[i]);
            for (int j = 0; j < n; ++j)
                sum.add_product(-a(i, j), x[j]);
            correction[i] = sum.value();
        }
    };
    take_residual();
    inverse.solve(correction.data());
    for (int i = 0; i < n; ++i)
        x[i] += correction[i];
    if (n < 1) return 0.0;
    take_residual();
    double residual = 0.0; // in parts of the weights
    for (int i = 0; i < n; ++i)
        residual = std::max(residual, std::fabs(correction[i]) / weights[i]);
    inverse.solve(correction.data());

    auto const weigh = [&](double * v) {
        for (int i = 0; i < n; ++i)
            v[i] *= weights[i];
    };
    auto const transposed = [&](double * v) { // the norm of |A^-1| |L| |U| is the 1-norm of W A^-T, W the weights
        inverse.solve_transposed(v);
        weigh(v);
    };
    auto const straight = [&](double * v) {
        weigh(v);
        inverse.solve(v);
    };
    double const u = std::numeric_limits<double>::epsilon() / 2.0;
    double const largest = infinity_norm(x), step = infinity_norm(correction);
    if (largest == 0.0 && step == 0.0) return 0.0; // b is 0
    double const spread = 3.0 * ml_estimate_one_norm(n, transposed, straight);
    double const rho = 3.0 * n * u * spread;
    if (!(rho < 0.5)) return std::numeric_limits<double>::infinity();
    double const wrong_residual = (u * residual + 2.0 * (n + 2.0) * (n + 2.0) * u * u * largest) * spread;
    double const bound = (step + wrong_residual) / (1.0 - rho) / largest;
    return bound <= std::numeric_limits<double>::max() ? bound : std::numeric_limits<double>::infinity();
}
