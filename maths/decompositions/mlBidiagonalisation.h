#pragma once

#include "maths/decompositions/mlFortranMatrix.h"

/// What the singular value decomposition of the n x p matrix x works on, phase after phase. For use inside the library.
struct mlSVDWork {
    mlFortranMatrix const & x;
    mlFortranVector const & s; // the diagonal
    mlFortranVector const & e; // the super-diagonal
    mlFortranMatrix const & u;
    mlFortranMatrix const & v;
    bool want_u;
    bool want_v;
    int u_cols;

    int n() const { return x.rows(); }
    int p() const { return x.cols(); }
};

/// Householder reduction of x to an upper bidiagonal matrix, of diagonal s and super-diagonal e. Answers its order,
/// min(p, n + 1), or 0 when x is empty. The transformations are kept in u and v, when these are wanted.
int ml_bidiagonalise(mlSVDWork const & w);

/// Multiplies the kept transformations out, so that u and v are the bases in which x is bidiagonal.
void ml_generate_bases(mlSVDWork const & w);
