#pragma once

#include "platform/coDynArr.h"
#include "platform/coQuickSort.h"

/// Sorts the ints of an `intcoDynArr` in ascending order: `sort(&array, n)`.
class MATHS_API mlQuickSortDynArrInt : public coQuickSort {
public:
    /// -1, 0 or 1 as the int at a is less than, equal to or greater than that at b.
    int obj_compare(void const * a, void const * b) const override;
    ~mlQuickSortDynArrInt() override;

    /// Address of int i; an i past the end extends the array, as its own element access does.
    void * arr_get(void * array, int i) const override;

    /// Exchanges ints i and j; also extends the array.
    void arr_swap(void * array, int i, int j) const override;

private:
    // Part of the object's layout, kept for the modules that are compiled against it; the sort needs neither.
    intcoDynArr first_spare_;
    intcoDynArr second_spare_;
};
