// Singular values, symmetric eigenvalues, principal components and closed-form roots beside LAPACK's (from OpenBLAS),
// Eigen's and GSL's, on the same numbers and on one thread. Every contestant's results are compared with the library's
// own before it is timed. All find both bases; of a tall matrix GSL finds only as many left vectors as there are
// values.

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include <Eigen/Dense>
#include <benchmark/benchmark.h>
#include <gsl/gsl_eigen.h>
#include <gsl/gsl_linalg.h>
#include <gsl/gsl_poly.h>

#include "benchmarks/race.h"
#include "maths/maths.h"

extern "C" {
void dgesdd_(char const * job, int const * m, int const * n, double * a, int const * lda, double * s, double * u,
             int const * ldu, double * vt, int const * ldvt, double * work, int const * lwork, int * iwork, int * info);
void dsyev_(char const * job, char const * uplo, int const * n, double * a, int const * lda, double * w, double * work,
            int const * lwork, int * info);
}

namespace {

using EigenMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

Values uniform_values(int count) {
    std::mt19937 bits(count);
    Values values(count);
    for (double & value : values)
        value = bits() / 2147483648.0 - 1.0;
    return values;
}

enum class Library { maths, openblas, eigen, gsl };

// --- Singular values: the argument is the number of columns
// -----------------------------------------------------------

struct LapackSVD {
    LapackSVD(int m, int n) : rows(m), cols(n), u(m * m), vt(n * n), iwork(8 * n) {
        double best = 0.0;
        int const query = -1;
        dgesdd_("A", &m, &n, nullptr, &m, nullptr, nullptr, &m, nullptr, &n, &best, &query, iwork.data(), &info);
        work.resize(static_cast<std::size_t>(best));
    }

    void run(Values const & values, Values & s) {
        a = values;
        int const lwork = static_cast<int>(work.size());
        dgesdd_("A", &rows, &cols, a.data(), &rows, s.data(), u.data(), &rows, vt.data(), &cols, work.data(), &lwork,
                iwork.data(), &info);
    }

    int rows, cols, info = 0;
    Values a, u, vt, work;
    std::vector<int> iwork;
};

struct GslSVD {
    GslSVD(int m, int n)
        : a(gsl_matrix_alloc(m, n)), v(gsl_matrix_alloc(n, n)), s(gsl_vector_alloc(n)), work(gsl_vector_alloc(n)) {}
    ~GslSVD() {
        gsl_matrix_free(a);
        gsl_matrix_free(v);
        gsl_vector_free(s);
        gsl_vector_free(work);
    }
    GslSVD(GslSVD const &) = delete;
    GslSVD & operator=(GslSVD const &) = delete;

    void run(Values const & values, Values & found) {
        std::copy(values.begin(), values.end(), a->data);
        gsl_linalg_SV_decomp(a, v, s, work);
        std::copy_n(s->data, found.size(), found.begin());
    }

    gsl_matrix *a, *v;
    gsl_vector *s, *work;
};

void own_svd(mlMatrix const & a, Values & s) {
    mlSingularValueDecomposition const svd(a);
    std::copy(svd.diagonal().begin(), svd.diagonal().end(), s.begin());
}

void svd_of_shape(benchmark::State & state, Library library, int m, int n) {
    Values const values = uniform_values(m * n);
    mlMatrix const a(utConvert, values.data(), m, n);
    Eigen::Map<EigenMatrix const> const eigen_a(values.data(), m, n);
    Values columns(m * n); // for Fortran
    Eigen::Map<Eigen::MatrixXd>(columns.data(), m, n) = eigen_a;
    Values expected(n), found(n);
    own_svd(a, expected);

    switch (library) {
    case Library::maths: race(state, expected, found, [&] { own_svd(a, found); }); break;
    case Library::openblas: {
        LapackSVD lapack(m, n);
        race(state, expected, found, [&] { lapack.run(columns, found); });
        break;
    }
    case Library::eigen:
        race(state, expected, found, [&] {
            Eigen::BDCSVD<EigenMatrix> const svd(eigen_a, Eigen::ComputeFullU | Eigen::ComputeFullV);
            Eigen::Map<Eigen::VectorXd>(found.data(), n) = svd.singularValues();
        });
        break;
    case Library::gsl: {
        GslSVD gsl(m, n);
        race(state, expected, found, [&] { gsl.run(values, found); });
        break;
    }
    }
}

void svd_square(benchmark::State & state, Library library) {
    svd_of_shape(state, library, static_cast<int>(state.range(0)), static_cast<int>(state.range(0)));
}

void svd_tall(benchmark::State & state, Library library) {
    svd_of_shape(state, library, 2 * static_cast<int>(state.range(0)), static_cast<int>(state.range(0)));
}

// --- Symmetric eigenvalues: the argument is the order
// -----------------------------------------------------------------

void ascending(Values & values) { std::sort(values.begin(), values.end()); }

void own_eigen(mlMatrix const & a, Values & found) {
    mlSymEigenVecs eigen(a);
    eigen.set_tolerance(1e-10);
    eigen.calculate();
    std::copy(eigen.eigen_values().begin(), eigen.eigen_values().end(), found.begin());
    ascending(found);
}

void gsl_eigen(Values const & values, Values & found, gsl_eigen_symmv_workspace * work) {
    std::size_t const n = found.size();
    Values a = values, vectors(n * n);
    gsl_matrix_view matrix = gsl_matrix_view_array(a.data(), n, n);
    gsl_matrix_view vector_matrix = gsl_matrix_view_array(vectors.data(), n, n);
    gsl_vector_view value_vector = gsl_vector_view_array(found.data(), n);
    gsl_eigen_symmv(&matrix.matrix, &value_vector.vector, &vector_matrix.matrix, work);
    ascending(found);
}

void symmetric_eigen(benchmark::State & state, Library library) {
    int const n = static_cast<int>(state.range(0));
    Values values = uniform_values(n * n);
    Eigen::Map<EigenMatrix> eigen_a(values.data(), n, n);
    eigen_a = (eigen_a + eigen_a.transpose()).eval() * 0.5;
    mlMatrix const a(utConvert, values.data(), n, n);
    Values expected(n), found(n), work(64 * n);
    own_eigen(a, expected);

    switch (library) {
    case Library::maths: race(state, expected, found, [&] { own_eigen(a, found); }); break;
    case Library::openblas:
        race(state, expected, found, [&] {
            Values copy = values;
            int const lwork = static_cast<int>(work.size());
            int info = 0;
            dsyev_("V", "U", &n, copy.data(), &n, found.data(), work.data(), &lwork, &info);
        });
        break;
    case Library::eigen:
        race(state, expected, found, [&] {
            Eigen::SelfAdjointEigenSolver<EigenMatrix> const eigen(eigen_a);
            Eigen::Map<Eigen::VectorXd>(found.data(), n) = eigen.eigenvalues();
        });
        break;
    case Library::gsl: {
        gsl_eigen_symmv_workspace * const gsl_work = gsl_eigen_symmv_alloc(n);
        race(state, expected, found, [&] { gsl_eigen(values, found, gsl_work); });
        gsl_eigen_symmv_free(gsl_work);
        break;
    }
    }
}

// --- Principal components of 8 measures: the argument is the number of points
// -----------------------------------------

void principal_components(benchmark::State & state, Library library) {
    int const count = static_cast<int>(state.range(0)), d = 8;
    Values const values = uniform_values(count * d);
    doublecoDynArr2D points(count, d, 1, 1);
    for (int i = 0; i < count * d; ++i)
        points(i / d, i % d) = values[i];
    auto const own = [&](Values & found) {
        mlPCA const pca(points);
        std::copy(pca.eigenvalues().begin(), pca.eigenvalues().end(), found.begin());
    };
    Values expected(d), found(d);
    own(expected);
    if (library == Library::maths) {
        race(state, expected, found, [&] { own(found); });
        return;
    }
    Eigen::Map<EigenMatrix const> const x(values.data(), count, d);
    race(state, expected, found, [&] { // no class of its own there: centred points and a thin decomposition
        EigenMatrix const centred = (x.rowwise() - x.colwise().mean()) / std::sqrt(count - 1.0);
        Eigen::BDCSVD<EigenMatrix> const svd(centred, Eigen::ComputeThinV);
        Eigen::Map<Eigen::VectorXd>(found.data(), d) = svd.singularValues().cwiseAbs2();
    });
}

// --- Roots: the argument is the number of polynomials, all of whose roots are real
// ------------------------------------

/// Writes the roots r of the monic polynomial p, leading coefficient first, in ascending order.
using Solver = void (*)(double const * p, double * r);

/// Monic polynomials with roots in [-1, 1), [3, 5), [7, 9), ... one after the other.
Values monic_polynomials(int count, int degree) {
    Values const values = uniform_values(count * degree);
    Values coefficients(count * (degree + 1));
    for (int k = 0; k < count; ++k) {
        double * const p = &coefficients[k * (degree + 1)];
        p[0] = 1.0;
        for (int i = 0; i < degree; ++i) {
            double const root = 4.0 * i + values[k * degree + i];
            for (int j = i + 1; j > 0; --j)
                p[j] -= root * p[j - 1];
        }
    }
    return coefficients;
}

void roots(benchmark::State & state, int degree, Solver own, Solver contestant) {
    int const count = static_cast<int>(state.range(0));
    Values const coefficients = monic_polynomials(count, degree);
    auto const solve_all = [&](Solver solve, Values & found) {
        for (int k = 0; k < count; ++k)
            solve(&coefficients[k * (degree + 1)], &found[k * degree]);
    };
    Values expected(count * degree), found(count * degree);
    solve_all(own, expected);
    race(state, expected, found, [&] { solve_all(contestant, found); });
}

void own_quadratic(double const * p, double * r) { mlRootSolve::quadratic_solve(p[0], p[1], p[2], r[0], r[1]); }
void gsl_quadratic(double const * p, double * r) { gsl_poly_solve_quadratic(p[0], p[1], p[2], &r[0], &r[1]); }

void own_cubic(double const * p, double * r) { mlRootSolve::cubic_solve(p[0], p[1], p[2], p[3], r[0], r[1], r[2]); }
void gsl_cubic(double const * p, double * r) { gsl_poly_solve_cubic(p[1], p[2], p[3], &r[0], &r[1], &r[2]); }

void own_quartic(double const * p, double * r) {
    mlRootSolve::quartic_solve(p[0], p[1], p[2], p[3], p[4], r[0], r[1], r[2], r[3]);
}

/// There is no closed form of a quartic there: it finds the eigenvalues of the companion matrix.
void gsl_quartic(double const * p, double * r) {
    static std::unique_ptr<gsl_poly_complex_workspace, void (*)(gsl_poly_complex_workspace *)> const work(
        gsl_poly_complex_workspace_alloc(5), gsl_poly_complex_workspace_free);
    double const ascending_powers[] = {p[4], p[3], p[2], p[1], p[0]};
    double z[8];
    gsl_poly_complex_solve(ascending_powers, 5, work.get(), z);
    for (int i = 0; i < 4; ++i)
        r[i] = z[2 * i];
    std::sort(r, r + 4);
}

void quadratics(benchmark::State & state, Solver contestant) { roots(state, 2, own_quadratic, contestant); }
void cubics(benchmark::State & state, Solver contestant) { roots(state, 3, own_cubic, contestant); }
void quartics(benchmark::State & state, Solver contestant) { roots(state, 4, own_quartic, contestant); }

void svd_sizes(benchmark::internal::Benchmark * benchmark) {
    benchmark->Arg(8)->Arg(64)->Arg(256)->Unit(benchmark::kMicrosecond);
}
void eigen_sizes(benchmark::internal::Benchmark * benchmark) { benchmark->Arg(4)->Arg(16)->Arg(48); }
void a_million(benchmark::internal::Benchmark * benchmark) { benchmark->Arg(1000000)->Unit(benchmark::kMillisecond); }

BENCHMARK_CAPTURE(svd_square, maths, Library::maths)->Apply(svd_sizes);
BENCHMARK_CAPTURE(svd_square, openblas, Library::openblas)->Apply(svd_sizes);
BENCHMARK_CAPTURE(svd_square, eigen, Library::eigen)->Apply(svd_sizes);
BENCHMARK_CAPTURE(svd_square, gsl, Library::gsl)->Apply(svd_sizes);
BENCHMARK_CAPTURE(svd_tall, maths, Library::maths)->Apply(svd_sizes);
BENCHMARK_CAPTURE(svd_tall, openblas, Library::openblas)->Apply(svd_sizes);
BENCHMARK_CAPTURE(svd_tall, eigen, Library::eigen)->Apply(svd_sizes);
BENCHMARK_CAPTURE(svd_tall, gsl, Library::gsl)->Apply(svd_sizes);
BENCHMARK_CAPTURE(symmetric_eigen, maths, Library::maths)->Apply(eigen_sizes);
BENCHMARK_CAPTURE(symmetric_eigen, openblas, Library::openblas)->Apply(eigen_sizes);
BENCHMARK_CAPTURE(symmetric_eigen, eigen, Library::eigen)->Apply(eigen_sizes);
BENCHMARK_CAPTURE(symmetric_eigen, gsl, Library::gsl)->Apply(eigen_sizes);
BENCHMARK_CAPTURE(principal_components, maths, Library::maths)->Arg(10000);
BENCHMARK_CAPTURE(principal_components, eigen, Library::eigen)->Arg(10000);
BENCHMARK_CAPTURE(quadratics, maths, own_quadratic)->Apply(a_million);
BENCHMARK_CAPTURE(quadratics, gsl, gsl_quadratic)->Apply(a_million);
BENCHMARK_CAPTURE(cubics, maths, own_cubic)->Apply(a_million);
BENCHMARK_CAPTURE(cubics, gsl, gsl_cubic)->Apply(a_million);
BENCHMARK_CAPTURE(quartics, maths, own_quartic)->Apply(a_million);
BENCHMARK_CAPTURE(quartics, gsl, gsl_quartic)->Apply(a_million);

} // namespace
