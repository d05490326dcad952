#pragma once

#include "maths/optimisation/quasi_newton/mlCurvaturePairs.h"

/// From a point x of a box, with the gradient g, to a point of the box at which the quadratic model
///     g·(z - x) + 1/2 (z - x)^T B (z - x)
/// is low: first to its first minimum along the projected gradient, then, with what is on a bound there held, to its
/// minimum in the other variables, whose path is projected onto the box. For use inside the library.
///
/// Source: Byrd, Lu, Nocedal & Zhu, A limited memory algorithm for bound constrained optimization (1995), the direct
/// primal method; the projection is that of Morales & Nocedal, Remark on "Algorithm 778: L-BFGS-B" (2011).
class mlBoxStep {
public:
    /// The bounds are the caller's and must live on; where there is none they are infinite.
    mlBoxStep(mlVector const & lower, mlVector const & upper, int memory);

    /// Writes the point into z. False when the model is not convex by its numbers, or they are not finite.
    bool find(mlVector const & x, mlVector const & g, mlCurvaturePairs const & pairs, mlVector & z);

private:
    bool find_cauchy_point(mlVector const & x, mlVector const & g, mlCurvaturePairs const & pairs, mlVector & z);
    double start_path(mlVector const & x, mlVector const & g);
    bool later(int i, int j) const { return t_[i] == t_[j] ? i > j : t_[i] > t_[j]; }
    int next_to_stop();
    bool minimise_in_subspace(mlVector const & x, mlVector const & g, mlCurvaturePairs const & pairs, mlVector & z);
    bool take_step(mlVector const & x, mlVector const & g, mlVector & z);
    double inside(int i, double x) const { return x < lower_[i] ? lower_[i] : x > upper_[i] ? upper_[i] : x; }

    mlVector const & lower_;
    mlVector const & upper_;
    mlVector t_;        // where the path of each variable meets its bound
    intcoDynArr queue_; // of variables, a heap by t_
    int queued_ = 0;
    mlVector direction_; // of the path, then of the step in the subspace
    mlVector is_free_;   // 1 or 0
    mlVector p_, c_, u_; // W^T d, W^T (z - x), K^-1 times something
    mlMatrix reduced_;
};
