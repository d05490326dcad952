// Conjugate and bi-conjugate gradients, their preconditioners and the operators that they multiply by.

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <valarray>

#include "maths/sparse/mlBiConjugateGradients.h"
#include "maths/sparse/mlConjugateGradients.h"
#include "maths/sparse/mlDiagonalPreconditioner.h"
#include "maths/sparse/mlIncompleteFactors.h"
#include "tests/support/sparse_patterns.h"

namespace {

/// Each unknown coupled with some others, not far from singular: symmetric, and with a larger lower triangle.
struct Problem {
    explicit Problem(int n) {
        mlRandom random(n);
        Elements elements = coupled(n, random_edges(n, 2, n), 0.1, [&] { return -random.uniform(0.2, 0.7); });
        symmetric.become(symmetric_matrix(n, elements));
        symmetric.decompress(dense);
        for (auto & [at, value] : elements)
            if (at.first > at.second) value *= 1.3;
        general.become(general_matrix(n, elements));
        fill_random(b, n, 7);
    }
    mlSparseSymMatrix symmetric;
    mlSparseMatrix general;
    mlMatrix dense; ///< the symmetric one
    mlVector b;
};

// ---- the iterations as their headers have them, plainly ----

using Array = std::valarray<double>;

double dot(Array const & x, Array const & y) {
    double s[8] = {};
    for (std::size_t i = 0; i < x.size(); ++i)
        s[i % 8] += x[i] * y[i];
    return ((s[0] + s[1]) + (s[2] + s[3])) + ((s[4] + s[5]) + (s[6] + s[7]));
}

Array times(mlLinearOperator const * m, Array const & x) {
    if (m == nullptr) return x;
    mlVector y;
    m->multiply(mlVector(utConvert, &x[0], static_cast<int>(x.size())), y);
    return Array(y.data(), x.size());
}

/// An iterate, with the squares of the norms of the residuals up to it.
struct Plain {
    Array x;
    Values squares;
};

Plain plain_conjugate(mlLinearOperator const * a, mlLinearOperator const * m, Array const & b, int iterations) {
    Array x(b.size()), p(b.size()), r = b;
    Values squares = {dot(b, b)};
    for (double rho_before = 1.0; iterations > 0; --iterations) {
        Array const z = times(m, r);
        double const rho = dot(r, z);
        p = z + (rho / rho_before) * p;
        Array const q = times(a, p);
        double const alpha = rho / dot(p, q);
        x += alpha * p;
        r -= alpha * q;
        rho_before = rho;
        squares.push_back(dot(r, r));
    }
    return {x, squares};
}

Plain plain_bi_conjugate(mlLinearOperator const * a, mlLinearOperator const * m, Array const & b, int iterations) {
    Array x(b.size()), p(b.size()), v(b.size()), r = b;
    Values squares = {dot(b, b)};
    double rho_before = 1.0, alpha = 1.0, omega = 1.0;
    for (; iterations > 0; --iterations) {
        double const rho = dot(b, r);
        p = r + ((rho / rho_before) * (alpha / omega)) * (p - omega * v);
        Array const u = times(m, p);
        v = times(a, u);
        alpha = rho / dot(b, v);
        r -= alpha * v;
        Array const w = times(m, r), t = times(a, w);
        omega = dot(t, r) / dot(t, t);
        x = (x + alpha * u) + omega * w;
        r -= omega * t;
        rho_before = rho;
        squares.push_back(dot(r, r));
    }
    return {x, squares};
}

template <class Solver, class Matrix, class Iterate>
void expect_plain_bits(Matrix const & matrix, mlVector const & right, Iterate iterate) {
    Array const b(right.data(), right.size());
    mlLinearOperatorOf const a(matrix.rows(), [&](mlVector const & x, mlVector & y) { matrix.multiply_vector(x, y); });
    mlDiagonalPreconditioner const diagonal(matrix);
    mlIncompleteFactors const factors(matrix);
    for (mlLinearOperator const * m : std::initializer_list<mlLinearOperator const *>{nullptr, &diagonal, &factors}) {
        SCOPED_TRACE(testing::Message() << "n = " << b.size() << (m == nullptr ? "" : m == &diagonal ? ", D" : ", LU"));
        Solver solver;
        solver.set_preconditioner(m);
        solver.set_tolerance(0.0);
        solver.set_max_iterations(4);
        mlVector x{7.0};
        ASSERT_EQ(solver.solve(matrix, right, x), mlIterativeIterationLimit);
        Plain plain = iterate(&a, m, b, 4);
        EXPECT_EQ(contents(x), Values(std::begin(plain.x), std::end(plain.x)));
        Array const r = b - times(&a, plain.x);
        plain.squares.push_back(dot(r, r));
        for (double & square : plain.squares)
            square = std::sqrt(square) / std::sqrt(dot(b, b));
        Values norms = contents(solver.history());
        norms.push_back(solver.residual());
        EXPECT_EQ(norms, plain.squares);
    }
}

// That operators multiply like their matrices is part of it.
TEST(IterativeSolvers, HaveTheBitsOfThePlainIteration) {
    for (int const n : {20, 31, 512, 515, 1030}) {
        Problem const problem(n);
        expect_plain_bits<mlConjugateGradients>(problem.symmetric, problem.b, plain_conjugate);
        expect_plain_bits<mlBiConjugateGradients>(problem.general, problem.b, plain_bi_conjugate);
    }
}

// ---- operators and preconditioners ----

TEST(MatrixOperators, MultiplyWhereThereIsNoDiagonalAndWhereThereAreNoElements) {
    Elements const elements = {{{0, 2}, 3.0}, {{2, 2}, 5.0}};
    auto const expect_product = [](auto const & a, Values const & expected) {
        mlVector y;
        mlMatrixOperator(a).multiply(mlVector{2.0, 7.0, 11.0}, y);
        EXPECT_EQ(contents(y), expected);
    };
    expect_product(symmetric_matrix(3, elements), {33.0, 0.0, 61.0});
    expect_product(general_matrix(3, elements), {33.0, 0.0, 55.0});
    expect_product(mlSparseMatrix(), {});
}

TEST(DiagonalPreconditioner, DividesByWhatIsNotZero) {
    Elements const elements = {{{0, 0}, -4.0}, {{1, 2}, 9.0}, {{2, 2}, 0.0}};
    auto const expect_division = [](auto const & a) {
        mlVector y;
        mlDiagonalPreconditioner(a).multiply(mlVector{6.0, 7.0, 8.0}, y);
        EXPECT_EQ(contents(y), Values({-1.5, 7.0, 8.0}));
    };
    mlMatrix dense;
    general_matrix(3, elements).decompress(dense);
    expect_division(general_matrix(3, elements));
    expect_division(symmetric_matrix(3, elements));
    expect_division(dense);
}

/// f becomes L D U of `a` by its definition: unit triangles in one matrix, D on the diagonal. False when a pivot fails.
bool plain_factors(mlMatrix const & a, double shift, bool symmetric, mlMatrix & f) {
    int const n = a.rows();
    f.become(utCopy, a);
    for (int i = 0; i < n; ++i) {
        double size = a(i, i);
        for (int j = 0; j < n && !symmetric; ++j)
            size = std::max(size, std::fabs(a(i, j)));
        f(i, i) += a(i, i) < 0.0 ? -shift * size : shift * size;
        for (int k = 0; k < i; ++k)
            for (int j = k + 1; j < n; ++j)
                if (a(i, j) != 0.0 || i == j) f(i, j) -= f(i, k) * f(k, j);
        if (!((symmetric ? f(i, i) : std::fabs(f(i, i))) > 0x1p-30 * size)) return false;
        for (int j = 0; j < n; ++j)
            if (j != i) f(i, j) /= f(std::min(i, j), std::min(i, j));
    }
    return true;
}

/// Also that half the shift would not have done.
template <class Matrix> void expect_plain_factors(Matrix const & a, bool shifted) {
    bool const symmetric = std::is_same_v<Matrix, mlSparseSymMatrix>;
    int const n = a.rows();
    mlMatrix dense, f;
    a.decompress(dense);
    mlIncompleteFactors const factors(a);
    double const shift = factors.shift(), half = shift > 0x1p-10 ? shift / 2 : 0.0;
    ASSERT_EQ(factors.status(), mlIncompleteFactored);
    EXPECT_EQ(shift, shifted ? std::exp2(std::ilogb(shift)) : 0.0);
    EXPECT_FALSE(shifted && plain_factors(dense, half, symmetric, f)) << half << " would do";
    ASSERT_TRUE(plain_factors(dense, shift, symmetric, f));
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
        for (int j = 0; j < i && symmetric; ++j)
            y[j] -= f(i, j) * y[i];
        for (int j = i + 1; j < n && !symmetric; ++j)
            y[i] -= f(i, j) * y[j];
    }
    EXPECT_EQ(contents(z), y);
}

TEST(IncompleteFactors, HaveTheBitsOfTheirDefinitionAndTheLeastShiftThatServes) {
    for (int const n : {1, 2, 12, 60}) {
        expect_plain_factors(Problem(n).symmetric, false);
        expect_plain_factors(Problem(n).general, false);
    }
    for (double const rest : {0x1p-31, 0x1p-30, 0x1p-29}) {
        mlMatrix const a{{1.0, 1.0}, {1.0, 1.0 + rest}};
        expect_plain_factors(symmetric_matrix(a), rest < 0x1p-29);
        expect_plain_factors(general_matrix(a), rest < 0x1p-29);
    }
    // Kershaw's: positive definite, but without a shift IC(0) meets the pivot -5.
    mlMatrix const ring{{3.0, -2.0, 0.0, 2.0}, {-2.0, 3.0, -2.0, 0.0}, {0.0, -2.0, 3.0, -2.0}, {2.0, 0.0, -2.0, 3.0}};
    expect_plain_factors(symmetric_matrix(ring), true);
    mlMatrix const without_diagonal{{0.0, 3.0, 0.0}, {-2.0, 0.0, 0.0}, {0.0, 5.0, -0x1p-40}};
    expect_plain_factors(general_matrix(without_diagonal), true);
}

TEST(IncompleteFactors, SayWhyThereAreNoneAndThenCopy) {
    struct {
        Values elements; ///< of 3 rows
        mlIncompleteStatus status;
    } const failures[] = {
        {{1, 0, 0, 0, 0, 0, 0, 0, 1e-300}, mlIncompleteNoPivot},
        {{1, 0, 0, 0, nan_value, nan_value, 0, 0, 1}, mlIncompleteNotFinite},
        {{1, 0, nan_value, 0, 1, 0, 0, 0, 1}, mlIncompleteNotFinite}, // no pivot shows it
        {{1, 0, infinity, 0, 1, 0, 1e300, 0, 1}, mlIncompleteNotFinite},
        {{1e200, 0, 1e208, 1e305, 1e305, 1, 0, 0, 1}, mlIncompleteNotFinite}, // (1, 2) overflows
    };
    auto const expect_failure = [](mlIncompleteFactors const & factors, mlIncompleteStatus status) {
        mlVector y;
        factors.multiply(mlVector{1.0, 2.0, 3.0}, y);
        EXPECT_EQ(std::tuple(factors.status(), contents(y)), std::tuple(status, Values({1.0, 2.0, 3.0})));
    };
    for (auto const & failure : failures) {
        SCOPED_TRACE(&failure - failures);
        mlMatrix const a(failure.elements, 3, 3);
        expect_failure(mlIncompleteFactors(symmetric_matrix(a)), failure.status);
        expect_failure(mlIncompleteFactors(general_matrix(a)), failure.status);
    }
    mlSparseSymMatrix negative(mlMatrixIdentity, 3);
    negative *= -1.0;
    expect_failure(mlIncompleteFactors(negative), mlIncompleteNoPivot);
    mlIncompleteFactors const far(symmetric_matrix(mlMatrix{{1, 0, 0x1p32}, {0, 1, 0}, {0x1p32, 0, 1}}));
    expect_failure(far, mlIncompleteNoPivot);
    EXPECT_EQ(far.shift(), 0x1p31) << "the last one tried";
}

// ---- solutions ----

template <class Solver> class IterativeSolver : public testing::Test {};
using Solvers = testing::Types<mlConjugateGradients, mlBiConjugateGradients>;
TYPED_TEST_SUITE(IterativeSolver, Solvers);

/// ||b - A x|| / ||b||, in other ways than the library's.
double residual(mlMatrix const & a, mlVector const & b, mlVector const & x) {
    mlVector r(mlMatrixProduct, a, x);
    r -= b;
    return std::sqrt(r.modulus_squared() / b.modulus_squared());
}

TYPED_TEST(IterativeSolver, SolvesWhatItIsGivenInEveryForm) {
    for (int const n : {1, 2, 9, 200}) {
        SCOPED_TRACE(testing::Message() << "n = " << n);
        Problem const problem(n);
        mlSparseSymMatrix const & a = problem.symmetric;
        TypeParam solver;
        mlVector x, y, in_place(utCopy, problem.b);
        auto const expect_solution = [&](mlIterativeStatus status, mlVector const & found) {
            EXPECT_EQ(status, mlIterativeConverged);
            EXPECT_LE(residual(problem.dense, problem.b, found), 1.01e-10);
        };
        expect_solution(solver.solve(a, problem.b, x), x);
        int const plain_iterations = solver.iterations();
        EXPECT_EQ(std::tuple(solver.status(), solver.history().size()),
                  std::tuple(mlIterativeConverged, plain_iterations + 1));
        EXPECT_LE(solver.residual(), 1e-10);
        solver.solve(problem.dense, in_place, in_place);
        EXPECT_EQ(contents(in_place), contents(x));
        solver.solve(mlSparseMatrix(utCopy, a), problem.b, y);
        EXPECT_EQ(contents(y), contents(x));
        mlLinearOperatorOf const f(n, [&](mlVector const & v, mlVector & to) { a.multiply_vector(v, to); });
        for (double const scale : {0x1p-1000, 0x1p-550, 1.0, 0x1p550, 0x1p1000}) {
            mlVector scaled(utCopy, problem.b), expected(utCopy, x);
            scaled *= scale, expected *= scale;
            EXPECT_EQ(solver.solve(f, scaled, y), mlIterativeConverged) << scale;
            EXPECT_EQ(contents(y), contents(expected)) << scale;
            EXPECT_EQ(solver.improve(f, scaled, y), mlIterativeConverged) << scale;
            EXPECT_EQ(std::tuple(solver.iterations(), solver.calls()), std::tuple(0, 1)) << scale;
        }
        mlIncompleteFactors const m(a);
        solver.set_preconditioner(&m);
        expect_solution(solver.solve(a, problem.b, y), y);
        EXPECT_LE(solver.iterations(), n < 200 ? n : 0.7 * plain_iterations);
        x[0] += 1e-6;
        expect_solution(solver.improve(a, problem.b, x), x);
        EXPECT_LT(solver.history()[0], 1e-4);
    }
}

TYPED_TEST(IterativeSolver, SaysHowItEnded) {
    using End = std::tuple<mlIterativeStatus, int, double, Values>; // with iterations, residual and x
    int const n = 150;
    Problem const problem(n);
    Values const zeros(n);
    TypeParam solver;
    mlVector x{1.0, 2.0}, none;
    auto const end = [&](auto const & a, mlVector const & b) {
        mlIterativeStatus const status = solver.solve(a, b, x);
        return End{status, solver.iterations(), solver.residual(), contents(x)};
    };
    EXPECT_EQ(solver.status(), mlIterativeIterationLimit);
    EXPECT_EQ(end(problem.symmetric, mlVector(mlVectorZero, n)), End(mlIterativeConverged, 0, 0.0, zeros));
    EXPECT_EQ(solver.solve(mlSparseSymMatrix(), none, none), mlIterativeConverged);
    solver.set_tolerance(0.0);
    EXPECT_EQ(solver.solve(problem.symmetric, problem.b, x), mlIterativeStagnated);
    EXPECT_LT(residual(problem.dense, problem.b, x), 1e-14);
    EXPECT_LT(solver.iterations(), 300);
    solver.set_tolerance(2.0);
    EXPECT_EQ(end(problem.symmetric, problem.b), End(mlIterativeConverged, 0, 1.0, zeros));
    solver.set_tolerance(1e-10);
    solver.set_max_iterations(0);
    EXPECT_EQ(end(problem.symmetric, problem.b), End(mlIterativeIterationLimit, 0, 1.0, zeros));
    solver.set_max_iterations(10000);

    bool const conjugate = std::is_same_v<TypeParam, mlConjugateGradients>;
    mlIterativeStatus const stuck = conjugate ? mlIterativeNotPositive : mlIterativeBreakdown,
                            negative = conjugate ? mlIterativeNotPositive : mlIterativeConverged;
    mlMatrix const turn{{0.0, 1.0}, {-1.0, 0.0}}, indefinite{{1.0, 1.0}, {1.0, 0.0}};
    EXPECT_EQ(end(turn, mlVector{1.0, 0.0}), End(stuck, 0, 1.0, {0.0, 0.0}));
    EXPECT_EQ(end(mlSparseSymMatrix(mlMatrixZero, n), problem.b), End(stuck, 0, 1.0, zeros));
    EXPECT_EQ(end(indefinite, mlVector{1.0, 0.0}), End(stuck, conjugate, 1.0, {1.0, 0.0})) << "after a good step";
    mlSparseSymMatrix minus(utCopy, problem.symmetric);
    minus *= -1.0;
    EXPECT_EQ(solver.solve(minus, problem.b, x), negative);
    mlDiagonalPreconditioner const minus_diagonal(minus);
    solver.set_preconditioner(&minus_diagonal);
    EXPECT_EQ(solver.solve(problem.symmetric, problem.b, x), negative);
}

TYPED_TEST(IterativeSolver, JudgesByTheResidualComputedAnew) {
    mlSparseSymMatrix const a = symmetric_matrix(100, chain(100, 1e-3));
    TypeParam solver;
    mlVector b, x;
    fill_random(b, 100, 3);
    bool stagnated = false;
    for (double const tolerance : {1e-3, 1e-8, 1e-12, 1e-14, 1e-15, 4e-16, 2e-16}) {
        solver.set_tolerance(tolerance);
        mlIterativeStatus const status = solver.solve(a, b, x);
        EXPECT_EQ(status == mlIterativeConverged, solver.residual() <= tolerance) << tolerance;
        stagnated = stagnated || status == mlIterativeStagnated;
    }
    EXPECT_TRUE(stagnated);
}

// r's first element is 0 after the first iteration, and b has no other.
TEST(BiConjugateGradients, BeginAnewWhereTheResidualIsAtARightAngleToTheShadow) {
    mlVector x;
    mlVector const b{1.0, 0.0, 0.0};
    for (double const coupling : {0.0, 1.0}) { // A r is at a right angle as well, or not
        mlMatrix const a{{1.0, coupling, -coupling}, {1.0, 2.0, 0.0}, {1.0, 1.0, 3.0}};
        EXPECT_EQ(mlBiConjugateGradients().solve(a, b, x), mlIterativeConverged) << coupling;
        EXPECT_LE(residual(a, b, x), 1.01e-10);
    }
}

TYPED_TEST(IterativeSolver, LeavesXAloneWhereNumbersAreNotFinite) {
    int const n = 60;
    TypeParam solver;
    solver.set_max_iterations(200);
    for (double const bad : {nan_value, infinity, -infinity, 1e300}) {
        for (int place = 0; place < 3; ++place) {
            SCOPED_TRACE(testing::Message() << bad << " in " << (place == 0 ? "A" : place == 1 ? "b" : "x"));
            Problem problem(n);
            mlVector x(mlVectorZero, n);
            x[1] = 5.0;
            if (place == 0) problem.dense(30, 31) = problem.dense(31, 30) = bad;
            if (place > 0) (place == 1 ? problem.b : x)[40] = bad;
            mlVector const before(utCopy, x);
            mlIterativeStatus const status = solver.improve(problem.dense, problem.b, x);
            if (bad == 1e300 && place < 2) continue; // ends, somehow
            EXPECT_EQ(status, mlIterativeNotFinite);
            EXPECT_TRUE(std::isnan(solver.residual()));
            EXPECT_TRUE(equal_bits(before, x, n));
        }
    }
}

TYPED_TEST(IterativeSolver, TellsItsObserverOfEachIteration) {
    Problem problem(150);
    problem.b *= 0x1p500; // solved as a smaller one, but told of as it is
    TypeParam solver;
    Values told, steps;
    int calls = 0, limit = 1000;
    mlObserverOf watch([&](mlProgress const & p) {
        told.push_back(p.value);
        steps.push_back(p.step);
        EXPECT_EQ(p.iteration, static_cast<int>(told.size()));
        calls = p.calls;
        return p.iteration < limit;
    });
    mlVector unwatched, x, two;
    solver.solve(problem.symmetric, problem.b, unwatched);
    solver.set_observer(&watch);
    EXPECT_EQ(solver.solve(problem.symmetric, problem.b, x), mlIterativeConverged);
    EXPECT_EQ(contents(x), contents(unwatched));
    Values const history = contents(solver.history());
    EXPECT_EQ(told, Values(history.begin() + 1, history.end() - 1)); // not of the one that converges
    limit = 3;
    told.clear(), steps.clear();
    EXPECT_EQ(solver.solve(problem.symmetric, problem.b, x), mlIterativeStopped);
    EXPECT_EQ(std::tuple(solver.iterations(), solver.stopped(), steps.size(), solver.calls()),
              std::tuple(3, 1, 3u, calls + 1));
    solver.set_observer(nullptr);
    solver.set_max_iterations(2);
    solver.solve(problem.symmetric, problem.b, two);
    x -= two;
    EXPECT_NEAR(steps[2] / std::sqrt(x.modulus_squared()), 1.0, 1e-12);
}

} // namespace
