#pragma once

#include "maths/core/mlMatrix.h"
#include "maths/optimisation/active_set/mlConstraintRows.h"
#include "platform/coDynArr.h"

/// The normals of the active constraints, linearly independent, in a factored form A^T = Y R with R upper triangular
/// and [Z Y] orthogonal, so that Z spans the null space of A. For use inside the library.
///
/// Adding and removing a normal updates the factors by rotations in O(n^2).
/// Source: Gill, Golub, Murray & Saunders, Methods for modifying matrix factorizations (1974).
class mlActiveNormals {
public:
    /// No normals of n elements.
    void start(int n);

    /// The equalities, then the inequalities of `others`, as far as they are independent. `others` may be this object.
    void start(mlConstraintRows const & rows, mlActiveNormals const & others);

    int dimension() const { return n_; }
    int size() const { return size_; }
    int null_size() const { return n_ - size_; }
    int constraint(int position) const { return constraints_[position]; }

    /// Whether a normal of length 1 to 2 is independent of those here. Where the part that they leave free does not
    /// tell, the singular values of all of them do.
    bool admits(double const * normal) const;

    /// The normal is independent of those here.
    void append(int constraint, double const * normal);

    /// The normals after it move down by one place.
    void remove(int position);

    double const * null_vector(int j) const { return basis_.data() + j * n_; }

    void null_part(double const * v, double * out) const;  ///< out = Z^T v
    void range_part(double const * v, double * out) const; ///< out = Y^T v
    void add_null(double const * w, double * v) const;     ///< v += Z w
    void add_range(double const * w, double * v) const;    ///< v += Y w
    void solve(double * v) const;                          ///< R^-1 v in place
    void solve_transposed(double * v) const;               ///< R^-T v in place

    /// How the last `append` turned Z before its last vector became one of Y: rotation j of the neighbours j and j + 1,
    /// from 0 on.
    double cosine(int j) const { return cosines_[j]; }
    double sine(int j) const { return sines_[j]; }

    /// A normal is dependent on others when they leave less than this of its length free.
    static constexpr double dependence = 1e-10;

private:
    bool admits_by_singular_values(double const * normal, double free_length) const;
    double * row(int i) { return basis_.data() + i * n_; }
    double * column(int i) { return triangle_.data() + i * n_; }
    double const * range_vector(int i) const { return basis_.data() + (n_ - 1 - i) * n_; }

    int n_ = 0;
    int size_ = 0;
    mlMatrix basis_;    // rows: the vectors of Z, then those of Y, the last one first
    mlMatrix triangle_; // row j holds column j of R
    intcoDynArr constraints_, others_;
    mlVector cosines_, sines_;
    mutable mlVector work_;
};
