#pragma once

#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "maths/core/mlMatrix.h"

// Values to put into arrays and the values that are in them, to be compared as a whole.

inline constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double largest_double = std::numeric_limits<double>::max();

/// Whether the library stops at misuse: the behaviour of a release build can't be tested then.
#if defined(MATHS_CHECKED)
inline constexpr bool checked_build = true;
#else
inline constexpr bool checked_build = false;
#endif

using Values = std::vector<double>;

/// A vector of given values.
struct Vector : mlVector {
    Vector(std::initializer_list<double> values) { become(utConvert, values.begin(), static_cast<int>(values.size())); }
    using mlVector::operator=;
};

/// A matrix of given values, row by row.
struct Matrix : mlMatrix {
    Matrix(int rows, int cols, std::initializer_list<double> values) { become(utConvert, values.begin(), rows, cols); }
};

/// The elements of an array, a vector or a matrix's storage.
template <class Array> auto contents(Array const & array) {
    std::vector<std::remove_cvref_t<decltype(array[0])>> elements;
    for (int i = 0; i < array.size(); ++i)
        elements.push_back(array[i]);
    return elements;
}

inline Values contents(mlSlice const & slice) {
    Values elements;
    for (int i = 0; i < slice.length(); ++i)
        elements.push_back(slice[i]);
    return elements;
}

/// A scalar product from element `from` on, in the eight sums of the library's: each takes every eighth term.
template <class Array> double eight_sums(Array const & x, Array const & y, std::size_t from = 0) {
    double s[8] = {};
    for (std::size_t i = from; i < x.size(); ++i)
        s[(i - from) % 8] += x[i] * y[i];
    return ((s[0] + s[1]) + (s[2] + s[3])) + ((s[4] + s[5]) + (s[6] + s[7]));
}

/// Equal, or both NaN.
inline bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

/// The text that an object prints on a stream of its own.
template <class T> std::string printed(T const & object) {
    std::ostringstream stream;
    stream << object;
    return stream.str();
}
