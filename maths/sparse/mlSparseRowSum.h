#pragma once

#include <cstdint>
#include <span>

#include "maths/sparse/mlSparseRow.h"

/// A row of a product while its terms come in, in any order of columns.
/// For use inside the library.
///
/// Each column's terms are added in the order in which they come, the sum starting from the first term itself.
/// Terms are kept as they come, and put in order by merging, then added up, when the row is complete or they have
/// become many. They come in runs of increasing columns, the rows of a factor, so that this takes a fraction of the
/// time of as many insertions into a tree. Lifetime: one object serves all rows of a product and keeps its storage.
/// Cost: n log r operations for n terms in r runs. Pending at most: the larger of ml_tuning::sparse_pending_max_terms
/// and twice the row's sums, plus the terms of one call.
/// Failure: std::bad_alloc, after which the object can only be destroyed.
class mlSparseRowSum {
public:
    /// Adds s times each of the elements, in their order: a term s * value (in this order) to its column's sum. Any
    /// order of columns is taken; the longer their increasing runs, the cheaper. The elements are not this object's
    /// own.
    void add_multiple(double s, std::span<mlSparseElement const> elements);

    /// Appends the sums to the row in increasing column order, those that are zero included, and starts anew. The
    /// caller sees to it that the row's columns, if it has any, are smaller than all of these: this is not checked.
    void move_to(mlSparseRow & row);

private:
    /// A term's column in the upper half, its place among the terms in the lower: ordered by column, then by arrival.
    /// No two are equal. (Negative columns are in order too.)
    using Key = std::int64_t;

    void append(double s, std::span<mlSparseElement const> elements);
    void merge_runs();
    void add_up();

    coDynArr<Key> keys_;   // of the terms that are pending, the first size_; ordered within each run
    coDynArr<Key> merged_; // where the runs are merged to
    doublecoDynArr terms_; // by place
    int size_ = 0;         // of keys_ and terms_, whose arrays may be longer
    intcoDynArr run_ends_; // where each run of keys_ ends, but for the last, which ends at size_
    /// What add_up returned last; until move_to its elements are among the pending terms too, so add_up may replace it.
    mlSparseElementcoDynArr sums_;
};
