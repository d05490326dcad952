// Dense products and LU decomposition beside Eigen's, on the same numbers. Both libraries are compiled with the same
// options and run on one thread. Each pair is compared once before it is timed.

#include <random>

#include <Eigen/Dense>
#include <benchmark/benchmark.h>

#include "maths/maths.h"

namespace {

using EigenMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using EigenVector = Eigen::VectorXd;

/// Two matrices and a vector of order n with elements in [-1, 1), and the same for Eigen.
struct Operands {
    explicit Operands(int n) : a(mlMatrixZero, n, n), b(mlMatrixZero, n, n), x(mlVectorZero, n) {
        std::mt19937 bits(n);
        for (doublecoDynArr * const values :
             {static_cast<doublecoDynArr *>(&a), static_cast<doublecoDynArr *>(&b), static_cast<doublecoDynArr *>(&x)})
            for (double & value : *values)
                value = bits() / 2147483648.0 - 1.0;
        eigen_a = Eigen::Map<EigenMatrix const>(a.data(), n, n);
        eigen_b = Eigen::Map<EigenMatrix const>(b.data(), n, n);
        eigen_x = Eigen::Map<EigenVector const>(x.data(), n);
    }

    mlMatrix a, b;
    mlVector x;
    EigenMatrix eigen_a, eigen_b;
    EigenVector eigen_x;
};

/// Stops the benchmark unless both libraries found the same numbers, to 1e-9 of the largest.
template <class Own, class Peer> bool agree(benchmark::State & state, Own const & own, Peer const & peer) {
    Eigen::Map<EigenVector const> const flat_own(own.data(), own.size());
    Eigen::Map<EigenVector const> const flat_peer(peer.data(), peer.size());
    double const difference = (flat_own - flat_peer).lpNorm<Eigen::Infinity>();
    if (difference <= 1e-9 * flat_peer.lpNorm<Eigen::Infinity>()) return true;
    state.SkipWithError("the libraries disagree");
    return false;
}

/// Times `operation`, which writes into `result`.
template <class Operation, class Result> void measure(benchmark::State & state, Result & result, Operation operation) {
    for (auto _ : state) {
        operation();
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
}

void product(benchmark::State & state, bool own) {
    Operands const of(static_cast<int>(state.range(0)));
    mlMatrix c;
    EigenMatrix eigen_c(of.eigen_a.rows(), of.eigen_b.cols());
    auto const multiply_own = [&] { multiply(of.a, of.b, c); };
    auto const multiply_peer = [&] { eigen_c.noalias() = of.eigen_a * of.eigen_b; };
    multiply_own();
    multiply_peer();
    if (!agree(state, c, eigen_c)) return;
    if (own)
        measure(state, c, multiply_own);
    else
        measure(state, eigen_c, multiply_peer);
}

void matrix_vector(benchmark::State & state, bool own) {
    Operands const of(static_cast<int>(state.range(0)));
    mlVector y;
    EigenVector eigen_y(of.eigen_a.rows());
    auto const multiply_own = [&] { multiply(of.a, of.x, y); };
    auto const multiply_peer = [&] { eigen_y.noalias() = of.eigen_a * of.eigen_x; };
    multiply_own();
    multiply_peer();
    if (!agree(state, y, eigen_y)) return;
    if (own)
        measure(state, y, multiply_own);
    else
        measure(state, eigen_y, multiply_peer);
}

void lu_factor(benchmark::State & state, bool own) {
    Operands const of(static_cast<int>(state.range(0)));
    if (own)
        for (auto _ : state) {
            mlLUDecomposition const lu(of.a);
            benchmark::DoNotOptimize(lu.is_singular());
        }
    else
        for (auto _ : state) {
            Eigen::PartialPivLU<EigenMatrix> const lu(of.eigen_a);
            benchmark::DoNotOptimize(lu.matrixLU().data());
            benchmark::ClobberMemory();
        }
}

void lu_solve(benchmark::State & state, bool own) {
    Operands const of(static_cast<int>(state.range(0)));
    mlLUDecomposition const lu(of.a);
    Eigen::PartialPivLU<EigenMatrix> const eigen_lu(of.eigen_a);
    mlVector y;
    EigenVector eigen_y(of.eigen_a.rows());
    auto const solve_own = [&] { lu.solve(of.x, y); };
    auto const solve_peer = [&] { eigen_y = eigen_lu.solve(of.eigen_x); };
    solve_own();
    solve_peer();
    if (!agree(state, y, eigen_y)) return;
    if (own)
        measure(state, y, solve_own);
    else
        measure(state, eigen_y, solve_peer);
}

void sizes(benchmark::internal::Benchmark * benchmark) { benchmark->Arg(8)->Arg(64)->Arg(256); }

BENCHMARK_CAPTURE(product, maths, true)->Apply(sizes);
BENCHMARK_CAPTURE(product, eigen, false)->Apply(sizes);
BENCHMARK_CAPTURE(matrix_vector, maths, true)->Apply(sizes);
BENCHMARK_CAPTURE(matrix_vector, eigen, false)->Apply(sizes);
BENCHMARK_CAPTURE(lu_factor, maths, true)->Apply(sizes);
BENCHMARK_CAPTURE(lu_factor, eigen, false)->Apply(sizes);
BENCHMARK_CAPTURE(lu_solve, maths, true)->Apply(sizes);
BENCHMARK_CAPTURE(lu_solve, eigen, false)->Apply(sizes);

} // namespace
