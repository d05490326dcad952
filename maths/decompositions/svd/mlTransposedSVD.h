#pragma once

#include "maths/decompositions/svd/mlFortranMatrix.h"

// The singular value decomposition of a matrix from its transpose. For use inside the library.

/// Copies the transpose of a into x, which has its shape.
void ml_copy_transpose(mlMatrix const & a, mlFortranMatrix & x);

/// Decomposes the transpose of x into u diag(s) v^T; s, u and v are sized here, and x is overwritten. job: a units
/// digit that isn't 0 asks for u, the tens digit for v, all of it (1) or min(rows, cols) columns (2 and more); what
/// isn't asked for becomes 1 x 1. Returns 1 when the iteration converged, else 0. Failure: std::bad_alloc.
int ml_transposed_svd(mlFortranMatrix & x, mlVector & s, mlMatrix & u, mlMatrix & v, int job);

/// The eigenvalues of x x^T, in non-increasing order, appended to `values`, and its eigenvectors as columns; x is
/// overwritten. Values missing because x has more rows than columns are 0. Failure: std::bad_alloc.
void ml_transposed_ata_eigen(mlFortranMatrix & x, doublecoDynArr & values, mlMatrix & vectors);
