#include "maths/sparse/mlDiagonalPreconditioner.h"

#include "maths/core/mlVectorRuns.h"
#include "maths/sparse/mlSparseMatrix.h"
#include "maths/sparse/mlSparseSymMatrix.h"

template <class Element> void mlDiagonalPreconditioner::become(int n, Element element) {
    dimension = n;
    diagonal_.expand(n);
    for (int i = 0; i < n; ++i) {
        double const a_ii = element(i);
        diagonal_.data()[i] = a_ii == 0.0 ? 1.0 : a_ii;
    }
}

mlDiagonalPreconditioner::mlDiagonalPreconditioner(mlSparseSymMatrix const & a) {
    become(a.rows(), [&](int i) { return a.element(i, i); });
}

mlDiagonalPreconditioner::mlDiagonalPreconditioner(mlSparseMatrix const & a) {
    become(a.rows(), [&](int i) { return a.element(i, i); });
}

mlDiagonalPreconditioner::mlDiagonalPreconditioner(mlMatrix const & a) {
    become(a.rows(), [&](int i) { return a(i, i); });
}

void mlDiagonalPreconditioner::multiply(mlVector const & x, mlVector & y) const {
    ml_check_length("diagonal preconditioner", dimension, x.size());
    y.expand(dimension);
    for (int i = 0; i < dimension; ++i)
        y.data()[i] = x.data()[i] / diagonal_.data()[i];
}
