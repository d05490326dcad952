#pragma once

// Eigen as a user has it who compiles for one processor: with -march=native, fused multiply-adds and all. It is a peer
// of its own, "eigen-fused", beside the build for every processor.
//
// Matrices are n x n and row-major, as the library's.
namespace fused_eigen {

void multiply(int n, double const * a, double const * b, double * c);
void factor_lu(int n, double const * a);
void invert(int n, double const * a, double * inverse);
void factor_cholesky(int n, double const * a);
void singular_values(int rows, int cols, double const * a, double * s);
void eigenvalues(int n, double const * a, double * values);

} // namespace fused_eigen
