#pragma once

#include "maths/sparse/mlSparseElementcoDynArr.h"

/// Forward iterator over the elements of a sparse row, made from a pointer to it; copied by value.
///
///     for (mlSparseElement const * e = it.first(); e != nullptr; e = it.next()) ...
///
/// Lifetime: a view of the row's elements, valid until the row grows or is cleared; `reset` renews it.
class mlSparseRowIT : public mlSparseElementcoDynArrcoIterator {
public:
    using mlSparseElementcoDynArrcoIterator::mlSparseElementcoDynArrcoIterator;
};
