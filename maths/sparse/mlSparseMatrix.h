#pragma once

#include "maths/sparse/mlSparseMatrixBase.h"

class mlSparseSymMatrix;

/// General sparse matrix, stored by rows.
///
/// Built by appending elements with `set`, within each row in increasing column order. Each constructor with a tag has
/// a `become` that gives an existing matrix the same value. An operand may be the destination everywhere, at the cost
/// of a temporary.
class MATHS_API mlSparseMatrix : public mlSparseMatrixBase {
public:
    /// 0 x 0.
    mlSparseMatrix() noexcept = default;

    /// Takes the rows of m, which is left 0 x 0.
    mlSparseMatrix(mlSparseMatrix && m) noexcept = default;

    /// rows x cols without elements.
    mlSparseMatrix(enum mlMatrixZero, int rows, int cols);
    mlSparseMatrix(enum mlMatrixIdentity, int n);

    /// The product a b. Element (i, j) is stored when a stores an (i, k) and b the (k, j) for some k; its terms
    /// a(i, k) b(k, j) are summed in increasing k, starting from the first. O(t log n) for t terms and n elements in a
    /// row of the product.
    mlSparseMatrix(enum mlMatrixProduct, mlSparseMatrix const & a, mlSparseMatrix const & b);
    mlSparseMatrix(enum mlMatrixTranspose, mlSparseMatrix const & m);
    mlSparseMatrix(enum utCopy, mlSparseMatrix const & m);

    /// The full matrix, both triangles stored.
    mlSparseMatrix(enum utCopy, mlSparseSymMatrix const & m);

    mlSparseMatrix & become(enum mlMatrixZero, int rows, int cols);
    mlSparseMatrix & become(enum mlMatrixIdentity, int n);
    mlSparseMatrix & become(enum mlMatrixProduct, mlSparseMatrix const & a, mlSparseMatrix const & b);
    mlSparseMatrix & become(enum mlMatrixTranspose, mlSparseMatrix const & m);
    mlSparseMatrix & become(enum utCopy, mlSparseMatrix const & m);

    /// Frees its rows and takes those of a temporary, which is left 0 x 0. Nothing happens when it is this matrix.
    mlSparseMatrix & become(mlSparseMatrix && temporary) noexcept {
        mlSparseMatrix taken(std::move(temporary));
        swap(taken);
        return *this;
    }
    mlSparseMatrix & become(enum utCopy, mlSparseSymMatrix const & m);

    /// An element that both store becomes the sum or difference of the two, one that only m stores becomes its value or
    /// negative.
    void operator+=(mlSparseMatrix const & m) { add_or_subtract(m, 0); }
    void operator-=(mlSparseMatrix const & m) { add_or_subtract(m, 1); }

    /// Appends element (i, j). Row i must exist and must not have an element in column j or after it.
    void set(int i, int j, double v) {
        MATHS_CHECK(j >= 0 && j < cols(), "sparse set: (%d, %d) of %d x %d", i, j, rows(), cols());
        MATHS_CHECK(j > last_in_row(i), "sparse set: (%d, %d) after (%d, %d)", i, j, i, last_in_row(i));
        row(i).append_element(j, v);
    }

    /// The stored value, or 0.0. O(log n) for n elements in the row.
    [[nodiscard]] double element(int i, int j) const { return row(*this, i).element(j); }

    /// Column of row i's last element, -1 when there is none.
    [[nodiscard]] int last_in_row(int i) const { return row(*this, i).last_column_index(); }

    [[nodiscard]] mlSparseRowIT row_iterator(int i) const { return row(*this, i).iterator(); }

    [[nodiscard]] int is_square() const { return rows() == cols(); }

    /// m becomes the same matrix, dense.
    void decompress(mlMatrix & m) const;

    /// y = A x, of just rows() elements, each a sum from 0.0 in column order. y may be x. A slice is copied first.
    void multiply_vector(mlVector const & x, mlVector & y) const;
    void multiply_vector(mlSlice const & x, mlVector & y) const { multiply_vector(mlVector(x), y); }

    /// c = A b, rows() x b.cols(), summed like a matrix of its columns. c may be b.
    void multiply_matrix(mlMatrix const & b, mlMatrix & c) const;

    /// out becomes the num_rows x num_cols block whose upper left corner is element (first_row, first_col).
    void extract_sub_matrix(int first_row, int first_col, int num_rows, int num_cols, mlSparseMatrix & out) const;

    /// Appends the rows of b, which has as many columns.
    void concatenate_below(mlSparseMatrix const & b);

    /// Appends the columns of b, which has at least as many rows; further ones are left out.
    void concatenate_right(mlSparseMatrix const & b);

    /// Appends b's rows and columns: this matrix upper left, b lower right, zeros elsewhere.
    void concatenate_diagonal(mlSparseMatrix const & b);
};
