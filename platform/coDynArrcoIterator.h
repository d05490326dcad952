#pragma once

#include "maths/maths_api.h"

template <class T> class coDynArr;

/// Forward iterator over the elements of a `coDynArr`, or of any array that derives from one.
///
///     for (T const * p = it.first(); p != nullptr; p = it.next()) ...
///
/// Lifetime: a view of the array's storage, valid until the array grows or is cleared; `reset` renews it.
template <class T> class coDynArrcoIterator {
public:
    explicit coDynArrcoIterator(coDynArr<T> const * array) : array_(array) { reset(); }

    /// Back to element 0.
    void reset() {
        current_ = array_->data();
        end_ = current_ + array_->size();
        index_ = 0;
    }

    /// Restarts and returns element 0, or a null pointer when the array is empty.
    T const * first() {
        reset();
        return element();
    }

    /// Steps and returns the next element, or a null pointer past the end.
    T const * next() {
        if (current_ != end_) {
            ++current_;
            ++index_;
        }
        return element();
    }

    /// Index of the current element.
    [[nodiscard]] int index() const { return index_; }

    /// 1 while the iterator is still valid: the same storage and the same number of elements.
    [[nodiscard]] int invariant() const {
        T const * const start = current_ - index_;
        return start == array_->data() && end_ - start == array_->size();
    }

private:
    T const * element() const { return current_ != end_ ? current_ : nullptr; }

    coDynArr<T> const * array_;
    T const * current_;
    T const * end_;
    int index_;
};
