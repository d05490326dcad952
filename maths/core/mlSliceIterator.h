#pragma once

#include <compare>
#include <cstddef>
#include <iterator>
#include <type_traits>

#include "maths/maths_api.h"

/// Random-access iterator over the elements of an `mlSlice`; Double is `double`, or `double const` for an
/// `mlSlice const`.
///
/// It counts elements, and so is valid past the end of a storage that the slice strides over.
/// Lifetime: of the viewed storage; the slice itself may go. Bad input: nothing is checked. Iterators of different
/// slices can't be compared.
template <class Double> class mlSliceIterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = double;
    using difference_type = std::ptrdiff_t;
    using pointer = Double *;
    using reference = Double &;

    mlSliceIterator() = default;

    /// Element i of the slice of these data, start and stride.
    mlSliceIterator(Double * data, std::ptrdiff_t start, std::ptrdiff_t stride, std::ptrdiff_t i)
        : data_(data), start_(start), stride_(stride), i_(i) {}

    /// A writing iterator becomes a reading one.
    operator mlSliceIterator<Double const>() const requires(!std::is_const_v<Double>) {
        return {data_, start_, stride_, i_};
    }

    reference operator*() const { return data_[start_ + i_ * stride_]; }
    pointer operator->() const { return &**this; }
    reference operator[](difference_type n) const { return *(*this + n); }

    mlSliceIterator & operator+=(difference_type n) {
        i_ += n;
        return *this;
    }
    mlSliceIterator & operator-=(difference_type n) { return *this += -n; }
    mlSliceIterator & operator++() { return *this += 1; }
    mlSliceIterator & operator--() { return *this += -1; }
    mlSliceIterator operator++(int) {
        mlSliceIterator const before = *this;
        ++*this;
        return before;
    }
    mlSliceIterator operator--(int) {
        mlSliceIterator const before = *this;
        --*this;
        return before;
    }

    friend mlSliceIterator operator+(mlSliceIterator it, difference_type n) { return it += n; }
    friend mlSliceIterator operator+(difference_type n, mlSliceIterator it) { return it += n; }
    friend mlSliceIterator operator-(mlSliceIterator it, difference_type n) { return it -= n; }
    friend difference_type operator-(mlSliceIterator const & a, mlSliceIterator const & b) { return a.i_ - b.i_; }
    friend bool operator==(mlSliceIterator const & a, mlSliceIterator const & b) { return a.i_ == b.i_; }
    friend auto operator<=>(mlSliceIterator const & a, mlSliceIterator const & b) { return a.i_ <=> b.i_; }

private:
    Double * data_ = nullptr;
    std::ptrdiff_t start_ = 0;
    std::ptrdiff_t stride_ = 0;
    std::ptrdiff_t i_ = 0;
};
