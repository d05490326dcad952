// General sparse systems beside KLU, UMFPACK and Eigen's SparseLU, from the analysis to the solution of one right-hand
// side, and without the analysis beside KLU: circuits of conductances, voltage sources, whose rows have no diagonal,
// and currents that follow voltages elsewhere; the power network of the examples; a substance that diffuses and drifts
// over a square; and triangles whose rows and columns were exchanged; by the number of unknowns.

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

#include <Eigen/Sparse>
#include <suitesparse/klu.h>
#include <suitesparse/umfpack.h>

#include "benchmarks/peers.h"
#include "benchmarks/race.h"
#include "examples/support/column_table.h"
#include "maths/maths.h"
#include "tests/support/grid.h"

namespace {

using Elements = std::vector<Eigen::Triplet<double>>; // those of one place are summed

void connect(Elements & elements, int i, int j, double conductance) {
    elements.emplace_back(i, i, conductance);
    elements.emplace_back(j, j, conductance);
    elements.emplace_back(i, j, -conductance);
    elements.emplace_back(j, i, -conductance);
}

Elements circuit(int n) {
    mlRandom random(n);
    Elements elements;
    int const sources = n / 50, nodes = n - sources;
    auto const before = [&](int j, int reach) {
        return std::max(0, j - 1 - static_cast<int>(random.uniform() * random.uniform() * reach));
    };
    for (int j = 0; j < nodes; ++j) {
        elements.emplace_back(j, j, 0.01);
        if (j == 0) continue;
        int const near = before(j, 20);
        connect(elements, near, j, random.uniform(0.1, 2.0));
        double const kind = random.uniform();
        if (kind < 0.02) connect(elements, before(j, j - 1), j, random.uniform(0.1, 2.0));
        if (kind > 0.9) { // a current into j that follows a voltage
            int const from = before(j, 10), to = before(j, 10);
            double const factor = random.uniform(-0.3, 0.3);
            elements.emplace_back(j, from, factor);
            elements.emplace_back(j, to, -factor);
        }
    }
    for (int s = 0; s < sources; ++s) {
        int const node = static_cast<int>(static_cast<long long>(s) * nodes / sources);
        elements.emplace_back(nodes + s, node, 1.0);
        elements.emplace_back(node, nodes + s, 1.0);
    }
    return elements;
}

/// Susceptances of the branches; the angle of the first bus is 0.
Elements network(int) {
    ColumnTable const branches(MATHS_EXAMPLE_DATA "power_network_14_branches.txt", 3);
    Elements elements;
    for (int k = 0; k < branches.rows(); ++k) {
        int const i = static_cast<int>(branches.column(0)[k]) - 2, j = static_cast<int>(branches.column(1)[k]) - 2;
        double const susceptance = 1.0 / branches.column(2)[k];
        if (i >= 0 && j >= 0) {
            connect(elements, i, j, susceptance);
        } else {
            elements.emplace_back(std::max(i, j), std::max(i, j), susceptance);
        }
    }
    return elements;
}

Elements drift(int n) {
    int const side = static_cast<int>(std::lround(std::sqrt(n)));
    Elements elements;
    for (auto const & [i, j] : grid(side, n / side, 1)) {
        elements.emplace_back(i, j, -0.7);
        elements.emplace_back(j, i, -1.3);
    }
    for (int i = 0; i < n; ++i)
        elements.emplace_back(i, i, 4.01);
    return elements;
}

Elements triangle(int n) {
    mlRandom random(n);
    auto const shuffled = [&] {
        std::vector<int> order(n);
        std::iota(order.begin(), order.end(), 0);
        for (int i = n - 1; i > 0; --i)
            std::swap(order[i], order[static_cast<int>(random.uniform() * (i + 1))]);
        return order;
    };
    auto const rows = shuffled(), columns = shuffled();
    Elements elements;
    for (int j = 0; j < n; ++j) {
        elements.emplace_back(rows[j], columns[j], 2.0);
        for (int e = 0; e < 2; ++e) {
            int const i = static_cast<int>(random.uniform() * (j + 1));
            double const value = random.uniform(-0.5, 0.5);
            elements.emplace_back(rows[i], columns[j], value);
        }
    }
    return elements;
}

/// A matrix and a right-hand side, for each library.
struct System {
    System(int order, Elements const & elements) : n(order), a(mlMatrixZero, n, n), b(mlVectorZero, n) {
        eigen_a.resize(n, n);
        eigen_a.setFromTriplets(elements.begin(), elements.end());
        Eigen::SparseMatrix<double, Eigen::RowMajor> const by_rows(eigen_a);
        for (int i = 0; i < n; ++i)
            for (decltype(by_rows)::InnerIterator e(by_rows, i); e; ++e)
                a.set(i, static_cast<int>(e.col()), e.value());
        mlRandom random(n);
        for (double & value : b)
            value = random.uniform(-1.0, 1.0);
        eigen_b = Eigen::Map<EigenVector const>(b.data(), n);
    }

    int * starts() { return eigen_a.outerIndexPtr(); }
    int * rows() { return eigen_a.innerIndexPtr(); }
    double * values() { return eigen_a.valuePtr(); }

    int n;
    mlSparseMatrix a;
    mlVector b;
    Eigen::SparseMatrix<double> eigen_a; ///< by columns
    EigenVector eigen_b;
};

class Klu {
public:
    explicit Klu(System & of) : of_(of) { klu_defaults(&common_); }
    Klu(Klu const &) = delete;
    Klu & operator=(Klu const &) = delete;
    ~Klu() { klu_free_symbolic(&symbolic_, &common_); }

    void analyse() {
        klu_free_symbolic(&symbolic_, &common_);
        symbolic_ = klu_analyze(of_.n, of_.starts(), of_.rows(), &common_);
    }

    void factor_and_solve(Values & x) {
        klu_numeric * numeric = klu_factor(of_.starts(), of_.rows(), of_.values(), symbolic_, &common_);
        x.assign(of_.b.begin(), of_.b.end());
        klu_solve(symbolic_, numeric, of_.n, 1, x.data(), &common_);
        klu_free_numeric(&numeric, &common_);
    }

private:
    System & of_;
    klu_common common_;
    klu_symbolic * symbolic_ = nullptr;
};

void solve_by_umfpack(System & of, Values & x) {
    double control[UMFPACK_CONTROL];
    umfpack_di_defaults(control);
    control[UMFPACK_IRSTEP] = 0; // as the others, without refinement
    void *symbolic, *numeric;
    umfpack_di_symbolic(of.n, of.n, of.starts(), of.rows(), of.values(), &symbolic, control, nullptr);
    umfpack_di_numeric(of.starts(), of.rows(), of.values(), symbolic, &numeric, control, nullptr);
    x.resize(static_cast<std::size_t>(of.n));
    umfpack_di_solve(UMFPACK_A, of.starts(), of.rows(), of.values(), x.data(), of.b.data(), numeric, control, nullptr);
    umfpack_di_free_symbolic(&symbolic);
    umfpack_di_free_numeric(&numeric);
}

bool solve(Race & race, Elements (*elements)(int)) {
    System of(race.size(), elements(race.size()));
    mlVector x;
    EigenVector eigen_x;
    Values klu_x, umfpack_x;
    Klu klu(of);
    race.add("maths", x, [&] {
        mlSparseLU const lu(of.a);
        lu.solve(of.b, x);
    });
    race.add("klu", klu_x, [&] {
        klu.analyse();
        klu.factor_and_solve(klu_x);
    });
    race.add("umfpack", umfpack_x, [&] { solve_by_umfpack(of, umfpack_x); });
    race.add("eigen", eigen_x, [&] {
        Eigen::SparseLU<Eigen::SparseMatrix<double>> lu(of.eigen_a);
        eigen_x = lu.solve(of.eigen_b);
    });
    return race.run();
}

bool solve_again(Race & race, Elements (*elements)(int)) {
    System of(race.size(), elements(race.size()));
    mlVector x;
    Values klu_x;
    mlSparseLU lu;
    Klu klu(of);
    lu.analyse(of.a);
    klu.analyse();
    race.add("maths", x, [&] {
        lu.factor(of.a);
        lu.solve(of.b, x);
    });
    race.add("klu", klu_x, [&] { klu.factor_and_solve(klu_x); });
    return race.run();
}

bool enter_for(char const * operation, std::vector<int> const & sizes, bool (*race_of)(Race &, Elements (*)(int)),
               Elements (*elements)(int)) {
    return enter(operation, sizes, [=](Race & race) { return race_of(race, elements); });
}

bool const entered = enter_for("sparse_lu_network", {13}, solve, network) &&
                     enter_for("sparse_lu_circuit", {100, 1000, 10000, 100000}, solve, circuit) &&
                     enter_for("sparse_lu_triangle", {1000, 100000}, solve, triangle) &&
                     enter_for("sparse_lu_drift", {1024, 10000}, solve, drift) &&
                     enter_for("sparse_lu_again_network", {13}, solve_again, network) &&
                     enter_for("sparse_lu_again_circuit", {100, 1000, 10000, 100000}, solve_again, circuit);

} // namespace
