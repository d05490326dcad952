#pragma once

#include "maths/containers/mlArrayPrint.h"
#include "maths/core/mlTinyVector.h"
#include "platform/coPageArr.h"

// Growable paged arrays of fixed-size vectors, with their iterators.

using mlTinyVector2coPageArr = coPageArr<mlTinyVector2>;
using mlTinyVector3coPageArr = coPageArr<mlTinyVector3>;
using mlTinyVector4coPageArr = coPageArr<mlTinyVector4>;
using mlTinyVector5coPageArr = coPageArr<mlTinyVector5>;
using mlTinyVector6coPageArr = coPageArr<mlTinyVector6>;

using mlTinyVector2coPageArrcoIterator = coPageArrcoIterator<mlTinyVector2>;
using mlTinyVector3coPageArrcoIterator = coPageArrcoIterator<mlTinyVector3>;
using mlTinyVector4coPageArrcoIterator = coPageArrcoIterator<mlTinyVector4>;
using mlTinyVector5coPageArrcoIterator = coPageArrcoIterator<mlTinyVector5>;
using mlTinyVector6coPageArrcoIterator = coPageArrcoIterator<mlTinyVector6>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION coPageArr<mlTinyVector2>;
extern template class MATHS_API_TEMPLATE_DECLARATION coPageArr<mlTinyVector3>;
extern template class MATHS_API_TEMPLATE_DECLARATION coPageArr<mlTinyVector4>;
extern template class MATHS_API_TEMPLATE_DECLARATION coPageArr<mlTinyVector5>;
extern template class MATHS_API_TEMPLATE_DECLARATION coPageArr<mlTinyVector6>;
#endif

/// Prints the array's size and its elements, a line each, in a frame headed "coPageArr {".
template <int N> utOstream & operator<<(utOstream & stream, coPageArr<mlTinyVector<N>> const & array) {
    return ml_print_array(stream, "coPageArr", array);
}
template <int N> std::ostream & operator<<(std::ostream & stream, coPageArr<mlTinyVector<N>> const & array) {
    return ml_print_array(stream, "coPageArr", array);
}
