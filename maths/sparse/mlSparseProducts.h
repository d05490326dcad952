#pragma once

#include <cstddef>
#include <map>
#include <memory_resource>

#include "maths/core/mlMatrix.h"
#include "maths/sparse/mlSparseRow.h"

// What the products of sparse matrices share. For use inside the library.

/// A row of a product while its terms come in, in any order of columns.
///
/// Each column's terms are added in the order in which they come, the sum starting from the first term itself.
class mlSparseRowSum {
public:
    void add(int column, double term) {
        auto const [entry, fresh] = sums_.try_emplace(column, term);
        if (!fresh) entry->second += term;
    }

    /// Appends the sums in increasing column order, those that are zero included.
    void append_to(mlSparseRow & row) const {
        for (auto const & [column, sum] : sums_)
            row.append_element(column, sum);
    }

private:
    std::byte first_nodes_[4096]; // most rows need no allocation
    std::pmr::monotonic_buffer_resource storage_{first_nodes_, sizeof(first_nodes_)};
    std::pmr::map<int, double> sums_{&storage_};
};

/// A factor as it was before the product overwrites `destination`: the factor itself, or a copy when they are one.
template <class T> class mlSparseFactor {
public:
    mlSparseFactor(T const & factor, T const & destination) : factor_(&factor) {
        if (&factor != &destination) return;
        copy_.become(utCopy, factor);
        factor_ = &copy_;
    }

    T const & operator*() const { return *factor_; }

private:
    T copy_;
    T const * factor_;
};

/// Row i of c += s times row k of b.
inline void ml_add_multiple_of_row(mlMatrix & c, int i, double s, mlMatrix const & b, int k) {
    int const n = b.cols();
    double * const to = c.data() + i * n;
    double const * const from = b.data() + k * n;
    for (int j = 0; j < n; ++j)
        to[j] += s * from[j];
}
