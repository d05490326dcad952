#pragma once

#include "platform/coDynArr.h"

/// The upper convex hull of the points (i, log2 |a_i|), for use inside the library: an edge from i to j says that j - i
/// roots have moduli near 2^((log2 |a_i| - log2 |a_j|) / (j - i)).
///
/// The logarithms are rough ones, within 0.09. Edges come by ascending radius.
/// Source: Bini, Numerical computation of polynomial zeros by means of Aberth's method (1996).
class mlNewtonPolygon {
public:
    /// a[0] and a[n] are not zero, no coefficient is NaN or infinite. O(n).
    void become(int n, double const * a);

    int num_edges() const { return num_edges_; }
    int first(int edge) const { return vertices_[edge]; }
    int last(int edge) const { return vertices_[edge + 1]; }

    /// The rough logarithm to base two of an edge's radius.
    double log_radius(int edge) const { return slope(first(edge), last(edge)); }

private:
    double slope(int i, int j) const { return (logs_[i] - logs_[j]) / (j - i); }

    doublecoDynArr logs_;
    intcoDynArr vertices_;
    int num_edges_ = 0;
};
