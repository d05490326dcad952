#pragma once

#include "maths/optimisation/active_set/mlActiveNormals.h"
#include "maths/optimisation/active_set/mlConstraintRows.h"

/// Finds the point nearest to a given one that meets linear constraints, equalities and inequalities. For use inside
/// the library.
///
/// A dual method: the point is always nearest among those that meet the active constraints with equality, and moves
/// until it meets the others too. Its distance grows with each constraint that becomes active, so it cannot cycle,
/// whatever constraints depend on each other.
/// Source: Goldfarb & Idnani, A numerically stable dual method for solving strictly convex quadratic programs (1983).
class mlNearestPoint {
public:
    enum Result { found, none, out_of_steps };

    /// Moves x to the nearest point. `normals` has the constraints to begin with, all equalities that are independent
    /// among them, and gets those that are active at the end. The bound of constraint i is bounds[i]; constraints of
    /// zero normals don't count, nor those whose considered[i] is 0, unless `considered` is null. The scale of x is its
    /// largest magnitude, at least `floor`: a constraint that cannot be met is waived, one that is missed by no more
    /// than `waiver` times the scale and its normal's length. Each step counts `steps` down by one, to -1 when they run
    /// out.
    ///
    /// Returns `found`; `none` when the constraints contradict each other; or `out_of_steps`. Of the latter two x and
    /// normals are those of the last step.
    Result find(mlConstraintRows const & rows, double const * bounds, int const * considered, mlActiveNormals & normals,
                double * x, double floor, double waiver, int & steps);

    /// Whether the last search waived a violation of this constraint.
    bool waived(int i) const { return waived_[i] != 0; }

private:
    void begin(mlActiveNormals & normals, double * x);
    int worst(mlActiveNormals const & normals, double const * x);
    Result meet(int constraint, mlActiveNormals & normals, double * x, int & steps);
    double excess(int i, double const * x) const;
    void drop(int position, mlActiveNormals & normals);

    mlConstraintRows const * rows_ = nullptr;
    double const * bounds_ = nullptr;
    int const * considered_ = nullptr;
    double scale_ = 1.0;
    double waiver_ = 0.0;
    intcoDynArr waived_, active_;
    mlVector forces_; // of the active constraints: x - start = sum of force * normal
    mlVector start_, free_, change_;
};
