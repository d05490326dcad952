// Sparse positive-definite systems beside Eigen's and CHOLMOD's simplicial factorisations, from the analysis to the
// solution of one right-hand side: 5-point Laplacians of a square, 7-point ones of a cube, a chain whose links are
// three unknowns each, an arrow, and random patterns, by the number of unknowns. All order by minimum degree.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include <Eigen/Sparse>
#include <suitesparse/cholmod.h>

#include "benchmarks/peers.h"
#include "benchmarks/race.h"
#include "maths/maths.h"
#include "tests/support/grid.h"

namespace {

Edges plane(int n) {
    int const side = static_cast<int>(std::lround(std::sqrt(n)));
    return grid(side, n / side, 1);
}

Edges space(int n) {
    int const side = static_cast<int>(std::lround(std::cbrt(n)));
    return grid(side, side, n / (side * side));
}

Edges chain(int n) {
    Edges edges;
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < std::min(n, i - i % 3 + 6); ++j)
            edges.emplace_back(i, j);
    return edges;
}

Edges arrow(int n) {
    Edges edges;
    for (int i = 0; i < 3; ++i)
        for (int j = i + 1; j < n; ++j)
            edges.emplace_back(i, j);
    return edges;
}

Edges random_pairs(int n) {
    mlRandom random(n);
    Edges edges;
    for (int j = 1; j < n; ++j)
        for (int e = 0; e < 2; ++e)
            edges.emplace_back(static_cast<int>(random.uniform() * j), j);
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    return edges;
}

/// The graph's Laplacian and a hundredth on the diagonal, a right-hand side, and both for each library.
struct System {
    System(int order, Edges edges) : n(order), a(mlMatrixZero, n), b(mlVectorZero, n) {
        std::sort(edges.begin(), edges.end());
        Values diagonal(n, 0.01);
        std::vector<Eigen::Triplet<double>> elements;
        for (auto const & [i, j] : edges) {
            diagonal[i] += 1.0;
            diagonal[j] += 1.0;
            elements.emplace_back(j, i, -1.0);
        }
        auto edge = edges.begin();
        for (int i = 0; i < n; ++i) {
            elements.emplace_back(i, i, diagonal[i]);
            for (a.set(i, i, diagonal[i]); edge != edges.end() && edge->first == i; ++edge)
                a.set(i, edge->second, -1.0);
        }
        eigen_a.resize(n, n);
        eigen_a.setFromTriplets(elements.begin(), elements.end());
        mlRandom random(n);
        for (double & value : b)
            value = random.uniform(-1.0, 1.0);
        eigen_b = Eigen::Map<EigenVector const>(b.data(), n);
    }

    int n;
    mlSparseSymMatrix a;
    mlVector b;
    Eigen::SparseMatrix<double> eigen_a; ///< the lower triangle by columns
    EigenVector eigen_b;
};

/// CHOLMOD's simplicial L D L^T in the order of AMD.
class Cholmod {
public:
    explicit Cholmod(System & of) : of_(of) {
        cholmod_start(&common_);
        common_.supernodal = CHOLMOD_SIMPLICIAL;
        common_.nmethods = 1;
        common_.method[0].ordering = CHOLMOD_AMD;
        auto const n = static_cast<std::size_t>(of.n);
        a_.nrow = a_.ncol = n;
        a_.nzmax = static_cast<std::size_t>(of.eigen_a.nonZeros());
        a_.p = of.eigen_a.outerIndexPtr();
        a_.i = of.eigen_a.innerIndexPtr();
        a_.x = of.eigen_a.valuePtr();
        a_.stype = -1;
        a_.xtype = b_.xtype = CHOLMOD_REAL;
        a_.sorted = a_.packed = 1;
        b_.nrow = b_.nzmax = b_.d = n;
        b_.ncol = 1;
        b_.x = of.b.data();
    }
    Cholmod(Cholmod const &) = delete;
    Cholmod & operator=(Cholmod const &) = delete;
    ~Cholmod() { cholmod_finish(&common_); }

    void solve(Values & x) {
        cholmod_factor * factor = cholmod_analyze(&a_, &common_);
        fill_ = common_.lnz;
        cholmod_factorize(&a_, factor, &common_);
        cholmod_dense * solution = cholmod_solve(CHOLMOD_A, factor, &b_, &common_);
        auto const * const values = static_cast<double const *>(solution->x);
        x.assign(values, values + of_.n);
        cholmod_free_dense(&solution, &common_);
        cholmod_free_factor(&factor, &common_);
    }

    /// The elements of L after a solution.
    double fill() const { return fill_; }

private:
    System & of_;
    cholmod_common common_;
    cholmod_sparse a_ = {};
    cholmod_dense b_ = {};
    double fill_ = 0.0;
};

double const most_fill = 1.1; // as a multiple of the peer's

bool solve(Race & race, Edges (*edges)(int)) {
    System of(race.size(), edges(race.size()));
    mlVector x;
    EigenVector eigen_x;
    Values cholmod_x;
    Cholmod cholmod(of);
    double fill = 0.0;
    race.add("maths", x, [&] {
        mlSparseCholesky const cholesky(of.a);
        fill = static_cast<double>(cholesky.num_non_zero_elements());
        cholesky.solve(of.b, x);
    });
    race.add("eigen", eigen_x, [&] {
        Eigen::SimplicialLDLT<Eigen::SparseMatrix<double>> const ldlt(of.eigen_a);
        eigen_x = ldlt.solve(of.eigen_b);
    });
    race.add("cholmod", cholmod_x, [&] { cholmod.solve(cholmod_x); });
    bool const good = race.run();
    if (fill <= most_fill * cholmod.fill()) return good;
    std::fprintf(stderr, "%d unknowns: %g elements in L, cholmod has %g\n", of.n, fill, cholmod.fill());
    return false;
}

bool enter_for(char const * operation, std::vector<int> const & sizes, Edges (*edges)(int)) {
    return enter(operation, sizes, [edges](Race & race) { return solve(race, edges); });
}

bool const entered = enter_for("sparse_cholesky_plane", {1024, 10000, 99856, 1000000}, plane) &&
                     enter_for("sparse_cholesky_space", {1000, 8000, 27000}, space) &&
                     enter_for("sparse_cholesky_chain", {999, 99999}, chain) &&
                     enter_for("sparse_cholesky_arrow", {1000, 100000}, arrow) &&
                     enter_for("sparse_cholesky_random", {1000, 5000}, random_pairs);

} // namespace
