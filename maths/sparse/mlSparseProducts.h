#pragma once

#include "maths/core/mlMatrix.h"
#include "maths/sparse/mlSparseRowSum.h"

// What the products of sparse matrices share. For use inside the library.

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
