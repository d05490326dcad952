#pragma once

#include "maths/decompositions/svd/mlFortranMatrix.h"

/// Decomposes the n x p matrix x into u diag(s) v^T. For use inside the library.
///
/// job: the tens digit asks for u, with n columns (1) or min(n, p) (2 and more), the units digit, unless 0, for v, with
/// p columns; what is not asked for is left alone. x and e are overwritten.
/// s and e have min(n + 1, p) elements; on return s holds the singular values in non-increasing order. A number counts
/// as zero when it is below the smallest normalised one, 2.2250738585072014e-308.
/// info: 0, or the number of values not yet found when 100 steps in a row did not find the next one; s, u and v are
/// then as the last step left them.
/// Bad input: NaN and infinite elements end too, in numbers without meaning.
/// Source: Dongarra, Moler, Bunch & Stewart, LINPACK Users' Guide (1979), chapter 11.
void ml_svd_linpack(mlFortranMatrix & x, mlFortranVector & s, mlFortranVector & e, mlFortranMatrix & u,
                    mlFortranMatrix & v, int job, int & info);
