#pragma once

#include "maths/decompositions/mlEigenVecs.h"

/// All eigenvalues and orthonormal eigenvectors of \f$A^T A\f$, from the singular value decomposition of A, so that the
/// product, which squares the errors, is never formed.
///
/// Eigenvalues are the squares of the singular values, non-increasing; eigenvectors are the right singular vectors.
/// Bad input: A should have at least as many rows as columns; for what is missing, eigenvalues of 0 are stored.
/// Failure: a decomposition that did not converge is not reported. std::bad_alloc.
class MATHS_API mlATAEigenVecs : public mlEigenVecs {
public:
    explicit mlATAEigenVecs(mlMatrix const & a);
    explicit mlATAEigenVecs(mlMatrix const && a) = delete; // a temporary is gone before `calculate`
    ~mlATAEigenVecs();

    void calculate();
};
