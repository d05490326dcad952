#pragma once

#include <concepts>
#include <initializer_list>
#include <type_traits>
#include <utility>

#include "maths/maths_api.h"
#include "platform/coBlock.h"
#include "platform/coDynArrcoIterator.h"
#include "platform/utCheck.h"
#include "platform/utTags.h"

/// Other derives from Array and is larger: it has members besides the elements.
template <class Other, class Array>
concept coExtendedArray = std::derived_from<Other, Array> && sizeof(Other) != sizeof(Array);

/// Growable contiguous array of T, the base of the library's vectors and matrices.
///
/// Growth: the capacity grows by the smallest whole number of increments that makes the wanted index a valid slot; an
/// increment below 1 counts as 1. Trivially copyable elements are relocated by block copy, others by assignment into
/// fresh slots, those that can only be moved by move assignment.
/// Elements: non-const access past the end extends the array; the elements that it skips, like those that `expand`
/// adds, are not initialised when T is trivially copyable and otherwise as T() leaves them.
/// Moves: an array can be moved when it is made, so functions return arrays, and `become` takes a temporary's block;
/// the source is left empty. There is no move assignment.
/// An element type of stricter alignment than std::max_align_t does not compile.
/// Bad input: nothing is checked. Failure: an allocation that fails, or a size that leaves int, throws std::bad_alloc
/// and leaves the array as it was. Threads: one at a time.
template <class T> class coDynArr {
public:
    using coIterator = coDynArrcoIterator<T>;

    /// Empty: no block, increment 1.
    coDynArr() noexcept = default;

    /// Empty, with room for `capacity` elements.
    coDynArr(int capacity, int increment);

    // clang-format off
    /// A tag of another class is not a capacity.
    template <class Tag>
        requires std::is_enum_v<Tag>
    coDynArr(Tag, int) = delete;
    // clang-format on

    /// The elements of the list, in a block of just their number, increment 1.
    coDynArr(std::initializer_list<T> elements);

    /// Same capacity, size and increment as `other`, elements copied by assignment.
    coDynArr(enum utCopy, coDynArr const & other);

    /// Takes the block of `other`, which is left empty.
    coDynArr(coDynArr && other) noexcept
        : data_(std::exchange(other.data_, nullptr)), capacity_(std::exchange(other.capacity_, 0)),
          size_(std::exchange(other.size_, 0)), increment_(other.increment_) {}

    /// Not of an array that has members besides its elements: a matrix would keep its shape.
    template <coExtendedArray<coDynArr> Other> coDynArr(Other const &&) = delete;

    coDynArr(coDynArr const &) = delete;
    coDynArr & operator=(coDynArr const &) = delete;

    ~coDynArr() { coBlock<T> const block(data_, capacity_); }

    [[nodiscard]] int size() const { return size_; }
    [[nodiscard]] int capacity() const { return capacity_; }
    [[nodiscard]] int increment() const { return increment_; }

    [[nodiscard]] T * data() { return data_; }
    [[nodiscard]] T const * data() const { return data_; }
    [[nodiscard]] T * begin() { return data_; }
    [[nodiscard]] T * end() { return data_ + size_; }
    [[nodiscard]] T const * begin() const { return data_; }
    [[nodiscard]] T const * end() const { return data_ + size_; }

    /// Element i; an i at or past the end extends the array to i + 1 elements.
    T & operator[](int i) {
        MATHS_CHECK(i >= 0, "array element: index %d is negative", i);
        if (i >= size_) {
            if (i >= capacity_) resize(i);
            size_ = i + 1;
        }
        return data_[i];
    }
    [[nodiscard]] T const & operator[](int i) const {
        MATHS_CHECK(i >= 0 && i < size_, "array element: index %d of %d elements", i, size_);
        return data_[i];
    }

    /// Takes size, increment and elements of `other`, growing where its elements do not fit.
    void become(enum utCopy, coDynArr const & other);

    /// Frees its block and takes that of a temporary, which is left empty. Nothing happens when it is this array.
    coDynArr & become(coDynArr && temporary) noexcept {
        coDynArr taken(std::move(temporary));
        swap(taken);
        return *this;
    }
    template <coExtendedArray<coDynArr> Other> void become(Other const &&) = delete;

    /// Makes the array empty; the block is kept for `release` = 0, else freed.
    void clear(int release);

    /// Raises capacity and size to at least n; never shrinks. Returns 1.
    int expand(int n) {
        reserve(n);
        if (n > size_) size_ = n;
        return 1;
    }

    /// Raises the capacity to at least n. Returns 1.
    int reserve(int n) {
        if (n > capacity_) resize(n - 1);
        return 1;
    }

    /// Cuts the size down to n when it is larger. With `release` the block shrinks to n elements too, and is freed for
    /// n = 0. Nothing happens for n < 0. Returns 1.
    int shrink(int n, int release);

    /// Exchanges the contents of two arrays in constant time.
    void swap(coDynArr & other) noexcept {
        std::swap(data_, other.data_);
        std::swap(capacity_, other.capacity_);
        std::swap(size_, other.size_);
        std::swap(increment_, other.increment_);
    }

    /// Not with an array that has members besides its elements: a matrix would keep its shape.
    template <coExtendedArray<coDynArr> Other> void swap(Other &) = delete;

protected:
    /// Makes `index` a valid slot by the growth rule. Returns 1. Deliberate: the rule holds literally, so an index
    /// below the capacity shrinks the block.
    [[gnu::cold]] int resize(int index);

private:
    void relocate(int capacity);

    T * data_ = nullptr;
    int capacity_ = 0;
    int size_ = 0;
    int increment_ = 1;
};

template <class T> coDynArr<T>::coDynArr(int capacity, int increment) : capacity_(capacity), increment_(increment) {
    data_ = coBlock<T>(capacity).release();
}

template <class T> coDynArr<T>::coDynArr(std::initializer_list<T> elements) {
    if constexpr (std::is_copy_assignable_v<T>) {
        int const count = coSize(elements.size());
        coBlock<T> block(count);
        int i = 0;
        for (T const & element : elements)
            coAssignElement(block.get()[i++], element);
        data_ = block.release();
        capacity_ = size_ = count;
    }
}

template <class T>
coDynArr<T>::coDynArr(enum utCopy, coDynArr const & other) : capacity_(other.capacity_), increment_(other.increment_) {
    coBlock<T> block(capacity_);
    if constexpr (std::is_copy_assignable_v<T>) {
        coBlock<T>::assign(block.get(), other.data_, other.size_);
        size_ = other.size_;
    }
    data_ = block.release();
}

template <class T> void coDynArr<T>::become(enum utCopy, coDynArr const & other) {
    if constexpr (std::is_copy_assignable_v<T>) {
        if (other.size_ > capacity_) resize(other.size_ - 1);
        size_ = other.size_;
        increment_ = other.increment_;
        coBlock<T>::assign(data_, other.data_, size_);
    }
}

template <class T> void coDynArr<T>::clear(int release) {
    size_ = 0;
    if (release == 0) return;
    coBlock<T> const block(std::exchange(data_, nullptr), std::exchange(capacity_, 0));
}

template <class T> int coDynArr<T>::shrink(int n, int release) {
    if (n == 0) {
        clear(release);
    } else if (n > 0) {
        if (n < capacity_ && release != 0) relocate(n);
        if (n < size_) size_ = n;
    }
    return 1;
}

template <class T> int coDynArr<T>::resize(int index) {
    relocate(coGrownCapacity(capacity_, increment_, index));
    return 1;
}

template <class T> void coDynArr<T>::relocate(int capacity) {
    data_ = coRelocateBlock(data_, capacity_, size_, capacity);
    capacity_ = capacity;
    if (size_ > 0 && size_ > capacity_) size_ = capacity_ > 0 ? capacity_ : 0;
}

using doublecoDynArr = coDynArr<double>;
using intcoDynArr = coDynArr<int>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<double>;
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<int>;
#endif
