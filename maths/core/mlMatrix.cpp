#include "maths/core/mlMatrix.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ostream>

#include "maths/core/mlStreamFlags.h"
#include "maths/core/mlVectorRuns.h"

mlMatrix::mlMatrix(std::initializer_list<std::initializer_list<mlNumber>> rows) {
    std::size_t const cols = rows.size() == 0 ? 0 : rows.begin()->size();
    become(::mlMatrixZero, coSize(rows.size()), coSize(cols));
    double * to = data();
    for (auto const & row : rows) {
        MATHS_CHECK(row.size() == cols, "matrix in braces: a row of %d elements in a matrix of %d columns",
                    static_cast<int>(row.size()), cols_);
        std::copy_n(row.begin(), std::min(row.size(), cols), to);
        to += cols;
    }
}

mlMatrix::mlMatrix(enum mlMatrixZero, int rows, int cols) { become(::mlMatrixZero, rows, cols); }

mlMatrix::mlMatrix(enum mlMatrixIdentity, int n) { become(::mlMatrixIdentity, n); }

mlMatrix::mlMatrix(enum mlMatrixHilbert, int n) { become(::mlMatrixHilbert, n); }

mlMatrix::mlMatrix(enum mlMatrixProduct, mlMatrix const & a, mlMatrix const & b) { multiply(a, b, *this); }

mlMatrix::mlMatrix(enum mlMatrixTranspose, mlMatrix const & m) { become(::mlMatrixTranspose, m); }

// The base takes rows for its capacity and cols for its increment, by which the storage grows from then on.
mlMatrix::mlMatrix(enum utConvert, double const * src, int rows, int cols) : doublecoDynArr(rows, cols) {
    become(::utConvert, src, rows, cols);
}

mlMatrix::mlMatrix(std::span<double const> values, int rows, int cols) {
    MATHS_CHECK(values.size() >= static_cast<std::size_t>(coTableSize(rows, cols)), "matrix: %d elements for %d x %d",
                static_cast<int>(values.size()), rows, cols);
    become(::utConvert, values.data(), rows, cols);
}

mlMatrix::mlMatrix(enum utCopy, mlMatrix const & m) { become(::utCopy, m); }

mlMatrix::mlMatrix(int rows, int cols) { become(rows, cols); }

mlMatrix & mlMatrix::become(enum mlMatrixZero, int rows, int cols) {
    become(rows, cols);
    hold_at_least_one_element();
    std::fill(begin(), end(), 0.0);
    return *this;
}

mlMatrix & mlMatrix::become(enum mlMatrixIdentity, int n) {
    become(::mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i)
        data()[i * n + i] = 1.0;
    return *this;
}

mlMatrix & mlMatrix::become(enum mlMatrixHilbert, int n) {
    become(n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            data()[i * n + j] = 1.0 / (i + j + 1);
    }
    return *this;
}

mlMatrix & mlMatrix::become(enum mlMatrixProduct, mlMatrix const & a, mlMatrix const & b) {
    multiply(a, b, *this);
    return *this;
}

mlMatrix & mlMatrix::become(enum mlMatrixTranspose, mlMatrix const & m) {
    MATHS_CHECK(this != &m, "transpose: a %d x %d matrix can't become its own transpose", m.rows_, m.cols_);
    become(m.cols_, m.rows_);
    for (int i = 0; i < m.rows_; ++i) {
        for (int j = 0; j < m.cols_; ++j)
            data()[j * cols_ + i] = m.data()[i * m.cols_ + j];
    }
    return *this;
}

mlMatrix & mlMatrix::become(enum utConvert, double const * src, int rows, int cols) {
    become(rows, cols);
    hold_at_least_one_element();
    copy_block(src, rows * cols);
    return *this;
}

mlMatrix & mlMatrix::become(enum utCopy, mlMatrix const & m) {
    if (this == &m) return *this;
    become(m.rows_, m.cols_);
    hold_at_least_one_element();
    copy_block(m.data(), std::min(size(), m.size()));
    return *this;
}

mlMatrix & mlMatrix::become(int rows, int cols) {
    clear(0); // so that the matrix is 0 x 0 if the allocation fails
    doublecoDynArr::expand(coTableSize(rows, cols));
    rows_ = rows;
    cols_ = cols;
    return *this;
}

void mlMatrix::swap(mlMatrix & other) noexcept {
    doublecoDynArr & other_storage = other;
    doublecoDynArr::swap(other_storage);
    std::swap(cols_, other.cols_);
    std::swap(rows_, other.rows_);
}

namespace {

template <class Y, class Change> void update(mlMatrix & m, Y y, Change change) {
    ml_run_update(mlDenseRun<double>{m.data()}, y, m.rows() * m.cols(), change);
}

mlDenseRun<double const> operand([[maybe_unused]] char const * operation, [[maybe_unused]] mlMatrix const & m,
                                 mlMatrix const & other) {
    MATHS_CHECK(m.rows() == other.rows() && m.cols() == other.cols(), "%s: %d x %d and %d x %d", operation, m.rows(),
                m.cols(), other.rows(), other.cols());
    return {other.data()};
}

} // namespace

void mlMatrix::operator+=(mlMatrix const & m) { update(*this, operand("matrix sum", *this, m), mlAdd()); }
void mlMatrix::operator-=(mlMatrix const & m) { update(*this, operand("matrix difference", *this, m), mlSubtract()); }
void mlMatrix::operator*=(double x) { update(*this, mlConstantRun{x}, mlMultiply()); }
void mlMatrix::operator/=(double x) { update(*this, mlConstantRun{x}, mlDivide()); }

void mlMatrix::append_row(mlVector const & v) {
    MATHS_CHECK(cols_ == 0 || v.size() == cols_, "append_row: %d elements to %d x %d", v.size(), rows_, cols_);
    int const new_rows = coSizeSum(rows_, 1), new_cols = cols_ == 0 ? v.size() : cols_;
    int const start = coTableSize(rows_, new_cols);
    doublecoDynArr::expand(std::max(coSizeSum(size(), v.size()), coTableSize(new_rows, new_cols)));
    if (cols_ == 0) std::fill_n(data(), start, 0.0);
    std::copy(v.begin(), v.end(), data() + start);
    rows_ = new_rows;
    cols_ = new_cols;
}

void mlMatrix::append_col(mlVector const & v) {
    MATHS_CHECK(v.size() >= rows_, "append_col: %d elements to %d x %d", v.size(), rows_, cols_);
    int const new_rows = rows_ == 0 ? v.size() : rows_;
    expand(new_rows, coSizeSum(cols_, 1), 0.0);
    for (int r = 0; r < new_rows; ++r)
        data()[r * cols_ + cols_ - 1] = v[r];
}

void mlMatrix::delete_row(int r) {
    MATHS_CHECK(r >= 0 && r < rows_, "delete_row: %d of %d x %d", r, rows_, cols_);
    double * const row = data() + r * cols_;
    double * const next = row + cols_;
    if (next < end()) std::memmove(row, next, (end() - next) * sizeof(double));
    doublecoDynArr::shrink(size() - cols_, 0);
    --rows_;
}

void mlMatrix::delete_col(int c) {
    MATHS_CHECK(c >= 0 && c < cols_, "delete_col: %d of %d x %d", c, rows_, cols_);
    double * to = data();
    for (int r = 0; r < rows_; ++r) {
        double const * const row = data() + r * cols_;
        for (int j = 0; j < cols_; ++j) {
            if (j != c) *to++ = row[j];
        }
    }
    doublecoDynArr::shrink(size() - rows_, 0);
    --cols_;
}

void mlMatrix::swap_rows(int a, int b) {
    MATHS_CHECK(a >= 0 && b >= 0 && a < rows_ && b < rows_, "swap_rows: %d and %d of %d x %d", a, b, rows_, cols_);
    if (a != b) std::swap_ranges(data() + a * cols_, data() + (a + 1) * cols_, data() + b * cols_);
}

void mlMatrix::swap_cols(int a, int b) {
    MATHS_CHECK(a >= 0 && b >= 0 && a < cols_ && b < cols_, "swap_cols: %d and %d of %d x %d", a, b, rows_, cols_);
    for (int r = 0; r < rows_; ++r)
        std::swap(data()[r * cols_ + a], data()[r * cols_ + b]);
}

void mlMatrix::expand(int new_rows, int new_cols, double fill) {
    if (new_rows == rows_ && new_cols == cols_) return;
    doublecoDynArr::expand(coTableSize(new_rows, new_cols));
    int const kept_rows = std::min(rows_, new_rows), kept_cols = std::min(cols_, new_cols);
    auto const move_row = [&](int r) {
        double * const row = data() + r * new_cols;
        if (kept_cols > 0) std::memmove(row, data() + r * cols_, kept_cols * sizeof(double));
        std::fill(row + kept_cols, row + new_cols, fill);
    };
    if (new_cols < cols_) { // in the order that overwrites no row before it has moved
        for (int r = 0; r < kept_rows; ++r)
            move_row(r);
    } else {
        for (int r = kept_rows - 1; r >= 0; --r)
            move_row(r);
    }
    for (int r = kept_rows; r < new_rows; ++r)
        std::fill_n(data() + r * new_cols, new_cols, fill);
    rows_ = new_rows;
    cols_ = new_cols;
}

double mlMatrix::max_absolute_value() const {
    double maximum = mlLeastDouble;
    for (double const x : *this) {
        if (x > maximum) maximum = std::fabs(x); // x with its sign: see the header
    }
    return maximum;
}

void mlMatrix::extend_storage(long long i) { doublecoDynArr::operator[](coSize(i)); }

void mlMatrix::hold_at_least_one_element() {
    if (size() == 0) doublecoDynArr::operator[](0) = 0.0;
}

void mlMatrix::copy_block(double const * src, int count) {
    if (count > 0) std::memmove(data(), src, count * sizeof(double));
}

int operator==(mlMatrix const & a, mlMatrix const & b) {
    ml_check_length("matrix comparison", a.size(), b.size());
    return ml_run_equal(mlDenseRun<double const>{a.data()}, mlDenseRun<double const>{b.data()}, a.size());
}

int equal(mlMatrix const & a, mlMatrix const & b, double tolerance) {
    ml_check_length("matrix comparison", a.size(), b.size());
    for (int i = 0; i < a.size(); ++i) {
        if (std::fabs(a.data()[i] - b.data()[i]) > tolerance) return 0;
    }
    return 1;
}

std::ostream & operator<<(std::ostream & stream, mlMatrix const & m) {
    mlStreamFlags const fixed_point(stream);
    stream.precision(6);
    for (int r = 0; r < m.rows(); ++r) {
        stream << "| ";
        for (int c = 0; c < m.cols(); ++c)
            stream << m(r, c) << " ";
        stream << "| " << std::endl;
    }
    return stream;
}
