#pragma once

#include <algorithm>

#include "maths/maths_api.h"

template <class T> class coPageArr;

/// Forward iterator over the elements of a `coPageArr`.
///
///     for (T const * p = it.first(); p != nullptr; p = it.next()) ...
///
/// Lifetime: a view of the array's pages, valid until pages are freed; `reset` reads the size anew.
template <class T> class coPageArrcoIterator {
public:
    explicit coPageArrcoIterator(coPageArr<T> const * array) : array_(array) { reset(); }

    /// Back to element 0.
    void reset() { do_first(); }

    /// Restarts and returns element 0, or a null pointer when the array is empty.
    T const * first() { return do_first(); }
    T const * do_first() {
        size_ = array_->size();
        index_ = 0;
        enter_page(0);
        return current_;
    }

    /// Steps and returns the next element, or a null pointer past the end.
    T const * next() {
        if (current_ == nullptr) return nullptr;
        ++index_;
        if (++current_ == end_) enter_page(index_ >> array_->page_shift());
        return current_;
    }

    /// Index of the current element.
    [[nodiscard]] int index() const { return index_; }

    /// 1 while the iterator is still valid: the same number of elements and, unless it is past the end, the same
    /// page under it.
    [[nodiscard]] int invariant() const {
        int const place = index_ & (array_->page_size() - 1);
        if (size_ != array_->size() || index_ > size_) return 0;
        if (index_ == size_) return current_ == nullptr;
        return current_ == array_->page(index_ >> array_->page_shift()) + place &&
               end_ - current_ == elements_of_page(index_ - place) - place;
    }

private:
    int elements_of_page(int first) const { return std::min(array_->page_size(), size_ - first); }

    void enter_page(int page) {
        int const left = elements_of_page(index_);
        current_ = left > 0 ? array_->page(page) : nullptr;
        end_ = left > 0 ? current_ + left : nullptr;
    }

    coPageArr<T> const * array_;
    T const * current_;
    T const * end_;
    int size_;
    int index_;
};
