#pragma once

#include "maths/sparse/mlSparseMatrixBase.h"

class mlSparseMatrix;

/// Selects the product of a matrix's transpose and the matrix.
enum mlMatrixPremultiplyTranspose { mlMatrixPremultiplyTranspose };

/// Symmetric sparse matrix of order n, of which the diagonal and the upper triangle are stored, by rows.
///
/// Built by appending elements (i, j), j >= i, with `set`, within each row in increasing column order. Each constructor
/// with a tag has a `become` that gives an existing matrix the same value. An operand may be the destination
/// everywhere, at the cost of a temporary.
class MATHS_API mlSparseSymMatrix : public mlSparseMatrixBase {
public:
    /// 0 x 0.
    mlSparseSymMatrix() noexcept = default;

    /// Takes the rows of m, which is left 0 x 0.
    mlSparseSymMatrix(mlSparseSymMatrix && m) noexcept = default;

    /// n x n without elements.
    mlSparseSymMatrix(enum mlMatrixZero, int n);
    mlSparseSymMatrix(enum mlMatrixIdentity, int n);

    /// The product of a's transpose and a. Element (i, j) is stored when some row k of a stores columns i and j; its
    /// terms a(k, i) a(k, j) are summed in increasing k, starting from the first; (deliberate) where row k stores
    /// column j twice, the later element's term comes first. O(t log n) for t terms and n elements in a row of the
    /// product.
    mlSparseSymMatrix(enum mlMatrixPremultiplyTranspose, mlSparseMatrix const & a);
    mlSparseSymMatrix(enum utCopy, mlSparseSymMatrix const & m);

    mlSparseSymMatrix & become(enum mlMatrixZero, int n);
    mlSparseSymMatrix & become(enum mlMatrixIdentity, int n);
    mlSparseSymMatrix & become(enum mlMatrixPremultiplyTranspose, mlSparseMatrix const & a);
    mlSparseSymMatrix & become(enum utCopy, mlSparseSymMatrix const & m);

    /// Frees its rows and takes those of a temporary, which is left 0 x 0. Nothing happens when it is this matrix.
    mlSparseSymMatrix & become(mlSparseSymMatrix && temporary) noexcept {
        mlSparseSymMatrix taken(std::move(temporary));
        swap(taken);
        return *this;
    }

    /// An element that both store becomes the sum or difference of the two, one that only m stores becomes its value or
    /// negative.
    void operator+=(mlSparseSymMatrix const & m) { add_or_subtract(m, 0); }
    void operator-=(mlSparseSymMatrix const & m) { add_or_subtract(m, 1); }

    /// Appends element (i, j), with j >= i: i and j are not exchanged. Row i must exist and must not have an element in
    /// column j or after it.
    void set(int i, int j, double v) {
        MATHS_CHECK(j >= i && j < cols(), "sparse set: (%d, %d) of the upper triangle of %d x %d", i, j, rows(),
                    cols());
        MATHS_CHECK(j > last_in_row(i), "sparse set: (%d, %d) after (%d, %d)", i, j, i, last_in_row(i));
        row(i).append_element(j, v);
    }

    /// The value stored at (i, j) or (j, i), or 0.0. O(log n) for n elements in the row.
    [[nodiscard]] double element(int i, int j) const {
        return j < i ? row(*this, j).element(i) : row(*this, i).element(j);
    }

    /// Column of row i's last element, i - 1 when there is none.
    [[nodiscard]] int last_in_row(int i) const {
        return row(*this, i).empty() ? i - 1 : row(*this, i).last_column_index();
    }

    /// The elements of row i in columns >= i.
    [[nodiscard]] mlSparseRowIT upper_triangle_iterator(int i) const { return row(*this, i).iterator(); }

    /// Borders the matrix: this matrix upper left, b upper right, its transpose lower left, zeros lower right. b has as
    /// many rows as this matrix.
    void concatenate(mlSparseMatrix const & b);

    /// Appends s's rows and columns: this matrix upper left, s lower right, zeros elsewhere.
    void concatenate_diagonal(mlSparseSymMatrix const & s);

    /// m becomes the full matrix, dense.
    void decompress(mlMatrix & m) const;

    /// y = A x: from zeros, each stored element (i, j) adds to y[i] and, off the diagonal, to y[j], row by row. A y
    /// with more than n elements keeps its size, and its further elements become 0. y may be x. A slice is copied
    /// first.
    void multiply_vector(mlVector const & x, mlVector & y) const;
    void multiply_vector(mlSlice const & x, mlVector & y) const { multiply_vector(mlVector(x), y); }

    /// c = A b, n x b.cols(), summed in the same order. c may be b.
    void multiply_matrix(mlMatrix const & b, mlMatrix & c) const;

protected:
    /// Sum from 0.0 of the squares of a row's values, in order. Restarts the iterator and leaves it at the end.
    static double row_dot_self(mlSparseRowIT & row);
};
