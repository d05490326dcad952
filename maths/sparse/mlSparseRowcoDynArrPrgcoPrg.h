#pragma once

#include <utility>

#include "maths/sparse/mlSparseRow.h"

/// Owner of one row on the heap, or of none; it can be moved, not copied.
///
/// Deliberate: move assignment does not free the row that this handle held; call `delete_ptr` first.
class mlSparseRowcoDynArrPrgcoPrg {
public:
    mlSparseRowcoDynArrPrgcoPrg() noexcept = default;

    /// Takes over a row made by `new`.
    explicit mlSparseRowcoDynArrPrgcoPrg(mlSparseRow * row) noexcept : row_(row) {}

    mlSparseRowcoDynArrPrgcoPrg(mlSparseRowcoDynArrPrgcoPrg && other) noexcept
        : row_(std::exchange(other.row_, nullptr)) {}

    mlSparseRowcoDynArrPrgcoPrg & operator=(mlSparseRowcoDynArrPrgcoPrg && other) noexcept {
        row_ = std::exchange(other.row_, nullptr);
        return *this;
    }

    ~mlSparseRowcoDynArrPrgcoPrg() { delete row_; }

    /// Frees the row. Deliberate: the stale pointer stays; overwrite the handle immediately, or the row is freed twice.
    void delete_ptr() { delete row_; }

    [[nodiscard]] mlSparseRow * ptr() const { return row_; }
    mlSparseRow * operator->() const { return row_; }
    mlSparseRow & operator*() const { return *row_; }

private:
    mlSparseRow * row_ = nullptr;
};
