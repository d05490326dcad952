#include "platform/coQuickSort.h"

#include <bit>

coObjInterface::~coObjInterface() = default;
void * coObjInterface::obj_create_copy(void const *) const { return nullptr; }
void coObjInterface::obj_destroy(void *) const {}

coArrInterface::~coArrInterface() = default;
void coArrInterface::arr_put_copy(void *, int, void const *) const {}

void coQuickSort::sort(void * array, int n) const {
    if (n < 2) return;
    arr_get(array, n - 1); // an array that grows on access grows now, while no addresses are held
    int const depth_of_even_splits = std::bit_width(static_cast<unsigned>(n));
    sort_range(array, 0, n - 1, 2 * depth_of_even_splits);
}

int coQuickSort::compare(void * array, int i, int j) const {
    void const * const a = arr_get(array, i);
    return obj_compare(a, arr_get(array, j));
}

void coQuickSort::sort_range(void * array, int first, int last, int bad_splits_left) const {
    while (first < last) {
        if (bad_splits_left-- == 0) {
            heap_sort(array, first, last);
            return;
        }
        move_median_to_front(array, first, last);
        int const middle = partition(array, first, last);
        // The shorter side by recursion, the longer one by the loop: the stack stays at O(log n).
        if (middle - first < last - middle) {
            sort_range(array, first, middle - 1, bad_splits_left);
            first = middle + 1;
        } else {
            sort_range(array, middle + 1, last, bad_splits_left);
            last = middle - 1;
        }
    }
}

void coQuickSort::move_median_to_front(void * array, int first, int last) const {
    int const middle = first + (last - first) / 2;
    if (compare(array, middle, last) > 0) arr_swap(array, middle, last);
    if (compare(array, first, last) > 0) arr_swap(array, first, last);
    if (compare(array, middle, first) > 0) arr_swap(array, middle, first);
}

// Splits around the object at `first` and returns its final place. Both scans stop at objects equal to it, so that an
// array of equal objects is cut in half.
int coQuickSort::partition(void * array, int first, int last) const {
    int low = first;
    int high = last + 1;
    while (true) {
        do {
            ++low;
        } while (low < last && compare(array, low, first) < 0);
        do {
            --high;
        } while (high > first && compare(array, high, first) > 0);
        if (low >= high) break;
        arr_swap(array, low, high);
    }
    if (high != first) arr_swap(array, first, high);
    return high;
}

void coQuickSort::heap_sort(void * array, int first, int last) const {
    int count = last - first + 1;
    for (int root = count / 2 - 1; root >= 0; --root)
        sift_down(array, first, root, count);
    while (--count > 0) {
        arr_swap(array, first, first + count);
        sift_down(array, first, 0, count);
    }
}

void coQuickSort::sift_down(void * array, int first, int root, int count) const {
    for (int child; root < count / 2; root = child) {
        child = 2 * root + 1;
        if (child + 1 < count && compare(array, first + child, first + child + 1) < 0) ++child;
        if (compare(array, first + root, first + child) >= 0) return;
        arr_swap(array, first + root, first + child);
    }
}
