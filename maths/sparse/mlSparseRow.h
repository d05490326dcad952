#pragma once

#include <utility>

#include "maths/sparse/mlSparseElementcoDynArr.h"
#include "maths/sparse/mlSparseRowIT.h"

/// A row of a sparse matrix: its elements (column, value) in strictly increasing column order.
///
/// The order is the caller's to keep: the row neither sorts nor merges, and elements appended out of order make
/// `element` miss some, silently, and stop a checked build. Explicit zeros may be stored; they count as elements.
/// Growth: appending doubles the room from 8, so n appends cost O(n). Room for 2³⁰ elements is the most.
/// Lifetime: pointers to elements and iterators are valid until the row grows or is cleared.
/// Failure: growth throws std::bad_alloc and changes nothing. Threads: one at a time.
class MATHS_API mlSparseRow : public mlSparseElementcoDynArr {
public:
    /// Without elements.
    mlSparseRow() noexcept = default;

    /// The elements of `other`, and room for as many as it has reserved.
    mlSparseRow(enum utCopy, mlSparseRow const & other);
    mlSparseRow & become(enum utCopy, mlSparseRow const & other);

    /// Takes the storage of a row, which is left empty; `become` frees its own first.
    mlSparseRow(mlSparseRow && other) noexcept
        : mlSparseElementcoDynArr(static_cast<mlSparseElementcoDynArr &&>(other)),
          reserved_(std::exchange(other.reserved_, 0)) {}
    mlSparseRow & become(mlSparseRow && temporary) noexcept {
        mlSparseRow taken(std::move(temporary));
        swap(taken);
        return *this;
    }

    /// Adds an element after the others, whatever its value.
    void append_element(int index, double value) {
        check_order(last_column_index(), index);
        if (size() == reserved_) reserve_for(reserved_ + 1);
        (*this)[size()] = mlSparseElement(index, value);
    }

    /// The same for each of n elements in turn, which are not the row's own.
    void append_elements(mlSparseElement const * elements, int n);

    /// The value in column `index`, 0.0 where no element is stored. O(log n).
    [[nodiscard]] double element(int index) const;

    [[nodiscard]] int num_non_zero_elements() const { return size(); }
    [[nodiscard]] int empty() const { return size() == 0; }

    /// Column of the last element, -1 for an empty row.
    [[nodiscard]] int last_column_index() const { return size() == 0 ? -1 : data()[size() - 1].index; }

    [[nodiscard]] mlSparseRowIT iterator() const { return mlSparseRowIT(this); }

    void multiply_all_elements(double s);

    /// Divides each value; does not multiply by 1 / s.
    void divide_all_elements(double s);

    /// Makes the row empty; the storage is kept for `release` = 0, else freed.
    void clear(int release);

    /// Exchanges two rows in constant time.
    void swap(mlSparseRow & other) noexcept;

private:
    void reserve_for(int n);

    static void check_order([[maybe_unused]] int last, [[maybe_unused]] int index) {
        MATHS_CHECK(index > last, "sparse row: column %d after column %d", index, last);
    }

    int reserved_ = 0; // elements that room was requested for so far
};
