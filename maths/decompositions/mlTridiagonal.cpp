#include "maths/decompositions/mlTridiagonal.h"

#include <cmath>
#include <cstdio>

#include "maths/core/mlVectorRuns.h"

namespace {

void copy(mlVector & v, mlSlice const & s, int n) {
    v.expand(n);
    v = s;
}

// Tells, in a checked build, what the others keep to themselves.
void note_dropped_corners([[maybe_unused]] double upper_right, [[maybe_unused]] double lower_left) {
#if defined(MATHS_CHECKED)
    std::fprintf(stderr, "maths: periodic solve: the corners %g and %g, whose signs disagree, count as 0\n",
                 upper_right, lower_left);
#endif
}

} // namespace

int mlTridiagonal::diagonally_dominant() const {
    if (n_ < 1) return 1;
    if (std::fabs(upper_[0]) > std::fabs(diagonal_[0])) return 0;
    if (std::fabs(lower_[n_ - 1]) > std::fabs(diagonal_[n_ - 1])) return 0;
    for (int i = 1; i < n_ - 1; ++i) {
        if (std::fabs(lower_[i]) + std::fabs(upper_[i]) > std::fabs(diagonal_[i])) return 0;
    }
    return 1;
}

int mlTridiagonal::non_zero_diagonal() const {
    for (int i = 0; i < n_; ++i) {
        if (diagonal_[i] == 0.0) return 0;
    }
    return 1;
}

int mlTridiagonal::same_sign_corners() const {
    if (n_ < 1) return 1;
    double const first = diagonal_[0], last = diagonal_[n_ - 1];
    double const upper_right = lower_[0], lower_left = upper_[n_ - 1];
    return (upper_right >= 0.0 && lower_left >= 0.0 && first >= 0.0 && last >= 0.0) ||
           (upper_right <= 0.0 && lower_left <= 0.0 && first <= 0.0 && last <= 0.0);
}

void mlTridiagonal::solve(mlSlice const & r, mlSlice & x) const {
    if (n_ < 1) return;
    mlVector pivots, right;
    copy(pivots, diagonal_, n_);
    copy(right, r, n_);
    ml_check_length("tridiagonal solve, lower diagonal", n_, lower_.length());
    ml_check_length("tridiagonal solve, upper diagonal", n_, upper_.length());
    ml_check_length("tridiagonal solve, solution", n_, x.length());
    auto const a = ml_run(lower_), c = ml_run(upper_);
    auto const result = ml_run(x);
    double * const d = pivots.data();
    double * const y = right.data();
    for (int i = 1; i < n_; ++i) { // row i -= m * row i-1, which clears a[i]
        double const m = a[i] / d[i - 1];
        d[i] -= m * c[i - 1];
        y[i] -= m * y[i - 1];
    }
    double next = result[n_ - 1] = y[n_ - 1] / d[n_ - 1];
    for (int i = n_ - 2; i >= 0; --i)
        next = result[i] = (y[i] - c[i] * next) / d[i];
}

// A = A' + u v^T, where A' has no corners and so takes two plain solves.
void mlTridiagonal::solve_periodic(mlSlice const & r, mlSlice & x) const {
    if (n_ < 1) return;
    int const last = n_ - 1;
    mlVector a, b, c, y;
    copy(a, lower_, n_);
    copy(b, diagonal_, n_);
    copy(c, upper_, n_);
    y.expand(n_);
    mlVector u(mlVectorZero, n_), v(mlVectorZero, n_);
    if (same_sign_corners()) {
        u[0] = -1.0;
        u[last] = 1.0;
        v[0] = c[last];
        v[last] = -a[0];
    } else {
        note_dropped_corners(a[0], c[last]);
    }
    b[0] -= v[0] * u[0]; // one after the other: of order 1, the ends are the same element
    a[0] -= v[last] * u[0];
    c[last] -= u[last] * v[0];
    b[last] -= v[last] * u[last];

    mlTridiagonal const reduced(n_, a.slice(), b.slice(), c.slice());
    mlSlice correction = y.slice();
    reduced.solve(u.slice(), correction);
    reduced.solve(r, x);
    mlSlice const solution(x.data(), x.start(), n_, x.stride());
    double const f = scalar_product(v.slice(), solution) / (1.0 + scalar_product(v, y));
    ml_run_update(ml_run(x), ml_run(y), n_, [f](double & xi, double yi) { xi -= f * yi; });
}
