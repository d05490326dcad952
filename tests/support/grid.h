#pragma once

#include <utility>
#include <vector>

/// Which unknowns are coupled: pairs i < j.
using Edges = std::vector<std::pair<int, int>>;

/// A box of points, each coupled with its neighbours.
inline Edges grid(int nx, int ny, int nz) {
    Edges edges;
    for (int k = 0; k < nx * ny * nz; ++k) {
        if (k % nx + 1 < nx) edges.emplace_back(k, k + 1);
        if (k / nx % ny + 1 < ny) edges.emplace_back(k, k + nx);
        if (k / (nx * ny) + 1 < nz) edges.emplace_back(k, k + nx * ny);
    }
    return edges;
}
