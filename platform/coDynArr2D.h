#pragma once

#include <algorithm>
#include <utility>

#include "platform/coDynArr.h"

/// Growable two-dimensional array of T, a trivially copyable type.
///
/// Elements: non-const access past an edge extends the array to that row and column; every element keeps its (row,
/// column) when the array grows, and added elements are not initialised.
/// Growth: room for rows and for columns grows by whole multiples of the two increments, each as in `coDynArr`.
/// Bad input: nothing is checked. Failure: an allocation that fails, or a size that leaves int, throws std::bad_alloc
/// and leaves the array as it was. Threads: one at a time.
template <class T> class coDynArr2D {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    /// Holds no element, with room for rows x cols.
    coDynArr2D(int rows, int cols, int row_increment, int col_increment);

    /// Takes the elements of `other`, which is left empty.
    coDynArr2D(coDynArr2D && other) noexcept
        : cells_(std::move(other.cells_)), row_room_(std::exchange(other.row_room_, 0)),
          row_length_(std::exchange(other.row_length_, 0)), rows_(std::exchange(other.rows_, 0)),
          cols_(std::exchange(other.cols_, 0)), row_increment_(other.row_increment_),
          col_increment_(other.col_increment_) {}

    coDynArr2D(coDynArr2D const &) = delete;
    coDynArr2D & operator=(coDynArr2D const &) = delete;

    [[nodiscard]] int rows() const { return rows_; }
    [[nodiscard]] int cols() const { return cols_; }

    T & operator()(int row, int col) {
        MATHS_CHECK(row >= 0 && col >= 0, "2D array element: (%d, %d) is negative", row, col);
        if (row >= rows_ || col >= cols_) expand(coSizeSum(row, 1), coSizeSum(col, 1));
        return cells_.data()[position(row, col)];
    }
    [[nodiscard]] T const & operator()(int row, int col) const {
        MATHS_CHECK(row >= 0 && row < rows_ && col >= 0 && col < cols_, "2D array element: (%d, %d) of %d x %d", row,
                    col, rows_, cols_);
        return cells_.data()[position(row, col)];
    }

    /// Raises the numbers of rows and columns to at least `rows` and `cols`; never shrinks. Returns 1.
    int expand(int rows, int cols);

protected:
    /// Makes (row, col) a valid place by the growth rule. Returns 1.
    int resize(int row, int col);

private:
    int position(int row, int col) const { return row * row_length_ + col; }

    static int grown(int room, int increment, int index);

    coDynArr<T> cells_;
    int row_room_;
    int row_length_; // room for columns
    int rows_ = 0;
    int cols_ = 0;
    int row_increment_;
    int col_increment_;
};

template <class T>
coDynArr2D<T>::coDynArr2D(int rows, int cols, int row_increment, int col_increment)
    : cells_(coTableSize(std::max(rows, 0), std::max(cols, 0)), 1), row_room_(std::max(rows, 0)),
      row_length_(std::max(cols, 0)), row_increment_(row_increment), col_increment_(col_increment) {}

template <class T> int coDynArr2D<T>::expand(int rows, int cols) {
    if (rows > row_room_ || cols > row_length_) resize(rows - 1, cols - 1);
    rows_ = std::max(rows, rows_);
    cols_ = std::max(cols, cols_);
    return 1;
}

template <class T> int coDynArr2D<T>::resize(int row, int col) {
    int const row_room = grown(row_room_, row_increment_, row);
    int const row_length = grown(row_length_, col_increment_, col);
    coDynArr<T> cells(coTableSize(row_room, row_length), 1);
    for (int r = 0; r < rows_; ++r) {
        T const * const from = cells_.data() + position(r, 0);
        std::copy(from, from + cols_, cells.data() + r * row_length);
    }
    cells_.swap(cells);
    row_room_ = row_room;
    row_length_ = row_length;
    return 1;
}

template <class T> int coDynArr2D<T>::grown(int room, int increment, int index) {
    return index < room ? room : coGrownCapacity(room, increment, index);
}

using doublecoDynArr2D = coDynArr2D<double>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr2D<double>;
#endif
