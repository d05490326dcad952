#include "maths/containers/mlQuickSortDynArrInt.h"

mlQuickSortDynArrInt::~mlQuickSortDynArrInt() = default;

int mlQuickSortDynArrInt::obj_compare(void const * a, void const * b) const {
    int const x = *static_cast<int const *>(a);
    int const y = *static_cast<int const *>(b);
    return x < y ? -1 : x > y ? 1 : 0;
}

void * mlQuickSortDynArrInt::arr_get(void * array, int i) const { return &(*static_cast<intcoDynArr *>(array))[i]; }

void mlQuickSortDynArrInt::arr_swap(void * array, int i, int j) const {
    intcoDynArr & ints = *static_cast<intcoDynArr *>(array);
    int const kept = ints[i]; // by value: reaching j may extend the array and move it
    ints[i] = ints[j];
    ints[j] = kept;
}
