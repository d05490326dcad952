#pragma once

#include <sstream>
#include <string>

/// The text that an object prints on a stream of its own.
template <class T> std::string printed(T const & object) {
    std::ostringstream stream;
    stream << object;
    return stream.str();
}
