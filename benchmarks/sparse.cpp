// Assembly of sparse matrices, their products and products with vectors beside Eigen's: 5-point Laplacians of a square
// and random patterns of five elements a row, by the number of unknowns. Both are stored by rows, assembled in order
// with room for five elements a row on either side, and their results are compared once before they are timed.

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>

#include <Eigen/Sparse>
#include <benchmark/benchmark.h>

#include "maths/maths.h"

namespace {

using EigenSparse = Eigen::SparseMatrix<double, Eigen::RowMajor>;
using EigenVector = Eigen::VectorXd;

enum class Pattern { laplacian, random };

/// Calls store(i, j, value) for the elements of a matrix of order n, row by row, in increasing columns.
template <class Store> void assemble(Pattern pattern, int n, Store store) {
    if (pattern == Pattern::laplacian) {
        int const side = static_cast<int>(std::lround(std::sqrt(n)));
        for (int i = 0; i < n; ++i) {
            if (i >= side) store(i, i - side, -1.0);
            if (i % side > 0) store(i, i - 1, -1.0);
            store(i, i, 4.0);
            if (i % side < side - 1) store(i, i + 1, -1.0);
            if (i < n - side) store(i, i + side, -1.0);
        }
        return;
    }
    std::mt19937 bits(n);
    for (int i = 0; i < n; ++i) {
        int columns[5];
        for (int & column : columns)
            column = static_cast<int>(bits() % static_cast<unsigned>(n));
        std::sort(std::begin(columns), std::end(columns));
        int * const end = std::unique(std::begin(columns), std::end(columns));
        for (int * column = columns; column != end; ++column)
            store(i, *column, bits() / 2147483648.0 - 1.0);
    }
}

void assemble(Pattern pattern, int n, mlSparseMatrix & a) {
    a.become(mlMatrixZero, n, n);
    assemble(pattern, n, [&](int i, int j, double v) { a.set(i, j, v); });
}

void assemble(Pattern pattern, int n, EigenSparse & a) {
    a.resize(n, n);
    a.reserve(Eigen::VectorXi::Constant(n, 5));
    assemble(pattern, n, [&](int i, int j, double v) { a.insert(i, j) = v; });
    a.makeCompressed();
}

/// The matrix of a pattern and a vector with elements in [-1, 1), and the same for Eigen.
struct Operands {
    Operands(Pattern of_pattern, int n) : pattern(of_pattern), x(mlVectorZero, n) {
        assemble(pattern, n, a);
        assemble(pattern, n, eigen_a);
        std::mt19937 bits(n);
        for (double & value : x)
            value = bits() / 2147483648.0 - 1.0;
        eigen_x = Eigen::Map<EigenVector const>(x.data(), n);
    }

    Pattern pattern;
    mlSparseMatrix a;
    mlVector x;
    EigenSparse eigen_a;
    EigenVector eigen_x;
};

/// The last operands asked for: the large ones take longer to make than to use.
Operands const & operands(Pattern pattern, int n) {
    static std::unique_ptr<Operands const> kept;
    if (!kept || kept->pattern != pattern || kept->x.size() != n) {
        kept.reset();
        kept = std::make_unique<Operands const>(pattern, n);
    }
    return *kept;
}

// The image of x under a result, or the result itself when it is that image.
template <class Matrix> void image(Matrix const & m, Operands const & of, mlVector & y) { m.multiply_vector(of.x, y); }
void image(mlVector const & v, Operands const &, mlVector & y) { y.become(utCopy, v); }
EigenVector image(EigenSparse const & m, Operands const & of) { return m * of.eigen_x; }
EigenVector image(EigenVector const & v, Operands const &) { return v; }

/// Times `operation` on `result` once both libraries agree, to 1e-9 of the largest, on what the results do to x.
template <class Result, class PeerResult>
void race(benchmark::State & state, bool own, Operands const & of, std::function<void(Result &)> operation,
          std::function<void(PeerResult &)> peer_operation) {
    Result result;
    PeerResult peer_result;
    operation(result);
    peer_operation(peer_result);
    mlVector y;
    image(result, of, y);
    EigenVector const peer_y = image(peer_result, of);
    double const difference = (Eigen::Map<EigenVector const>(y.data(), y.size()) - peer_y).lpNorm<Eigen::Infinity>();
    if (!(difference <= 1e-9 * peer_y.lpNorm<Eigen::Infinity>())) {
        state.SkipWithError("the libraries disagree");
        return;
    }
    for (auto _ : state) {
        own ? operation(result) : peer_operation(peer_result);
        benchmark::ClobberMemory();
    }
}

void assembly(benchmark::State & state, bool own, Operands const & of) {
    int const n = of.x.size();
    race<mlSparseMatrix, EigenSparse>(
        state, own, of,
        [&](auto & a) {
            a.set_invalid(); // so that every row is made anew, as the peer does
            assemble(of.pattern, n, a);
        },
        [&](auto & a) { assemble(of.pattern, n, a); });
}

void product(benchmark::State & state, bool own, Operands const & of) {
    race<mlSparseMatrix, EigenSparse>(
        state, own, of, [&](auto & c) { c.become(mlMatrixProduct, of.a, of.a); },
        [&](auto & c) { c = of.eigen_a * of.eigen_a; });
}

// The peer has no form that computes one triangle alone.
void gram(benchmark::State & state, bool own, Operands const & of) {
    race<mlSparseSymMatrix, EigenSparse>(
        state, own, of, [&](auto & c) { c.become(mlMatrixPremultiplyTranspose, of.a); },
        [&](auto & c) { c = of.eigen_a.transpose() * of.eigen_a; });
}

void transpose(benchmark::State & state, bool own, Operands const & of) {
    race<mlSparseMatrix, EigenSparse>(
        state, own, of, [&](auto & t) { t.become(mlMatrixTranspose, of.a); },
        [&](auto & t) { t = of.eigen_a.transpose(); });
}

void vector(benchmark::State & state, bool own, Operands const & of) {
    race<mlVector, EigenVector>(
        state, own, of, [&](auto & y) { of.a.multiply_vector(of.x, y); },
        [&](auto & y) { y.noalias() = of.eigen_a * of.eigen_x; });
}

void add(char const * operation, void (*run)(benchmark::State &, bool, Operands const &)) {
    for (Pattern const pattern : {Pattern::laplacian, Pattern::random})
        for (bool const own : {true, false}) {
            std::string const name = std::string(pattern == Pattern::random ? "random_" : "laplacian_") + operation;
            auto * const added = benchmark::RegisterBenchmark(
                (name + (own ? "/maths" : "/eigen")).c_str(), [=](benchmark::State & state) {
                    run(state, own, operands(pattern, static_cast<int>(state.range(0))));
                });
            added->Arg(10000)->Arg(pattern == Pattern::random ? 100000 : 1000000)->Unit(benchmark::kMillisecond);
        }
}

[[maybe_unused]] bool const added = [] {
    add("assembly", assembly);
    add("vector", vector);
    add("transpose", transpose);
    add("product", product);
    add("gram", gram);
    return true;
}();

} // namespace
