#pragma once

#include "maths/sparse/mlIterativeSolver.h"

/// Solves A x = b for general square A by the method of bi-conjugate gradients in its stabilised form, known as
/// BiCGSTAB. See `mlIterativeSolver` for operators, preconditioners, the stopping rule and the status.
///
///     mlIncompleteFactors const factors(a);
///     mlBiConjugateGradients solver;
///     solver.set_preconditioner(&factors);
///     if (solver.solve(a, b, x) != mlIterativeConverged) ...
///
/// The residual goes up and down. It may never come down, most of all when eigenvalues lie on both sides of 0 or near
/// the imaginary axis; a preconditioner helps, else a direct method.
/// Order of operations: an iteration is, M^-1 being the preconditioner and r = s = b at first, or b - A x from a given
/// x,
///     rho = s^T r,    p = r at first, r + ((rho / rho before) (alpha / omega)) (p - omega v) after it,
///     u = M^-1 p,    v = A u,    alpha = rho / s^T v,    r -= alpha v,
/// after which it ends with x += alpha u when r is to be checked by the stopping rule, and else goes on by
///     w = M^-1 r,    t = A w,    omega = t^T r / t^T t,    x = (x + alpha u) + omega w,    r -= omega t.
/// Where rho is at most 2^-52 ||s|| ||r|| in magnitude, or s^T v at most 2^-52 ||s|| ||v||, roundoff has the word, and
/// the iteration begins anew with s = p = r.
/// Breakdown: s^T v is as small as that from the beginning, or t^T r in magnitude at most 2^-52 ||t|| ||r||, so that
/// omega is 0 but for roundoff; x has taken alpha u then.
/// Cost: an iteration is two multiplications, two preconditionings, and about 26 n operations; 7 n numbers of storage,
/// 9 n with a preconditioner.
/// Source: van der Vorst, Bi-CGSTAB: a fast and smoothly converging variant of Bi-CG for the solution of nonsymmetric
/// linear systems (1992).
class MATHS_API mlBiConjugateGradients final : public mlIterativeSolver {
public:
    mlBiConjugateGradients();
    ~mlBiConjugateGradients();

private:
    void prepare(int n) override;
    Outcome iterate(bool fresh) override;
    Outcome second_half(mlVector const & u, double alpha);

    mlVector shadow_, p_, v_, t_; // shadow_: s
    mlVector u_, w_;
    double shadow_norm_ = 0.0, rho_ = 0.0, alpha_ = 0.0, omega_ = 0.0;
};
