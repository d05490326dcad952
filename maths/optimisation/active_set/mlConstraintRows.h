#pragma once

#include "maths/core/mlVector.h"
#include "platform/coDynArr.h"

/// The magnitude of x rounded down to a power of two, from 2^-1000 to 2^1000; 1.0 for zero, NaN and infinity. For use
/// inside the library.
double ml_power_of_two(double x);

/// Linear constraints normal·x = bound and normal·x >= bound, each scaled by a power of two, so exactly, to a normal of
/// length 1 to 2. For use inside the library.
class mlConstraintRows {
public:
    explicit mlConstraintRows(int n) : n_(n) {}

    int dimension() const { return n_; }
    int size() const { return bounds_.size(); }

    /// Returns the constraint's number. Failure: std::bad_alloc, and nothing is added.
    int add(mlSlice const & normal, double bound, bool equality);

    /// normal = sign times the i-th unit vector, an inequality.
    int add_unit(int i, double sign, double bound);

    double const * normal(int i) const { return normals_.data() + i * n_; }
    double bound(int i) const { return bounds_[i]; }
    double const * bounds() const { return bounds_.data(); }
    bool equality(int i) const { return equalities_[i] != 0; }
    /// Whether the normal is zero: the constraint then holds everywhere or nowhere.
    bool zero(int i) const { return lengths_[i] == 0.0; }
    double length(int i) const { return lengths_[i]; }

    /// The variable that constraint i bounds, when `add_unit` made it; -1 for other constraints.
    int unit(int i) const { return units_[i]; }

    /// The multiplier of the constraint as it was given is this times that of the scaled one.
    double scale(int i) const { return scales_[i]; }

    /// normal·x - bound.
    double excess(int i, double const * x) const;

    /// The same as if computed in twice the precision.
    double precise_excess(int i, double const * x) const;

    /// By how much rounding can spoil `excess` where no element of x exceeds `largest`.
    double rounding(int i, double largest) const;

    /// Whether every number given is finite.
    bool finite() const { return finite_; }

    /// Whether the constraints with zero normals hold: 0 = bound, or 0 >= bound.
    bool zeros_hold() const;

private:
    double * next_normal();
    int finish(double bound, bool equality, int unit);

    int n_;
    bool finite_ = true;
    doublecoDynArr normals_;                          // scaled, row by row
    doublecoDynArr bounds_, lengths_, sums_, scales_; // sums_: of the magnitudes of the normal's elements
    intcoDynArr equalities_, units_;
};
