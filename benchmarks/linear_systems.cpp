// Cholesky's decomposition and tridiagonal systems beside Eigen's and GSL's, on the same numbers, on one thread.
// Positive-definite matrices are I + G G^T / n; a factor is compared by its determinant.

#include <memory>

#include <Eigen/Dense>
#include <benchmark/benchmark.h>
#include <gsl/gsl_linalg.h>

#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

using EigenMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using GslMatrix = std::unique_ptr<gsl_matrix, decltype(&gsl_matrix_free)>;

GslMatrix gsl_copy(EigenMatrix const & a) {
    GslMatrix copy(gsl_matrix_alloc(a.rows(), a.cols()), gsl_matrix_free);
    std::copy_n(a.data(), a.size(), copy->data);
    return copy;
}

/// A positive-definite system of order n, for each library, and its solution and inverse by LU decomposition.
struct Definite {
    explicit Definite(benchmark::State const & state)
        : n(static_cast<int>(state.range(0))), b(mlVectorZero, n), eigen_b(n), gsl_b(n) {
        mlRandom random(n);
        EigenMatrix g(n, n);
        for (int i = 0; i < n * n; ++i)
            g.data()[i] = random.uniform(-1.0, 1.0);
        for (int i = 0; i < n; ++i)
            b[i] = eigen_b[i] = gsl_b[i] = random.uniform(-1.0, 1.0);
        eigen_a = EigenMatrix::Identity(n, n) + g * g.transpose() / n;
        a.become(utConvert, eigen_a.data(), n, n);
        Eigen::PartialPivLU<EigenMatrix> const lu(eigen_a);
        Eigen::VectorXd const x = lu.solve(eigen_b);
        EigenMatrix const inverted = lu.inverse();
        determinant = {lu.determinant()};
        solution.assign(x.data(), x.data() + x.size());
        inverse.assign(inverted.data(), inverted.data() + inverted.size());
    }

    int n;
    mlMatrix a;
    mlVector b;
    EigenMatrix eigen_a;
    Eigen::VectorXd eigen_b;
    Values gsl_b, determinant, solution, inverse;
};

void cholesky_factor_maths(benchmark::State & state) {
    Definite const of(state);
    Values found(1);
    race(state, of.determinant, found, [&] { found[0] = mlCholeskyDecomposition(of.a).determinant(); });
}

void cholesky_factor_eigen(benchmark::State & state) {
    Definite const of(state);
    Values found(1);
    race(state, of.determinant, found, [&] {
        Eigen::LLT<EigenMatrix> const llt(of.eigen_a);
        double const product = llt.matrixLLT().diagonal().prod();
        found[0] = product * product;
    });
}

void cholesky_factor_gsl(benchmark::State & state) {
    Definite const of(state);
    Values found(1);
    race(state, of.determinant, found, [&] {
        GslMatrix const l = gsl_copy(of.eigen_a);
        gsl_linalg_cholesky_decomp1(l.get());
        double product = 1.0;
        for (int i = 0; i < of.n; ++i)
            product *= gsl_matrix_get(l.get(), i, i);
        found[0] = product * product;
    });
}

void cholesky_solve_maths(benchmark::State & state) {
    Definite const of(state);
    mlCholeskyDecomposition const cholesky(of.a);
    mlVector x;
    race(state, of.solution, x, [&] { cholesky.solve(of.b, x); });
}

void cholesky_solve_eigen(benchmark::State & state) {
    Definite const of(state);
    Eigen::LLT<EigenMatrix> const llt(of.eigen_a);
    Eigen::VectorXd x(of.n);
    race(state, of.solution, x, [&] { x = llt.solve(of.eigen_b); });
}

void cholesky_solve_gsl(benchmark::State & state) {
    Definite const of(state);
    GslMatrix const l = gsl_copy(of.eigen_a);
    gsl_linalg_cholesky_decomp1(l.get());
    Values x(of.n);
    gsl_vector_const_view const b = gsl_vector_const_view_array(of.gsl_b.data(), of.n);
    gsl_vector_view result = gsl_vector_view_array(x.data(), of.n);
    race(state, of.solution, x, [&] { gsl_linalg_cholesky_solve(l.get(), &b.vector, &result.vector); });
}

void cholesky_inverse_maths(benchmark::State & state) {
    Definite const of(state);
    mlCholeskyDecomposition const cholesky(of.a);
    mlMatrix inverse;
    race(state, of.inverse, inverse, [&] { cholesky.inverse(inverse); });
}

void cholesky_inverse_eigen(benchmark::State & state) {
    Definite const of(state);
    Eigen::LLT<EigenMatrix> const llt(of.eigen_a);
    EigenMatrix inverse(of.n, of.n);
    race(state, of.inverse, inverse, [&] { inverse = llt.solve(EigenMatrix::Identity(of.n, of.n)); });
}

void cholesky_inverse_gsl(benchmark::State & state) {
    Definite const of(state);
    GslMatrix const l = gsl_copy(of.eigen_a);
    gsl_linalg_cholesky_decomp1(l.get());
    Values inverse(of.inverse.size());
    gsl_matrix_view result = gsl_matrix_view_array(inverse.data(), of.n, of.n);
    race(state, of.inverse, inverse, [&] {
        gsl_matrix_memcpy(&result.matrix, l.get());
        gsl_linalg_cholesky_invert(&result.matrix);
    });
}

/// A diagonally dominant tridiagonal system of order n with corners, whose solution is known: all ones, each right side
/// being the sum of its row.
struct Tridiagonal {
    Tridiagonal(benchmark::State const & state, bool periodic)
        : n(static_cast<int>(state.range(0))), a(n), b(n), c(n), r(n), x(n), ones(n, 1.0) {
        mlRandom random(n);
        for (int i = 0; i < n; ++i) {
            a[i] = random.uniform();
            b[i] = random.uniform(3.0, 4.0);
            c[i] = random.uniform();
            r[i] = (i > 0 || periodic ? a[i] : 0.0) + b[i] + (i < n - 1 || periodic ? c[i] : 0.0);
        }
    }

    mlSlice slice(Values & values) const { return mlSlice(values.data(), 0, n, 1); }
    gsl_vector_view vector(Values & values) const { return gsl_vector_view_array(values.data(), n); }

    int n;
    Values a, b, c, r, x, ones;
};

void tridiagonal_maths(benchmark::State & state, bool periodic) {
    Tridiagonal of(state, periodic);
    mlTridiagonal const system(of.n, of.slice(of.a), of.slice(of.b), of.slice(of.c));
    mlSlice const r = of.slice(of.r);
    mlSlice x = of.slice(of.x);
    race(state, of.ones, of.x, [&] { periodic ? system.solve_periodic(r, x) : system.solve(r, x); });
}

void tridiagonal_gsl(benchmark::State & state, bool periodic) {
    Tridiagonal of(state, periodic);
    // GSL counts the lower diagonal from row 1 on, a corner of row 0 last.
    std::rotate(of.a.begin(), of.a.begin() + 1, of.a.end());
    std::size_t const off = periodic ? of.n : of.n - 1;
    gsl_vector_view const b = of.vector(of.b), r = of.vector(of.r), lower = gsl_vector_view_array(of.a.data(), off),
                          upper = gsl_vector_view_array(of.c.data(), off);
    gsl_vector_view x = of.vector(of.x);
    race(state, of.ones, of.x, [&] {
        auto const solve = periodic ? gsl_linalg_solve_cyc_tridiag : gsl_linalg_solve_tridiag;
        solve(&b.vector, &upper.vector, &lower.vector, &r.vector, &x.vector);
    });
}

void orders(benchmark::internal::Benchmark * benchmark) { benchmark->Arg(8)->Arg(64)->Arg(256); }
void lengths(benchmark::internal::Benchmark * benchmark) { benchmark->Arg(1000)->Arg(1000000); }

BENCHMARK(cholesky_factor_maths)->Name("cholesky_factor/maths")->Apply(orders);
BENCHMARK(cholesky_factor_eigen)->Name("cholesky_factor/eigen")->Apply(orders);
BENCHMARK(cholesky_factor_gsl)->Name("cholesky_factor/gsl")->Apply(orders);
BENCHMARK(cholesky_solve_maths)->Name("cholesky_solve/maths")->Apply(orders);
BENCHMARK(cholesky_solve_eigen)->Name("cholesky_solve/eigen")->Apply(orders);
BENCHMARK(cholesky_solve_gsl)->Name("cholesky_solve/gsl")->Apply(orders);
BENCHMARK(cholesky_inverse_maths)->Name("cholesky_inverse/maths")->Apply(orders);
BENCHMARK(cholesky_inverse_eigen)->Name("cholesky_inverse/eigen")->Apply(orders);
BENCHMARK(cholesky_inverse_gsl)->Name("cholesky_inverse/gsl")->Apply(orders);
BENCHMARK_CAPTURE(tridiagonal_maths, plain, false)->Name("tridiagonal/maths")->Apply(lengths);
BENCHMARK_CAPTURE(tridiagonal_gsl, plain, false)->Name("tridiagonal/gsl")->Apply(lengths);
BENCHMARK_CAPTURE(tridiagonal_maths, periodic, true)->Name("periodic_tridiagonal/maths")->Apply(lengths);
BENCHMARK_CAPTURE(tridiagonal_gsl, periodic, true)->Name("periodic_tridiagonal/gsl")->Apply(lengths);

} // namespace
