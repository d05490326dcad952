#pragma once

#include <version>

#include "maths/core/mlTinyVector.h"

// std::format for vectors, slices and matrices, where the standard library has it (__cpp_lib_format).
//
//     std::format("{:.3f}", v)      < 1.000 2.000 >         a vector
//     std::format("{:.3e}", s)      <1.000e+00,2.000e+00>   a slice, or a vector of 2 to 6 components
//     std::format("{:8.2f}", m)     |     1.00     2.00 |   a row of a matrix; a newline before the next one
//
// Text and marks are those of operator<<, without a newline at the end; what follows the colon is applied to each
// element, so precision and width are the caller's. Without it an element gets the shortest digits that read back as
// the same double.

#if defined(__cpp_lib_format)

#include <algorithm>
#include <format>
#include <string_view>

/// Writes sequences of elements that have a double's format. A base of the formatters below.
class mlElementFormatter : public std::formatter<double> {
protected:
    template <class Context> static void put(Context & context, std::string_view text) {
        context.advance_to(std::copy(text.begin(), text.end(), context.out()));
    }

    /// before, the elements with `between` in the gaps, after.
    template <class Elements, class Context>
    auto write(Context & context, std::string_view before, Elements const & elements, int n, std::string_view between,
               std::string_view after) const {
        put(context, before);
        for (int i = 0; i < n; ++i) {
            if (i > 0) put(context, between);
            context.advance_to(std::formatter<double>::format(elements[i], context));
        }
        put(context, after);
        return context.out();
    }
};

template <> struct std::formatter<mlVector> : mlElementFormatter {
    template <class Context> auto format(mlVector const & v, Context & context) const {
        return write(context, "< ", v, v.size(), " ", v.size() > 0 ? " >" : ">");
    }
};

template <> struct std::formatter<mlSlice> : mlElementFormatter {
    template <class Context> auto format(mlSlice const & s, Context & context) const {
        return write(context, "<", s, s.length(), ",", ">");
    }
};

template <int N> struct std::formatter<mlTinyVector<N>> : mlElementFormatter {
    template <class Context> auto format(mlTinyVector<N> const & v, Context & context) const {
        return write(context, "<", v, N, ",", ">");
    }
};

template <> struct std::formatter<mlMatrix> : mlElementFormatter {
    template <class Context> auto format(mlMatrix const & m, Context & context) const {
        for (int r = 0; r < m.rows(); ++r)
            write(context, r > 0 ? "\n| " : "| ", m.row(r), m.cols(), " ", m.cols() > 0 ? " |" : "|");
        return context.out();
    }
};

#endif
