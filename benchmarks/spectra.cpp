// Singular values, symmetric eigenvalues and principal components beside LAPACK's (from OpenBLAS), Eigen's and GSL's,
// on the same numbers and on one thread. All find both bases; of a tall matrix GSL finds only as many left vectors as
// there are values.

#include <algorithm>
#include <cmath>

#include <Eigen/Dense>
#include <gsl/gsl_eigen.h>
#include <gsl/gsl_linalg.h>

#include "benchmarks/fused_eigen.h"
#include "benchmarks/peers.h"
#include "benchmarks/race.h"
#include "maths/maths.h"

extern "C" {
void dgesvd_(char const * jobu, char const * jobvt, int const * m, int const * n, double * a, int const * lda,
             double * s, double * u, int const * ldu, double * vt, int const * ldvt, double * work, int const * lwork,
             int * info);
void dsyev_(char const * job, char const * uplo, int const * n, double * a, int const * lda, double * w, double * work,
            int const * lwork, int * info);
}

namespace {

Values uniform_values(int count) {
    mlRandom random(count);
    Values values(count);
    for (double & value : values)
        value = random.uniform(-1.0, 1.0);
    return values;
}

// --- Singular values: the size is the number of columns

struct LapackSVD {
    LapackSVD(int m, int n) : rows(m), cols(n), s(n), u(m * m), vt(n * n) {
        double best = 0.0;
        int const query = -1;
        dgesvd_("A", "A", &m, &n, nullptr, &m, nullptr, nullptr, &m, nullptr, &n, &best, &query, &info);
        work.resize(static_cast<std::size_t>(best));
    }

    void run(Values const & values) {
        a = values;
        int const lwork = static_cast<int>(work.size());
        dgesvd_("A", "A", &rows, &cols, a.data(), &rows, s.data(), u.data(), &rows, vt.data(), &cols, work.data(),
                &lwork, &info);
    }

    int rows, cols, info = 0;
    Values a, s, u, vt, work;
};

struct GslSVD {
    GslSVD(int m, int n)
        : a(gsl_matrix_alloc(m, n), gsl_matrix_free), v(gsl_matrix_alloc(n, n), gsl_matrix_free), s(n),
          work(gsl_vector_alloc(n), gsl_vector_free) {}

    void run(Values const & values) {
        std::copy(values.begin(), values.end(), a->data);
        gsl_vector_view found = gsl_vector_view_array(s.data(), s.size());
        gsl_linalg_SV_decomp(a.get(), v.get(), &found.vector, work.get());
    }

    GslMatrix a, v;
    Values s;
    GslVector work;
};

auto svd_of_shape(Race & race, int m, int n) {
    Values const values = uniform_values(m * n);
    mlMatrix const a(utConvert, values.data(), m, n);
    Eigen::Map<EigenMatrix const> const eigen_a(values.data(), m, n);
    Values columns(m * n); // for Fortran
    Eigen::Map<Eigen::MatrixXd>(columns.data(), m, n) = eigen_a;
    mlVector own;
    EigenVector eigen;
    Values fused(n);
    LapackSVD lapack(m, n);
    GslSVD gsl(m, n);
    race.add("maths", own, [&] { own.become(utCopy, mlSingularValueDecomposition(a).diagonal()); });
    race.add("openblas", lapack.s, [&] { lapack.run(columns); });
    if (n <= 300)
        race.add("eigen", eigen, [&] {
            eigen = Eigen::BDCSVD<EigenMatrix>(eigen_a, Eigen::ComputeFullU | Eigen::ComputeFullV).singularValues();
        });
    if (n <= 300)
        race.add("eigen-fused", fused, [&] { fused_eigen::singular_values(m, n, values.data(), fused.data()); });
    if (n >= 100) race.add("gsl", gsl.s, [&] { gsl.run(values); });
    return race.run();
}

auto svd(Race & race) { return svd_of_shape(race, race.size(), race.size()); }
auto svd_tall(Race & race) { return svd_of_shape(race, 2 * race.size(), race.size()); }

template <class Vector> void sort(Vector & values) { std::sort(values.data(), values.data() + values.size()); }

// Up to 50 columns: from 80 or so on GSL 2.7.1 returns values that are not singular values, with success.
auto jacobi_svd_of_shape(Race & race, int m, int n) {
    Values const values = uniform_values(m * n);
    Values a((m + n) * n), squares(n), own(n);
    GslSVD gsl(m, n);
    race.add("maths", own, [&] {
        std::copy(values.begin(), values.end(), a.begin());
        ml_svd(a.data(), squares.data(), m, n);
        for (int j = 0; j < n; ++j)
            own[j] = std::sqrt(squares[j]);
        sort(own);
    });
    race.add("gsl", gsl.s, [&] {
        std::copy(values.begin(), values.end(), gsl.a->data);
        gsl_vector_view found = gsl_vector_view_array(gsl.s.data(), gsl.s.size());
        gsl_linalg_SV_decomp_jacobi(gsl.a.get(), gsl.v.get(), &found.vector);
        sort(gsl.s);
    });
    return race.run();
}

auto jacobi_svd(Race & race) { return jacobi_svd_of_shape(race, race.size(), race.size()); }
auto jacobi_svd_tall(Race & race) { return jacobi_svd_of_shape(race, 2 * race.size(), race.size()); }

// --- Symmetric eigenvalues: the size is the order

EigenMatrix symmetric_matrix(int n) {
    EigenMatrix const g = Eigen::Map<EigenMatrix const>(uniform_values(n * n).data(), n, n);
    return g + g.transpose();
}

struct LapackEigen {
    explicit LapackEigen(int order) : n(order), values(order), work(64 * order) {}

    void run(EigenMatrix const & a, char const * job) {
        EigenMatrix copy = a;
        int const lwork = static_cast<int>(work.size());
        int info = 0;
        dsyev_(job, "U", &n, copy.data(), &n, values.data(), work.data(), &lwork, &info);
    }

    int n;
    Values values, work;
};

struct GslEigen {
    explicit GslEigen(int n)
        : values(n), vectors(gsl_matrix_alloc(n, n), gsl_matrix_free),
          work(gsl_eigen_symmv_alloc(n), gsl_eigen_symmv_free) {}

    void run(EigenMatrix const & a) {
        GslMatrix const copy = gsl_copy(a);
        gsl_vector_view found = gsl_vector_view_array(values.data(), values.size());
        gsl_eigen_symmv(copy.get(), &found.vector, vectors.get(), work.get());
        sort(values);
    }

    Values values;
    GslMatrix vectors;
    std::unique_ptr<gsl_eigen_symmv_workspace, void (*)(gsl_eigen_symmv_workspace *)> work;
};

void find_by_rotations(mlMatrix const & a, mlVector & values) {
    mlSymEigenVecs solver(a);
    solver.set_tolerance(1e-10);
    solver.calculate();
    values.become(utCopy, solver.eigen_values());
    sort(values);
}

void find_by_reflections(mlMatrix const & a, mlSymmetricEigen::mlJOB job, mlVector & values) {
    values.become(utCopy, mlSymmetricEigen(a, job).eigen_values());
    sort(values);
}

/// A symmetric matrix, and what its contestants find of it, all of them with vectors.
struct SymmetricProblem {
    explicit SymmetricProblem(int n)
        : a(symmetric_matrix(n)), own_a(utConvert, a.data(), n, n), lapack(n), gsl(n), fused(n) {}

    void add_lapack(Race & race) {
        race.add("openblas", lapack.values, [&] { lapack.run(a, "V"); });
    }
    void add_slower_peers(Race & race) {
        race.add("eigen", eigen, [&] { eigen = Eigen::SelfAdjointEigenSolver<EigenMatrix>(a).eigenvalues(); });
        race.add("eigen-fused", fused, [&] { fused_eigen::eigenvalues(race.size(), a.data(), fused.data()); });
        race.add("gsl", gsl.values, [&] { gsl.run(a); });
    }

    EigenMatrix const a;
    mlMatrix const own_a;
    mlVector own, rotated;
    EigenVector eigen;
    LapackEigen lapack;
    GslEigen gsl;
    Values fused;
};

auto symmetric_eigen(Race & race) {
    SymmetricProblem p(race.size());
    race.add("maths", p.own, [&] { find_by_rotations(p.own_a, p.own); });
    p.add_lapack(race);
    p.add_slower_peers(race);
    return race.run();
}

/// "rotations" is the library's other class.
auto symmetric_ql(Race & race) {
    SymmetricProblem p(race.size());
    race.add_for_each_set(p.own, [&] { find_by_reflections(p.own_a, mlSymmetricEigen::mlVECTORS, p.own); });
    if (race.size() <= 300) race.add("rotations", p.rotated, [&] { find_by_rotations(p.own_a, p.rotated); });
    p.add_lapack(race);
    if (race.size() <= 500) p.add_slower_peers(race);
    return race.run();
}

auto symmetric_ql_values(Race & race) {
    int const n = race.size();
    EigenMatrix const a = symmetric_matrix(n);
    mlMatrix const own_a(utConvert, a.data(), n, n);
    mlVector own;
    EigenVector eigen;
    LapackEigen lapack(n);
    race.add("maths", own, [&] { find_by_reflections(own_a, mlSymmetricEigen::mlVALUES, own); });
    race.add("openblas", lapack.values, [&] { lapack.run(a, "N"); });
    race.add("eigen", eigen,
             [&] { eigen = Eigen::SelfAdjointEigenSolver<EigenMatrix>(a, Eigen::EigenvaluesOnly).eigenvalues(); });
    return race.run();
}

// --- Principal components: the size is the number of points

auto principal_components(Race & race, int d) {
    int const count = race.size();
    Values const values = uniform_values(count * d);
    doublecoDynArr2D points(count, d, 1, 1);
    for (int i = 0; i < count * d; ++i)
        points(i / d, i % d) = values[i];
    Eigen::Map<EigenMatrix const> const x(values.data(), count, d);
    mlVector own;
    Values gsl(d);
    EigenVector eigen;
    GslSVD svd(count, d);
    race.add("maths", own, [&] { own.become(utCopy, mlPCA(points).eigenvalues()); });
    // The peers have no class of their own for it: centred points and a thin decomposition.
    race.add("gsl", gsl, [&] {
        Values centred(count * d);
        Eigen::Map<EigenMatrix>(centred.data(), count, d) = (x.rowwise() - x.colwise().mean()) / std::sqrt(count - 1.0);
        svd.run(centred);
        for (int i = 0; i < d; ++i)
            gsl[i] = svd.s[i] * svd.s[i];
    });
    race.add("eigen", eigen, [&] {
        EigenMatrix const centred = (x.rowwise() - x.colwise().mean()) / std::sqrt(count - 1.0);
        Eigen::BDCSVD<EigenMatrix> const thin(centred, Eigen::ComputeThinV);
        eigen = thin.singularValues().cwiseAbs2();
    });
    return race.run();
}

bool const entered =
    enter("svd", {3, 20, 50, 100, 200, 300, 500}, svd) && enter("svd_tall", {20, 100}, svd_tall) &&
    enter("jacobi_svd", {3, 10, 50}, jacobi_svd) && enter("jacobi_svd_tall", {50}, jacobi_svd_tall) &&
    enter("symmetric_eigen", {2, 3, 4, 10, 20, 50, 100}, symmetric_eigen) &&
    enter("symmetric_ql", {10, 20, 50, 100, 200, 300, 500, 1000}, symmetric_ql) &&
    enter("symmetric_ql_values", {20, 100, 300, 1000}, symmetric_ql_values) &&
    enter("pca_3", {10, 1000, 10000, 100000}, [](Race & race) { return principal_components(race, 3); }) &&
    enter("pca_8", {1000, 10000, 100000}, [](Race & race) { return principal_components(race, 8); });

} // namespace
