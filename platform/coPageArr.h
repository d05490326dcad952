#pragma once

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "platform/coDynArr.h"
#include "platform/coPageArrcoIterator.h"

/// Table of the pages of any paged array.
using utAnycoPageArrINTERNALcoDynArr = coDynArr<void *>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<void *>;
#endif

/// Growable array of T, a trivially copyable type, stored in pages of 2^page_shift elements.
///
/// Pages never move once made, so element addresses stay valid while the array grows. Non-const access past the end
/// extends the array; added elements are not initialised. Bulk transfers copy page by page.
/// An element type of stricter alignment than std::max_align_t does not compile.
/// Bad input: nothing is checked; counts below 1 transfer nothing. Failure: an allocation that fails, or a size that
/// leaves int, throws std::bad_alloc and leaves elements and size as they were, except in `become`, which has freed
/// them by then, and in `shrink`, which has cut them. Threads: one at a time.
template <class T> class coPageArr {
    static_assert(std::is_trivially_copyable_v<T>);
    static_assert(alignof(T) <= alignof(std::max_align_t), "the storage of arrays is not aligned for such elements");

public:
    using coIterator = coPageArrcoIterator<T>;

    /// Empty, with 256 elements a page and room for 5 pages in the table, which grows by 10.
    coPageArr() : coPageArr(8, 5, 10) {}

    /// Empty, with 2^page_shift elements a page.
    coPageArr(int page_shift, int table_capacity, int table_increment)
        : page_size_(coSize(page_shift > 30 ? 1LL << 31 : 1LL << page_shift)), page_shift_(page_shift),
          pages_(table_capacity, table_increment) {}

    // clang-format off
    /// A tag of another class is not a page size.
    template <class Tag>
        requires std::is_enum_v<Tag>
    coPageArr(Tag, int, int) = delete;
    // clang-format on

    /// The elements of the list, otherwise like the default.
    coPageArr(std::initializer_list<T> elements) : coPageArr() {
        copyin(elements.begin(), coSize(elements.size()), 0, 0);
    }

    /// Page size and elements of `other`, with only the pages that the elements need.
    coPageArr(enum utCopy, coPageArr const & other) : coPageArr(other.page_shift_, other.pages_for(other.size_), 10) {
        copy_elements(other);
    }

    /// Takes the pages of `other`, which is left empty, with pages of the same size.
    coPageArr(coPageArr && other) noexcept
        : blocks_(std::exchange(other.blocks_, 0)), size_(std::exchange(other.size_, 0)), page_size_(other.page_size_),
          page_shift_(other.page_shift_), pages_(std::move(other.pages_)) {}

    coPageArr(coPageArr const &) = delete;
    coPageArr & operator=(coPageArr const &) = delete;

    ~coPageArr() { free_pages_from(0); }

    [[nodiscard]] int size() const { return size_; }
    [[nodiscard]] int blocks() const { return blocks_; }
    [[nodiscard]] int page_size() const { return page_size_; }
    [[nodiscard]] int page_shift() const { return page_shift_; }

    /// Element i; an i at or past the end extends the array to i + 1 elements.
    T & operator[](int i) {
        MATHS_CHECK(i >= 0, "paged array element: index %d is negative", i);
        if (i >= size_) {
            if (i >> page_shift_ >= blocks_ || i == std::numeric_limits<int>::max()) make_room(coSizeSum(i, 1));
            size_ = i + 1;
        }
        return *slot(i);
    }
    [[nodiscard]] T const & operator[](int i) const {
        MATHS_CHECK(i >= 0 && i < size_, "paged array element: index %d of %d elements", i, size_);
        return *slot(i);
    }

    /// First element of a page that exists.
    [[nodiscard]] T const * page(int index) const { return static_cast<T const *>(pages_[index]); }

    /// Frees what it holds and takes page size and elements of `other`.
    coPageArr & become(enum utCopy, coPageArr const & other);

    /// Frees what it holds and takes the pages of a temporary, which is left empty. Nothing happens when it is this
    /// array.
    coPageArr & become(coPageArr && temporary) noexcept {
        coPageArr taken(std::move(temporary));
        swap(taken);
        return *this;
    }

    /// Exchanges the contents of two arrays in constant time.
    void swap(coPageArr & other) noexcept {
        std::swap(blocks_, other.blocks_);
        std::swap(size_, other.size_);
        std::swap(page_size_, other.page_size_);
        std::swap(page_shift_, other.page_shift_);
        pages_.swap(other.pages_);
    }

    /// Makes the array empty; the pages are kept for `release` = 0, else freed, the table too.
    void clear(int release);

    /// Copies src[src_first .. src_first + count - 1] to positions first and on; the array then has at least
    /// first + count elements, for a count of 0 too.
    void copyin(T const * src, int count, int first, int src_first);

    /// Copies `count` elements from position first on to dst[dst_first] and on.
    void copyout(T * dst, int count, int first, int dst_first) const;

    /// Copies min(count, other.size()) elements of `other` from other_first on to positions first and on, growing as
    /// needed. `other` may be this array, with ranges that overlap.
    void copy(coPageArr const & other, int count, int first, int other_first);

    /// Reverses the order of the elements.
    void reverse();

    /// Cuts the size down to n when it is larger; a negative n is 0. With `release`, pages that n elements do not need
    /// are freed.
    void shrink(int n, int release);

    /// Frees the memory that a short array does not need: an array of less than one page gets a single page of the
    /// smallest power of two that holds it, or none when it is empty. Returns the number of element slots saved.
    /// Element addresses change.
    int repaginate();

protected:
    /// Makes pages until page `page` exists. Returns 1.
    [[gnu::cold]] int get_block(int page);

private:
    int pages_for(int count) const {
        return static_cast<int>((static_cast<long long>(count) - 1 + page_size_) >> page_shift_);
    }
    T * slot(int i) const { return static_cast<T *>(pages_.data()[i >> page_shift_]) + (i & (page_size_ - 1)); }
    [[gnu::cold]] void make_room(int count);
    void copy_elements(coPageArr const & other);
    void free_pages_from(int page);
    void use_one_page_of(int page_shift);

    int blocks_ = 0;
    int size_ = 0;
    int page_size_;
    int page_shift_;
    utAnycoPageArrINTERNALcoDynArr pages_;
};

#include "platform/coPageArrMembers.h"

using doublecoPageArr = coPageArr<double>;
using intcoPageArr = coPageArr<int>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION coPageArr<double>;
extern template class MATHS_API_TEMPLATE_DECLARATION coPageArr<int>;
#endif
