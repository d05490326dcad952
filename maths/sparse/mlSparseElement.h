#pragma once

#include <limits>

#include "maths/maths_api.h"

/// An element of a sparse row: a column and the value there.
///
/// Copying is the compiler's, so arrays of elements move by block copy and their fresh slots hold nothing yet.
class mlSparseElement {
public:
    /// An element that was never set: column -2147483647, the most negative finite double. It does not count as
    /// `invalid`, which looks for the other end of the integers; callers rely on both values.
    mlSparseElement() noexcept = default;

    mlSparseElement(int i, double v) noexcept : index(i), value(v) {}

    /// 1 when the column is 2147483647.
    int invalid() const { return index == std::numeric_limits<int>::max(); }

    int index = -std::numeric_limits<int>::max();
    double value = -std::numeric_limits<double>::max();
};
