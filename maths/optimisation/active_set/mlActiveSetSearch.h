#pragma once

#include "maths/optimisation/active_set/mlConvexStart.h"
#include "maths/optimisation/active_set/mlReducedCurvature.h"

/// Minimises 1/2 x^T G x + g·x over the points that meet linear constraints: a primal active-set method in the null
/// space of the active normals. For use inside the library.
///
/// The first phase finds the feasible point nearest to the start, or the solution itself where G is well positive
/// definite. From there steps go to the minimum on the active constraints, or along a direction in which the function
/// falls for ever, up to the first constraint in the way, which becomes active. At a minimum on the active constraints
/// the one of the most negative multiplier is let go. Where the steps after that have not moved the point, it is
/// degenerate: its active set then comes from the projection of the steepest descent onto the cone of feasible
/// directions, which is zero at a minimum and else leads off the point, so that no active set comes back at the same
/// value. At the end the solution is refined to roundoff (mlActiveSetSearchRefine.cpp).
/// Source: Gill & Murray, Numerically stable methods for quadratic programming (1978).
class mlActiveSetSearch {
public:
    enum Outcome { solved, infeasible, unbounded, out_of_steps }; // of a part of the search, `solved`: it goes on

    /// G is symmetric, both its triangles are given, and its largest magnitude is `largest`, 1 to 2 or 0. G and g are
    /// the caller's and must live on.
    mlActiveSetSearch(mlMatrix const & g_matrix, mlVector const & g_vector, double largest);

    /// From x, of n elements, beginning with the active set of the run before. Whatever the outcome, x, multipliers and
    /// active set are those of the last point.
    Outcome run(mlConstraintRows const & rows, double * x);

    int num_active() const { return normals_.size(); }
    int active(int position) const { return normals_.constraint(position); }
    double multiplier(int position) const { return multipliers_[position]; } ///< of the scaled constraint
    int iterations() const { return iterations_; }

private:
    void shift_start();
    Outcome make_feasible();
    Outcome descend();
    double calculate_gradient();
    void calculate_multipliers();
    int most_negative_multiplier(double rounding) const;
    Outcome let_go(int position);
    Outcome leave_degenerate_point(double rounding);
    int blocking(double & length);
    void move(double length, int blocker);
    void refine();
    void tidy();
    double refine_once();
    bool holds() const;

    mlMatrix const & g_matrix_;
    mlVector const & g_vector_;
    double const largest_;
    int const n_;
    mlConstraintRows const * rows_ = nullptr;
    double * x_ = nullptr;
    double start_scale_ = 0.0;
    int steps_left_ = 0, iterations_ = 0;
    bool warm_ = false;       // the active set is that of a solution
    bool moved_ = false;      // since a constraint was let go
    bool stationary_ = false; // no feasible direction leads down from x to first order
    mlConvexStart convex_;
    mlActiveNormals normals_;
    mlReducedCurvature curvature_;
    mlNearestPoint nearest_;
    intcoDynArr considered_, waived_;
    mlVector bounds_, approach_, room_, multipliers_, gradient_, reduced_, coordinates_, direction_, work_;
};
