#pragma once

#include "maths/sparse/mlSparseRowcoDynArrPrgcoPrg.h"
#include "platform/coDynArr.h"

/// Growable array of row handles, which moves rows by moving pointers.
///
/// Handles can't be copied, so the array's copying operations copy no element. `clear(0)` keeps the slots, and the rows
/// in them stay owned until the block is freed or somebody calls `delete_ptr` and overwrites the handle.
using mlSparseRowcoDynArrPrgcoPrgcoDynArr = coDynArr<mlSparseRowcoDynArrPrgcoPrg>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION coDynArr<mlSparseRowcoDynArrPrgcoPrg>;
#endif
