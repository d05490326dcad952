// Conjugate and bi-conjugate gradients, their preconditioners and the operators that they multiply by.

#include <cmath>
#include <functional>
#include <memory>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/core/mlRandom.h"
#include "maths/sparse/mlBiConjugateGradients.h"
#include "maths/sparse/mlConjugateGradients.h"
#include "maths/sparse/mlDiagonalPreconditioner.h"
#include "maths/sparse/mlIncompleteFactors.h"
#include "maths/sparse/mlSparseMatrix.h"
#include "maths/sparse/mlSparseSymMatrix.h"
#include "tests/support/matrices.h"
#include "tests/support/values.h"

namespace {

/// A band with gaps, by its diagonal as definite as one asks: in all forms.
struct Problem {
    explicit Problem(int n, double diagonal = 2.1, double skew = 0.3)
        : symmetric(mlMatrixZero, n), general(mlMatrixZero, n, n), dense(mlMatrixZero, n, n) {
        mlRandom random(n);
        for (int i = 0; i < n; ++i) {
            dense(i, i) = diagonal + random.uniform();
            for (int const j : {i + 1, i + 4, i + 9})
                if (j < n && random.uniform() < 0.8) dense(i, j) = dense(j, i) = -random.uniform(0.2, 0.7);
        }
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                if (dense(i, j) == 0.0) continue;
                if (j >= i) symmetric.set(i, j, dense(i, j));
                general.set(i, j, j < i ? dense(i, j) * (1.0 + skew) : dense(i, j));
            }
        }
        fill_random(b, n, 7);
    }

    mlSparseSymMatrix symmetric;
    mlSparseMatrix general;
    mlMatrix dense; ///< the symmetric one
    mlVector b;
};

enum Preconditioner { none, diagonal, factors };

template <class Matrix> std::unique_ptr<mlLinearOperator> make(Preconditioner kind, Matrix const & a) {
    if (kind == diagonal) return std::make_unique<mlDiagonalPreconditioner>(a);
    if (kind == factors) return std::make_unique<mlIncompleteFactors>(a);
    return nullptr;
}

// ---- the iterations as their headers have them, plainly ----

double dot(Values const & x, Values const & y) {
    double s[8] = {};
    for (std::size_t i = 0; i < x.size(); ++i)
        s[i % 8] += x[i] * y[i];
    return ((s[0] + s[1]) + (s[2] + s[3])) + ((s[4] + s[5]) + (s[6] + s[7]));
}

double norm(Values const & x) { return std::sqrt(dot(x, x)); }

Values times(mlLinearOperator const * m, Values const & x) {
    if (m == nullptr) return x;
    mlVector y;
    m->multiply(mlVector(utCopy, x), y);
    return contents(y);
}

/// An iterate, with the norms of the residuals up to it.
struct Plain {
    Values x, history;
};

Plain plain_conjugate(mlLinearOperator const & a, mlLinearOperator const * m, Values const & b, int iterations) {
    Plain result{Values(b.size(), 0.0), {1.0}};
    Values r = b, p(b.size());
    double rho_before = 0.0;
    for (int k = 0; k < iterations; ++k) {
        Values const z = times(m, r);
        double const rho = dot(r, z);
        for (std::size_t i = 0; i < b.size(); ++i)
            p[i] = k == 0 ? z[i] : z[i] + (rho / rho_before) * p[i];
        Values const q = times(&a, p);
        double const alpha = rho / dot(p, q);
        for (std::size_t i = 0; i < b.size(); ++i) {
            result.x[i] += alpha * p[i];
            r[i] -= alpha * q[i];
        }
        rho_before = rho;
        result.history.push_back(norm(r) / norm(b));
    }
    return result;
}

Plain plain_bi_conjugate(mlLinearOperator const & a, mlLinearOperator const * m, Values const & b, int iterations) {
    Plain result{Values(b.size(), 0.0), {1.0}};
    Values r = b, p = b, v;
    double rho_before = 0.0, alpha = 0.0, omega = 0.0;
    for (int k = 0; k < iterations; ++k) {
        double const rho = dot(b, r);
        for (std::size_t i = 0; i < b.size() && k > 0; ++i)
            p[i] = r[i] + ((rho / rho_before) * (alpha / omega)) * (p[i] - omega * v[i]);
        Values const u = times(m, p);
        v = times(&a, u);
        alpha = rho / dot(b, v);
        for (std::size_t i = 0; i < b.size(); ++i)
            r[i] -= alpha * v[i];
        Values const w = times(m, r), t = times(&a, w);
        omega = dot(t, r) / dot(t, t);
        for (std::size_t i = 0; i < b.size(); ++i) {
            result.x[i] = (result.x[i] + alpha * u[i]) + omega * w[i];
            r[i] -= omega * t[i];
        }
        rho_before = rho;
        result.history.push_back(norm(r) / norm(b));
    }
    return result;
}

template <class Solver, class Matrix, class Iterate>
void expect_plain_bits(Preconditioner kind, Matrix const & a, mlVector const & b, Iterate iterate) {
    auto const m = make(kind, a);
    mlMatrixOperator const multiplied(a);
    Solver solver;
    solver.set_preconditioner(m.get());
    solver.set_max_iterations(5);
    mlVector x{7.0}, r;
    mlIterativeStatus const status = solver.solve(a, b, x);
    ASSERT_EQ(status, mlIterativeIterationLimit);
    Plain const plain = iterate(multiplied, m.get(), contents(b), 5);
    EXPECT_EQ(contents(x), plain.x);
    EXPECT_EQ(contents(solver.history()), plain.history);
    multiplied.multiply(x, r);
    for (int i = 0; i < b.size(); ++i)
        r[i] = b[i] - r[i];
    EXPECT_EQ(solver.residual(), norm(contents(r)) / norm(contents(b)));
}

TEST(IterativeSolvers, HaveTheBitsOfThePlainIteration) {
    for (int const n : {20, 31, 512, 515, 1030}) {
        Problem const problem(n);
        for (Preconditioner const kind : {none, diagonal, factors}) {
            SCOPED_TRACE(testing::Message() << "n = " << n << ", preconditioner " << kind);
            expect_plain_bits<mlConjugateGradients>(kind, problem.symmetric, problem.b, plain_conjugate);
            if (kind < factors || n > 500) // few unknowns converge before
                expect_plain_bits<mlBiConjugateGradients>(kind, problem.general, problem.b, plain_bi_conjugate);
        }
    }
}

// ---- operators and preconditioners ----

TEST(MatrixOperators, MultiplyLikeTheirMatrices) {
    for (int const n : {0, 1, 2, 40}) {
        Problem const problem(n);
        mlSparseSymMatrix symmetric(utCopy, problem.symmetric);
        mlSparseMatrix general(utCopy, problem.general);
        mlSparseSymMatrix pair(mlMatrixZero, 2);
        pair.set(0, 1, 3.0);
        symmetric.concatenate_diagonal(pair); // no diagonal, and a row without elements
        general.concatenate_diagonal(mlSparseMatrix(mlMatrixZero, 2, 2));
        mlVector x, y, expected;
        fill_random(x, n + 2, 3);
        mlMatrixOperator(symmetric).multiply(x, y);
        symmetric.multiply_vector(x, expected);
        EXPECT_EQ(contents(y), contents(expected));
        mlMatrixOperator(general).multiply(x, y);
        general.multiply_vector(x, expected);
        EXPECT_EQ(contents(y), contents(expected));
        mlMatrix dense;
        general.decompress(dense);
        mlMatrixOperator(dense).multiply(x, y);
        EXPECT_EQ(contents(y), contents(expected));
    }
}

TEST(DiagonalPreconditioner, DividesByWhatIsNotZero) {
    mlSparseMatrix general(mlMatrixZero, 3, 3);
    mlSparseSymMatrix symmetric(mlMatrixZero, 3);
    mlMatrix dense(mlMatrixZero, 3, 3);
    general.set(0, 0, -4.0), general.set(1, 2, 9.0), general.set(2, 2, 0.0);
    symmetric.set(0, 0, -4.0), symmetric.set(1, 2, 9.0), symmetric.set(2, 2, 0.0);
    dense(0, 0) = -4.0, dense(1, 2) = 9.0;
    mlVector y;
    auto const divided = [&](mlDiagonalPreconditioner const & m) {
        m.multiply(mlVector{6.0, 7.0, 8.0}, y);
        return contents(y);
    };
    Values const expected = {-1.5, 7.0, 8.0};
    EXPECT_EQ(divided(mlDiagonalPreconditioner(general)), expected);
    EXPECT_EQ(divided(mlDiagonalPreconditioner(symmetric)), expected);
    EXPECT_EQ(divided(mlDiagonalPreconditioner(dense)), expected);
}

/// L D U of `a`, by its definition: unit triangles in one matrix, D on the diagonal. Empty when a pivot fails.
template <class Stored>
bool plain_factors(mlMatrix const & a, Stored stored, double shift, bool symmetric, mlMatrix & f) {
    int const n = a.rows();
    f.become(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i) {
        Values w(n, 0.0);
        double size = symmetric ? a(i, i) : 0.0;
        for (int j = 0; j < n; ++j) {
            if (!symmetric) size = std::max(size, std::fabs(a(i, j)));
            w[j] = a(i, j);
        }
        w[i] += (a(i, i) < 0.0 ? -1.0 : 1.0) * shift * size;
        for (int k = 0; k < i; ++k) {
            if (!stored(i, k)) continue;
            for (int j = k + 1; j < n; ++j)
                if ((stored(i, j) || i == j) && stored(k, j)) w[j] -= w[k] * f(k, j);
        }
        if (!(std::fabs(w[i]) > 0x1p-30 * size && (!symmetric || w[i] > 0.0))) return false;
        f(i, i) = w[i];
        for (int j = 0; j < n; ++j)
            if (j != i) f(i, j) = j < i ? w[j] / f(j, j) : w[j] / w[i];
    }
    return true;
}

template <class Matrix> void expect_plain_factors(Matrix const & a, bool symmetric, bool shifted) {
    int const n = a.rows();
    mlMatrix dense, f, unused;
    a.decompress(dense);
    auto const stored = [&](int i, int j) { return dense(i, j) != 0.0; };
    mlIncompleteFactors const factors(a);
    ASSERT_EQ(factors.status(), mlIncompleteFactored);
    EXPECT_EQ(factors.shift() > 0.0, shifted);
    ASSERT_TRUE(plain_factors(dense, stored, factors.shift(), symmetric, f));
    if (shifted) {
        EXPECT_EQ(std::ilogb(factors.shift()), std::lround(std::log2(factors.shift())));
        EXPECT_FALSE(
            plain_factors(dense, stored, factors.shift() > 0x1p-10 ? factors.shift() / 2 : 0.0, symmetric, unused));
    }
    mlVector x, z;
    fill_random(x, n, 5);
    factors.multiply(x, z);
    Values y = contents(x);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < i; ++j)
            y[i] -= f(i, j) * y[j];
    for (int i = 0; i < n; ++i)
        y[i] /= f(i, i);
    for (int i = n - 1; i >= 0; --i) {
        if (symmetric)
            for (int j = 0; j < i; ++j)
                y[j] -= f(i, j) * y[i];
        else
            for (int j = i + 1; j < n; ++j)
                y[i] -= f(i, j) * y[j];
    }
    EXPECT_EQ(contents(z), y);
}

TEST(IncompleteFactors, HaveTheBitsOfTheirDefinition) {
    for (int const n : {1, 2, 12, 60}) {
        expect_plain_factors(Problem(n).symmetric, true, false);
        expect_plain_factors(Problem(n).general, false, false);
    }
    mlSparseSymMatrix ring(mlMatrixZero, 4); // Kershaw's: positive definite, but IC(0) meets the pivot -5
    mlSparseMatrix without_diagonal(mlMatrixZero, 3, 3);
    for (int i = 0; i < 4; ++i) {
        ring.set(i, i, 3.0);
        if (i < 3) ring.set(i, i + 1, -2.0);
        if (i == 0) ring.set(0, 3, 2.0);
    }
    expect_plain_factors(ring, true, true);
    without_diagonal.set(0, 1, 3.0), without_diagonal.set(1, 0, -2.0);
    without_diagonal.set(2, 1, 5.0), without_diagonal.set(2, 2, -0x1p-40);
    expect_plain_factors(without_diagonal, false, true);
}

TEST(IncompleteFactors, ShiftWhereAPivotIsSmall) {
    for (double const rest : {0x1p-31, 0x1p-30, 0x1p-29}) {
        mlSparseSymMatrix a(mlMatrixZero, 2);
        a.set(0, 0, 1.0), a.set(0, 1, 1.0), a.set(1, 1, 1.0 + rest);
        EXPECT_EQ(mlIncompleteFactors(a).shift() > 0.0, rest < 0x1p-29);
        EXPECT_EQ(mlIncompleteFactors(mlSparseMatrix(utCopy, a)).shift() > 0.0, rest < 0x1p-29);
    }
}

TEST(IncompleteFactors, SayWhyThereAreNoneAndThenCopy) {
    mlSparseMatrix in_u(mlMatrixIdentity, 3), overflow(mlMatrixZero, 3, 3); // where no pivot shows it
    in_u.set(0, 2, nan_value);
    overflow.set(0, 0, 1e200), overflow.set(0, 2, 1e208), overflow.set(2, 2, 1.0);
    overflow.set(1, 0, 1e305), overflow.set(1, 1, 1e305), overflow.set(1, 2, 0.0);
    EXPECT_EQ(mlIncompleteFactors(in_u).status(), mlIncompleteNotFinite);
    EXPECT_EQ(mlIncompleteFactors(overflow).status(), mlIncompleteNotFinite);
    for (double const value : {0.0, -1.0, nan_value, infinity}) {
        mlSparseSymMatrix a(mlMatrixIdentity, 3);
        mlSparseMatrix g(mlMatrixZero, 3, 3);
        a.clear(0);
        a.set(0, 0, 1.0), a.set(1, 1, value), a.set(1, 2, value), a.set(2, 2, 1e-300);
        g.set(0, 0, 1.0), g.set(0, 2, value == -1.0 ? 0.0 : value), g.set(2, 0, 1e300), g.set(2, 2, 1.0);
        if (value != 0.0 && value != -1.0) g.set(1, 1, 1.0);
        mlIncompleteFactors const symmetric(a), general(g);
        EXPECT_EQ(symmetric.status(), value <= 0.0 ? mlIncompleteNoPivot : mlIncompleteNotFinite) << value;
        EXPECT_EQ(general.status(), value <= 0.0 ? mlIncompleteNoPivot : mlIncompleteNotFinite) << value;
        mlVector y;
        for (mlIncompleteFactors const * m : {&symmetric, &general}) {
            m->multiply(mlVector{1.0, 2.0, 3.0}, y);
            EXPECT_EQ(contents(y), Values({1.0, 2.0, 3.0}));
        }
    }
}

// ---- solutions ----

template <class Solver> class IterativeSolver : public testing::Test {};
using Solvers = testing::Types<mlConjugateGradients, mlBiConjugateGradients>;
TYPED_TEST_SUITE(IterativeSolver, Solvers);

/// ||b - A x|| / ||b||, in other ways than the library's.
double residual(mlMatrix const & a, mlVector const & b, mlVector const & x) {
    double square = 0.0, square_b = 0.0;
    for (int i = 0; i < b.size(); ++i) {
        double r = b[i];
        for (int j = 0; j < b.size(); ++j)
            r -= a(i, j) * x[j];
        square += r * r;
        square_b += b[i] * b[i];
    }
    return std::sqrt(square / square_b);
}

TYPED_TEST(IterativeSolver, SolvesWhatItIsGivenInEveryForm) {
    for (int const n : {1, 2, 9, 200}) {
        Problem const problem(n);
        auto const m = make(factors, problem.symmetric);
        TypeParam solver;
        mlVector x, y, in_place(utCopy, problem.b);
        int const plain_iterations = (solver.solve(problem.symmetric, problem.b, x), solver.iterations());
        EXPECT_EQ(std::tuple(solver.status(), solver.history().size()),
                  std::tuple(mlIterativeConverged, plain_iterations + 1));
        EXPECT_LE(solver.residual(), 1e-10);
        EXPECT_LE(residual(problem.dense, problem.b, x), 1.01e-10);
        EXPECT_EQ(solver.solve(problem.dense, in_place, in_place), mlIterativeConverged);
        EXPECT_EQ(contents(in_place), contents(x));
        solver.solve(mlSparseMatrix(utCopy, problem.symmetric), problem.b, y);
        EXPECT_EQ(contents(y), contents(x));
        mlLinearOperatorOf const f(
            n, [&](mlVector const & v, mlVector & to) { problem.symmetric.multiply_vector(v, to); });
        solver.solve(f, problem.b, y);
        EXPECT_EQ(contents(y), contents(x));
        for (double const scale : {0x1p-1000, 0x1p-500, 0x1p500, 0x1p1000}) {
            mlVector scaled(utCopy, problem.b);
            scaled *= scale;
            EXPECT_EQ(solver.solve(f, scaled, y), mlIterativeConverged);
            for (int i = 0; i < n; ++i)
                EXPECT_EQ(y[i], x[i] * scale);
            EXPECT_EQ(solver.improve(f, scaled, y), mlIterativeConverged);
            EXPECT_EQ(solver.iterations(), 0);
        }
        solver.set_preconditioner(m.get());
        EXPECT_EQ(solver.solve(problem.symmetric, problem.b, y), mlIterativeConverged);
        EXPECT_LE(residual(problem.dense, problem.b, y), 1.01e-10);
        EXPECT_LE(solver.iterations(), n < 200 ? n : 0.7 * plain_iterations);
        EXPECT_EQ(solver.improve(problem.symmetric, problem.b, x), mlIterativeConverged);
        EXPECT_EQ(std::tuple(solver.iterations(), solver.calls()), std::tuple(0, 1));
        x[0] += 1e-6;
        EXPECT_EQ(solver.improve(problem.symmetric, problem.b, x), mlIterativeConverged);
        EXPECT_LE(residual(problem.dense, problem.b, x), 1.01e-10);
        EXPECT_LT(solver.history()[0], 1e-4);
    }
}

TYPED_TEST(IterativeSolver, SaysHowItEnded) {
    int const n = 150;
    Problem const problem(n);
    TypeParam solver;
    mlVector x{1.0, 2.0}, b;
    EXPECT_EQ(solver.status(), mlIterativeIterationLimit);
    auto const ends = [&](auto const & a) { return solver.solve(a, problem.b, x); };
    EXPECT_EQ(solver.solve(problem.symmetric, mlVector(mlVectorZero, n), x), mlIterativeConverged);
    EXPECT_EQ(std::tuple(contents(x), solver.iterations(), solver.residual()), std::tuple(Values(n, 0.0), 0, 0.0));
    mlVector none;
    EXPECT_EQ(solver.solve(mlSparseSymMatrix(), none, none), mlIterativeConverged);

    solver.set_tolerance(0.0);
    EXPECT_EQ(ends(problem.symmetric), mlIterativeStagnated);
    EXPECT_LT(residual(problem.dense, problem.b, x), 1e-14);
    EXPECT_LT(solver.iterations(), 300);
    solver.set_tolerance(2.0);
    EXPECT_EQ(ends(problem.symmetric), mlIterativeConverged);
    EXPECT_EQ(std::tuple(contents(x), solver.iterations()), std::tuple(Values(n, 0.0), 0));
    solver.set_tolerance(1e-10);
    solver.set_max_iterations(0);
    EXPECT_EQ(ends(problem.symmetric), mlIterativeIterationLimit);
    EXPECT_EQ(std::tuple(contents(x), solver.residual()), std::tuple(Values(n, 0.0), 1.0));
    solver.set_max_iterations(10000);

    bool const conjugate = std::is_same_v<TypeParam, mlConjugateGradients>;
    mlIterativeStatus const stuck = conjugate ? mlIterativeNotPositive : mlIterativeBreakdown;
    Matrix const turn(2, 2, {0.0, 1.0, -1.0, 0.0}), indefinite(2, 2, {1.0, 1.0, 1.0, 0.0});
    EXPECT_EQ(solver.solve(turn, mlVector{1.0, 0.0}, x), stuck);
    EXPECT_EQ(contents(x), Values({0.0, 0.0}));
    EXPECT_EQ(ends(mlSparseSymMatrix(mlMatrixZero, n)), stuck);
    EXPECT_EQ(solver.solve(indefinite, mlVector{1.0, 0.0}, x), stuck); // after a good step
    EXPECT_EQ(std::tuple(contents(x), solver.residual(), solver.iterations()),
              std::tuple(Values({1.0, 0.0}), 1.0, conjugate ? 1 : 0));
    mlSparseSymMatrix minus(utCopy, problem.symmetric);
    minus *= -1.0;
    EXPECT_EQ(ends(minus), conjugate ? mlIterativeNotPositive : mlIterativeConverged);
    mlDiagonalPreconditioner const negative(minus);
    solver.set_preconditioner(&negative);
    EXPECT_EQ(ends(problem.symmetric), conjugate ? mlIterativeNotPositive : mlIterativeConverged);
    solver.set_preconditioner(nullptr);
}

TYPED_TEST(IterativeSolver, JudgesByTheResidualComputedAnew) {
    int const n = 100;
    mlSparseSymMatrix chain(mlMatrixZero, n);
    for (int i = 0; i < n; ++i)
        for (int j = i; j < std::min(i + 2, n); ++j)
            chain.set(i, j, i == j ? 2.0 : -1.0);
    mlVector b, x;
    fill_random(b, n, 3);
    TypeParam solver;
    bool stagnated = false;
    for (double const tolerance : {1e-3, 1e-8, 1e-12, 1e-14, 1e-15, 4e-16, 2e-16}) {
        solver.set_tolerance(tolerance);
        mlIterativeStatus const status = solver.solve(chain, b, x);
        EXPECT_EQ(status == mlIterativeConverged, solver.residual() <= tolerance) << tolerance;
        stagnated = stagnated || status == mlIterativeStagnated;
    }
    EXPECT_TRUE(stagnated);
}

// r's first element is 0 after the first iteration, and b has no other.
TEST(BiConjugateGradients, BeginAnewWhereTheResidualIsAtARightAngleToTheShadow) {
    mlBiConjugateGradients solver;
    mlVector x;
    for (double const coupling : {0.0, 1.0}) { // A r is at a right angle as well, or not
        Matrix const a(3, 3, {1.0, coupling, -coupling, 1.0, 2.0, 0.0, 1.0, 1.0, 3.0});
        mlVector const b{1.0, 0.0, 0.0};
        EXPECT_EQ(solver.solve(a, b, x), mlIterativeConverged) << coupling;
        EXPECT_LE(residual(a, b, x), 1.01e-10);
    }
}

TYPED_TEST(IterativeSolver, LeavesXAloneWhereNumbersAreNotFinite) {
    int const n = 60;
    for (double const bad : {nan_value, infinity, -infinity, 1e300}) {
        for (int place = 0; place < 3; ++place) {
            Problem problem(n);
            mlVector x(mlVectorZero, n);
            x[1] = 5.0;
            if (place == 0) problem.dense(30, 31) = problem.dense(31, 30) = bad;
            if (place == 1) problem.b[40] = bad;
            if (place == 2) x[40] = bad;
            TypeParam solver;
            solver.set_max_iterations(200);
            mlVector const before(utCopy, x);
            mlIterativeStatus const status = solver.improve(problem.dense, problem.b, x);
            if (bad == 1e300 && place < 2) {
                EXPECT_LT(solver.iterations(), 201);
                continue;
            }
            EXPECT_EQ(status, mlIterativeNotFinite);
            EXPECT_TRUE(std::isnan(solver.residual()));
            for (int i = 0; i < n; ++i)
                EXPECT_TRUE(same(x[i], before[i]));
        }
    }
}

TYPED_TEST(IterativeSolver, TellsItsObserverOfEachIteration) {
    Problem const problem(150);
    Values told, steps;
    int calls = 0, limit = 1000;
    mlObserverOf watch([&](mlProgress const & p) {
        told.push_back(p.value);
        steps.push_back(p.step);
        EXPECT_EQ(p.iteration, static_cast<int>(told.size()));
        calls = p.calls;
        return p.iteration < limit;
    });
    TypeParam solver;
    mlVector unwatched, x;
    solver.solve(problem.symmetric, problem.b, unwatched);
    solver.set_observer(&watch);
    EXPECT_EQ(solver.solve(problem.symmetric, problem.b, x), mlIterativeConverged);
    EXPECT_EQ(contents(x), contents(unwatched));
    Values history = contents(solver.history());
    EXPECT_EQ(told, Values(history.begin() + 1, history.end() - 1)); // not of the one that converges
    limit = 3;
    told.clear(), steps.clear();
    EXPECT_EQ(solver.solve(problem.symmetric, problem.b, x), mlIterativeStopped);
    EXPECT_EQ(std::tuple(solver.iterations(), solver.stopped(), steps.size()), std::tuple(3, 1, 3u));
    EXPECT_EQ(solver.calls(), calls + 1);
    solver.set_observer(nullptr);
    solver.set_max_iterations(2);
    mlVector two;
    solver.solve(problem.symmetric, problem.b, two);
    x -= two;
    EXPECT_NEAR(steps[2], std::sqrt(x.modulus_squared()), 1e-12);
}

} // namespace
