#pragma once

#include "maths/optimisation/active_set/mlActiveNormals.h"
#include "maths/optimisation/active_set/mlConstraintRows.h"

/// Finds the point nearest to a given one that meets linear constraints. For use inside the library.
///
/// A dual method: the point is always nearest among those that meet the active constraints with equality, and moves
/// until it meets the others too. Its distance grows with each constraint that becomes active, so it cannot cycle,
/// whatever constraints depend on each other.
/// Source: Goldfarb & Idnani, A numerically stable dual method for solving strictly convex quadratic programs (1983).
class mlNearestPoint {
public:
    enum Result { found, none, out_of_steps };

    /// Moves x to the nearest point. `normals` has the constraints to begin with, all equalities that are independent
    /// among them, and gets those that are active at the end. Constraints count with `bounds[i]` as bounds, those of
    /// zero normals never, and only those with `considered[i]` unless that is null. Violations that cannot be helped
    /// are waived up to `waiver` of the scale of x, which is at least `floor`. At most `steps` are taken, which are
    /// counted down.
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
