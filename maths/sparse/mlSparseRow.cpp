#include "maths/sparse/mlSparseRow.h"

#include <algorithm>
#include <type_traits>
#include <utility>

template class MATHS_API_TEMPLATE_DEFINITION coDynArr<mlSparseElement>;

static_assert(std::is_trivially_copyable_v<mlSparseElement>, "rows grow by block copy");

mlSparseRow::mlSparseRow(enum utCopy, mlSparseRow const & other) { become(utCopy, other); }

mlSparseRow & mlSparseRow::become(enum utCopy, mlSparseRow const & other) {
    reserve(other.reserved_);
    reserved_ = other.reserved_;
    mlSparseElementcoDynArr::become(utCopy, other);
    return *this;
}

void mlSparseRow::append_elements(mlSparseElement const * elements, int n) {
    int const last = last_column_index(), count = size(), new_count = coSizeSum(count, n);
    if (count <= reserved_) reserve_for(new_count); // a row that grew as an array does not double any more
    expand(new_count);
    for (int k = 0; k < n; ++k)
        check_order(k > 0 ? elements[k - 1].index : last, elements[k].index);
    std::copy_n(elements, n, data() + count);
}

double mlSparseRow::element(int index) const {
    if (empty()) return 0.0;
    mlSparseElement const * const elements = data();
    int lo = 0, hi = size() - 1;
    if (index < elements[lo].index || index > elements[hi].index) return 0.0;
    if (index == elements[hi].index) return elements[hi].value;
    for (;;) { // the wanted element is not before lo, and before hi
        int const mid = lo + (hi - lo) / 2;
        if (index < elements[mid].index)
            hi = mid;
        else if (index == elements[mid].index)
            return elements[mid].value;
        else if (mid == lo)
            return 0.0;
        else
            lo = mid;
    }
}

void mlSparseRow::multiply_all_elements(double s) {
    for (mlSparseElement & e : *this)
        e.value *= s;
}

void mlSparseRow::divide_all_elements(double s) {
    for (mlSparseElement & e : *this)
        e.value /= s;
}

void mlSparseRow::clear(int release) {
    mlSparseElementcoDynArr::clear(release);
    if (release != 0) reserved_ = 0;
}

void mlSparseRow::swap(mlSparseRow & other) noexcept {
    mlSparseElementcoDynArr & other_elements = other;
    mlSparseElementcoDynArr::swap(other_elements);
    std::swap(reserved_, other.reserved_);
}

// Doubles the room requested until n elements fit.
void mlSparseRow::reserve_for(int n) {
    int wanted = reserved_;
    while (wanted < n)
        wanted = wanted == 0 ? 8 : coTableSize(2, wanted);
    reserve(wanted);
    reserved_ = wanted;
}
