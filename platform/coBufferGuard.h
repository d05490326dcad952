#pragma once

#include <concepts>
#include <functional>

#include "maths/maths_api.h"

/// Copies elements into a guarded buffer of `count` elements at `buffer`, and writes nowhere else.
///
/// The second template argument has no effect but to make distinct classes; the library uses 0.
template <class T, int> class coBufferGuard {
public:
    coBufferGuard(T * buffer, int count) : buffer_(buffer), end_(buffer + (count < 0 ? 0 : count)) {}

    /// Assigns `count` elements from src to dst in increasing order, when neither is null, dst lies inside the buffer
    /// and dst + count does not pass its end; otherwise does nothing. A negative count is 0.
    void copy(T * dst, T const * src, int count) const { copy(dst, src, static_cast<unsigned>(count < 0 ? 0 : count)); }

    /// The same for a count of any unsigned type: 64-bit counts of one program can be of different types.
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
