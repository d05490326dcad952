#pragma once

#include "maths/core/mlMatrix.h"
#include "maths/sparse/mlLinearOperator.h"

class mlSparseMatrix;
class mlSparseSymMatrix;

/// Divides by the diagonal of a matrix: a preconditioner that costs next to nothing, for matrices whose rows differ in
/// scale.
///
/// `multiply` gives y(i) = x(i) / a(i, i). Where an element of the diagonal is 0 or not stored y(i) is x(i).
/// Lifetime: the diagonal is copied. Failure: std::bad_alloc. Threads: may multiply concurrently.
class MATHS_API mlDiagonalPreconditioner final : public mlLinearOperator {
public:
    explicit mlDiagonalPreconditioner(mlSparseSymMatrix const & a);
    explicit mlDiagonalPreconditioner(mlSparseMatrix const & a);
    explicit mlDiagonalPreconditioner(mlMatrix const & a);

    void multiply(mlVector const & x, mlVector & y) const override;

private:
    template <class Element> void become(int n, Element element);

    mlVector diagonal_;
};
