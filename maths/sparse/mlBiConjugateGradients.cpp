#include "maths/sparse/mlBiConjugateGradients.h"

#include <algorithm>
#include <cmath>

#include "maths/core/mlEightSums.h"

namespace {

/// Whether a scalar product is 0 but for roundoff, `size` being the product of the two norms.
bool vanishes(double product, double size) { return std::fabs(product) <= 0x1p-52 * size; }

} // namespace

mlBiConjugateGradients::mlBiConjugateGradients() = default;

mlBiConjugateGradients::~mlBiConjugateGradients() = default;

void mlBiConjugateGradients::prepare(int n) {
    for (mlVector * v : {&shadow_, &p_, &v_, &t_})
        resize(*v, n);
    if (!preconditioned()) return;
    resize(u_, n);
    resize(w_, n);
}

mlIterativeSolver::Outcome mlBiConjugateGradients::iterate(bool fresh) {
    int const n = x_.size();
    double *const r = r_.data(), *const p = p_.data(), *const v = v_.data();
    double rho = squared_norm_;
    if (fresh) {
        std::copy_n(r, n, shadow_.data());
        std::copy_n(r, n, p);
        shadow_norm_ = std::sqrt(squared_norm_);
    } else {
        rho = ml_scalar_product(shadow_.data(), r, n);
        if (vanishes(rho, shadow_norm_ * std::sqrt(squared_norm_))) return restart;
        double const beta = (rho / rho_) * (alpha_ / omega_), omega = omega_;
        for (int i = 0; i < n; ++i)
            p[i] = r[i] + beta * (p[i] - omega * v[i]);
    }
    mlVector const & u = precondition(p_, u_);
    multiply(u, v_);
    double const divisor = ml_scalar_product(shadow_.data(), v, n);
    double const square = ml_scalar_product(v, v, n);
    if (!std::isfinite(divisor) || !std::isfinite(square)) return not_finite;
    if (vanishes(divisor, shadow_norm_ * std::sqrt(square))) return restart;
    double const alpha = rho / divisor;
    squared_norm_ = ml_update_and_square(r, n, [=](std::ptrdiff_t start, std::ptrdiff_t count) {
        for (std::ptrdiff_t i = start; i < start + count; ++i)
            r[i] -= alpha * v[i];
    });
    rho_ = rho;
    alpha_ = alpha;
    return second_half(u, alpha);
}

// Takes the step along u, and one along the preconditioned residual unless that has nothing left to do.
mlIterativeSolver::Outcome mlBiConjugateGradients::second_half(mlVector const & preconditioned_p, double alpha) {
    int const n = x_.size();
    double *const x = x_.data(), *const r = r_.data();
    double const * const u = preconditioned_p.data();
    bool const small = is_small(std::sqrt(squared_norm_));
    mlVector const & preconditioned_r = small ? r_ : precondition(r_, w_);
    bool stuck = false;
    double omega = 0.0;
    if (!small) {
        multiply(preconditioned_r, t_);
        double const product = ml_scalar_product(t_.data(), r, n), square = ml_scalar_product(t_.data(), t_.data(), n);
        if (!std::isfinite(product) || !std::isfinite(square)) return not_finite;
        stuck = vanishes(product, std::sqrt(square) * std::sqrt(squared_norm_));
        omega = product / square;
    }
    double const * const w = preconditioned_r.data();
    if (observed()) {
        double sum = 0.0;
        for (int i = 0; i < n; ++i) {
            double const change = small || stuck ? alpha * u[i] : alpha * u[i] + omega * w[i];
            sum += change * change;
        }
        step_ = std::sqrt(sum);
    }
    if (small || stuck) {
        for (int i = 0; i < n; ++i)
            x[i] += alpha * u[i];
        return stuck ? breakdown : done;
    }
    double const * const t = t_.data();
    squared_norm_ = ml_update_and_square(r, n, [=](std::ptrdiff_t start, std::ptrdiff_t count) {
        for (std::ptrdiff_t i = start; i < start + count; ++i)
            x[i] = (x[i] + alpha * u[i]) + omega * w[i];
        for (std::ptrdiff_t i = start; i < start + count; ++i)
            r[i] -= omega * t[i];
    });
    omega_ = omega;
    return done;
}
