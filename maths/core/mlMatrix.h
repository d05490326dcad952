#pragma once

#include <initializer_list>
#include <iosfwd>
#include <span>
#include <utility>

#include "maths/core/mlVector.h"

/// Selects zeros, the identity, a Hilbert matrix or a transposed copy.
enum mlMatrixZero { mlMatrixZero };
enum mlMatrixIdentity { mlMatrixIdentity };
enum mlMatrixHilbert { mlMatrixHilbert };
enum mlMatrixTranspose { mlMatrixTranspose };

/// Dense matrix of doubles, stored row by row without gaps: element (r, c) is data()[r * cols() + c].
///
/// The storage is that of a `doublecoDynArr`. Deliberate: its size is at least rows() * cols() and can be larger:
/// `expand` never shrinks it, and an empty matrix made by zero, identity, conversion, copy or product keeps one
/// element. Comparison and `max_absolute_value` run over the storage's whole size. The array's own `swap`, `clear` and
/// `shrink`, which would change the storage and not the shape, are replaced or deleted here. Each constructor with a
/// tag has a `become` that gives an existing matrix the same value. A matrix can be moved when it is made, so functions
/// return matrices, and `become` takes a temporary's storage; there is no assignment.
/// Lifetime: slices are valid until the shape changes. Bad input: no index, shape or size is checked.
/// Failure: growth, and a shape of more elements than an int can count, throws std::bad_alloc. Editing operations then
/// leave the matrix as it was, `become` and products as it was or without elements. Threads: one at a time.
class MATHS_API mlMatrix : public doublecoDynArr {
public:
    /// 0 x 0, without storage.
    mlMatrix() noexcept = default;

    /// The rows in the braces: `mlMatrix{{1.0, 2.0}, {3.0, 4.0}}`, of one length. The first row has the number of
    /// columns; what others lack is 0, and what they have more is left out.
    mlMatrix(std::initializer_list<std::initializer_list<mlNumber>> rows);

    mlMatrix(enum mlMatrixZero, int rows, int cols);
    mlMatrix(enum mlMatrixIdentity, int n);

    /// Element (i, j) is \f$1 / (i + j + 1)\f$.
    mlMatrix(enum mlMatrixHilbert, int n);

    /// The product a b.
    mlMatrix(enum mlMatrixProduct, mlMatrix const & a, mlMatrix const & b);
    mlMatrix(enum mlMatrixTranspose, mlMatrix const & m);

    /// The rows * cols values at src, row by row.
    mlMatrix(enum utConvert, double const * src, int rows, int cols);
    mlMatrix(std::span<double const> values, int rows, int cols);

    mlMatrix(enum utCopy, mlMatrix const & m);

    /// rows x cols, not initialised.
    explicit mlMatrix(int rows, int cols);

    // clang-format off
    /// A tag of another class is not a number of rows.
    template <class Tag>
        requires std::is_enum_v<Tag>
    mlMatrix(Tag, int) = delete;
    // clang-format on

    /// Takes storage and shape of m, which is left 0 x 0 and without storage.
    mlMatrix(mlMatrix && m) noexcept
        : doublecoDynArr(static_cast<doublecoDynArr &&>(m)), cols_(std::exchange(m.cols_, 0)),
          rows_(std::exchange(m.rows_, 0)) {}

    mlMatrix(mlMatrix const &) = delete;
    mlMatrix & operator=(mlMatrix const &) = delete;

    mlMatrix & become(enum mlMatrixZero, int rows, int cols);
    mlMatrix & become(enum mlMatrixIdentity, int n);
    mlMatrix & become(enum mlMatrixHilbert, int n);
    mlMatrix & become(enum mlMatrixProduct, mlMatrix const & a, mlMatrix const & b);

    /// m must not be this matrix.
    mlMatrix & become(enum mlMatrixTranspose, mlMatrix const & m);

    /// src may lie in this matrix when the new shape has no more elements than the storage has room for.
    mlMatrix & become(enum utConvert, double const * src, int rows, int cols);
    mlMatrix & become(enum utCopy, mlMatrix const & m);

    /// Frees its storage and takes storage and shape of a temporary, which is left 0 x 0 and without storage. Nothing
    /// happens when it is this matrix.
    mlMatrix & become(mlMatrix && temporary) noexcept {
        mlMatrix taken(std::move(temporary));
        swap(taken);
        return *this;
    }

    /// rows x cols, with the values that the storage happens to hold.
    mlMatrix & become(int rows, int cols);

    // clang-format off
    /// A tag of another class is not a number of rows.
    template <class Tag>
        requires std::is_enum_v<Tag>
    mlMatrix & become(Tag, int) = delete;
    // clang-format on

    /// Makes the matrix 0 x 0; the storage is kept for `release` = 0, else freed.
    void clear(int release) {
        doublecoDynArr::clear(release);
        rows_ = cols_ = 0;
    }

    /// Exchanges two matrices in constant time.
    void swap(mlMatrix & other) noexcept;

    /// The storage holds the shape: `delete_row`, `delete_col` and `expand` shrink a matrix.
    int shrink(int n, int release) = delete;

    [[nodiscard]] int rows() const { return rows_; }
    [[nodiscard]] int cols() const { return cols_; }

    /// Element (row, col); non-const access extends the storage, not the shape. A checked build lets it go below the
    /// last row, but not right of the last column, unless the matrix is 0 x 0.
    double & operator()(int row, int col) {
        MATHS_CHECK(row >= 0 && col >= 0 && (col < cols_ || !has_shape()), "matrix element: (%d, %d) of %d x %d", row,
                    col, rows_, cols_);
        long long const i = static_cast<long long>(row) * cols_ + col;
        if (i >= size()) extend_storage(i);
        return data()[i];
    }
    [[nodiscard]] double const & operator()(int row, int col) const {
        MATHS_CHECK(row >= 0 && row < rows_ && col >= 0 && col < cols_, "matrix element: (%d, %d) of %d x %d", row, col,
                    rows_, cols_);
        return data()[row * cols_ + col];
    }

    /// Element i of the storage; non-const access extends it, not the shape. A checked build stops at an i past the
    /// storage unless the matrix is 0 x 0.
    double & operator[](int i) {
        MATHS_CHECK(i >= 0 && (i < size() || !has_shape()), "matrix storage: element %d of %d, of a %d x %d matrix", i,
                    size(), rows_, cols_);
        return doublecoDynArr::operator[](i);
    }
    [[nodiscard]] double const & operator[](int i) const {
        MATHS_CHECK(i >= 0 && i < size(), "matrix storage: element %d of %d, of a %d x %d matrix", i, size(), rows_,
                    cols_);
        return data()[i];
    }

    [[nodiscard]] mlSlice row(int r) { return row_view(r); }
    [[nodiscard]] mlSlice const row(int r) const { return row_view(r); }
    [[nodiscard]] mlSlice col(int c) { return col_view(c); }
    [[nodiscard]] mlSlice const col(int c) const { return col_view(c); }

    /// The min(rows, cols) elements (i, i).
    [[nodiscard]] mlSlice diagonal() { return diagonal_view(); }
    [[nodiscard]] mlSlice const diagonal() const { return diagonal_view(); }

    /// Element by element of the shape, which m shares, in storage order.
    void operator+=(mlMatrix const & m);
    void operator-=(mlMatrix const & m);
    void operator*=(double x);

    /// Divides every element; does not multiply by 1 / x.
    void operator/=(double x);

    /// Adds v as the last row; a matrix without columns gets as many as v has elements, and other rows of zeros.
    void append_row(mlVector const & v);
    void append_row(mlSlice const & s) { append_row(mlVector(s)); }

    /// Adds v as the last column; a matrix without rows gets as many as v has elements.
    void append_col(mlVector const & v);
    void append_col(mlSlice const & s) { append_col(mlVector(s)); }

    void delete_row(int r);
    void delete_col(int c);
    void swap_rows(int a, int b);
    void swap_cols(int a, int b);

    /// Changes the shape, either way: elements stay at their (row, column), new ones are `fill`, those outside are
    /// dropped. The storage never shrinks, and grows to the new shape at most.
    void expand(int new_rows, int new_cols, double fill);

    /// A running maximum in storage order. Deliberate: an element x replaces it, by |x|, when x itself, with its sign,
    /// exceeds it. So { 1, -5 } gives 1 and { -5, 1 } gives 5; callers rely on it. The most negative finite double for
    /// an empty storage. `mlVector::max_absolute_value` is the true maximum.
    [[nodiscard]] double max_absolute_value() const;

private:
    bool has_shape() const { return rows_ != 0 || cols_ != 0; }
    [[gnu::cold]] void extend_storage(long long i);
    void hold_at_least_one_element();
    void copy_block(double const * src, int count);
    mlSlice view(int start, int length, int stride) const {
        return mlSlice(const_cast<double *>(data()), start, length, stride);
    }
    mlSlice row_view(int r) const {
        MATHS_CHECK(r >= 0 && r < rows_, "matrix row: %d of %d x %d", r, rows_, cols_);
        return view(r * cols_, cols_, 1);
    }
    mlSlice col_view(int c) const {
        MATHS_CHECK(c >= 0 && c < cols_, "matrix column: %d of %d x %d", c, rows_, cols_);
        return view(c, rows_, cols_);
    }
    mlSlice diagonal_view() const { return view(0, rows_ < cols_ ? rows_ : cols_, coSizeSum(cols_, 1)); }

    int cols_ = 0;
    int rows_ = 0;
};

/// Exchanges two matrices in constant time.
inline void swap(mlMatrix & a, mlMatrix & b) noexcept { a.swap(b); }

/// 1 when each stored value of a equals that of b, exactly; a NaN equals nothing. Shapes are not compared.
[[nodiscard]] MATHS_API int operator==(mlMatrix const & a, mlMatrix const & b);
[[nodiscard]] inline int operator!=(mlMatrix const & a, mlMatrix const & b) { return !(a == b); }

/// 1 unless some stored values differ by more than the tolerance. Deliberate: a difference that is NaN does not exceed
/// it, and so counts as equal, the opposite of `operator==`. Shapes are not compared.
[[nodiscard]] MATHS_API int equal(mlMatrix const & a, mlMatrix const & b, double tolerance);

/// c = a b, a.rows() x b.cols(): \f$c_{ij} = \sum_k a_{ik} b_{kj}\f$, each sum from 0.0 in increasing k.
/// c may be a or b, at the cost of a temporary matrix. O(rows cols k).
MATHS_API void multiply(mlMatrix const & a, mlMatrix const & b, mlMatrix & c);

/// y = a x, of just a.rows() elements: \f$y_i = \sum_k a_{ik} x_k\f$, each sum from 0.0 in increasing k. y must not be
/// x, nor be viewed by it.
/// A slice whose stride is not 1 is first copied into contiguous scratch, which is allocated beyond 1024 elements;
/// nothing else but y is allocated. Failure: std::bad_alloc; y stays as it was.
MATHS_API void multiply(mlMatrix const & a, mlVector const & x, mlVector & y);
MATHS_API void multiply(mlMatrix const & a, mlSlice const & x, mlVector & y);

/// Prints a line per row: "| ", each element followed by a blank, "| ", in fixed-point format with 6 decimals. The
/// stream's flags are restored. Deliberate: its precision stays 6.
MATHS_API std::ostream & operator<<(std::ostream & stream, mlMatrix const & m);
