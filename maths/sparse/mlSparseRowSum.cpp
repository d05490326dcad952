#include "maths/sparse/mlSparseRowSum.h"

#include <algorithm>

#include "maths/kernels/mlTuning.h"

namespace {

int column_of(std::int64_t key) { return static_cast<int>(key >> 32); }
int place_of(std::int64_t key) { return static_cast<int>(key & 0xffffffff); }

// Merges two increasing runs, [first, middle) and [middle, last), without equal elements, to `to`, which lies apart.
//
// The result grows from both ends, `front` and `back`: each step waits for the comparison before it, and two chains of
// them take little longer than one. There are as many steps as the shorter run has elements, and each puts the smallest
// left to the front and the largest left to the back: two elements a step, and together the runs have at least twice
// the shorter one's.
//
// A run can be used up before the last step. Neither end can have taken all of it by then, so that both have taken
// some: its two pointers have met, and what they look at was taken from the other end: at the front an element larger
// than all that is left, at the back one smaller than all that is left, so that the run loses every further comparison.
// No pointer passes its run's end: it moves at most once a step, and the run has at least as many elements as there are
// steps.
void merge(std::int64_t const * first, std::int64_t const * middle, std::int64_t const * last, std::int64_t * to) {
    std::int64_t const *a = first, *b = middle;        // the smallest left in each run
    std::int64_t const *a_end = middle, *b_end = last; // past the largest left
    std::int64_t *front = to, *back = to + (last - first);
    for (auto n = std::min(middle - first, last - middle); n > 0; --n) {
        std::int64_t const x = *a, y = *b;
        bool const smaller = x < y;
        *front++ = smaller ? x : y;
        a += smaller;
        b += !smaller;
        std::int64_t const x_back = a_end[-1], y_back = b_end[-1];
        bool const larger = x_back > y_back;
        *--back = larger ? x_back : y_back;
        a_end -= larger;
        b_end -= !larger;
    }
    std::merge(a, a_end, b, b_end, front); // what is left of both, up to `back`
}

} // namespace

void mlSparseRowSum::add_multiple(double s, std::span<mlSparseElement const> elements) {
    // The second condition: adding up takes the earlier sums along again. As they are less than half of what is
    // pending, each term is added up a bounded number of times on average.
    if (size_ > ml_tuning::sparse_pending_max_terms && size_ - sums_.size() > sums_.size()) {
        add_up();
        append(1.0, {sums_.data(), static_cast<std::size_t>(sums_.size())}); // as the first terms of their columns
    }
    append(s, elements);
}

void mlSparseRowSum::move_to(mlSparseRow & row) {
    add_up();
    row.append_elements(sums_.data(), sums_.size());
    sums_.clear(0);
}

// Makes terms of the elements. A run begins where a column is smaller than the one before, which can be the last one of
// an earlier call; equal ones are in order by their places. (Of the arrays here `expand` never makes one shorter, an
// assignment at size() appends, and the 0 of `shrink` and `clear` says that the storage is kept.)
void mlSparseRowSum::append(double s, std::span<mlSparseElement const> elements) {
    int const size = coSize(size_ + static_cast<long long>(elements.size()));
    keys_.expand(size);
    terms_.expand(size);
    Key * const keys = keys_.data();
    double * const terms = terms_.data();
    mlSparseElement const * element = elements.data();
    for (int i = size_; i < size; ++i, ++element) {
        keys[i] = static_cast<Key>(element->index) << 32 | i;
        terms[i] = s * element->value;
        if (i > 0 && element->index < column_of(keys[i - 1])) run_ends_[run_ends_.size()] = i;
    }
    size_ = size;
}

// Makes one run of all, in rounds in which each two neighbours become one; of an odd number the last is copied.
void mlSparseRowSum::merge_runs() {
    run_ends_[run_ends_.size()] = size_;
    merged_.expand(size_);
    while (run_ends_.size() > 1) {
        int const runs = run_ends_.size();
        int start = 0;
        for (int r = 0; r < runs; r += 2) {
            int const middle = run_ends_[r], end = run_ends_[std::min(r + 1, runs - 1)];
            merge(keys_.data() + start, keys_.data() + middle, keys_.data() + end, merged_.data() + start);
            run_ends_[r / 2] = start = end;
        }
        run_ends_.shrink((runs + 1) / 2, 0);
        keys_.swap(merged_);
    }
    run_ends_.clear(0);
}

// Adds up what is pending: `sums_`, which is replaced, holds the sums in increasing column order; nothing is pending.
void mlSparseRowSum::add_up() {
    merge_runs();
    sums_.expand(size_);
    mlSparseElement * const sums = sums_.data();
    int count = 0;
    for (int i = 0; i < size_; ++i) {
        Key const key = keys_.data()[i];
        double const term = terms_.data()[place_of(key)];
        if (count > 0 && column_of(key) == sums[count - 1].index)
            sums[count - 1].value += term;
        else
            sums[count++] = mlSparseElement(column_of(key), term);
    }
    sums_.shrink(count, 0);
    size_ = 0;
}
