#include "maths/polynomials/all_roots/mlNewtonPolygon.h"

#include "maths/polynomials/all_roots/mlBinaryScale.h"

void mlNewtonPolygon::become(int n, double const * a) {
    logs_.expand(n + 1);
    vertices_.expand(n + 1);
    int * const vertices = vertices_.data();
    int count = 0;
    for (int i = 0; i <= n; ++i) {
        if (a[i] == 0.0) continue;
        logs_[i] = ml_rough_log2(a[i]);
        // Radii ascend along the hull: a vertex that does not keep them so lies below the edge over it.
        while (count > 1 && slope(vertices[count - 2], vertices[count - 1]) >= slope(vertices[count - 1], i))
            --count;
        vertices[count++] = i;
    }
    num_edges_ = count - 1;
}
