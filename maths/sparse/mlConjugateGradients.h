#pragma once

#include "maths/sparse/mlIterativeSolver.h"

/// Solves A x = b by the method of conjugate gradients, for symmetric positive-definite A. See `mlIterativeSolver` for
/// operators, preconditioners (symmetric positive-definite ones), the stopping rule and the status.
///
///     mlConjugateGradients solver;
///     if (solver.solve(a, b, x) != mlIterativeConverged) ...
///
/// The number of iterations grows like the square root of the condition of A, preconditioned: for the Laplacian of a
/// grid, with the number of points along a side.
/// Order of operations: an iteration is, \f$M^{-1}\f$ being the preconditioner, r = b at first, or b - A x from a given
/// x, p = z at first, and \f$\rho'\f$ the \f$\rho\f$ of the iteration before,
/// \f[ z = M^{-1} r, \quad \rho = r^T z, \quad p \leftarrow z + (\rho / \rho') p, \f]
/// \f[ q = A p, \quad \alpha = \rho / p^T q, \quad x \leftarrow x + \alpha p, \quad r \leftarrow r - \alpha q. \f]
/// Not positive definite: ends when \f$r^T z\f$ or \f$p^T q\f$ is not above 0. It notices no other sign of it, nor of a
/// lack of symmetry, but then rarely converges.
/// Cost: an iteration is a multiplication, a preconditioning, and 12 n operations; 5 n numbers of storage, 6 n with a
/// preconditioner.
/// Source: Hestenes & Stiefel, Methods of conjugate gradients for solving linear systems (1952).
class MATHS_API mlConjugateGradients final : public mlIterativeSolver {
public:
    mlConjugateGradients();
    ~mlConjugateGradients();

private:
    void prepare(int n) override;
    Outcome iterate(bool fresh) override;

    mlVector p_, q_, z_;
    double rho_ = 0.0;
};
