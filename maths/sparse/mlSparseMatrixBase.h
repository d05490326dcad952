#pragma once

#include <type_traits>
#include <utility>

#include "maths/core/mlMatrix.h"
#include "maths/sparse/mlSparseRowcoDynArrPrgcoPrgcoDynArr.h"

/// What general and symmetric sparse matrices share: rows of (column, value) elements, each in strictly increasing
/// column order, and the number of columns.
///
/// Elements: those appended and those that operations produce, zeros among them: a sum that cancels stays stored.
/// Lifetime: row iterators are valid until their row changes; rows stay where they are while others come and go.
/// Bad input: no index, order or shape is checked. Failure: std::bad_alloc; the matrix may then hold a part of the
/// result. Threads: one at a time. Cost: every operation is proportional to the rows and elements it meets, unless it
/// says otherwise.
class MATHS_API mlSparseMatrixBase {
public:
    mlSparseMatrixBase(mlSparseMatrixBase const &) = delete;
    mlSparseMatrixBase & operator=(mlSparseMatrixBase const &) = delete;

    [[nodiscard]] int rows() const { return row_handles_.size(); }
    [[nodiscard]] int cols() const { return num_cols_; }

    /// The number of stored elements, explicit zeros included. Failure: std::bad_alloc when an int can't count them.
    [[nodiscard]] int num_non_zero_elements() const;

    /// Empties every row; the shape stays. The rows' storage is kept for `release` = 0, else freed.
    void clear(int release);

    /// 1 when the matrix has no rows.
    [[nodiscard]] int invalid() const { return rows() == 0; }

    /// Makes the matrix 0 x 0. An old row's storage is freed when a new row takes its place, or with the matrix.
    void set_invalid();

    void operator*=(double s);

    /// Divides every element; does not multiply by 1 / s.
    void operator/=(double s);

protected:
    /// 0 x 0.
    mlSparseMatrixBase() noexcept = default;
    mlSparseMatrixBase(enum utCopy, mlSparseMatrixBase const & other);

    /// Takes the rows of `other`, which is left 0 x 0.
    mlSparseMatrixBase(mlSparseMatrixBase && other) noexcept
        : num_cols_(std::exchange(other.num_cols_, 0)), row_handles_(std::move(other.row_handles_)) {}
    ~mlSparseMatrixBase() = default;

    mlSparseMatrixBase & become(enum utCopy, mlSparseMatrixBase const & other);

    /// rows x cols without elements; the storage of rows that stay is kept.
    mlSparseMatrixBase & become(int rows, int cols);
    mlSparseMatrixBase & become(enum mlMatrixIdentity, int n);

    // clang-format off
    /// A tag of another class is not a number of rows.
    template <class Tag>
        requires std::is_enum_v<Tag>
    mlSparseMatrixBase & become(Tag, int) = delete;
    // clang-format on

    /// Adds empty rows at the bottom, or drops the last ones.
    void resize_rows(int n);

    /// Adds `other`, of the same shape, or subtracts it. The result stores every element that either matrix stores.
    /// Deliberate: a subtracted element where this matrix has none gives its negative, so 0.0 gives -0.0. `other` may
    /// be this matrix.
    void add_or_subtract(mlSparseMatrixBase const & other, int subtract);

    /// Appends the elements of other's rows 0 .. count - 1 to the rows from first_row on, their columns shifted by
    /// cols(), and adds other's columns to the shape. `other` may be this matrix.
    void append_right(int first_row, mlSparseMatrixBase const & other, int count);

    /// Exchanges two matrices in constant time.
    void swap(mlSparseMatrixBase & other) noexcept;

    mlSparseRow const & row(mlSparseMatrixBase const & base, int i) const {
        MATHS_CHECK(i >= 0 && i < base.rows(), "sparse row: %d of %d x %d", i, base.rows(), base.cols());
        return *base.row_handles_[i];
    }
    mlSparseRow & row(int i) {
        MATHS_CHECK(i >= 0 && i < rows(), "sparse row: %d of %d x %d", i, rows(), cols());
        return *row_handles_.data()[i];
    }

    /// `result` becomes the sum from 0.0, in column order, of b's value times a's over the columns that both rows
    /// store. Returns 1 when there is such a column, else 0. Restarts both iterators and leaves them where it ended.
    static int row_dot_product(mlSparseRowIT & a, mlSparseRowIT & b, double & result);

private:
    int num_cols_ = 0;
    mlSparseRowcoDynArrPrgcoPrgcoDynArr row_handles_;
};
