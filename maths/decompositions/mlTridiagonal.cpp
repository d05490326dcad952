#include "maths/decompositions/mlTridiagonal.h"

#include <cmath>
#include <cstdio>

#include "maths/core/mlVectorRuns.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

namespace {

using Run = mlStridedRun<double const>;

double * copy(double * to, mlSlice const & s, int n) {
    ml_run_update(mlDenseRun<double>{to}, ml_run(s), n, mlAssign());
    return to;
}

// Overwrites the right-hand sides y by their solutions, and the diagonal d by its pivots. Several right-hand sides are
// solved together, each with the bits that it has alone.
template <int count> void solve_in_place(Run a, double * d, Run c, int n, double * const (&y)[count]) {
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): n is not 0, and all of d was copied
    double pivot = d[0]; // in a register, like `before`: a step would have to wait for memory
    double before[count];
    for (int k = 0; k < count; ++k)
        before[k] = y[k][0];
    for (int i = 1; i < n; ++i) { // row i -= m * row i-1, which clears a[i]
        double const m = a[i] / pivot;
        pivot = d[i] -= m * c[i - 1];
        for (int k = 0; k < count; ++k)
            before[k] = y[k][i] -= m * before[k];
    }
    for (int k = 0; k < count; ++k)
        before[k] = y[k][n - 1] /= pivot;
    for (int i = n - 2; i >= 0; --i) {
        for (int k = 0; k < count; ++k)
            before[k] = y[k][i] = (y[k][i] - c[i] * before[k]) / d[i];
    }
}

// Checked builds report the dropped corners; the others drop them silently.
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
    ml_check_length("tridiagonal solve, right-hand side", n_, r.length());
    ml_check_length("tridiagonal solve, solution", n_, x.length());
    coScratch<ml_tuning::tridiagonal_scratch> scratch(2 * static_cast<std::size_t>(n_));
    double * const d = copy(scratch.data(), diagonal_, n_);
    double * const y = copy(d + n_, r, n_);
    solve_in_place(ml_run(lower_), d, ml_run(upper_), n_, {y});
    ml_run_update(ml_run(x), mlDenseRun<double const>{y}, n_, mlAssign());
}

// A = A' + u v^T, where A' has no corners: x - f y of the plain solutions A' x = r and A' y = u.
void mlTridiagonal::solve_periodic(mlSlice const & r, mlSlice & x) const {
    if (n_ < 1) return;
    ml_check_length("tridiagonal solve, right-hand side", n_, r.length());
    ml_check_length("tridiagonal solve, solution", n_, x.length());
    int const last = n_ - 1;
    double const upper_right = lower_[0], lower_left = upper_[last];
    mlVector d, solution, u(mlVectorZero, n_), v(mlVectorZero, n_);
    d.expand(n_);
    solution.expand(n_);
    copy(d.data(), diagonal_, n_);
    copy(solution.data(), r, n_);
    if (same_sign_corners()) { // in two statements, here and below: for order 1 both change the same element
        u[0] = -1.0;
        u[last] = 1.0;
        v[0] = lower_left;
        v[last] = -upper_right;
    } else {
        note_dropped_corners(upper_right, lower_left);
    }
    d[0] -= v[0] * u[0];
    d[last] -= v[last] * u[last];

    solve_in_place(ml_run(lower_), d.data(), ml_run(upper_), n_, {u.data(), solution.data()});
    mlVector const & y = u;
    double const f = scalar_product(v, solution) / (1.0 + scalar_product(v, y));
    auto const result = ml_run(x);
    for (int i = 0; i < n_; ++i)
        result[i] = solution[i] - f * y[i];
}

void mlTridiagonal::solve(mlSlice const & r, mlVector & x) const {
    x.become(utCopy, r);
    x.shrink(n_, 0);
    solve(x.slice(), x.slice());
}

void mlTridiagonal::solve_periodic(mlSlice const & r, mlVector & x) const {
    x.become(utCopy, r);
    x.shrink(n_, 0);
    solve_periodic(x.slice(), x.slice());
}
