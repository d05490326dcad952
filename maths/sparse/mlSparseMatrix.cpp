#include "maths/sparse/mlSparseMatrix.h"

#include <cstdint>

#include "maths/core/mlVectorRuns.h"
#include "maths/sparse/mlSparseProducts.h"
#include "maths/sparse/mlSparseSymMatrix.h"

namespace {

// Prefetches the memory four cache lines ahead, which may lie past the end of the row, so the address is computed as an
// integer. Rows that were filled in turn lie there, each too short for the processor's own prefetching.
void fetch_beyond(mlSparseElement const * e) {
    auto const address = reinterpret_cast<std::uintptr_t>(e) + 256;
    __builtin_prefetch(reinterpret_cast<void const *>(address)); // NOLINT(performance-no-int-to-ptr)
}

double dot_product(mlSparseRow const & row, double const * x) {
    double sum = 0.0;
    mlSparseElement const * e = row.begin();
    auto const add = [&] {
        sum += x[e->index] * e->value;
        ++e;
    };
    while (row.end() - e >= 4) { // a cache line
        fetch_beyond(e);
        add(), add(), add(), add();
    }
    fetch_beyond(e);
    while (e != row.end())
        add();
    return sum;
}

} // namespace

mlSparseMatrix::mlSparseMatrix(enum mlMatrixZero, int rows, int cols) { become(::mlMatrixZero, rows, cols); }

mlSparseMatrix::mlSparseMatrix(enum mlMatrixIdentity, int n) { become(::mlMatrixIdentity, n); }

mlSparseMatrix::mlSparseMatrix(enum mlMatrixProduct, mlSparseMatrix const & a, mlSparseMatrix const & b) {
    become(::mlMatrixProduct, a, b);
}

mlSparseMatrix::mlSparseMatrix(enum mlMatrixTranspose, mlSparseMatrix const & m) { become(::mlMatrixTranspose, m); }

mlSparseMatrix::mlSparseMatrix(enum utCopy, mlSparseMatrix const & m) : mlSparseMatrixBase(::utCopy, m) {}

mlSparseMatrix::mlSparseMatrix(enum utCopy, mlSparseSymMatrix const & m) { become(::utCopy, m); }

mlSparseMatrix & mlSparseMatrix::become(enum mlMatrixZero, int rows, int cols) {
    mlSparseMatrixBase::become(rows, cols);
    return *this;
}

mlSparseMatrix & mlSparseMatrix::become(enum mlMatrixIdentity, int n) {
    mlSparseMatrixBase::become(::mlMatrixIdentity, n);
    return *this;
}

mlSparseMatrix & mlSparseMatrix::become(enum mlMatrixProduct, mlSparseMatrix const & a, mlSparseMatrix const & b) {
    MATHS_CHECK(a.cols() <= b.rows(), "sparse product: %d x %d times %d x %d", a.rows(), a.cols(), b.rows(), b.cols());
    if (this == &a || this == &b) {
        mlSparseMatrix product(::mlMatrixProduct, a, b);
        swap(product);
        return *this;
    }
    mlSparseMatrixBase::become(a.rows(), b.cols());
    mlSparseRowSum sum;
    for (int i = 0; i < rows(); ++i) {
        for (mlSparseElement const & x : row(a, i))
            sum.add_multiple(x.value, {row(b, x.index).begin(), row(b, x.index).end()});
        sum.move_to(row(i));
    }
    return *this;
}

mlSparseMatrix & mlSparseMatrix::become(enum mlMatrixTranspose, mlSparseMatrix const & m) {
    if (this == &m) {
        mlSparseMatrix transposed(::mlMatrixTranspose, m);
        swap(transposed);
        return *this;
    }
    mlSparseMatrixBase::become(m.cols(), m.rows());
    for (int i = 0; i < m.rows(); ++i) { // in this order every row of the result comes out sorted
        for (mlSparseElement const & e : row(m, i))
            row(e.index).append_element(i, e.value);
    }
    return *this;
}

mlSparseMatrix & mlSparseMatrix::become(enum utCopy, mlSparseMatrix const & m) {
    mlSparseMatrixBase::become(::utCopy, m);
    return *this;
}

mlSparseMatrix & mlSparseMatrix::become(enum utCopy, mlSparseSymMatrix const & m) {
    mlSparseMatrixBase::become(m.rows(), m.cols());
    for (int i = 0; i < m.rows(); ++i) { // row i has its part below the diagonal by now
        for (mlSparseElement const & e : row(m, i)) {
            row(i).append_element(e.index, e.value);
            if (e.index > i) row(e.index).append_element(i, e.value);
        }
    }
    return *this;
}

void mlSparseMatrix::decompress(mlMatrix & m) const {
    m.become(mlMatrixZero, rows(), cols());
    for (int i = 0; i < rows(); ++i) {
        for (mlSparseElement const & e : row(*this, i))
            m(i, e.index) = e.value;
    }
}

void mlSparseMatrix::multiply_vector(mlVector const & factor, mlVector & y) const {
    mlSparseFactor<mlVector> const unaliased(factor, y);
    mlVector const & x = *unaliased;
    ml_check_length("sparse multiply", cols(), x.size());
    y.reserve(rows()); // first, since it may fail
    y.clear(0);
    y.expand(rows());
    for (int i = 0; i < rows(); ++i)
        y.data()[i] = dot_product(row(*this, i), x.data());
}

void mlSparseMatrix::multiply_matrix(mlMatrix const & factor, mlMatrix & c) const {
    mlSparseFactor<mlMatrix> const unaliased(factor, c);
    mlMatrix const & b = *unaliased;
    MATHS_CHECK(cols() <= b.rows(), "sparse multiply: %d x %d times %d x %d", rows(), cols(), b.rows(), b.cols());
    c.become(mlMatrixZero, rows(), b.cols());
    for (int i = 0; i < rows(); ++i) {
        for (mlSparseElement const & e : row(*this, i))
            ml_add_multiple_of_row(c, i, e.value, b, e.index);
    }
}

void mlSparseMatrix::extract_sub_matrix(int first_row, int first_col, int num_rows, int num_cols,
                                        mlSparseMatrix & out) const {
    if (this == &out) {
        mlSparseMatrix block;
        extract_sub_matrix(first_row, first_col, num_rows, num_cols, block);
        out.swap(block);
        return;
    }
    MATHS_CHECK(first_row >= 0 && num_rows >= 0 && num_rows <= rows() - first_row,
                "extract_sub_matrix: %d rows from %d on of %d x %d", num_rows, first_row, rows(), cols());
    out.become(mlMatrixZero, num_rows, num_cols);
    for (int i = 0; i < num_rows; ++i) {
        for (mlSparseElement const & e : row(*this, first_row + i)) {
            if (static_cast<long long>(e.index) - first_col >= num_cols) break;
            if (e.index >= first_col) out.row(i).append_element(e.index - first_col, e.value);
        }
    }
}

void mlSparseMatrix::concatenate_below(mlSparseMatrix const & b) {
    MATHS_CHECK(cols() == b.cols(), "concatenate_below: %d x %d to %d x %d", b.rows(), b.cols(), rows(), cols());
    int const above = rows();
    int const count = b.rows();
    resize_rows(coSizeSum(above, count));
    for (int i = 0; i < count; ++i)
        row(above + i).become(utCopy, row(b, i));
}

void mlSparseMatrix::concatenate_right(mlSparseMatrix const & b) {
    MATHS_CHECK(b.rows() >= rows(), "concatenate_right: %d x %d to %d x %d", b.rows(), b.cols(), rows(), cols());
    append_right(0, b, rows());
}

void mlSparseMatrix::concatenate_diagonal(mlSparseMatrix const & b) {
    int const above = rows();
    int const count = b.rows();
    resize_rows(coSizeSum(above, count));
    append_right(above, b, count);
}
