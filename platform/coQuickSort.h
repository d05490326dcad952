#pragma once

#include "maths/maths_api.h"

/// What a sort needs to know of an object: how two of them compare, and how to keep one aside.
class MATHS_API coObjInterface {
public:
    /// Negative, 0 or positive as the object at a comes before, equals or comes after that at b.
    virtual int obj_compare(void const * a, void const * b) const = 0;
    virtual ~coObjInterface();

    /// A copy of an object, for sorts that keep one aside. By default there are no copies: a null pointer.
    virtual void * obj_create_copy(void const * object) const;

    /// Destroys such a copy. By default does nothing.
    virtual void obj_destroy(void * copy) const;
};

/// What a sort needs to know of an array: where its objects are, and how two of them change places.
class MATHS_API coArrInterface {
public:
    virtual ~coArrInterface();

    /// Address of object i, valid until the array is swapped or extended.
    virtual void * arr_get(void * array, int i) const = 0;

    /// Exchanges objects i and j.
    virtual void arr_swap(void * array, int i, int j) const = 0;

    /// Writes a copy of an object to place i. By default does nothing.
    virtual void arr_put_copy(void * array, int i, void const * copy) const;
};

/// Sorts any array through `obj_compare`, `arr_get` and `arr_swap` alone.
///
/// Quick sort with the median of three as its pivot, which turns to heap sort where the splits stay bad: O(n log n)
/// comparisons and exchanges for every input. Not stable; which of several equal objects comes first depends on the
/// input alone. Bad input: an order that is not strict and weak sorts in some way, but ends and stays inside the array.
/// Source: Hoare, Quicksort (1962); Musser, Introspective sorting and selection algorithms (1997).
class MATHS_API coQuickSort : public coObjInterface, public coArrInterface {
public:
    /// Sorts objects 0 .. n - 1 of `array` in ascending order.
    void sort(void * array, int n) const;

private:
    int compare(void * array, int i, int j) const;
    void sort_range(void * array, int first, int last, int bad_splits_left) const;
    void move_median_to_front(void * array, int first, int last) const;
    int partition(void * array, int first, int last) const;
    void heap_sort(void * array, int first, int last) const;
    void sift_down(void * array, int first, int root, int count) const;
};
