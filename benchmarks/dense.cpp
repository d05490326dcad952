// Dense products and LU decomposition beside Eigen's, on the same numbers. Both libraries are compiled with the same
// options and run on one thread. Results are compared once before they are timed, factors by what they solve.

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

template <class Operation, class Result> void measure(benchmark::State & state, Operation operation, Result & result) {
    for (auto _ : state) {
        operation();
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
}

/// Times our operation, or the peer's, once both have written the same numbers into their results.
template <class Operation, class Result, class PeerOperation, class PeerResult>
void race(benchmark::State & state, bool own, Operation operation, Result & result, PeerOperation peer_operation,
          PeerResult & peer_result) {
    operation();
    peer_operation();
    if (!agree(state, result, peer_result)) return;
    if (own)
        measure(state, operation, result);
    else
        measure(state, peer_operation, peer_result);
}

void product(benchmark::State & state, bool own) {
    Operands const of(static_cast<int>(state.range(0)));
    mlMatrix c;
    EigenMatrix eigen_c(of.eigen_a.rows(), of.eigen_b.cols());
    race(
        state, own, [&] { multiply(of.a, of.b, c); }, c, [&] { eigen_c.noalias() = of.eigen_a * of.eigen_b; }, eigen_c);
}

void matrix_vector(benchmark::State & state, bool own) {
    Operands const of(static_cast<int>(state.range(0)));
    mlVector y;
    EigenVector eigen_y(of.eigen_a.rows());
    race(
        state, own, [&] { multiply(of.a, of.x, y); }, y, [&] { eigen_y.noalias() = of.eigen_a * of.eigen_x; }, eigen_y);
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
    race(
        state, own, [&] { lu.solve(of.x, y); }, y, [&] { eigen_y = eigen_lu.solve(of.eigen_x); }, eigen_y);
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
