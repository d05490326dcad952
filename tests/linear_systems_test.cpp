#include <gtest/gtest.h>

#include "maths/decompositions/mlCholeskyDecomposition.h"
#include "maths/decompositions/mlQRDecomposition.h"
#include "maths/decompositions/mlTridiagonal.h"
#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/values.h"

namespace {

/// G G^T of a G of the given kind, lifted by a few roundoffs so that it is safely positive definite. Below the diagonal
/// stand values that nobody should read.
void make_upper_triangle(mlMatrix & a, Kind kind, int n) {
    mlMatrix g;
    make_matrix(g, kind, n, n, n);
    multiply(g, mlMatrix(mlMatrixTranspose, g), a);
    for (int i = 0; i < n; ++i) {
        a(i, i) += 100 * n * roundoff * norm_1(a);
        for (int j = 0; j < i; ++j)
            a(i, j) = nan_value;
    }
}

class CholeskyOfOrder : public testing::TestWithParam<int> {};

TEST_P(CholeskyOfOrder, FactorsInvertsAndSolvesWithinAFewRoundoffs) {
    int const n = GetParam();
    for (Kind const kind : all_kinds) {
        SCOPED_TRACE(name_of(kind));
        if (kind == Kind::zero_row && n == 1) continue; // the only one that no lift makes definite
        mlMatrix upper, a, l, l_inverted, inverse, b, x;
        make_upper_triangle(upper, kind, n);
        mlCholeskyDecomposition const cholesky(upper);
        ASSERT_EQ(cholesky.is_singular(), 0);
        mlMatrix const identity(mlMatrixIdentity, n);
        cholesky.matrix_original(a);
        cholesky.matrix_l(l);
        EXPECT_LT(factor_ratio(l, mlMatrix(mlMatrixTranspose, l), a), 30);
        cholesky.matrix_l_inverted(l_inverted);
        EXPECT_LT(solve_ratio(l, l_inverted, identity), 30);
        cholesky.inverse(inverse);
        EXPECT_LT(solve_ratio(a, inverse, identity), 30);

        fill_random(b, n, 11, 3);
        cholesky.solve(b, x);
        EXPECT_LT(solve_ratio(a, x, b), 30);
        mlVector column;
        for (int c = 0; c < b.cols(); ++c) { // the vector form, in place
            column.expand(n);
            column = b.col(c);
            cholesky.solve(column, column);
            for (int i = 0; i < n; ++i)
                EXPECT_EQ(column[i], x(i, c));
        }
        cholesky.solve(b, b);
        EXPECT_TRUE(b == x);
    }
}

INSTANTIATE_TEST_SUITE_P(, CholeskyOfOrder, testing::Values(1, 2, 3, 5, 10, 50));

TEST(Cholesky, StopsAtTheFirstSquareThatIsNotPositive) {
    mlMatrix l;
    mlCholeskyDecomposition const semidefinite(Matrix(3, 3, {4, 2, 6, 0, 1, 8, 0, 0, 100})); // 1 - 1 * 1 is exactly 0
    EXPECT_EQ(semidefinite.is_singular(), 1);
    semidefinite.matrix_l(l);
    EXPECT_EQ(contents(l), (Values{2, 0, 0, 1, 0, 0, 3, 0, 0}));
    EXPECT_EQ(semidefinite.determinant(), 0.0);
    EXPECT_EQ(mlCholeskyDecomposition(Matrix(2, 2, {1, 2, 2, 1})).is_singular(), 1);
    EXPECT_EQ(mlCholeskyDecomposition(Matrix(2, 2, {nan_value, 2, 2, 1})).is_singular(), 0);
    EXPECT_EQ(mlCholeskyDecomposition(mlMatrix()).is_singular(), 0);
    EXPECT_EQ(mlCholeskyDecomposition(mlMatrix()).determinant(), 1.0);
}

TEST(Cholesky, SubtractsTheNearestTermFirstOnTheWayDownAndUp) { // the farthest first would give 4, both times
    double const p27 = 134217728.0, p54 = p27 * p27;            // doubles above 2^54 are 4 apart
    mlCholeskyDecomposition const down(Matrix(3, 3, {1, 0, 1, 0, 1, p27, 1, p27, p54 + 4}));
    EXPECT_NEAR(down.determinant(), 3.0, 1e-12);

    mlCholeskyDecomposition const up(Matrix(3, 3, {1, p27, 0.25, 0, p54 + 4, p27 / 4, 0, 0, 1.0625}));
    Vector x{p54 + 4, p27 * (p54 + 8), p54 / 4 + 2};
    up.solve(x, x);
    EXPECT_EQ(contents(x), (Values{3.75, p27, 1}));
}

TEST(GramSchmidt, RemovesTheFirstDependentRowAndAllBehindIt) {
    Matrix dependent(5, 3, {1, 0, 0, 1, 1, 0, 3, 2, 0, 0, 0, 1, 5, 5, 5}), zero_first(2, 2, {0, 0, 1, 2});
    EXPECT_EQ(mlGramSchmidt(&dependent).status(), mlGSRowRemoved);
    EXPECT_EQ(contents(dependent), (Values{1, 0, 0, 0, 1, 0}));
    EXPECT_EQ(mlGramSchmidt(&zero_first).status(), mlGSRowRemoved);
    EXPECT_EQ(zero_first.rows(), 0);
}

TEST(GramSchmidt, TellsByItsStatusWhatBecameOfAVector) {
    mlMatrix m;
    mlGramSchmidt basis(&m);
    EXPECT_EQ(basis.status(), mlGSNothingDone);
    auto const add = [&](Vector v, int keep, mlGSStatus status, double answer, Values const & left, int rows) {
        EXPECT_EQ(basis.add(&v, keep), answer);
        EXPECT_EQ(basis.status(), status);
        EXPECT_EQ(contents(v), left);
        EXPECT_EQ(m.rows(), rows);
    };
    add({}, 1, mlGSNegligible, 0.0, {}, 0);
    add({9e-6, 0}, 1, mlGSNegligible, 0.0, {9e-6, 0}, 0);
    add({2, 0}, 1, mlGSSucceeded, 4.0, {2, 0}, 1);
    add({1e-6}, 1, mlGSWrongSize, 0.0, {1e-6}, 1); // the size is looked at first
    add({3, 9e-6}, 1, mlGSRowRemoved, 0.0, {3, 9e-6}, 1);
    add({3, 5}, 0, mlGSSucceeded, 25.0, {0, 5}, 1);
    add({3, 7}, 1, mlGSSucceeded, 49.0, {0, 7}, 2);
}

TEST(QR, TheVectorsAreTheCoefficientsTimesTheOrthogonalRows) {
    for (Kind const kind : {Kind::identity, Kind::random, Kind::huge}) {
        for (int const n : {1, 2, 3, 5, 10, 50}) {
            mlMatrix a, q, r, orthogonal, coefficients, orthonormal;
            make_matrix(a, kind, n, n + 2, n);
            mlQRDecomposition plain(&q, &r), unit(&orthogonal, &coefficients);
            unit.set_Q_orthonormal();
            mlVector v(mlVectorZero, n + 2);
            for (int i = 0; i < n; ++i) {
                v = a.row(i);
                plain.add(&v);
                unit.add(&v);
            }
            ASSERT_EQ(q.rows(), n);
            EXPECT_TRUE(q == orthogonal);
            unit.get_orthonormal_Q(orthonormal);
            EXPECT_LT(orthonormality_ratio(orthonormal), 30) << name_of(kind) << n;
            EXPECT_LT(factor_ratio(r, q, a), 30) << name_of(kind) << n;
            EXPECT_LT(factor_ratio(coefficients, mlMatrix(mlMatrixTranspose, orthonormal), a), 30)
                << name_of(kind) << n;
        }
    }
}

TEST(QR, TellsByItsStatusWhatBecameOfAVector) {
    mlMatrix q, r, orthonormal;
    mlQRDecomposition plain(&q, &r);
    EXPECT_EQ(plain.status(), mlQRNothingDone);
    auto const status_after = [](mlQRDecomposition & qr, Vector v) {
        qr.add(&v);
        return qr.status();
    };
    EXPECT_EQ(status_after(plain, {1, 0}), mlQRAdded);
    EXPECT_EQ(status_after(plain, {1, 1}), mlQRAdded);
    EXPECT_EQ(contents(r), (Values{1, 0, 1, 1}));
    EXPECT_EQ(status_after(plain, {9e-6}), mlQRNegligible); // the length is looked at first
    EXPECT_EQ(status_after(plain, {1, 2, 3}), mlQRWrongSize);
    EXPECT_EQ(status_after(plain, {5, 7}), mlQRAdded); // dependent, and yet: its coefficients replace the last row
    EXPECT_EQ(contents(q), (Values{1, 0, 0, 1}));
    EXPECT_EQ(contents(r), (Values{1, 0, 5, 7}));

    mlMatrix unit_q, unit_r;
    mlQRDecomposition unit(&unit_q, &unit_r);
    unit.set_Q_orthonormal();
    EXPECT_EQ(status_after(unit, {3, 4}), mlQRAdded);
    EXPECT_EQ(contents(unit_r), (Values{5}));
    EXPECT_EQ(status_after(unit, {6, 8}), mlQRAdded);
    EXPECT_EQ(contents(unit_r), (Values{10}));
    unit.get_orthonormal_Q(orthonormal);
    EXPECT_EQ(contents(orthonormal), (Values{0.6, 0.6, 0.8, 0.8}));
}

/// A diagonally dominant system of order n, its diagonal and corners of the given sign, and its matrix in full, with or
/// without the corners.
struct TridiagonalProblem {
    TridiagonalProblem(int n, double sign, bool corners) : dense(mlMatrixZero, n, n), x(mlMatrixZero, n, 1) {
        mlRandom random(n);
        for (int i = 0; i < n; ++i) {
            lower[n - 1 - i] = random.uniform(i > 0 ? -1.0 : 0.0, 1.0) * sign; // stored backwards
            upper[i] = random.uniform(i < n - 1 ? -1.0 : 0.0, 1.0) * sign;
            diagonal[i] = random.uniform(2.0, 3.0) * sign;
            r[2 * i] = r[2 * i + 1] = random.uniform(-1.0, 1.0);
            dense(i, i) += diagonal[i];
            if (i > 0 || corners) dense(i, (i + n - 1) % n) += lower[n - 1 - i];
            if (i < n - 1 || corners) dense(i, (i + 1) % n) += upper[i];
        }
    }

    mlTridiagonal system() const {
        int const n = dense.rows();
        return mlTridiagonal(n, lower.slice(n - 1, -1, n), diagonal.slice(), upper.slice());
    }

    /// How many roundoffs explain the residual of x, solved in place.
    double ratio(void (mlTridiagonal::*solve)(mlSlice const &, mlSlice &) const) {
        mlMatrix b(mlMatrixZero, x.rows(), 1);
        mlSlice right_side = r.slice(0, 2, x.rows()), solution = x.col(0);
        b.col(0) = right_side;
        (system().*solve)(right_side, right_side);
        solution = right_side;
        return solve_ratio(dense, x, b);
    }

    mlVector lower, diagonal, upper, r;
    mlMatrix dense, x;
};

TEST(Tridiagonal, LeavesAResidualOfAFewRoundoffsWithAndWithoutCorners) {
    for (int const n : {1, 2, 3, 5, 10, 50, 400}) {
        EXPECT_LT(TridiagonalProblem(n, 1.0, false).ratio(&mlTridiagonal::solve), 4) << n;
        if (n == 1) continue;
        EXPECT_LT(TridiagonalProblem(n, 1.0, true).ratio(&mlTridiagonal::solve_periodic), 10) << n;
        EXPECT_LT(TridiagonalProblem(n, -1.0, true).ratio(&mlTridiagonal::solve_periodic), 10) << n;

        TridiagonalProblem disagreeing(n, 1.0, false);
        EXPECT_EQ(disagreeing.system().same_sign_corners(), 1);
        disagreeing.lower[n - 1] = -0.5; // the corner of row 0: both are dropped
        EXPECT_EQ(disagreeing.system().same_sign_corners(), 0);
        EXPECT_LT(disagreeing.ratio(&mlTridiagonal::solve_periodic), 4) << n;
    }
}

TEST(Tridiagonal, AnswersForItsEndRowsAndCornersLiterally) {
    auto const system = [](double * a, double * b, double * c, int n) {
        return mlTridiagonal(n, mlSlice(a, 0, n, 1), mlSlice(b, 0, n, 1), mlSlice(c, 0, n, 1));
    };
    double corner[] = {9, 1, 1}, ones[] = {1, 1, 1}, twos[] = {2, 2, 2}, zero[] = {-0.0};
    EXPECT_EQ(system(corner, twos, ones, 3).diagonally_dominant(), 1);
    EXPECT_EQ(system(corner, twos, ones, 3).non_zero_diagonal(), 1);
    for (int const row : {0, 1, 2}) {
        double diagonal[] = {1, 2, 1};
        EXPECT_EQ(system(ones, diagonal, ones, 3).diagonally_dominant(), 1) << row;
        diagonal[row] -= 0.1;
        EXPECT_EQ(system(ones, diagonal, ones, 3).diagonally_dominant(), 0) << row;
    }
    EXPECT_EQ(system(ones, zero, ones, 1).diagonally_dominant(), 0);
    EXPECT_EQ(system(ones, zero, ones, 1).non_zero_diagonal(), 0);

    double r[] = {12};
    mlSlice x(r, 0, 1, 1);
    system(twos, twos, corner, 1).solve_periodic(x, x); // of order 1, only lower[0] joins the diagonal
    EXPECT_DOUBLE_EQ(r[0], 3.0);
}

} // namespace
