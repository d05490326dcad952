#pragma once

#include "platform/coPageArr.h"
#include "platform/coQuickSort.h"

/// Orders an index array by the keys that it refers to: `sort(&index, n)` rearranges the first n indices so that their
/// keys ascend. The keys stay where they are. NaN keys compare equal to every key, so their places are arbitrary.
///
/// Lifetime: `keys` must outlive the object; the index array is the one that `sort` is given.
class MATHS_API doublecoQuickSortIndex : public coQuickSort {
public:
    doublecoQuickSortIndex(doublecoPageArr & keys, intcoPageArr & index);

    int obj_compare(void const * a, void const * b) const override;
    void * arr_get(void * array, int i) const override;
    void arr_swap(void * array, int i, int j) const override;

private:
    doublecoPageArr & keys_;
};
