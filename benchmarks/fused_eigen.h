#pragma once

#include <functional>

// Eigen as a user has it who compiles for one processor: with -march=native, fused multiply-adds and all. It is a peer
// of its own, "eigen-fused", beside the build for every processor.
//
// Matrices are n x n and row-major, as the library's.
namespace fused_eigen {

void multiply(int n, double const * a, double const * b, double * c);
void factor_lu(int n, double const * a);
/// Factors a at once; what is returned writes the inverse from the factors.
std::function<void(double * inverse)> inverter(int n, double const * a);
void factor_cholesky(int n, double const * a);
void singular_values(int rows, int cols, double const * a, double * s);
void eigenvalues(int n, double const * a, double * values);

} // namespace fused_eigen
