#pragma once

#include "maths/sparse/mlSparseElement.h"
#include "platform/coDynArr.h"

/// Growable array of sparse elements, the base of a sparse row.
using mlSparseElementcoDynArr = coDynArr<mlSparseElement>;
using mlSparseElementcoDynArrcoIterator = coDynArrcoIterator<mlSparseElement>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<mlSparseElement>;
#endif
