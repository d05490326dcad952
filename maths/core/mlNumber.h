#pragma once

#include <type_traits>

#include "maths/maths_api.h"

/// A number in a list in braces, from which vectors and matrices are made: a double, a float or an integer.
///
/// A tag, which as an enumeration would convert to a double, is no number: `mlVector{mlVectorZero, 3}` is three zeros,
/// as in round brackets. An integer beyond 2⁵³ is rounded to a double.
class mlNumber {
public:
    // clang-format off
    template <class T>
        requires(std::is_integral_v<T> || std::is_same_v<T, double> || std::is_same_v<T, float>)
    mlNumber(T value) : value_(static_cast<double>(value)) {}
    // clang-format on

    operator double() const { return value_; }

private:
    double value_;
};
