#pragma once

#include <cstdint>

#include "maths/sparse/mlSparseRow.h"

/// A row of a product while its terms come in, in any order of columns: an ordered map from column to sum.
/// For use inside the library.
///
/// Each column's terms are added in the order in which they come, the sum starting from the first term itself.
/// Terms are kept as they come and put in order by merging when the row is complete. They come in runs of ascending
/// columns, the rows of a factor, so that this takes a fraction of the time of as many insertions into a tree.
/// Lifetime: one object serves all rows of a product and keeps its storage.
/// Cost: n log r operations for n terms in r runs; room for the sums and some more, however many terms there are.
class mlSparseRowSum {
public:
    /// Adds s times each of the elements first .. last - 1.
    void add_multiple(double s, mlSparseElement const * first, mlSparseElement const * last);

    /// Appends the sums in increasing column order, those that are zero included, and starts anew.
    void move_to(mlSparseRow & row);

private:
    /// A term's column in the upper half, its place among the terms in the lower: ordered by column, then by arrival.
    using Key = std::int64_t;

    void append(double s, mlSparseElement const * first, mlSparseElement const * last);
    void merge_runs();
    void collapse();

    coDynArr<Key> keys_, merged_;
    doublecoDynArr terms_;
    int size_ = 0;         // of these three, whose arrays may be longer
    intcoDynArr run_ends_; // but for the last run, whose end is the size
    mlSparseElementcoDynArr sums_;
};
