#pragma once

#include <limits>

#include "maths/maths_api.h"

/// An element of a sparse row: a column and the value there.
///
/// Trivially copyable, so arrays of elements move by block copy and their fresh slots are not initialised.
class mlSparseElement {
public:
    /// An element that was never set: column -2147483647, the most negative finite double. Deliberate: it is not
    /// `invalid`, which tests for the largest int; callers rely on both values.
    mlSparseElement() noexcept = default;

    mlSparseElement(int i, double v) noexcept : index(i), value(v) {}

    /// 1 when the column is 2147483647.
    [[nodiscard]] int invalid() const { return index == std::numeric_limits<int>::max(); }

    int index = -std::numeric_limits<int>::max();
    double value = -std::numeric_limits<double>::max();
};
