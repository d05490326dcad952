#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

#include "platform/coSize.h"
#include "platform/coStorage.h"

/// Copies an element of an array. A type whose assignment checks sizes overloads this.
template <class T> void coAssignElement(T & to, T const & from) { to = from; }

/// Owner of the block of an array while it is being filled: `count` slots of T, none when `count` is below 1.
///
/// Slots of a trivially copyable T are raw storage, others are constructed with T(). For use inside the arrays only.
template <class T> class coBlock {
    static_assert(alignof(T) <= alignof(std::max_align_t), "the storage of arrays is not aligned for such elements");

    static constexpr bool raw = std::is_trivially_copyable_v<T>;

public:
    explicit coBlock(int count) : slots_(static_cast<T *>(coResizeStorage(nullptr, bytes(count)))), count_(count) {
        if constexpr (!raw) construct();
    }
    coBlock(T * slots, int count) : slots_(slots), count_(count) {}
    coBlock(coBlock const &) = delete;
    coBlock & operator=(coBlock const &) = delete;

    ~coBlock() {
        if constexpr (!raw) {
            if (slots_ != nullptr) std::destroy_n(slots_, count_);
        }
        coReleaseStorage(slots_);
    }

    T * get() const { return slots_; }

    /// Passes ownership of the slots to the caller.
    T * release() { return std::exchange(slots_, nullptr); }

    static std::size_t bytes(int count) { return count < 1 ? 0 : coByteCount(count, sizeof(T)); }

    /// Copies `count` elements by assignment, or moves those that can't be copied.
    static void assign(T * to, T * from, int count) {
        for (int i = 0; i < count; ++i) {
            if constexpr (std::is_copy_assignable_v<T>)
                coAssignElement(to[i], std::as_const(from[i]));
            else
                to[i] = std::move(from[i]);
        }
    }

private:
    void construct() {
        struct Guard { // rather than try, which callers that are compiled without exceptions cannot have
            T * slots;
            ~Guard() {
                if (slots != nullptr) coReleaseStorage(slots);
            }
        } guard{slots_};
        if (slots_ != nullptr) std::uninitialized_value_construct_n(slots_, count_);
        guard.slots = nullptr;
    }

    T * slots_;
    int count_;
};

/// Replaces a block of `old_count` slots, whose first `used` are in use, by one of `new_count` slots that starts with
/// the first min(used, new_count) elements. Failure: throws what the allocation or the assignment throws, and the old
/// block stays as it was.
template <class T> T * coRelocateBlock(T * slots, int old_count, int used, int new_count) {
    if constexpr (std::is_trivially_copyable_v<T>) {
        if (used > 0) return static_cast<T *>(coResizeStorage(slots, coBlock<T>::bytes(new_count)));
    }
    coBlock<T> fresh(new_count);
    coBlock<T>::assign(fresh.get(), slots, used < new_count ? used : new_count);
    coBlock<T> const old(slots, old_count); // freed on return, when nothing can fail any more
    return fresh.release();
}
