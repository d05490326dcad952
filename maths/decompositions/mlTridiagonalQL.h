#pragma once

#include "maths/decompositions/svd/mlFortranVector.h"
#include "maths/decompositions/svd/mlRotatedBasis.h"

/// All eigenvalues of the symmetric tridiagonal matrix T whose diagonal is d, of n elements, and whose elements beside
/// it are e, of n - 1, by implicit QL and QR steps. For use inside the library.
///
/// d becomes the eigenvalues, in no order, and e is overwritten. Where there is a basis, of n columns, its columns are
/// rotated along: Q becomes Q Z with T = Z diag(d) Z^T. Rows count from 1. No element is above 1e100 in magnitude, none
/// is NaN.
///
/// Returns 1, or 0 after 30 n steps in all, with some e_i still not negligible: not all values were found then. Random
/// matrices take about 2 n.
/// Source: Dubrulle, Martin & Wilkinson, The implicit QL algorithm (1968); Parlett, The Symmetric Eigenvalue Problem.
[[nodiscard]] int ml_tridiagonal_ql(mlFortranVector & d, mlFortranVector & e, mlRotatedBasis * basis);
