#include "platform/doublecoQuickSortIndex.h"

doublecoQuickSortIndex::doublecoQuickSortIndex(doublecoPageArr & keys, intcoPageArr &) : keys_(keys) {}

int doublecoQuickSortIndex::obj_compare(void const * a, void const * b) const {
    double const key_a = keys_[*static_cast<int const *>(a)];
    double const key_b = keys_[*static_cast<int const *>(b)];
    return key_a < key_b ? -1 : key_a > key_b ? 1 : 0;
}

void * doublecoQuickSortIndex::arr_get(void * array, int i) const { return &(*static_cast<intcoPageArr *>(array))[i]; }

void doublecoQuickSortIndex::arr_swap(void * array, int i, int j) const {
    intcoPageArr & index = *static_cast<intcoPageArr *>(array);
    std::swap(index[i], index[j]);
}
