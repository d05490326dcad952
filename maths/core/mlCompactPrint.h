#pragma once

#include "maths/core/mlRun.h"
#include "platform/utOstream.h"

/// Prints "<", n elements separated by "," and ">", with no change of flags and no newline: the form that slices and
/// fixed-size vectors share. For use inside the library.
template <mlRunOfDoubles X> utOstream & ml_print_compact(utOstream & stream, X x, int n) {
    stream << "<";
    for (int i = 0; i < n; ++i) {
        if (i > 0) stream << ",";
        stream << x[i];
    }
    return stream << ">";
}
