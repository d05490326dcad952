#include "maths/sparse/mlSparseRowSum.h"

#include <algorithm>

namespace {

int const enough_terms = 16384; // to be added up before more come: they stay in a near cache, and memory is bounded

int column_of(std::int64_t key) { return static_cast<int>(key >> 32); }

// Merges two runs, first .. middle - 1 and middle .. last - 1. The result grows from both ends: each step waits for the
// comparison before it, and two chains of them take little longer than one. No key occurs twice.
template <class Key> void merge(Key const * first, Key const * middle, Key const * last, Key * to) {
    Key const *a = first, *b = middle;        // the smallest left in each run
    Key const *a_end = middle, *b_end = last; // behind the largest left
    Key * back = to + (last - first);
    for (auto n = std::min(middle - first, last - middle); n > 0; --n) { // neither run can be used up before
        Key const x = *a, y = *b;
        bool const smaller = x < y;
        *to++ = smaller ? x : y;
        a += smaller;
        b += !smaller;
        Key const x_back = a_end[-1], y_back = b_end[-1];
        bool const larger = x_back > y_back;
        *--back = larger ? x_back : y_back;
        a_end -= larger;
        b_end -= !larger;
    }
    std::merge(a, a_end, b, b_end, to);
}

} // namespace

void mlSparseRowSum::add_multiple(double s, mlSparseElement const * first, mlSparseElement const * last) {
    if (size_ > enough_terms && size_ > 2 * sums_.size()) { // so that what was added up before is only a part of it
        collapse();
        append(1.0, sums_.begin(), sums_.end());
    }
    append(s, first, last);
}

void mlSparseRowSum::move_to(mlSparseRow & row) {
    collapse();
    row.append_elements(sums_.begin(), sums_.size());
    sums_.clear(0);
}

void mlSparseRowSum::append(double s, mlSparseElement const * first, mlSparseElement const * last) {
    int const size = coSize(size_ + static_cast<long long>(last - first));
    keys_.expand(size);
    terms_.expand(size);
    Key * const keys = keys_.data();
    double * const terms = terms_.data();
    for (int i = size_; i < size; ++i, ++first) {
        keys[i] = static_cast<Key>(first->index) << 32 | i;
        terms[i] = s * first->value;
        if (i > 0 && first->index <= column_of(keys[i - 1])) run_ends_[run_ends_.size()] = i;
    }
    size_ = size;
}

// Makes one run of all, in rounds of neighbours.
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

// Adds the terms up: the sums are left in `sums_`, the terms are gone.
void mlSparseRowSum::collapse() {
    merge_runs();
    sums_.expand(size_);
    int count = 0;
    for (int i = 0; i < size_; ++i) {
        Key const key = keys_.data()[i];
        double const term = terms_.data()[key & 0xffffffff];
        if (count > 0 && column_of(key) == sums_.data()[count - 1].index)
            sums_.data()[count - 1].value += term;
        else
            sums_.data()[count++] = mlSparseElement(column_of(key), term);
    }
    sums_.shrink(count, 0);
    size_ = 0;
}
