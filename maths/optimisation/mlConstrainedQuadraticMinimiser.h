#pragma once

#include <memory>

#include "maths/core/mlMatrix.h"

class mlActiveSetSearch;
class mlConstraintRows;

enum mlConstrainedQuadraticStatus : int {
    mlConstrainedQuadraticSolved = 0,         ///< the optimality conditions hold at x
    mlConstrainedQuadraticInfeasible = 1,     ///< no point meets the constraints
    mlConstrainedQuadraticUnbounded = 2,      ///< the function falls for ever
    mlConstrainedQuadraticIterationLimit = 3, ///< x meets the constraints, unless none was found that does
    mlConstrainedQuadraticNotFinite = 4       ///< a number of the problem is NaN or infinite
};

/// Minimises \f$\frac12 x^T G x + g \cdot x\f$ under linear equalities and inequalities: a quadratic programme, and
/// with G = 0 a linear one.
///
///     mlConstrainedQuadraticMinimiser fit(g_matrix, g_vector);
///     fit.add_equality(ones, 1.0);
///     for (int i = 0; i < n; ++i)
///         fit.add_lower_bound(i, 0.0);
///     if (fit.minimise(x) != mlConstrainedQuadraticSolved) ...
///
/// At a solution \f$G x + g = \sum_i \mu_i n_i\f$ over the constraints with normals n, whose multipliers are >= 0 for
/// inequalities and 0.0 for those that are not active; the normal of an upper bound is minus the unit vector.
/// Shapes: g_vector has n elements, G is n x n and symmetric: its lower triangle is read, the rest is not. n = 0 is
/// allowed. Constraints are numbered from 0 in the order in which they were added.
/// G may be singular; of many solutions one is found. Where G is indefinite the result is a point at which the
/// first-order conditions hold and \f$Z^T G Z\f$ has no negative eigenvalue beyond rounding, Z being the null space of
/// the active normals. It depends on the start and need not be the lowest, nor even a minimum where a multiplier is
/// zero. Dependent, repeated and contradictory constraints and points where many meet are ordinary input. A constraint
/// counts as met when it is missed by at most 1e-9 times its normal's length times the scale of x, which is the largest
/// of 1 and all |x[i]|: contradictions below that are not seen. Where nothing contradicts, constraints hold to
/// roundoff. A normal of zeros is no constraint when it holds exactly, and makes the problem infeasible when it does
/// not.
/// Accuracy: the conditions above hold to a few roundoffs of their terms, by iterative refinement. Normals may be
/// scaled as you please, since each is rescaled; G should not span more than ten decades, as eigenvalues of the reduced
/// matrix below some 7e-15 (n + 4) of the largest magnitude in G count as zero.
/// Bad input: NaN or infinity in a number of the problem or of the start is reported by the status, and x is unchanged.
/// Lifetime: everything is copied. Failure: std::bad_alloc. Threads: one object, one thread.
/// Cost: \f$O(n^2 + n m)\f$ operations an iteration with m constraints, mostly some n iterations; \f$O(n^3)\f$ before
/// and after. Source: Goldfarb & Idnani, A numerically stable dual method for solving strictly convex quadratic
/// programs (1983) for the first phase; Gill & Murray, Numerically stable methods for quadratic programming (1978).
class MATHS_API mlConstrainedQuadraticMinimiser {
public:
    mlConstrainedQuadraticMinimiser(mlMatrix const & g_matrix, mlVector const & g_vector);
    mlConstrainedQuadraticMinimiser(mlConstrainedQuadraticMinimiser const &) = delete;
    mlConstrainedQuadraticMinimiser & operator=(mlConstrainedQuadraticMinimiser const &) = delete;
    ~mlConstrainedQuadraticMinimiser();

    /// Each adds a constraint and returns its number. `normal` has n elements.
    int add_equality(mlSlice const & normal, double value);   ///< normal·x = value
    int add_inequality(mlSlice const & normal, double bound); ///< normal·x >= bound
    int add_lower_bound(int i, double bound);                 ///< x[i] >= bound
    int add_upper_bound(int i, double bound);                 ///< x[i] <= bound

    /// Minimises from x where it has n elements, else from 0; the start need not meet the constraints. x gets n
    /// elements: the solution, or the last point when there is none.
    /// After another call the search begins with the active set of that one (a warm start), also when constraints were
    /// added in between; pass the same x again for a start that is near.
    mlConstrainedQuadraticStatus minimise(mlVector & x);

    /// What the last `minimise` returned; `mlConstrainedQuadraticIterationLimit` before the first.
    [[nodiscard]] mlConstrainedQuadraticStatus status() const { return status_; }

    /// The function's value at x, NaN when nothing was computed.
    [[nodiscard]] double value() const { return value_; }

    /// Of a constraint at the solution; 0.0 and 0 when there is none. Of dependent constraints that hold with equality
    /// an independent set is active. A multiplier may be 0.0 for an active one, too.
    [[nodiscard]] double multiplier(int constraint) const;
    [[nodiscard]] int is_active(int constraint) const;

    [[nodiscard]] int num_constraints() const;

    /// Changes of the active set and steps of the last search, at most 1000 + 50 (n + num_constraints()).
    [[nodiscard]] int iterations() const;

private:
    bool finite() const;
    void publish(mlVector const & x);

    int n_;
    double scale_; // what G and g were divided by, a power of two
    double largest_;
    mlMatrix g_matrix_; // scaled, whole
    mlVector g_vector_; // scaled
    std::unique_ptr<mlConstraintRows> rows_;
    std::unique_ptr<mlActiveSetSearch> search_;
    mlConstrainedQuadraticStatus status_;
    double value_;
    mlVector multipliers_;
    intcoDynArr active_;
};
