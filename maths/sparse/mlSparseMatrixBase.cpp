#include "maths/sparse/mlSparseMatrixBase.h"

#include <utility>

template class MATHS_API_TEMPLATE_DEFINITION coDynArr<mlSparseRowcoDynArrPrgcoPrg>;

namespace {

// Appends a + b, or a - b, to an empty row.
void append_sum(mlSparseRow const & a, mlSparseRow const & b, bool subtract, mlSparseRow & sum) {
    mlSparseElement const * p = a.begin();
    mlSparseElement const * q = b.begin();
    auto const take_a = [&] {
        sum.append_element(p->index, p->value);
        ++p;
    };
    auto const take_b = [&] {
        sum.append_element(q->index, subtract ? -q->value : q->value);
        ++q;
    };
    while (p != a.end() && q != b.end()) {
        if (p->index < q->index) {
            take_a();
        } else if (q->index < p->index) {
            take_b();
        } else {
            sum.append_element(p->index, subtract ? p->value - q->value : p->value + q->value);
            ++p;
            ++q;
        }
    }
    while (p != a.end())
        take_a();
    while (q != b.end())
        take_b();
}

} // namespace

mlSparseMatrixBase::mlSparseMatrixBase(enum utCopy, mlSparseMatrixBase const & other) { become(utCopy, other); }

int mlSparseMatrixBase::num_non_zero_elements() const {
    int count = 0;
    for (mlSparseRowcoDynArrPrgcoPrg const & handle : row_handles_)
        count = coSizeSum(count, handle->num_non_zero_elements());
    return count;
}

void mlSparseMatrixBase::clear(int release) {
    for (mlSparseRowcoDynArrPrgcoPrg const & handle : row_handles_)
        handle->clear(release);
}

void mlSparseMatrixBase::set_invalid() {
    num_cols_ = 0;
    row_handles_.clear(0);
}

void mlSparseMatrixBase::operator*=(double s) {
    for (mlSparseRowcoDynArrPrgcoPrg const & handle : row_handles_)
        handle->multiply_all_elements(s);
}

void mlSparseMatrixBase::operator/=(double s) {
    for (mlSparseRowcoDynArrPrgcoPrg const & handle : row_handles_)
        handle->divide_all_elements(s);
}

mlSparseMatrixBase & mlSparseMatrixBase::become(enum utCopy, mlSparseMatrixBase const & other) {
    if (this == &other) return *this;
    become(other.rows(), other.cols());
    for (int i = 0; i < rows(); ++i)
        row(i).become(utCopy, row(other, i));
    return *this;
}

mlSparseMatrixBase & mlSparseMatrixBase::become(int rows, int cols) {
    clear(0);
    num_cols_ = cols;
    resize_rows(rows);
    return *this;
}

mlSparseMatrixBase & mlSparseMatrixBase::become(enum mlMatrixIdentity, int n) {
    become(n, n);
    for (int i = 0; i < n; ++i)
        row(i).append_element(i, 1.0);
    return *this;
}

void mlSparseMatrixBase::resize_rows(int n) {
    if (n < rows()) {
        row_handles_.shrink(n, 1);
        return;
    }
    row_handles_.reserve(n);
    while (rows() < n) {
        mlSparseRowcoDynArrPrgcoPrg fresh(new mlSparseRow);
        mlSparseRowcoDynArrPrgcoPrg & slot = row_handles_[rows()];
        slot.delete_ptr(); // since set_invalid it may still own a row
        slot = std::move(fresh);
    }
}

void mlSparseMatrixBase::add_or_subtract(mlSparseMatrixBase const & other, int subtract) {
    MATHS_CHECK(rows() == other.rows() && cols() == other.cols(), "sparse sum: %d x %d and %d x %d", rows(), cols(),
                other.rows(), other.cols());
    int const n = rows();
    mlSparseRowcoDynArrPrgcoPrgcoDynArr before;
    before.swap(row_handles_);
    resize_rows(n);
    mlSparseRowcoDynArrPrgcoPrg const * const a = before.data();
    mlSparseRowcoDynArrPrgcoPrg const * const b = this == &other ? a : other.row_handles_.data();
    for (int i = 0; i < n; ++i)
        append_sum(*a[i], *b[i], subtract != 0, row(i));
}

void mlSparseMatrixBase::append_right(int first_row, mlSparseMatrixBase const & other, int count) {
    int const shift = num_cols_;
    num_cols_ = coSizeSum(shift, other.num_cols_); // first: it counts the columns of what is stored if memory runs out
    for (int i = 0; i < count; ++i) {
        mlSparseRow const & source = row(other, i);
        mlSparseRow & target = row(first_row + i);
        int const n = source.size(); // taken first: the source may be the target, and then grows
        for (int k = 0; k < n; ++k)
            target.append_element(source[k].index + shift, source[k].value);
    }
}

void mlSparseMatrixBase::swap(mlSparseMatrixBase & other) noexcept {
    std::swap(num_cols_, other.num_cols_);
    row_handles_.swap(other.row_handles_);
}

int mlSparseMatrixBase::row_dot_product(mlSparseRowIT & a, mlSparseRowIT & b, double & result) {
    result = 0.0;
    int matched = 0;
    mlSparseElement const * p = a.first();
    mlSparseElement const * q = b.first();
    while (p != nullptr && q != nullptr) {
        if (p->index == q->index) {
            result += q->value * p->value;
            matched = 1;
            p = a.next();
            q = b.next();
        } else if (p->index < q->index) {
            p = a.next();
        } else {
            q = b.next();
        }
    }
    return matched;
}
