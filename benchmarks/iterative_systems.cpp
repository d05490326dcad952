// Systems solved by iteration beside Eigen's conjugate gradients and BiCGSTAB, until the residual is 1e-10 of the
// right-hand side, from the making of the preconditioner on: 5-point Laplacians of a square and 7-point ones of a cube,
// and convection and diffusion on a square, by the number of unknowns. By the diagonal, the libraries compute alike; by
// incomplete factors Eigen's are of another order of rows, and for general matrices have fill.

#include <cmath>
#include <cstdio>
#include <vector>

#include <Eigen/IterativeLinearSolvers>
#include <Eigen/Sparse>

#include "benchmarks/peers.h"
#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

using EigenSparse = Eigen::SparseMatrix<double, Eigen::RowMajor>;
int const both = Eigen::Lower | Eigen::Upper; // triangles: the quicker way
template <class M> using EigenConjugate = Eigen::ConjugateGradient<EigenSparse, both, M>;
template <class M> using EigenBiConjugate = Eigen::BiCGSTAB<EigenSparse, M>;

/// Differences on a grid of side^dimensions points. `wind` is the convection's part of the couplings, upstream; one
/// step of it leads along each axis, half as strong along the first.
struct System {
    System(int n, int dimensions, double wind) : symmetric(mlMatrixZero, 0), general(mlMatrixZero, 0, 0) {
        int const side = static_cast<int>(std::lround(std::pow(n, 1.0 / dimensions)));
        int const layers = dimensions == 2 ? 1 : side, order = side * side * layers;
        symmetric.become(mlMatrixZero, order);
        general.become(mlMatrixZero, order, order);
        std::vector<Eigen::Triplet<double>> elements;
        auto const put = [&](int i, int j, double value) {
            if (j >= i) symmetric.set(i, j, value);
            general.set(i, j, value);
            elements.emplace_back(i, j, value);
        };
        for (int i = 0; i < order; ++i) {
            int const x = i % side, y = i / side % side, z = i / (side * side);
            if (z > 0) put(i, i - side * side, -1.0 - wind);
            if (y > 0) put(i, i - side, -1.0 - wind);
            if (x > 0) put(i, i - 1, -1.0 - 0.5 * wind);
            put(i, i, 2.0 * dimensions);
            if (x + 1 < side) put(i, i + 1, -1.0 + 0.5 * wind);
            if (y + 1 < side) put(i, i + side, -1.0 + wind);
            if (z + 1 < layers) put(i, i + side * side, -1.0 + wind);
        }
        eigen.resize(order, order);
        eigen.setFromTriplets(elements.begin(), elements.end());
        mlRandom random(n);
        b.expand(order);
        for (double & value : b)
            value = random.uniform(-1.0, 1.0);
        eigen_b = Eigen::Map<EigenVector const>(b.data(), order);
    }

    mlSparseSymMatrix symmetric; ///< the system where there is no wind
    mlSparseMatrix general;
    mlVector b;
    EigenSparse eigen;
    EigenVector eigen_b;
};

/// `most_iterations`: of the library, as a multiple of the peer's; a few more are nothing.
template <class Solver, class Preconditioner, class EigenSolver, class Matrix>
bool solve(Race & race, System const & of, Matrix const & a, double most_iterations) {
    Solver solver;
    mlVector x;
    EigenSolver eigen;
    EigenVector eigen_x;
    race.set_tolerance(1e-4); // the residual's, times the condition
    race.add("maths", x, [&] {
        Preconditioner const preconditioner(a);
        solver.set_preconditioner(&preconditioner);
        solver.solve(a, of.b, x);
    });
    race.add("eigen", eigen_x, [&] {
        eigen.setTolerance(1e-10);
        eigen.setMaxIterations(10000);
        eigen.compute(of.eigen);
        eigen_x = eigen.solve(of.eigen_b);
    });
    bool const good = race.run();
    auto const peer = static_cast<double>(eigen.iterations());
    if (solver.iterations() <= most_iterations * peer + 2.0) return good;
    std::fprintf(stderr, "%d unknowns: %d iterations, eigen takes %g\n", race.size(), solver.iterations(), peer);
    return false;
}

template <class Preconditioner, class EigenPreconditioner> bool conjugate(Race & race, int dimensions) {
    System const of(race.size(), dimensions, 0.0);
    return solve<mlConjugateGradients, Preconditioner, EigenConjugate<EigenPreconditioner>>(race, of, of.symmetric,
                                                                                            1.01);
}

template <class Preconditioner, class EigenPreconditioner> bool bi_conjugate(Race & race, double most_iterations) {
    System const of(race.size(), 2, 0.5);
    return solve<mlBiConjugateGradients, Preconditioner, EigenBiConjugate<EigenPreconditioner>>(race, of, of.general,
                                                                                                most_iterations);
}

using EigenDiagonal = Eigen::DiagonalPreconditioner<double>;
using EigenCholesky = Eigen::IncompleteCholesky<double>;

std::vector<int> const plane = {1024, 10000, 99856}, space = {1000, 8000, 27000};

bool const entered =
    enter("conjugate_diagonal_plane", plane,
          [](Race & race) { return conjugate<mlDiagonalPreconditioner, EigenDiagonal>(race, 2); }) &&
    enter("conjugate_diagonal_space", space,
          [](Race & race) { return conjugate<mlDiagonalPreconditioner, EigenDiagonal>(race, 3); }) &&
    enter("conjugate_factors_plane", plane,
          [](Race & race) { return conjugate<mlIncompleteFactors, EigenCholesky>(race, 2); }) &&
    enter("conjugate_factors_space", space,
          [](Race & race) { return conjugate<mlIncompleteFactors, EigenCholesky>(race, 3); }) &&
    enter("bi_conjugate_diagonal", plane,
          [](Race & race) { return bi_conjugate<mlDiagonalPreconditioner, EigenDiagonal>(race, 1.25); }) &&
    enter("bi_conjugate_factors", plane,
          [](Race & race) { return bi_conjugate<mlIncompleteFactors, Eigen::IncompleteLUT<double>>(race, 12.0); });

} // namespace
