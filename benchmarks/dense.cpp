// Dense products, LU decomposition and what is solved with it beside Eigen, OpenBLAS and GSL, on the same numbers. All
// run on one thread; Eigen's templates are compiled with the options of the library's baseline.

#include <algorithm>

#include <Eigen/Dense>
#include <gsl/gsl_blas.h>
#include <gsl/gsl_linalg.h>

#include "benchmarks/fused_eigen.h"
#include "benchmarks/peers.h"
#include "benchmarks/race.h"
#include "maths/maths.h"

extern "C" {
void dgemm_(char const * transa, char const * transb, int const * m, int const * n, int const * k, double const * alpha,
            double const * a, int const * lda, double const * b, int const * ldb, double const * beta, double * c,
            int const * ldc);
void dgetrf_(int const * m, int const * n, double * a, int const * lda, int * pivots, int * info);
void dgetrs_(char const * trans, int const * n, int const * nrhs, double const * a, int const * lda, int const * pivots,
             double * b, int const * ldb, int * info);
}

namespace {

/// Two matrices and a vector of order n with elements in [-1, 1), and the same for Eigen.
struct Operands {
    explicit Operands(int n) : a(mlMatrixZero, n, n), b(mlMatrixZero, n, n), x(mlVectorZero, n) {
        mlRandom random(n);
        for (doublecoDynArr * const values :
             {static_cast<doublecoDynArr *>(&a), static_cast<doublecoDynArr *>(&b), static_cast<doublecoDynArr *>(&x)})
            for (double & value : *values)
                value = random.uniform(-1.0, 1.0);
        eigen_a = Eigen::Map<EigenMatrix const>(a.data(), n, n);
        eigen_b = Eigen::Map<EigenMatrix const>(b.data(), n, n);
        eigen_x = Eigen::Map<EigenVector const>(x.data(), n);
    }

    mlMatrix a, b;
    mlVector x;
    EigenMatrix eigen_a, eigen_b;
    EigenVector eigen_x;
};

auto product(Race & race) {
    int const n = race.size();
    Operands const of(n);
    mlMatrix c;
    EigenMatrix eigen_c(n, n);
    Values blas_c(n * n), fused_c(n * n);
    race.add_for_each_set(c, [&] { multiply(of.a, of.b, c); });
    race.add("eigen", eigen_c, [&] { eigen_c.noalias() = of.eigen_a * of.eigen_b; });
    race.add("eigen-fused", fused_c, [&] { fused_eigen::multiply(n, of.a.data(), of.b.data(), fused_c.data()); });
    if (n >= 16 && n <= 512)
        race.add("openblas", blas_c, [&] { // by columns it is the product of the transposes, swapped
            double const one = 1.0, zero = 0.0;
            dgemm_("N", "N", &n, &n, &n, &one, of.b.data(), &n, of.a.data(), &n, &zero, blas_c.data(), &n);
        });
    return race.run();
}

auto matrix_vector(Race & race) {
    Operands const of(race.size());
    mlVector y;
    EigenVector eigen_y(race.size());
    race.add("maths", y, [&] { multiply(of.a, of.x, y); });
    race.add("eigen", eigen_y, [&] { eigen_y.noalias() = of.eigen_a * of.eigen_x; });
    return race.run();
}

auto scalar_product(Race & race) {
    mlRandom random(race.size());
    mlVector a(mlVectorZero, race.size()), b(mlVectorZero, race.size());
    for (int i = 0; i < race.size(); ++i) {
        a[i] = random.uniform();
        b[i] = random.uniform();
    }
    gsl_vector_const_view const gsl_a = gsl_vector_const_view_array(a.data(), race.size());
    gsl_vector_const_view const gsl_b = gsl_vector_const_view_array(b.data(), race.size());
    Values own(1), peer(1);
    race.add("maths", own, [&] { own[0] = scalar_product(a, b); });
    race.add("gsl", peer, [&] { gsl_blas_ddot(&gsl_a.vector, &gsl_b.vector, &peer[0]); });
    return race.run();
}

// Factors are compared by what they solve, outside of the time taken.
auto lu_factor(Race & race) {
    int const n = race.size(), one = 1;
    Operands const of(n);
    Eigen::MatrixXd const columns = of.eigen_a;
    mlVector own;
    mlLUDecomposition(of.a).solve(of.x, own);
    EigenVector const eigen = Eigen::PartialPivLU<EigenMatrix>(of.eigen_a).solve(of.eigen_x);
    Values blas(of.x.begin(), of.x.end()), work(n * n);
    std::vector<int> pivots(n);
    int info = 0;
    auto const blas_factor = [&] {
        std::copy_n(columns.data(), n * n, work.data());
        dgetrf_(&n, &n, work.data(), &n, pivots.data(), &info);
    };
    blas_factor();
    dgetrs_("N", &n, &one, work.data(), &n, pivots.data(), blas.data(), &n, &info);

    race.add_for_each_set(own, [&] { mlLUDecomposition const lu(of.a); });
    race.add("eigen", eigen, [&] { Eigen::PartialPivLU<EigenMatrix> const lu(of.eigen_a); });
    race.add("eigen-fused", eigen, [&] { fused_eigen::factor_lu(n, of.a.data()); });
    race.add("openblas", blas, blas_factor);
    return race.run();
}

auto lu_solve(Race & race) {
    int const n = race.size();
    Operands const of(n);
    mlLUDecomposition const lu(of.a);
    GslMatrix const gsl_lu = gsl_copy(of.eigen_a);
    GslPermutation const permutation(gsl_permutation_alloc(n), gsl_permutation_free);
    int sign = 0;
    gsl_linalg_LU_decomp(gsl_lu.get(), permutation.get(), &sign);
    Eigen::PartialPivLU<EigenMatrix> const eigen_lu(of.eigen_a);
    mlVector x;
    Values gsl_x(n);
    EigenVector eigen_x(n);
    gsl_vector_const_view const b = gsl_vector_const_view_array(of.x.data(), n);
    gsl_vector_view found = gsl_vector_view_array(gsl_x.data(), n);
    race.add("maths", x, [&] { lu.solve(of.x, x); });
    race.add("gsl", gsl_x, [&] { gsl_linalg_LU_solve(gsl_lu.get(), permutation.get(), &b.vector, &found.vector); });
    race.add("eigen", eigen_x, [&] { eigen_x = eigen_lu.solve(of.eigen_x); });
    return race.run();
}

auto lu_inverse(Race & race) {
    Operands const of(race.size());
    mlLUDecomposition const lu(of.a);
    Eigen::PartialPivLU<EigenMatrix> const eigen_lu(of.eigen_a);
    mlMatrix inverse;
    EigenMatrix eigen_inverse(race.size(), race.size()), fused_inverse(race.size(), race.size());
    auto const fused_invert = fused_eigen::inverter(race.size(), of.a.data());
    race.add_for_each_set(inverse, [&] { lu.inverse(inverse); });
    race.add("eigen", eigen_inverse, [&] { eigen_inverse = eigen_lu.inverse(); });
    race.add("eigen-fused", fused_inverse, [&] { fused_invert(fused_inverse.data()); });
    return race.run();
}

auto lu_solve_many(Race & race) {
    Operands const of(race.size());
    mlLUDecomposition const lu(of.a);
    Eigen::PartialPivLU<EigenMatrix> const eigen_lu(of.eigen_a);
    mlMatrix x;
    EigenMatrix eigen_x(race.size(), race.size());
    race.add_for_each_set(x, [&] { lu.solve(of.b, x); });
    race.add("eigen", eigen_x, [&] { eigen_x = eigen_lu.solve(of.eigen_b); });
    return race.run();
}

bool const entered = enter("product", {3, 4, 5, 6, 8, 16, 32, 64, 128, 256, 512, 1024}, product) &&
                     enter("matrix_vector", {3, 6, 10, 30, 100, 300, 500, 1000, 2000}, matrix_vector) &&
                     enter("scalar_product", {3, 10, 100, 1000, 100000}, scalar_product) &&
                     enter("lu_factor", {10, 20, 50, 100, 200, 500, 1000}, lu_factor) &&
                     enter("lu_solve", {10, 50, 100, 300, 1000}, lu_solve) &&
                     enter("lu_inverse", {3, 4, 50, 100, 200, 500, 1000}, lu_inverse) &&
                     enter("lu_solve_many", {50, 100, 200, 500}, lu_solve_many);

} // namespace
