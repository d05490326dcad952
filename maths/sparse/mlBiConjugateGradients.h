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
/// Order of operations: an iteration is, \f$M^{-1}\f$ being the preconditioner, r = s = b at first, or b - A x from a
/// given x, p = r at first, and \f$\rho'\f$ the \f$\rho\f$ of the iteration before,
/// \f[ \rho = s^T r, \quad p \leftarrow r + \bigl( (\rho / \rho') (\alpha / \omega) \bigr) (p - \omega v), \f]
/// \f[ u = M^{-1} p, \quad v = A u, \quad \alpha = \rho / s^T v, \quad r \leftarrow r - \alpha v, \f]
/// after which it ends with \f$x \leftarrow x + \alpha u\f$ when r is to be checked by the stopping rule, and else goes
/// on by
/// \f[ w = M^{-1} r, \quad t = A w, \quad \omega = t^T r / t^T t, \f]
/// \f[ x \leftarrow (x + \alpha u) + \omega w, \quad r \leftarrow r - \omega t. \f]
/// Where \f$\rho\f$ is at most \f$2^{-52} \|s\| \|r\|\f$ in magnitude, or \f$s^T v\f$ at most
/// \f$2^{-52} \|s\| \|v\|\f$, roundoff has the word, and the iteration begins anew with s = p = r.
/// Breakdown: \f$s^T v\f$ is as small as that from the beginning, or \f$t^T r\f$ in magnitude at most
/// \f$2^{-52} \|t\| \|r\|\f$, so that \f$\omega\f$ is 0 but for roundoff; x has taken \f$\alpha u\f$ then.
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
