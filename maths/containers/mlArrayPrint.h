#pragma once

#include <concepts>

#include "platform/utOstream.h"

// The printed form of arrays, for use inside the library.

/// An array whose elements print themselves.
template <class Array>
concept mlPrintableArray = requires(Array const & array, utOstream & stream) {
    { array.size() } -> std::convertible_to<int>;
    stream << array[0] << std::endl;
};

/// Prints a frame with the array's name, its size and its elements, each in its own printed form and followed by a
/// newline, all of them indented by one tab stop:
///
///     coDynArr {
///       size 1
///       <1,2,3>
///     }
template <mlPrintableArray Array>
utOstream & ml_print_array(utOstream & stream, char const * name, Array const & array) {
    stream << name << " {" << std::endl;
    utOstream nested(utOstreamTab, stream, 1, 0);
    nested << "size " << array.size() << std::endl;
    for (int i = 0; i < array.size(); ++i)
        nested << array[i] << std::endl;
    return stream << "}" << std::endl;
}

template <mlPrintableArray Array>
std::ostream & ml_print_array(std::ostream & stream, char const * name, Array const & array) {
    utOstream indenting(stream, 0, 2);
    ml_print_array(indenting, name, array);
    return stream;
}
