#pragma once

#include "maths/optimisation/active_set/mlNearestPoint.h"

/// The solution but for rounding, and its active set, of a quadratic programme whose G is well positive definite.
/// For use inside the library.
///
/// With G = L L^T and y = L^T x the function is half the squared distance of y from -L^-1 g, but for a constant, and a
/// constraint a·x >= b reads (L^-1 a)·y >= b: the solution is the nearest point that meets those.
class mlConvexStart {
public:
    /// g is the caller's and must live on; G is read here alone. `largest` is the largest magnitude in G.
    mlConvexStart(mlMatrix const & g_matrix, mlVector const & g_vector, double largest);

    /// Whether G is well positive definite.
    bool serves() const { return serves_; }

    /// Writes the solution into x. Begins with the active set of `normals`, as far as its constraints are independent
    /// and hold the point back. False, with x left alone, when there is none or `steps`, which are counted down, run
    /// out.
    bool find(mlConstraintRows const & rows, mlActiveNormals const & normals, double * x, int & steps);

    /// Those active at the solution, in coordinates y.
    mlActiveNormals const & normals() const { return normals_; }

private:
    void transform(mlConstraintRows const & rows);
    void forward(double * v) const;

    mlVector const & g_vector_;
    int const n_;
    bool serves_;
    mlMatrix lower_; // L
    mlConstraintRows rows_;
    mlActiveNormals normals_;
    mlNearestPoint nearest_;
    mlVector point_;
};
