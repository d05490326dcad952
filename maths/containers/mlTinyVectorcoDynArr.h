#pragma once

#include "maths/containers/mlArrayPrint.h"
#include "maths/core/mlTinyVector.h"
#include "platform/coDynArr.h"

// Growable contiguous arrays of fixed-size vectors, with their iterators.

using mlTinyVector2coDynArr = coDynArr<mlTinyVector2>;
using mlTinyVector3coDynArr = coDynArr<mlTinyVector3>;
using mlTinyVector4coDynArr = coDynArr<mlTinyVector4>;
using mlTinyVector5coDynArr = coDynArr<mlTinyVector5>;
using mlTinyVector6coDynArr = coDynArr<mlTinyVector6>;

using mlTinyVector2coDynArrcoIterator = coDynArrcoIterator<mlTinyVector2>;
using mlTinyVector3coDynArrcoIterator = coDynArrcoIterator<mlTinyVector3>;
using mlTinyVector4coDynArrcoIterator = coDynArrcoIterator<mlTinyVector4>;
using mlTinyVector5coDynArrcoIterator = coDynArrcoIterator<mlTinyVector5>;
using mlTinyVector6coDynArrcoIterator = coDynArrcoIterator<mlTinyVector6>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<mlTinyVector2>;
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<mlTinyVector3>;
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<mlTinyVector4>;
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<mlTinyVector5>;
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<mlTinyVector6>;
#endif

/// Prints the array's size and its elements, a line each, in a frame headed "coDynArr {".
template <int N> utOstream & operator<<(utOstream & stream, coDynArr<mlTinyVector<N>> const & array) {
    return ml_print_array(stream, "coDynArr", array);
}
template <int N> std::ostream & operator<<(std::ostream & stream, coDynArr<mlTinyVector<N>> const & array) {
    return ml_print_array(stream, "coDynArr", array);
}
