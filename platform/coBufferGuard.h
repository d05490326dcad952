#pragma once

#include <concepts>
#include <functional>

#include "maths/maths_api.h"

/// Copies runs of elements into one guarded run of `count` elements at `buffer`, and nowhere else.
///
/// The second template argument only tells instantiations apart; the library uses 0.
template <class T, int> class coBufferGuard {
public:
    coBufferGuard(T * buffer, int count) : buffer_(buffer), end_(buffer + (count < 0 ? 0 : count)) {}

    /// Assigns `count` elements from src to dst in increasing order, when both are given, dst lies inside the guarded
    /// run and dst + count does not pass its end; otherwise does nothing. A negative count is 0.
    void copy(T * dst, T const * src, int count) const { copy(dst, src, static_cast<unsigned>(count < 0 ? 0 : count)); }

    /// The same for a count of any unsigned type: a program's 64-bit counts are not all of the same one.
    template <std::unsigned_integral Count> void copy(T * dst, T const * src, Count count) const {
        if (dst == nullptr || src == nullptr) return;
        std::less<T const *> const before; // a total order, also for a dst of another block
        if (before(dst, buffer_) || !before(dst, end_)) return;
        if (count > static_cast<unsigned long long>(end_ - dst)) return;
        for (Count i = 0; i < count; ++i)
            dst[i] = src[i];
    }

private:
    T * buffer_;
    T * end_;
};
