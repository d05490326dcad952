#pragma once

// The longer member functions of `coPageArr`, included by its header alone.

template <class T> coPageArr<T> & coPageArr<T>::become(enum utCopy, coPageArr const & other) {
    if (this == &other) return *this;
    clear(1);
    pages_.reserve(other.pages_for(other.size_));
    page_shift_ = other.page_shift_;
    page_size_ = other.page_size_;
    copy_elements(other);
    return *this;
}

template <class T> void coPageArr<T>::clear(int release) {
    size_ = 0;
    if (release == 0) return;
    free_pages_from(0);
    pages_.clear(release);
}

template <class T> void coPageArr<T>::copyin(T const * src, int count, int first, int src_first) {
    int const end = coSizeSum(first, count);
    make_room(end); // also for a count of 0: the array then reaches up to `first`
    size_ = std::max(size_, end);
    if (count < 1) return;
    T const * from = src + src_first;
    for (int left = count; left > 0;) {
        int const run = std::min(left, page_size_ - (first & (page_size_ - 1)));
        std::memmove(slot(first), from, coBlock<T>::bytes(run));
        first += run;
        from += run;
        left -= run;
    }
}

template <class T> void coPageArr<T>::copyout(T * dst, int count, int first, int dst_first) const {
    if (count < 1) return;
    MATHS_CHECK(first >= 0 && first <= size_ - count, "copyout: %d elements from %d on of %d", count, first, size_);
    T * to = dst + dst_first;
    for (int left = count; left > 0;) {
        int const run = std::min(left, page_size_ - (first & (page_size_ - 1)));
        std::memmove(to, slot(first), coBlock<T>::bytes(run));
        first += run;
        to += run;
        left -= run;
    }
}

template <class T> void coPageArr<T>::copy(coPageArr const & other, int count, int first, int other_first) {
    int const n = std::min(count, other.size_);
    if (n < 1) return;
    MATHS_CHECK(other_first >= 0 && other_first <= other.size_ - n, "copy: %d elements from %d on of %d", n,
                other_first, other.size_);
    int const end = coSizeSum(first, n);
    make_room(end);
    size_ = std::max(size_, end);
    if (this == &other && first > other_first && first - other_first < n) {
        for (int i = n - 1; i >= 0; --i) // backwards, or the copies would be copied again
            *slot(first + i) = *slot(other_first + i);
    } else {
        for (int i = 0; i < n; ++i)
            *slot(first + i) = *other.slot(other_first + i);
    }
}

template <class T> void coPageArr<T>::reverse() {
    for (int i = 0; i < size_ / 2; ++i)
        std::swap(*slot(i), *slot(size_ - 1 - i));
}

template <class T> void coPageArr<T>::shrink(int n, int release) {
    n = std::max(n, 0);
    size_ = std::min(size_, n);
    if (release == 0) return;
    free_pages_from(pages_for(n));
    pages_.shrink(blocks_, release); // last: it may throw, when size and pages already agree
}

template <class T> int coPageArr<T>::repaginate() {
    if (size_ >= page_size_) return 0;
    int const slots = coTableSize(blocks_, page_size_);
    if (size_ == 0) {
        clear(1);
        return slots;
    }
    int shift = page_shift_;
    while (shift > 0 && 1 << (shift - 1) >= size_)
        --shift;
    if (shift != page_shift_) {
        use_one_page_of(shift);
    } else {
        free_pages_from(pages_for(size_));
        pages_.shrink(blocks_, 1);
    }
    return slots - (1 << shift);
}

template <class T> int coPageArr<T>::get_block(int page) {
    pages_.reserve(coSizeSum(page, 1));
    while (blocks_ <= page) {
        pages_[blocks_] = coResizeStorage(nullptr, coBlock<T>::bytes(page_size_));
        ++blocks_;
    }
    return 1;
}

template <class T> void coPageArr<T>::make_room(int count) {
    if (pages_for(count) > blocks_) get_block(pages_for(count) - 1);
}

template <class T> void coPageArr<T>::copy_elements(coPageArr const & other) {
    for (int page = 0; page < other.pages_for(other.size_); ++page) {
        int const first = page << page_shift_;
        copyin(other.page(page), std::min(page_size_, other.size_ - first), first, 0);
    }
}

template <class T> void coPageArr<T>::free_pages_from(int page) {
    for (; blocks_ > page && blocks_ > 0; --blocks_)
        coReleaseStorage(pages_[blocks_ - 1]);
    pages_.shrink(blocks_, 0);
}

// The new page is made before an old one goes, so that a failed allocation changes nothing.
template <class T> void coPageArr<T>::use_one_page_of(int page_shift) {
    coBlock<T> fresh(1 << page_shift);
    std::memcpy(fresh.get(), page(0), coBlock<T>::bytes(size_));
    free_pages_from(0);
    page_shift_ = page_shift;
    page_size_ = 1 << page_shift;
    pages_[0] = fresh.release();
    blocks_ = 1;
}
