#include "maths/sparse/mlConjugateGradients.h"

#include <algorithm>
#include <cmath>

#include "maths/core/mlEightSums.h"

mlConjugateGradients::mlConjugateGradients() = default;

mlConjugateGradients::~mlConjugateGradients() = default;

void mlConjugateGradients::prepare(int n) {
    resize(p_, n);
    resize(q_, n);
    if (preconditioned()) resize(z_, n);
}

mlIterativeSolver::Outcome mlConjugateGradients::iterate(bool fresh) {
    int const n = x_.size();
    double * const p = p_.data();
    double const * const z = precondition(r_, z_).data();
    double const rho = preconditioned() ? ml_scalar_product(r_.data(), z, n) : squared_norm_;
    if (!(rho > 0.0)) return std::isfinite(rho) ? not_positive : not_finite;
    if (fresh) {
        std::copy_n(z, n, p);
    } else {
        double const beta = rho / rho_;
        for (int i = 0; i < n; ++i)
            p[i] = z[i] + beta * p[i];
    }
    rho_ = rho;
    multiply(p_, q_);
    double const * const q = q_.data();
    double const curvature = ml_scalar_product(p, q, n);
    if (!(curvature > 0.0)) return std::isfinite(curvature) ? not_positive : not_finite;
    double const alpha = rho / curvature;
    double *const x = x_.data(), *const r = r_.data();
    squared_norm_ = ml_update_and_square(r, n, [=](std::ptrdiff_t start, std::ptrdiff_t count) {
        for (std::ptrdiff_t i = start; i < start + count; ++i) {
            x[i] += alpha * p[i];
            r[i] -= alpha * q[i];
        }
    });
    if (observed()) step_ = alpha * std::sqrt(ml_scalar_product(p, p, n));
    return done;
}
