#pragma once

#include <cstddef>
#include <limits>

#include "platform/coStorage.h"

// The arithmetic of sizes, which are ints in every array: a size that leaves int, like one that memory does not hold,
// throws std::bad_alloc. For use inside the library.

/// `size` as an int.
inline int coSize(long long size) {
    int const narrow = static_cast<int>(size);
    if (narrow != size) coOutOfStorage();
    return narrow;
}

/// a + b elements.
inline int coSizeSum(int a, int b) { return coSize(static_cast<long long>(a) + b); }

/// rows * cols, the number of elements of a table.
inline int coTableSize(int rows, int cols) { return coSize(static_cast<long long>(rows) * cols); }

/// `capacity` with the smallest whole number of increments, of at least 1 each, that makes `index` a valid slot.
/// Below the capacity that number is negative or 0.
inline int coGrownCapacity(int capacity, int increment, int index) {
    if (increment <= 1) return coSizeSum(index, 1); // the usual case, without the division
    long long const step = increment;
    long long const missing = static_cast<long long>(index) - capacity;
    return coSize(capacity + (missing - missing % step) + step);
}

/// The bytes of `count` elements of `size` bytes each.
inline std::size_t coByteCount(std::size_t count, std::size_t size) {
    if (count > std::numeric_limits<std::size_t>::max() / size) coOutOfStorage(); // where std::size_t is short
    return count * size;
}
