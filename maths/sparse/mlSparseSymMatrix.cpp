#include "maths/sparse/mlSparseSymMatrix.h"

#include <algorithm>
#include <span>

#include "maths/core/mlVectorRuns.h"
#include "maths/sparse/mlSparseMatrix.h"
#include "maths/sparse/mlSparseProducts.h"

namespace {

bool in_order(mlSparseRow const & row) {
    for (int k = 1; k < row.size(); ++k) {
        if (row[k].index <= row[k - 1].index) return false;
    }
    return true;
}

// A matrix's elements by columns, those of a column by rows: a transpose that knows each element's row, in two pieces
// of storage instead of two a row.
class Columns {
public:
    struct Place {
        mlSparseElement const *element, *row_begin, *row_end;
    };

    // `row_at(k)` is row k.
    template <class RowAt> Columns(int rows, int cols, RowAt row_at) {
        ends_.expand(cols);
        std::fill(ends_.begin(), ends_.end(), 0);
        int total = 0;
        for (int k = 0; k < rows; ++k) {
            total = coSizeSum(total, row_at(k).size());
            for (mlSparseElement const & e : row_at(k))
                ++ends_.data()[e.index];
        }
        int begin = 0; // each column's, until its places are filled in
        for (int & end : ends_)
            begin += std::exchange(end, begin);
        places_.expand(total);
        for (int k = 0; k < rows; ++k) {
            mlSparseRow const & row = row_at(k);
            for (mlSparseElement const & e : row)
                places_.data()[ends_.data()[e.index]++] = {&e, row.begin(), row.end()};
        }
    }

    std::span<Place const> operator[](int j) const {
        Place const * const places = places_.data();
        return {places + (j == 0 ? 0 : ends_[j - 1]), places + ends_[j]};
    }

private:
    coDynArr<Place> places_;
    intcoDynArr ends_;
};

} // namespace

mlSparseSymMatrix::mlSparseSymMatrix(enum mlMatrixZero, int n) { become(::mlMatrixZero, n); }

mlSparseSymMatrix::mlSparseSymMatrix(enum mlMatrixIdentity, int n) { become(::mlMatrixIdentity, n); }

mlSparseSymMatrix::mlSparseSymMatrix(enum mlMatrixPremultiplyTranspose, mlSparseMatrix const & a) {
    become(::mlMatrixPremultiplyTranspose, a);
}

mlSparseSymMatrix::mlSparseSymMatrix(enum utCopy, mlSparseSymMatrix const & m) : mlSparseMatrixBase(::utCopy, m) {}

mlSparseSymMatrix & mlSparseSymMatrix::become(enum mlMatrixZero, int n) {
    mlSparseMatrixBase::become(n, n);
    return *this;
}

mlSparseSymMatrix & mlSparseSymMatrix::become(enum mlMatrixIdentity, int n) {
    mlSparseMatrixBase::become(::mlMatrixIdentity, n);
    return *this;
}

mlSparseSymMatrix & mlSparseSymMatrix::become(enum mlMatrixPremultiplyTranspose, mlSparseMatrix const & a) {
    bool ordered = true;
    for (int k = 0; k < a.rows() && ordered; ++k)
        ordered = in_order(row(a, k));
    Columns const columns(a.rows(), a.cols(), [&](int k) -> mlSparseRow const & { return row(a, k); });

    mlSparseMatrixBase::become(a.cols(), a.cols());
    mlSparseRowSum sum;
    for (int i = 0; i < rows(); ++i) {
        for (Columns::Place const & place : columns[i]) {
            double const x = place.element->value;
            if (ordered) {
                sum.add_multiple(x, {place.element, place.row_end});
                continue;
            }
            mlSparseElement const * e = place.row_end;
            while (e != place.row_begin && e[-1].index >= i)
                sum.add_multiple(x, {--e, 1}); // the later of two in one column comes first
        }
        sum.move_to(row(i));
    }
    return *this;
}

mlSparseSymMatrix & mlSparseSymMatrix::become(enum utCopy, mlSparseSymMatrix const & m) {
    mlSparseMatrixBase::become(::utCopy, m);
    return *this;
}

void mlSparseSymMatrix::concatenate(mlSparseMatrix const & b) {
    MATHS_CHECK(b.rows() >= rows(), "concatenate: %d x %d to %d x %d", b.rows(), b.cols(), rows(), cols());
    int const n = rows();
    resize_rows(coSizeSum(n, b.cols()));
    append_right(0, b, n);
}

void mlSparseSymMatrix::concatenate_diagonal(mlSparseSymMatrix const & s) {
    int const above = rows();
    int const count = s.rows();
    resize_rows(coSizeSum(above, count));
    append_right(above, s, count);
}

void mlSparseSymMatrix::decompress(mlMatrix & m) const {
    m.become(mlMatrixZero, rows(), cols());
    for (int i = 0; i < rows(); ++i) {
        for (mlSparseElement const & e : row(*this, i))
            m(i, e.index) = m(e.index, i) = e.value;
    }
}

void mlSparseSymMatrix::multiply_vector(mlVector const & factor, mlVector & y) const {
    mlSparseFactor<mlVector> const unaliased(factor, y);
    mlVector const & x = *unaliased;
    ml_check_length("sparse multiply", cols(), x.size());
    y.become(mlVectorZero, rows());
    for (int i = 0; i < rows(); ++i) {
        for (mlSparseElement const & e : row(*this, i)) {
            y.data()[i] += x.data()[e.index] * e.value;
            if (e.index != i) y.data()[e.index] += x.data()[i] * e.value;
        }
    }
}

void mlSparseSymMatrix::multiply_matrix(mlMatrix const & factor, mlMatrix & c) const {
    mlSparseFactor<mlMatrix> const unaliased(factor, c);
    mlMatrix const & b = *unaliased;
    MATHS_CHECK(cols() <= b.rows(), "sparse multiply: %d x %d times %d x %d", rows(), cols(), b.rows(), b.cols());
    c.become(mlMatrixZero, rows(), b.cols());
    for (int i = 0; i < rows(); ++i) {
        for (mlSparseElement const & e : row(*this, i)) {
            ml_add_multiple_of_row(c, i, e.value, b, e.index);
            if (e.index != i) ml_add_multiple_of_row(c, e.index, e.value, b, i);
        }
    }
}

double mlSparseSymMatrix::row_dot_self(mlSparseRowIT & row) {
    double sum = 0.0;
    for (mlSparseElement const * e = row.first(); e != nullptr; e = row.next())
        sum += e->value * e->value;
    return sum;
}
