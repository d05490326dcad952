// Compiled with -march=native. Eigen's namespace gets another name here, before any header comes in: of two inline
// functions of one name the linker keeps one, for this build and the other.
#define Eigen EigenFused // NOLINT(bugprone-reserved-identifier)
#include <Eigen/Dense>

#include "benchmarks/fused_eigen.h"

namespace {

using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

Eigen::Map<Matrix const> matrix(double const * a, int rows, int cols) { return {a, rows, cols}; }

template <class Decomposition> void keep(Decomposition const & d) { asm volatile("" : : "r"(&d) : "memory"); }

} // namespace

void fused_eigen::multiply(int n, double const * a, double const * b, double * c) {
    Eigen::Map<Matrix>(c, n, n).noalias() = matrix(a, n, n) * matrix(b, n, n);
}

void fused_eigen::factor_lu(int n, double const * a) { keep(Eigen::PartialPivLU<Matrix>(matrix(a, n, n))); }

std::function<void(double *)> fused_eigen::inverter(int n, double const * a) {
    return [n, lu = Eigen::PartialPivLU<Matrix>(matrix(a, n, n))](double * inverse) {
        Eigen::Map<Matrix>(inverse, n, n) = lu.inverse();
    };
}

void fused_eigen::factor_cholesky(int n, double const * a) { keep(Eigen::LLT<Matrix>(matrix(a, n, n))); }

void fused_eigen::singular_values(int rows, int cols, double const * a, double * s) {
    Eigen::Map<Eigen::VectorXd>(s, cols) =
        Eigen::BDCSVD<Matrix>(matrix(a, rows, cols), Eigen::ComputeFullU | Eigen::ComputeFullV).singularValues();
}

void fused_eigen::eigenvalues(int n, double const * a, double * values) {
    Eigen::Map<Eigen::VectorXd>(values, n) = Eigen::SelfAdjointEigenSolver<Matrix>(matrix(a, n, n)).eigenvalues();
}
