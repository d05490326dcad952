#pragma once

#include "maths/decompositions/mlEigenVecs.h"

/// What the solvers for small general matrices share: eigenvectors for eigenvalues that are known.
///
/// The eigenvalues are the real roots of the characteristic polynomial; complex ones are left out, so there can be
/// fewer than the matrix has rows, or none. See `num_real_eigen_values`: the status is `mlEigenVecsCalculated` in every
/// case. They come in order of decreasing magnitude, the larger one first where magnitudes are equal, and eigenvectors
/// have unit length. Where a double or triple eigenvalue has too few eigenvectors, as in (2 1; 0 2), the further
/// vectors stored are not eigenvectors: they are only orthogonal to the others.
/// Failure: std::bad_alloc.
class MATHS_API mlAsymEigenVecs : public mlEigenVecs {
public:
    virtual ~mlAsymEigenVecs();

protected:
    explicit mlAsymEigenVecs(mlMatrix const & m);

    /// Writes a null vector of \f$A - \lambda I\f$ into out: the right singular vector of the smallest singular value,
    /// or (1, 0, ..., 0) when no element of \f$A - \lambda I\f$ is above the tolerance in magnitude.
    virtual void calculate_eigen_vector(double lambda, mlSlice & out) const;

    /// out becomes n x k: as columns the right singular vectors of the k smallest singular values, the smallest first,
    /// or the first k unit vectors.
    void calculate_eigen_space(double lambda, int k, mlMatrix & out) const;

    /// Stores the roots, `count` of them in ascending order.
    void store_eigen_values(double const * roots, int count);

    /// Eigenvectors for the eigenvalues stored: neighbours closer than 1e-4 share the space of the first of them.
    void calculate_eigen_vectors();

private:
    bool shifted_matrix(double lambda, mlMatrix & m) const;
};
