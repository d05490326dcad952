#include "maths/decompositions/svd/mlRotatedBasis.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "maths/kernels/mlTuning.h"

namespace {

bool immediate(int rows) { return rows <= ml_tuning::rotations_immediate_max_rows; }

/// Adds the rotation of (first, first + step) to the chain, if it goes on there, and returns whether it did.
bool lengthen(mlRotationChain & chain, int first, int step) {
    if (first != chain.second + (chain.count - 1) * chain.step) return false;
    if (step != chain.step && !(chain.count == 1 && step == -1)) return false;
    chain.step = step;
    ++chain.count;
    return true;
}

} // namespace

mlRotatedBasis::mlRotatedBasis(mlFortranMatrix const & basis)
    : kernels_(ml_kernels()), rows_(basis.rows()), cols_(basis.cols()),
      strip_height_(immediate(rows_) ? ml_padded(rows_) : mlKernels::strip_rows), // one strip, or many
      strips_(strip_height_ > 0 ? (rows_ + strip_height_ - 1) / strip_height_ : 0),
      capacity_(immediate(rows_) ? 0 : ml_tuning::rotations_queue_length),
      elements_(coTableSize(strips_ * strip_height_, cols_)), chains_(capacity_), rotations_(capacity_),
      sources_(cols_) {
    for (int first = 1; first <= rows_; first += strip_height_) {
        int const count = std::min(strip_height_, rows_ - first + 1);
        kernels_.copy_transposed(count, cols_, basis.block(first, 1), {address(first, 1), strip_height_});
        for (int j = 1; j <= cols_; ++j)
            std::fill_n(address(first, j) + count, strip_height_ - count, 0.0);
    }
    for (int j = 1; j <= cols_; ++j)
        sources_.get()[j - 1] = j;
}

// A chain is (first, second, count, step), its columns counted from 0: its rotations are of (first, second), (second,
// second + step), (second + step, second + 2 step), ... So one of the second column of the rotation before and its
// neighbour makes that chain longer, the chain's `first` included, on the side that the chain's second rotation went
// to; any other begins a new one.
void mlRotatedBasis::rotate(int j, int k, mlRotation const & rotation) {
    MATHS_CHECK(rows_ > 0 && j >= 1 && j <= cols_ && k >= 1 && k <= cols_ && j != k,
                "rotated basis: columns %d and %d of %d x %d", j, k, rows_, cols_);
    if (capacity_ == 0) return kernels_.rotate(strip_height_, address(1, j), address(1, k), rotation);
    if (queued_rotations_ == capacity_) flush();
    if (queued_chains_ == 0 || !lengthen(chains_.get()[queued_chains_ - 1], j - 1, k - j))
        chains_.get()[queued_chains_++] = {j - 1, k - 1, 1};
    rotations_.get()[queued_rotations_++] = rotation;
}

void mlRotatedBasis::exchange(int j, int k) {
    MATHS_CHECK(j >= 1 && j <= cols_ && k >= 1 && k <= cols_, "rotated basis: exchange of %d and %d of %d columns", j,
                k, cols_);
    std::swap(sources_.get()[j - 1], sources_.get()[k - 1]);
}

void mlRotatedBasis::negate(int j) {
    MATHS_CHECK(j >= 1 && j <= cols_, "rotated basis: column %d of %d", j, cols_);
    sources_.get()[j - 1] *= -1;
}

void mlRotatedBasis::finish(mlFortranMatrix & basis) {
    if (queued_rotations_ > 0) flush();
    for (int i = 1; i <= rows_; ++i) {
        for (int j = 1; j <= cols_; ++j) {
            int const source = sources_.get()[j - 1];
            basis(i, j) = source > 0 ? *address(i, source) : *address(i, -source) * -1.0;
        }
    }
}

/// Applies the queued rotations, of which there is one at least, and empties the queue.
void mlRotatedBasis::flush() {
    kernels_.rotate_strips(strips_, cols_, elements_.get(), queued_chains_, chains_.get(), rotations_.get());
    queued_rotations_ = queued_chains_ = 0;
}

/// Of element (i, j) of the copy, before exchanges: 1 <= i <= rows_ and 1 <= j <= cols_. Of a basis without columns
/// also j = 1, an address that nothing is read from.
double * mlRotatedBasis::address(int i, int j) {
    int const strip = (i - 1) / strip_height_, row = (i - 1) % strip_height_;
    return elements_.get() + (static_cast<std::ptrdiff_t>(strip) * cols_ + j - 1) * strip_height_ + row;
}
