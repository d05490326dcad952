#pragma once

#include "maths/decompositions/svd/mlFortranMatrix.h"

// A real symmetric matrix A = Q T Q^T, T tridiagonal and Q orthogonal, by Householder reflections in panels. Rows and
// columns count from 1. For use inside the library.
//
// Source: Dongarra, Hammarling & Sorensen, Block reduction of matrices to condensed forms for eigenvalue computations
// (1989); Schreiber & Van Loan, A storage-efficient WY representation for products of Householder transformations
// (1989).

/// The reflections of a panel. Unlike the constants of mlTuning.h it decides the order of operations, so the bits. By
/// panels of 32 T and Q took 1.5 of the time at order 100, 1.05 at 400 and 1.03 at 800, by panels of 8 they took
/// 0.9, 1.05 and 1.1.
constexpr int ml_reduction_panel = 16;

/// Reduces the symmetric n x n matrix a, both of whose triangles are given, n >= 1: d becomes the n diagonal elements
/// of T and e the n - 1 beside them. Row k of a, from column k + 1 on, becomes v_k, whose first element is 1, and tau_k
/// the factor of the reflection H_k = 1 - tau_k v_k v_k^T, so that Q = H_1 H_2 ... H_{n-2}. The rest of a has lost its
/// meaning. d and tau have n elements, e n - 1 or more. Failure: std::bad_alloc.
void ml_tridiagonalise(mlFortranMatrix & a, mlFortranVector & d, mlFortranVector & e, mlFortranVector & tau);

/// Turns what ml_tridiagonalise left in a and tau into Q, in the place of a. Failure: std::bad_alloc.
void ml_generate_tridiagonal_basis(mlFortranMatrix & a, mlFortranVector const & tau);
