#pragma once

#include <climits>

/// What the library's time is to be at most, as a multiple of a peer's, for a range of sizes.
struct Goal {
    char const * operation;
    int least, largest; ///< sizes
    char const * peer;
    double widest, avx2, baseline; ///< by the instruction set used; 0 where no goal is set for the set
};

inline constexpr Goal goals[] = {
    // operation, sizes, peer, at most: with the widest set, with AVX2, with SSE2
    {"product", 3, 3, "eigen", 1.0, 0, 0},
    {"product", 4, 8, "eigen", 0.9, 0, 0},
    {"product", 16, 512, "eigen", 0.45, 0.7, 1.05},
    {"product", 513, 1024, "eigen", 0.45, 0.7, 1.35},
    {"product", 16, 512, "openblas", 2.1, 0, 0},
    {"matrix_vector", 0, 10, "eigen", 0.8, 0, 0},
    {"matrix_vector", 30, 500, "eigen", 1.4, 0, 0},
    {"matrix_vector", 1000, INT_MAX, "eigen", 1.1, 0, 0},
    {"scalar_product", 0, INT_MAX, "gsl", 1.0, 0, 0},
    {"lu_factor", 10, 50, "eigen", 0.8, 0, 0},
    {"lu_factor", 100, INT_MAX, "eigen", 0.5, 0.6, 1.05},
    {"lu_factor", 1000, INT_MAX, "eigen-fused", 1.0, 0, 0},
    {"lu_factor", 10, INT_MAX, "openblas", 1.1, 0, 0},
    {"lu_solve", 100, INT_MAX, "gsl", 0.8, 0, 0},
    {"lu_inverse", 3, 4, "eigen", 1.0, 0, 0},
    {"lu_inverse", 50, INT_MAX, "eigen", 0.6, 0.65, 1.0},
    {"lu_inverse", 1000, INT_MAX, "eigen-fused", 1.0, 0, 0},
    {"lu_solve_many", 50, INT_MAX, "eigen", 0.6, 0.65, 1.0},
    {"cholesky_factor", 50, INT_MAX, "eigen", 0.65, 0.7, 0.95},
    {"cholesky_factor", 1000, INT_MAX, "eigen-fused", 1.3, 0, 0},
    {"cholesky_factor", 3, 20, "eigen", 1.0, 0, 0},
    {"cholesky_solve", 3, 20, "eigen", 1.0, 0, 0},
    {"cholesky_solve", 0, INT_MAX, "gsl", 1.15, 0, 0},
    {"svd", 20, INT_MAX, "openblas", 0.75, 0, 0},
    {"svd", 0, 300, "eigen", 1.1, 0, 0},
    {"svd", 100, INT_MAX, "gsl", 0.6, 0, 0},
    {"jacobi_svd", 0, INT_MAX, "gsl", 1.2, 0, 0},
    {"jacobi_svd_tall", 0, INT_MAX, "gsl", 1.2, 0, 0},
    {"symmetric_eigen", 2, 4, "gsl", 1.5, 0, 0},
    {"symmetric_eigen", 100, 100, "gsl", 12, 0, 0},
    {"pca_3", 10, 100000, "gsl", 1.0, 0, 0},
    {"pca_8", 1000, 100000, "gsl", 1.0, 0, 0},
    {"tridiagonal", 10, 10, "gsl", 1.0, 0, 0},
    {"tridiagonal", 100, INT_MAX, "gsl", 1.1, 0, 0},
    {"periodic_tridiagonal", 100, INT_MAX, "gsl", 1.3, 0, 0},
    {"polynomial", 0, INT_MAX, "gsl", 1.0, 0, 0},
    {"quadratics", 0, INT_MAX, "gsl", 3, 0, 0},
    {"cubics", 0, INT_MAX, "gsl", 1.5, 0, 0},
    {"quartics", 0, INT_MAX, "gsl", 0.3, 0, 0},
    {"all_roots", 5, 20, "gsl", 0.8, 0, 0},
    {"all_roots", 100, INT_MAX, "gsl", 0.25, 0, 0},
    {"romberg", 0, INT_MAX, "gsl", 1.1, 0, 0},
    {"brent", 0, INT_MAX, "gsl", 1.1, 0, 0},
    {"simplex", 0, INT_MAX, "gsl", 1.1, 0, 0},
    {"window_search", 0, 0, "bobyqa", 0.2, 0, 0},
    {"window_search", 1, 1, "slsqp", 0.5, 0, 0},
    {"window_search", 1, 1, "lbfgs", 0.5, 0, 0},
    {"circle_fit", 100, INT_MAX, "gsl", 1.0, 0, 0},
    {"newton", 2, 50, "gsl", 1.0, 0, 0},
    {"mixture", 5, 40, "cgal", 0.2, 0, 0},
    {"sparse_product_5", 1000, 100000, "eigen", 1.0, 0, 0},
    {"sparse_product_30", 1000, 100000, "eigen", 1.7, 0, 0},
    {"sparse_vector_5", 0, INT_MAX, "eigen", 1.5, 0, 0},
    {"sparse_vector_30", 0, INT_MAX, "eigen", 1.5, 0, 0},
    {"sparse_gram_5", 0, INT_MAX, "eigen", 1.2, 0, 0},
    {"sparse_assembly_5", 0, INT_MAX, "eigen", 2.5, 0, 0},
    {"append_double", 0, INT_MAX, "vector", 1.3, 0, 0},
    {"append_point", 0, INT_MAX, "vector", 1.3, 0, 0},
    {"append_paged", 0, INT_MAX, "deque", 1.3, 0, 0},
    {"index_paged", 0, INT_MAX, "deque", 1.3, 0, 0},
    {"walk_paged", 0, INT_MAX, "deque", 1.3, 0, 0},
    {"print_vector", 0, INT_MAX, "ostream", 1.2, 0, 0},
    {"print_matrix", 0, INT_MAX, "ostream", 1.2, 0, 0},
};
