#pragma once

#include "maths/containers/mlArrayPrint.h"
#include "maths/core/mlVector.h"
#include "platform/coDynArr.h"

/// Growable array of vectors.
///
/// Elements are copied by `mlVector`'s assignment, which copies only as many elements as the destination has, and fresh
/// slots hold empty vectors. Deliberate: so every vector that is copied to a fresh slot comes out empty: after growth
/// (appending included), a shrink with release, both copying constructors, the list constructor, and a `become` that
/// had to grow. Size the vectors once the array has its size, and then assign. `clear(0)` keeps the vectors in their
/// slots, with their elements: an array that is filled again finds them there.
using mlVectorcoDynArr = coDynArr<mlVector>;
using mlVectorcoDynArrcoIterator = coDynArrcoIterator<mlVector>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<mlVector>;
#endif

/// Prints the array's size and its vectors, each followed by an empty line, in a frame headed "coDynArr {".
MATHS_API utOstream & operator<<(utOstream & stream, mlVectorcoDynArr const & array);
MATHS_API std::ostream & operator<<(std::ostream & stream, mlVectorcoDynArr const & array);
