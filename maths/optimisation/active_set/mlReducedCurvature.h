#pragma once

#include "maths/optimisation/active_set/mlActiveNormals.h"

class mlSingularValueDecomposition;

/// What a step along the null space of the active normals is to do.
enum mlReducedStep : int {
    mlReducedStepNone,    ///< the gradient along the null space is nothing but rounding
    mlReducedStepNewton,  ///< goes to the minimum on the null space with the step length 1
    mlReducedStepEndless, ///< the function falls along it for ever
    mlReducedStepLevel    ///< endless, and the slope is zero: only its curvature is negative
};

/// The reduced matrix H = Z^T G Z, Z spanning the null space of the active normals, and steps by it. For use inside the
/// library.
///
/// While H is well positive definite its Cholesky factor follows each change of the active normals in O(n^2). Else H
/// is formed anew, and factorised with exchanges where that leaves no doubt of its rank, or its singular values decide.
class mlReducedCurvature {
public:
    /// G, symmetric with both its triangles given, is the caller's and must live on; its largest magnitude is
    /// `largest`, 1 to 2 or 0.
    void start(mlMatrix const & g, double largest);

    /// Forms and factorises H for the null space as it is now.
    void refresh(mlActiveNormals const & normals);

    /// To be called right after one constraint was appended to the normals, or removed.
    void appended(mlActiveNormals const & normals);
    void removed(mlActiveNormals const & normals);

    /// The step w in coordinates of Z from a point of reduced gradient r, of which magnitudes up to `rounding` do not
    /// count. For mlReducedStepNone w means nothing.
    mlReducedStep step(mlActiveNormals const & normals, double const * r, double rounding, double * w);

    /// w = H^+ v, the solution of H w = v, or where H is singular the shortest one of least squares.
    void solve(mlActiveNormals const & normals, double const * v, double * w);

private:
    double * column(int j) { return factor_.data() + j * n_; }
    void form(mlActiveNormals const & normals);
    bool factorise();
    void newton(double const * r, double * w);
    int factorise_with_exchanges();
    bool semidefinite_step(double const * r, double rounding, double * w, mlReducedStep & kind);
    mlReducedStep spectral_step(double const * r, double rounding, double * w);
    bool negative_curvature_step(double const * r, double rounding, double * w, mlReducedStep & kind);
    void copy_reduced(mlMatrix & out, double shift) const;
    double threshold() const;
    double relative_threshold(mlSingularValueDecomposition const & svd) const;

    mlMatrix const * g_ = nullptr;
    int n_ = 0;
    int size_ = 0;          // of H
    double largest_ = 0.0;  // magnitude in G
    bool definite_ = false; // and factor_ is that of H
    mlMatrix factor_;       // row j holds column j of the upper triangular C, H = C^T C
    mlMatrix reduced_;      // H, where it was formed
    mlMatrix work_matrix_;
    intcoDynArr order_;
    mlVector work_;
};
