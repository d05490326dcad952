// Conjugate and bi-conjugate gradients, and incomplete factors.

#include <numeric>
#include <type_traits>
#include <valarray>

#include "tests/support/bits.h"
#include "tests/support/matrices.h"
#include "tests/support/sparse_patterns.h"
#include "tests/support/test.h"

namespace {

/// Each unknown coupled with some others, not far from singular: symmetric, and with a larger lower triangle.
struct Problem {
    explicit Problem(int n) {
        mlRandom random(n);
        Elements elements = coupled(n, random_edges(n, 2, n), 0.1, [&] { return -random.uniform(0.2, 0.7); });
        symmetric.become(sparse<mlSparseSymMatrix>(n, elements));
        symmetric.decompress(dense);
        for (auto & [at, value] : elements)
            if (at.first > at.second) value *= 1.3;
        general.become(sparse<mlSparseMatrix>(n, elements));
        fill_random(b, n, 7);
    }
    mlSparseSymMatrix symmetric;
    mlSparseMatrix general;
    mlMatrix dense; ///< the symmetric one
    mlVector b;
};

// ---- the iterations as their headers have them, plainly ----

using Array = std::valarray<double>;

Array times(mlLinearOperator const * m, Array const & x) {
    if (m == nullptr) return x;
    mlVector y;
    m->multiply(mlVector(utConvert, &x[0], static_cast<int>(x.size())), y);
    return Array(y.data(), x.size());
}

template <class Solver> constexpr bool conjugate = std::is_same_v<Solver, mlConjugateGradients>;

/// An iterate, with the lengths of the steps and the squares of the norms of the residuals up to it.
struct Plain {
    Array x;
    Values squares, steps;
};

Plain plain_conjugate(mlLinearOperator const * a, mlLinearOperator const * m, Array const & b, int iterations) {
    Plain plain{Array(b.size()), {eight_sums(b, b)}, {}};
    Array p(b.size()), r = b;
    for (double rho_before = 1.0; iterations > 0; --iterations) {
        Array const z = times(m, r);
        double const rho = eight_sums(r, z);
        p = z + (rho / rho_before) * p;
        Array const q = times(a, p);
        double const alpha = rho / eight_sums(p, q);
        plain.x += alpha * p;
        r -= alpha * q;
        rho_before = rho;
        plain.squares.push_back(eight_sums(r, r));
        plain.steps.push_back(alpha * std::sqrt(eight_sums(p, p)));
    }
    return plain;
}

Plain plain_bi_conjugate(mlLinearOperator const * a, mlLinearOperator const * m, Array const & b, int iterations) {
    Plain plain{Array(b.size()), {eight_sums(b, b)}, {}};
    Array p(b.size()), v(b.size()), r = b;
    double rho_before = 1.0, alpha = 1.0, omega = 1.0;
    for (; iterations > 0; --iterations) {
        double const rho = eight_sums(b, r);
        p = r + ((rho / rho_before) * (alpha / omega)) * (p - omega * v);
        Array const u = times(m, p);
        v = times(a, u);
        alpha = rho / eight_sums(b, v);
        r -= alpha * v;
        Array const w = times(m, r), t = times(a, w);
        omega = eight_sums(t, r) / eight_sums(t, t);
        plain.x = (plain.x + alpha * u) + omega * w;
        r -= omega * t;
        rho_before = rho;
        plain.squares.push_back(eight_sums(r, r));
        Array const change = alpha * u + omega * w;
        plain.steps.push_back(std::sqrt(std::inner_product(begin(change), end(change), begin(change), 0.0)));
    }
    return plain;
}

/// Of four iterations, whether an observer or the limit ends them, and however large b is.
template <class Solver, class Matrix, class Iterate>
void expect_plain_bits(Matrix const & matrix, mlVector const & right, Iterate iterate) {
    Array const b(right.data(), right.size());
    mlLinearOperatorOf const a(matrix.rows(), [&](mlVector const & x, mlVector & y) { matrix.multiply_vector(x, y); });
    mlIncompleteFactors const factors(matrix);
    for (mlLinearOperator const * m : std::initializer_list<mlLinearOperator const *>{nullptr, &factors}) {
        SCOPED_TRACE(testing::Message() << "n = " << b.size() << (m == nullptr ? "" : ", LU"));
        Plain plain = iterate(&a, m, b, 4);
        Array const r = b - times(&a, plain.x);
        plain.squares.push_back(eight_sums(r, r));
        for (double & square : plain.squares)
            square = std::sqrt(square) / std::sqrt(eight_sums(b, b));
        for (double const scale : {0x1p-900, 0x1p-550, 1.0, 0x1p550, 0x1p1000}) {
            Values told, steps;
            mlObserverOf watch([&](mlProgress const & p) {
                told.push_back(p.value);
                steps.push_back(p.step / scale);
                int const calls = p.iteration * (conjugate<Solver> ? 1 : 2);
                EXPECT_EQ(std::pair(p.iteration, p.calls), std::pair(static_cast<int>(told.size()), calls));
                return p.iteration < 4;
            });
            Solver solver;
            solver.set_preconditioner(m);
            solver.set_tolerance(0.0);
            solver.set_observer(&watch);
            mlVector scaled(utCopy, right), x{7.0}, unwatched;
            scaled *= scale;
            ASSERT_EQ(solver.solve(matrix, scaled, x), mlIterativeStopped);
            Values norms = contents(solver.history());
            EXPECT_EQ(told, Values(norms.begin() + 1, norms.end()));
            norms.push_back(solver.residual());
            EXPECT_EQ(std::tuple(norms, steps), std::tuple(plain.squares, plain.steps));
            solver.set_observer(nullptr);
            solver.set_max_iterations(0);
            ASSERT_EQ(solver.improve(matrix, scaled, x), mlIterativeIterationLimit);
            EXPECT_EQ(solver.residual(), norms.back());
            x /= scale;
            EXPECT_EQ(contents(x), Values(begin(plain.x), end(plain.x)));
            solver.set_max_iterations(4);
            ASSERT_EQ(solver.solve(matrix, right, unwatched), mlIterativeIterationLimit);
            EXPECT_EQ(contents(unwatched), contents(x));
        }
    }
}

TEST(IterativeSolvers, HaveTheBitsOfThePlainIteration) {
    for (int const n : {20, 31, 512, 515, 1030}) {
        Problem const problem(n);
        expect_plain_bits<mlConjugateGradients>(problem.symmetric, problem.b, plain_conjugate);
        expect_plain_bits<mlBiConjugateGradients>(problem.general, problem.b, plain_bi_conjugate);
    }
}

// ---- incomplete factors ----

/// L D U by its definition, the unit triangles in one matrix and D on its diagonal, with the least shift that serves.
struct PlainFactors {
    template <class Matrix>
    explicit PlainFactors(Matrix const & matrix)
        : n(matrix.rows()), symmetric(std::is_same_v<Matrix, mlSparseSymMatrix>) {
        matrix.decompress(a);
        while (needs_greater_shift() && shift <= 0x1p30)
            shift = std::max(2.0 * shift, 0x1p-10);
    }

    Values solve(Values y) const {
        if (status != mlIncompleteFactored) return y;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < i; ++j)
                y[i] -= f(i, j) * y[j];
        for (int i = 0; i < n; ++i)
            y[i] /= f(i, i);
        for (int i = n - 1; i >= 0; --i) {
            for (int j = 0; j < i && symmetric; ++j)
                y[j] -= f(i, j) * y[i];
            for (int j = i + 1; j < n && !symmetric; ++j)
                y[i] -= f(i, j) * y[j];
        }
        return y;
    }

    int n;
    bool symmetric;
    mlIncompleteStatus status;
    double shift = 0.0;

private:
    bool needs_greater_shift() {
        f.become(utCopy, a);
        for (int i = 0; i < n; ++i) {
            double size = a(i, i);
            for (int j = 0; j < n && !symmetric; ++j)
                size = std::isfinite(a(i, j)) ? std::max(size, std::fabs(a(i, j))) : infinity;
            f(i, i) += a(i, i) < 0.0 ? -shift * size : shift * size;
            for (int k = 0; k < i; ++k)
                for (int j = k + 1; j < n; ++j)
                    if (a(i, j) != 0.0 || i == j) f(i, j) -= f(i, k) * f(k, j);
            double const pivot = symmetric ? f(i, i) : std::fabs(f(i, i));
            status = std::isfinite(pivot + size) ? mlIncompleteNoPivot : mlIncompleteNotFinite;
            if (status == mlIncompleteNotFinite || !(size > 0.0)) return false;
            if (!(pivot > 0x1p-30 * size)) return true;
            for (int j = 0; j < n; ++j)
                if (j != i) f(i, j) /= f(std::min(i, j), std::min(i, j));
            status = mlIncompleteNotFinite;
            for (int j = 0; j < n; ++j)
                if (!symmetric && !std::isfinite(f(i, j))) return false;
        }
        status = mlIncompleteFactored;
        return false;
    }

    mlMatrix a, f;
};

/// Factors that failed change nothing.
template <class Matrix> void expect_plain_factors(Matrix const & a) {
    PlainFactors const plain(a);
    mlIncompleteFactors const factors(a);
    mlVector x, y;
    fill_random(x, a.rows(), 5);
    factors.multiply(x, y);
    EXPECT_EQ(std::tuple(factors.status(), factors.shift(), contents(y)),
              std::tuple(plain.status, plain.shift, plain.solve(contents(x))));
}

TEST(IncompleteFactors, HaveTheBitsOfTheirDefinitionAndTheLeastShiftThatServes) {
    for (int const n : {1, 2, 12, 60}) {
        expect_plain_factors(Problem(n).symmetric);
        expect_plain_factors(Problem(n).general);
    }
    mlMatrix const small[] = {
        {{1.0, 1.0}, {1.0, 1.0 + 0x1p-31}},
        {{1.0, 1.0 - 0x1p-31}, {1.0 - 0x1p-31, 1.0}}, // the second pivot is just 2^-30
        {{1.0, 1.0}, {1.0, 1.0 + 0x1p-29}},
        {{3.0, -2.0, 0.0, 2.0}, {-2.0, 3.0, -2.0, 0.0}, {0.0, -2.0, 3.0, -2.0}, {2.0, 0.0, -2.0, 3.0}}, // Kershaw's
        {{0.0, 3.0, 0.0}, {-2.0, 0.0, 0.0}, {0.0, 5.0, -0x1p-40}},
        {{1.0, 0.0, 0x1p32}, {0.0, 1.0, 0.0}, {0x1p32, 0.0, 1.0}}, // no shift helps
        {{-1.0, 0.0}, {0.0, -1.0}},
        {{1.0, 0.0}, {0.0, 1e-300}},
        {{1.0, 0.0}, {0.0, 0.0}},
        {{1.0, 0.0, 0.0}, {0.0, nan_value, nan_value}, {0.0, 0.0, 1.0}},
        {{1.0, 0.0, nan_value}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}, // no pivot shows it
        {{1.0, 0.0, infinity}, {0.0, 1.0, 0.0}, {1e300, 0.0, 1.0}},
        {{1e200, 0.0, 1e208}, {1e305, 1e305, 1.0}, {0.0, 0.0, 1.0}}, // (1, 2) overflows
    };
    for (mlMatrix const & a : small) {
        SCOPED_TRACE(&a - small);
        expect_plain_factors(sparse<mlSparseSymMatrix>(a));
        expect_plain_factors(sparse<mlSparseMatrix>(a));
    }
}

// ---- solutions ----

template <class Solver> class IterativeSolver : public testing::Test {};
using Solvers = testing::Types<mlConjugateGradients, mlBiConjugateGradients>;
TYPED_TEST_SUITE(IterativeSolver, Solvers);

TYPED_TEST(IterativeSolver, SolvesWhatItIsGivenInEveryForm) {
    for (int const n : {1, 2, 9, 200}) {
        SCOPED_TRACE(testing::Message() << "n = " << n);
        Problem const problem(n);
        mlSparseSymMatrix const & a = problem.symmetric;
        mlLinearOperatorOf const f(n, [&](mlVector const & v, mlVector & to) { a.multiply_vector(v, to); });
        TypeParam solver;
        mlVector x, y, z, in_place(utCopy, problem.b);
        EXPECT_EQ(solver.solve(a, problem.b, x), mlIterativeConverged);
        solver.solve(problem.dense, in_place, in_place);
        solver.solve(mlSparseMatrix(utCopy, a), problem.b, y);
        solver.solve(f, problem.b, z);
        for (mlVector const * other : {&in_place, &y, &z})
            EXPECT_EQ(contents(*other), contents(x));
        EXPECT_EQ(solver.improve(f, problem.b, x), mlIterativeConverged);
        EXPECT_EQ(std::pair(solver.iterations(), solver.calls()), std::pair(0, 1));
        x[0] += 1e-6;
        EXPECT_EQ(solver.improve(a, problem.b, x), mlIterativeConverged);
    }
}

// A slip in the rule for ending costs or saves iterations and multiplications.
TYPED_TEST(IterativeSolver, JudgesByTheResidualComputedAnew) {
    mlVector x;
    int iterations = 0, calls = 0, told = 0;
    mlObserverOf watch([&](mlProgress const &) { return ++told > 0; }); // not of an iteration that ends the solution
    TypeParam solver;
    solver.set_observer(&watch);
    for (int const n : {1, 2, 9, 200}) {
        Problem const problem(n);
        for (double const tolerance : {2.0, 1e-3, 1e-8, 1e-12, 1e-14, 1e-15, 4e-16, 2e-16, 0.0}) {
            solver.set_tolerance(tolerance);
            mlIterativeStatus const status = solver.solve(problem.symmetric, problem.b, x);
            EXPECT_EQ(status, solver.residual() <= tolerance ? mlIterativeConverged : mlIterativeStagnated)
                << "n = " << n << ", tolerance " << tolerance;
            iterations += solver.iterations();
            calls += solver.calls();
        }
    }
    EXPECT_EQ(std::tuple(iterations, calls, told),
              conjugate<TypeParam> ? std::tuple(629, 678, 597) : std::tuple(472, 955, 440));
}

TYPED_TEST(IterativeSolver, SaysHowItEnded) {
    using End = std::tuple<mlIterativeStatus, int, double, Values>; // with iterations, residual and x
    mlMatrix const one{{1.0, 0.0}, {0.0, 1.0}}, minus{{-1.0, 0.0}, {0.0, -1.0}}, turn{{0.0, 1.0}, {-1.0, 0.0}};
    mlMatrix const zero{{0.0, 0.0}, {0.0, 0.0}}, indefinite{{1.0, 1.0}, {1.0, 0.0}};
    mlIterativeStatus const stuck = conjugate<TypeParam> ? mlIterativeNotPositive : mlIterativeBreakdown;
    TypeParam solver;
    mlVector x{1.0, 2.0, 3.0};
    auto const end = [&](mlMatrix const & a, mlVector const & b) {
        mlIterativeStatus const status = solver.solve(a, b, x);
        return End{status, solver.iterations(), solver.residual(), contents(x)};
    };
    End const not_begun(stuck, 0, 1.0, {0.0, 0.0});
    EXPECT_EQ(solver.status(), mlIterativeIterationLimit);
    EXPECT_EQ(end(one, {0.0, 0.0}), End(mlIterativeConverged, 0, 0.0, {0.0, 0.0}));
    EXPECT_EQ(end(mlMatrix(), {}), End(mlIterativeConverged, 0, 0.0, {}));
    EXPECT_EQ(end(turn, {1.0, 0.0}), not_begun);
    EXPECT_EQ(end(zero, {1.0, 0.0}), not_begun);
    EXPECT_EQ(end(indefinite, {1.0, 0.0}), End(stuck, conjugate<TypeParam>, 1.0, {1.0, 0.0})) << "after a good step";
    EXPECT_EQ(end(minus, {1.0, 0.0}),
              conjugate<TypeParam> ? not_begun : End(mlIterativeConverged, 1, 0.0, {-1.0, 0.0}));
    mlDiagonalPreconditioner const by_minus(minus);
    solver.set_preconditioner(&by_minus);
    EXPECT_EQ(end(one, {1.0, 0.0}), conjugate<TypeParam> ? not_begun : End(mlIterativeConverged, 1, 0.0, {1.0, 0.0}));
    solver.set_max_iterations(0);
    EXPECT_EQ(end(one, {1.0, 0.0}), End(mlIterativeIterationLimit, 0, 1.0, {0.0, 0.0}));
}

// r's first element is 0 after the first iteration, and b has no other.
TEST(BiConjugateGradients, BeginAnewWhereTheResidualIsAtARightAngleToTheShadow) {
    mlVector x;
    mlVector const b{1.0, 0.0, 0.0};
    for (double const coupling : {0.0, 1.0}) { // A r is at a right angle as well, or not
        mlMatrix const a{{1.0, coupling, -coupling}, {1.0, 2.0, 0.0}, {1.0, 1.0, 3.0}};
        EXPECT_EQ(mlBiConjugateGradients().solve(a, b, x), mlIterativeConverged) << coupling;
    }
}

TYPED_TEST(IterativeSolver, LeavesXAloneWhereNumbersAreNotFinite) {
    TypeParam solver;
    for (double const bad : {nan_value, infinity, -infinity, 1e300})
        for (char const place : {'A', 'b', 'x'}) {
            SCOPED_TRACE(testing::Message() << bad << " in " << place);
            Problem problem(60);
            mlVector x(mlVectorZero, 60);
            (place == 'A' ? problem.dense(30, 31) : place == 'b' ? problem.b[40] : x[40]) = bad;
            mlVector const before(utCopy, x);
            mlIterativeStatus const status = solver.improve(problem.dense, problem.b, x);
            if (bad == 1e300 && place != 'x') continue; // ends, somehow
            EXPECT_EQ(status, mlIterativeNotFinite);
            EXPECT_TRUE(std::isnan(solver.residual()));
            EXPECT_TRUE(equal_bits(before, x, 60));
        }
}

} // namespace
