// Sparse products beside Eigen's: random patterns of 5 and 30 elements a row, and 5-point Laplacians of a square, by
// the number of unknowns. Both are stored by rows, assembled in order with room for what comes, and compared by what
// their results do to a vector.

#include <algorithm>
#include <cmath>
#include <vector>

#include <Eigen/Sparse>

#include "benchmarks/peers.h"
#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

using EigenSparse = Eigen::SparseMatrix<double, Eigen::RowMajor>;

int const laplacian = 0; // instead of a number of elements a row

/// Calls store(i, j, value) for the elements of a matrix of order n, row by row, in increasing columns.
template <class Store> void assemble(int a_row, int n, Store store) {
    if (a_row == laplacian) {
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
    mlRandom random(n);
    std::vector<int> columns(a_row);
    for (int i = 0; i < n; ++i) {
        for (int & column : columns)
            column = static_cast<int>(random.uniform() * n);
        std::sort(columns.begin(), columns.end());
        auto const end = std::unique(columns.begin(), columns.end());
        for (auto column = columns.begin(); column != end; ++column)
            store(i, *column, random.uniform(-1.0, 1.0));
    }
}

void assemble(int a_row, int n, mlSparseMatrix & a) {
    a.become(mlMatrixZero, n, n);
    assemble(a_row, n, [&](int i, int j, double v) { a.set(i, j, v); });
}

void assemble(int a_row, int n, EigenSparse & a) {
    a.resize(n, n);
    a.reserve(Eigen::VectorXi::Constant(n, a_row == laplacian ? 5 : a_row));
    assemble(a_row, n, [&](int i, int j, double v) { a.insert(i, j) = v; });
    a.makeCompressed();
}

/// The matrix of a pattern and a vector with elements in [-1, 1), and the same for Eigen.
struct Operands {
    Operands(int of_a_row, int n) : a_row(of_a_row), x(mlVectorZero, n) {
        assemble(a_row, n, a);
        assemble(a_row, n, eigen_a);
        mlRandom random(n);
        for (double & value : x)
            value = random.uniform(-1.0, 1.0);
        eigen_x = Eigen::Map<EigenVector const>(x.data(), n);
    }

    int a_row;
    mlSparseMatrix a;
    mlVector x;
    EigenSparse eigen_a;
    EigenVector eigen_x;
};

/// Adds both libraries' operations, which fill `Own` and an Eigen matrix.
template <class Own, class Operation, class PeerOperation>
auto race_images(Race & race, Operands const & of, Operation operation, PeerOperation peer_operation) {
    Own own;
    EigenSparse peer;
    operation(own);
    peer_operation(peer);
    mlVector y;
    own.multiply_vector(of.x, y);
    EigenVector const peer_y = peer * of.eigen_x;
    race.add("maths", y, [&] { operation(own); });
    race.add("eigen", peer_y, [&] { peer_operation(peer); });
    return race.run();
}

// From elements at hand; the peer is told how long the rows become, as it needs for that.
auto assembly(Race & race, Operands const & of) {
    struct Element {
        int row, column;
        double value;
    };
    int const n = of.x.size();
    std::vector<Element> elements;
    assemble(of.a_row, n, [&](int i, int j, double v) { elements.push_back({i, j, v}); });
    Values own(1), peer(1);
    auto const build = [&, n] {
        mlSparseMatrix a(mlMatrixZero, n, n);
        for (Element const & e : elements)
            a.set(e.row, e.column, e.value);
        own[0] = a.num_non_zero_elements();
    };
    auto const build_peer = [&, n] {
        EigenSparse a(n, n);
        a.reserve(Eigen::VectorXi::Constant(n, of.a_row));
        for (Element const & e : elements)
            a.insert(e.row, e.column) = e.value;
        a.makeCompressed();
        peer[0] = static_cast<double>(a.nonZeros());
    };
    build();
    build_peer();
    race.add("maths", own, build);
    race.add("eigen", peer, build_peer);
    return race.run();
}

auto product(Race & race, Operands const & of) {
    return race_images<mlSparseMatrix>(
        race, of, [&](auto & c) { c.become(mlMatrixProduct, of.a, of.a); },
        [&](auto & c) { c = of.eigen_a * of.eigen_a; });
}

// The peer has no form that computes one triangle alone.
auto gram(Race & race, Operands const & of) {
    return race_images<mlSparseSymMatrix>(
        race, of, [&](auto & c) { c.become(mlMatrixPremultiplyTranspose, of.a); },
        [&](auto & c) { c = of.eigen_a.transpose() * of.eigen_a; });
}

auto transpose(Race & race, Operands const & of) {
    return race_images<mlSparseMatrix>(
        race, of, [&](auto & t) { t.become(mlMatrixTranspose, of.a); }, [&](auto & t) { t = of.eigen_a.transpose(); });
}

auto vector(Race & race, Operands const & of) {
    mlVector y;
    EigenVector peer_y(race.size());
    race.add("maths", y, [&] { of.a.multiply_vector(of.x, y); });
    race.add("eigen", peer_y, [&] { peer_y.noalias() = of.eigen_a * of.eigen_x; });
    return race.run();
}

template <class Function> bool enter_for(char const * operation, int a_row, std::vector<int> sizes, Function function) {
    return enter(operation, std::move(sizes), [=](Race & race) {
        Operands const of(a_row, race.size());
        return function(race, of);
    });
}

bool const entered = enter_for("sparse_product_5", 5, {1000, 10000, 100000}, product) &&
                     enter_for("sparse_product_30", 30, {1000, 10000, 100000}, product) &&
                     enter_for("laplacian_product", laplacian, {10000}, product) &&
                     enter_for("sparse_vector_5", 5, {1000, 10000, 100000}, vector) &&
                     enter_for("sparse_vector_30", 30, {1000, 10000, 100000}, vector) &&
                     enter_for("laplacian_vector", laplacian, {1000000}, vector) &&
                     enter_for("sparse_gram_5", 5, {100, 1000, 10000}, gram) &&
                     enter_for("sparse_transpose_5", 5, {10000}, transpose) &&
                     enter_for("sparse_assembly_5", 5, {1000, 20000}, assembly);

} // namespace
