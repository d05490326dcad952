// Cholesky's decomposition and tridiagonal systems beside Eigen's and GSL's, on the same numbers, on one thread.
// Positive-definite matrices are I + G G^T / n.

#include <Eigen/Dense>
#include <gsl/gsl_linalg.h>

#include "benchmarks/fused_eigen.h"
#include "benchmarks/peers.h"
#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

/// A positive-definite system of order n, for each library.
struct Definite {
    explicit Definite(int n) : b(mlVectorZero, n), eigen_b(n), gsl_l(nullptr, gsl_matrix_free) {
        mlRandom random(n);
        EigenMatrix g(n, n);
        for (int i = 0; i < n * n; ++i)
            g.data()[i] = random.uniform(-1.0, 1.0);
        for (int i = 0; i < n; ++i)
            b[i] = eigen_b[i] = random.uniform(-1.0, 1.0);
        eigen_a = EigenMatrix::Identity(n, n) + g * g.transpose() / n;
        a.become(utConvert, eigen_a.data(), n, n);
        gsl_l = gsl_copy(eigen_a);
        gsl_linalg_cholesky_decomp1(gsl_l.get());
    }

    mlMatrix a;
    mlVector b;
    EigenMatrix eigen_a;
    EigenVector eigen_b;
    GslMatrix gsl_l; ///< the factor
};

// Factors are compared by what they solve, outside of the time taken.
auto cholesky_factor(Race & race) {
    Definite const of(race.size());
    mlVector own;
    mlCholeskyDecomposition(of.a).solve(of.b, own);
    EigenVector const eigen = Eigen::LLT<EigenMatrix>(of.eigen_a).solve(of.eigen_b);
    Values gsl(of.b.begin(), of.b.end());
    gsl_vector_view x = gsl_vector_view_array(gsl.data(), gsl.size());
    gsl_linalg_cholesky_svx(of.gsl_l.get(), &x.vector);
    race.add_for_each_set(own, [&] { mlCholeskyDecomposition const cholesky(of.a); });
    race.add("eigen", eigen, [&] { Eigen::LLT<EigenMatrix> const llt(of.eigen_a); });
    race.add("eigen-fused", eigen, [&] { fused_eigen::factor_cholesky(race.size(), of.a.data()); });
    race.add("gsl", gsl, [&] {
        GslMatrix const l = gsl_copy(of.eigen_a);
        gsl_linalg_cholesky_decomp1(l.get());
    });
    return race.run();
}

auto cholesky_solve(Race & race) {
    Definite const of(race.size());
    mlCholeskyDecomposition const cholesky(of.a);
    Eigen::LLT<EigenMatrix> const llt(of.eigen_a);
    mlVector x;
    EigenVector eigen_x(race.size());
    Values gsl_x(race.size());
    gsl_vector_const_view const b = gsl_vector_const_view_array(of.b.data(), race.size());
    gsl_vector_view found = gsl_vector_view_array(gsl_x.data(), race.size());
    race.add("maths", x, [&] { cholesky.solve(of.b, x); });
    race.add("gsl", gsl_x, [&] { gsl_linalg_cholesky_solve(of.gsl_l.get(), &b.vector, &found.vector); });
    race.add("eigen", eigen_x, [&] { eigen_x = llt.solve(of.eigen_b); });
    return race.run();
}

auto cholesky_inverse(Race & race) {
    int const n = race.size();
    Definite const of(n);
    mlCholeskyDecomposition const cholesky(of.a);
    Eigen::LLT<EigenMatrix> const llt(of.eigen_a);
    mlMatrix inverse;
    EigenMatrix eigen_inverse(n, n), gsl_inverse(n, n);
    gsl_matrix_view found = gsl_matrix_view_array(gsl_inverse.data(), n, n);
    race.add("maths", inverse, [&] { cholesky.inverse(inverse); });
    race.add("eigen", eigen_inverse, [&] { eigen_inverse = llt.solve(EigenMatrix::Identity(n, n)); });
    race.add("gsl", gsl_inverse, [&] {
        gsl_matrix_memcpy(&found.matrix, of.gsl_l.get());
        gsl_linalg_cholesky_invert(&found.matrix);
    });
    return race.run();
}

/// A diagonally dominant tridiagonal system of order n with corners.
struct Tridiagonal {
    explicit Tridiagonal(int order) : n(order), a(n), b(n), c(n), r(n), x(n) {
        mlRandom random(n);
        for (int i = 0; i < n; ++i) {
            a[i] = random.uniform();
            b[i] = random.uniform(3.0, 4.0);
            c[i] = random.uniform();
            r[i] = random.uniform(-1.0, 1.0);
        }
    }

    mlSlice slice(Values & values) const { return mlSlice(values.data(), 0, n, 1); }
    gsl_vector_view vector(Values & values) const { return gsl_vector_view_array(values.data(), n); }

    int n;
    Values a, b, c, r, x;
};

auto tridiagonal(Race & race, bool periodic) {
    Tridiagonal own(race.size()), peer(race.size());
    mlTridiagonal const system(own.n, own.slice(own.a), own.slice(own.b), own.slice(own.c));
    mlSlice const own_r = own.slice(own.r);
    mlSlice own_x = own.slice(own.x);
    race.add("maths", own.x, [&] { periodic ? system.solve_periodic(own_r, own_x) : system.solve(own_r, own_x); });

    // GSL counts the lower diagonal from row 1 on, a corner of row 0 last.
    std::rotate(peer.a.begin(), peer.a.begin() + 1, peer.a.end());
    std::size_t const off = periodic ? peer.n : peer.n - 1;
    gsl_vector_view const b = peer.vector(peer.b), r = peer.vector(peer.r),
                          lower = gsl_vector_view_array(peer.a.data(), off),
                          upper = gsl_vector_view_array(peer.c.data(), off);
    gsl_vector_view x = peer.vector(peer.x);
    race.add("gsl", peer.x, [&] {
        auto const solve = periodic ? gsl_linalg_solve_cyc_tridiag : gsl_linalg_solve_tridiag;
        solve(&b.vector, &upper.vector, &lower.vector, &r.vector, &x.vector);
    });
    return race.run();
}

bool const entered =
    enter("cholesky_factor", {3, 10, 20, 50, 100, 200, 500, 1000}, cholesky_factor) &&
    enter("cholesky_solve", {3, 10, 20, 50, 100, 300, 1000}, cholesky_solve) &&
    enter("cholesky_inverse", {50, 200}, cholesky_inverse) &&
    enter("tridiagonal", {10, 100, 1000, 100000}, [](Race & race) { return tridiagonal(race, false); }) &&
    enter("periodic_tridiagonal", {100, 1000, 100000}, [](Race & race) { return tridiagonal(race, true); });

} // namespace
