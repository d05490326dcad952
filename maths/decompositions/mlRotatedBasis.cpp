#include "maths/decompositions/mlRotatedBasis.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

/// Columns of so few rows are rotated at once, while the processor waits for the square roots and divisions of the next
/// rotation. They make one strip.
int const few_rows = 200;

/// Enough that fetching a strip is little beside rotating it, while the notes still fit the cache beside it.
int const many_notes = 2000;

} // namespace

mlRotatedBasis::mlRotatedBasis(mlFortranMatrix const & basis)
    : kernels_(ml_kernels()), rows_(basis.rows()), cols_(basis.cols()),
      strip_rows_(rows_ > few_rows ? mlRotationRun::strip_rows : mlKernels::padded(rows_)),
      strips_(strip_rows_ > 0 ? (rows_ + strip_rows_ - 1) / strip_rows_ : 0), notes_(rows_ > few_rows ? many_notes : 0),
      elements_(coTableSize(strips_ * strip_rows_, cols_)), runs_(notes_), rotations_(notes_), sources_(cols_) {
    for (int first = 1; first <= rows_; first += strip_rows_) {
        int const count = std::min(strip_rows_, rows_ - first + 1);
        mlBlock const rows = basis.block(first, 1);
        kernels_.copy_transposed(count, cols_, {rows.first, rows.ld}, {address(first, 1), strip_rows_});
        for (int j = 1; j <= cols_; ++j)
            std::fill_n(address(first, j) + count, strip_rows_ - count, 0.0);
    }
    for (int j = 1; j <= cols_; ++j)
        sources_.get()[j - 1] = j;
}

void mlRotatedBasis::rotate(int j, int k, mlRotation const & rotation) {
    if (notes_ == 0) return kernels_.rotate(strip_rows_, address(1, j), address(1, k), rotation);
    if (rotation_count_ == notes_) carry_out();
    mlRotationRun * const runs = runs_.get();
    if (run_count_ > 0 && k == j + 1 && j == runs[run_count_ - 1].second + runs[run_count_ - 1].count)
        ++runs[run_count_ - 1].count;
    else
        runs[run_count_++] = {j - 1, k - 1, 1};
    rotations_.get()[rotation_count_++] = rotation;
}

void mlRotatedBasis::exchange(int j, int k) { std::swap(sources_.get()[j - 1], sources_.get()[k - 1]); }

void mlRotatedBasis::negate(int j) { sources_.get()[j - 1] *= -1; }

void mlRotatedBasis::finish(mlFortranMatrix const & basis) {
    carry_out();
    for (int i = 1; i <= rows_; ++i) {
        for (int j = 1; j <= cols_; ++j) {
            int const source = sources_.get()[j - 1];
            basis(i, j) = source > 0 ? *address(i, source) : *address(i, -source) * -1.0;
        }
    }
}

void mlRotatedBasis::carry_out() {
    kernels_.rotate_strips(strips_, cols_, elements_.get(), run_count_, runs_.get(), rotations_.get());
    run_count_ = rotation_count_ = 0;
}

// Of element (i, j), which a basis without columns does not have.
double * mlRotatedBasis::address(int i, int j) const {
    int const strip = (i - 1) / strip_rows_, row = (i - 1) % strip_rows_;
    return elements_.get() + (static_cast<std::ptrdiff_t>(strip) * cols_ + j - 1) * strip_rows_ + row;
}
