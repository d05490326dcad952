#pragma once

#include <memory>

#include "maths/core/mlMatrix.h"
#include "maths/sparse/mlLinearOperator.h"

class mlCompressedRows;
class mlSparseMatrix;
class mlSparseSymMatrix;

/// Multiplies vectors by a square matrix: what iterative solvers make of the matrices that they are given. Make one for
/// several solutions with the same sparse matrix, which each solution otherwise copies anew.
///
/// Each element of A x is a sum from 0.0 of a(i, j) x(j) in increasing j, over the elements stored: the bits of
/// `multiply_vector` and of the dense product.
/// Lifetime: a sparse matrix is copied, to 12 bytes an element; a dense one is referred to and must outlive the object.
/// Failure: std::bad_alloc. Threads: may multiply concurrently.
class MATHS_API mlMatrixOperator final : public mlLinearOperator {
public:
    mlMatrixOperator(mlSparseSymMatrix const & a);
    mlMatrixOperator(mlSparseMatrix const & a);
    mlMatrixOperator(mlMatrix const & a);
    mlMatrixOperator(mlMatrix const && a) = delete; // would be gone
    mlMatrixOperator(mlMatrixOperator const &) = delete;
    mlMatrixOperator & operator=(mlMatrixOperator const &) = delete;
    ~mlMatrixOperator() override;

    void multiply(mlVector const & x, mlVector & y) const override;

private:
    mlMatrix const * dense_ = nullptr;
    std::unique_ptr<mlCompressedRows const> rows_; ///< of the upper triangle alone where `symmetric_`
    bool symmetric_ = false;
};
