#include <utility>

#include <gtest/gtest.h>

#include "maths/decompositions/mlCholeskyDecomposition.h"
#include "maths/decompositions/mlQRDecomposition.h"
#include "maths/decompositions/mlTridiagonal.h"
#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/values.h"

namespace {

mlMatrix transposed(mlMatrix const & m) { return mlMatrix(mlMatrixTranspose, m); }

TEST(Cholesky, FactorsInvertsAndSolvesWithinAFewRoundoffs) {
    for (Kind const kind : all_kinds) {
        for (int const n : {1, 2, 3, 5, 10, 50}) {
            if (kind == Kind::zero_row && n == 1) continue; // the only one that no lift makes definite
            SCOPED_TRACE(name_of(kind) + std::to_string(n));
            mlMatrix g, upper, a, l, l_inverted, inverse, b, x;
            make_matrix(g, kind, n, n, n);
            multiply(g, transposed(g), upper);
            double const lift = 100 * n * roundoff * norm_1(upper); // by a few roundoffs: safely definite
            for (int i = 0; i < n; ++i) {
                upper(i, i) += lift;
                for (int j = 0; j < i; ++j)
                    upper(i, j) = nan_value; // which nobody should read
            }
            mlCholeskyDecomposition const cholesky(upper);
            ASSERT_EQ(cholesky.is_singular(), 0);
            cholesky.matrix_original(a);
            cholesky.matrix_l(l);
            cholesky.matrix_l_inverted(l_inverted);
            cholesky.inverse(inverse);
            EXPECT_LT(factor_ratio(l, transposed(l), a), 30);
            EXPECT_LT(solve_ratio(l, l_inverted, mlMatrix(mlMatrixIdentity, n)), 30);
            EXPECT_LT(solve_ratio(a, inverse, mlMatrix(mlMatrixIdentity, n)), 30);
            fill_random(b, n, 11, 3);
            cholesky.solve(b, x);
            EXPECT_LT(solve_ratio(a, x, b), 30);
            mlVector v(mlVectorZero, n);
            v = b.col(10);
            cholesky.solve(b, b);
            cholesky.solve(v, v); // to the bits of a column
            EXPECT_TRUE(b == x && contents(v) == contents(x.col(10)));
        }
    }
}

TEST(Cholesky, StopsAtTheFirstSquareThatIsNotPositive) {
    mlMatrix l;
    mlCholeskyDecomposition const semidefinite(Matrix(3, 3, {4, 2, 6, 0, 1, 8, 0, 0, 100})); // 1 - 1 * 1 is exactly 0
    EXPECT_EQ(semidefinite.is_singular(), 1);
    semidefinite.matrix_l(l);
    EXPECT_EQ(contents(l), (Values{2, 0, 0, 1, 0, 0, 3, 0, 0}));
    EXPECT_EQ(semidefinite.determinant(), 0.0);
    EXPECT_EQ(mlCholeskyDecomposition(Matrix(1, 1, {nan_value})).is_singular(), 0);

    mlMatrix g, a, whole; // of large ones too: the columns before it are in L, the others as they were given
    fill_random(g, 200, 200, 1);
    multiply(g, transposed(g), a);
    mlCholeskyDecomposition(a).matrix_l(whole);
    for (int const first : {3, 100, 199}) {
        double const square = std::exchange(a(first, first), -1.0);
        mlCholeskyDecomposition const indefinite(a);
        EXPECT_EQ(indefinite.is_singular(), 1);
        indefinite.matrix_l(l);
        for (int k = 0; k < 200 * 200; ++k)
            ASSERT_EQ(l[k], k % 200 < first ? whole[k] : k / 200 > k % 200 ? a[k] : 0.0) << first << ", " << k;
        a(first, first) = square;
    }
    EXPECT_EQ(mlCholeskyDecomposition(mlMatrix()).determinant(), 1.0);
}

TEST(Cholesky, SubtractsTheNearestTermFirstOnTheWayDownAndUp) { // the farthest first would give 4, both times
    double const p27 = 134217728.0, p54 = p27 * p27;            // doubles above 2^54 are 4 apart
    mlCholeskyDecomposition const down(Matrix(3, 3, {1, 0, 1, 0, 1, p27, 1, p27, p54 + 4}));
    EXPECT_NEAR(down.determinant(), 3.0, 1e-12);
    Vector x{p54 + 4, p27 * (p54 + 8), p54 / 4 + 2};
    mlCholeskyDecomposition(Matrix(3, 3, {1, p27, 0.25, 0, p54 + 4, p27 / 4, 0, 0, 1.0625})).solve(x, x);
    EXPECT_EQ(contents(x), (Values{3.75, p27, 1}));
}

TEST(GramSchmidt, TellsByItsStatusWhatBecameOfAVector) {
    Matrix dependent(5, 3, {1, 0, 0, 1, 1, 0, 3, 2, 0, 0, 0, 1, 5, 5, 5});
    EXPECT_EQ(mlGramSchmidt(&dependent).status(), mlGSRowRemoved);
    EXPECT_EQ(contents(dependent), (Values{1, 0, 0, 0, 1, 0})); // the first such row goes, and all behind it
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
            SCOPED_TRACE(name_of(kind) + std::to_string(n));
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
            EXPECT_TRUE(q.rows() == n && q == orthogonal);
            unit.get_orthonormal_Q(orthonormal);
            EXPECT_LT(orthonormality_ratio(orthonormal), 30);
            EXPECT_LT(factor_ratio(r, q, a), 30);
            EXPECT_LT(factor_ratio(coefficients, transposed(orthonormal), a), 30);
        }
    }
}

TEST(QR, TellsByItsStatusWhatBecameOfAVector) {
    mlMatrix q, r, unit_q, unit_r, orthonormal;
    mlQRDecomposition plain(&q, &r), unit(&unit_q, &unit_r);
    EXPECT_EQ(plain.status(), mlQRNothingDone);
    unit.set_Q_orthonormal();
    auto const add = [&](mlQRDecomposition & qr, Vector v, mlQRStatus status, Values const & coefficients) {
        qr.add(&v);
        EXPECT_EQ(qr.status(), status);
        EXPECT_EQ(contents(&qr == &plain ? r : unit_r), coefficients);
    };
    add(plain, {1, 0}, mlQRAdded, {1});
    add(plain, {1, 1}, mlQRAdded, {1, 0, 1, 1});
    add(plain, {9e-6}, mlQRNegligible, {1, 0, 1, 1}); // the length is looked at first
    add(plain, {1, 2, 3}, mlQRWrongSize, {1, 0, 1, 1});
    add(plain, {5, 7}, mlQRAdded, {1, 0, 5, 7}); // dependent, and yet: its coefficients replace the last row
    EXPECT_EQ(contents(q), (Values{1, 0, 0, 1}));
    add(unit, {3, 4}, mlQRAdded, {5});
    add(unit, {6, 8}, mlQRAdded, {10});
    unit.get_orthonormal_Q(orthonormal);
    EXPECT_EQ(contents(orthonormal), (Values{0.6, 0.6, 0.8, 0.8}));
}

TEST(Tridiagonal, LeavesAResidualOfAFewRoundoffsWithAndWithoutCorners) {
    struct {
        void (mlTridiagonal::*solve)(mlSlice const &, mlSlice &) const;
        double sign, corner; // sign of the system, and one of its corners
        bool counted;        // the corners, as part of the matrix
    } const cases[] = {{&mlTridiagonal::solve, 1, 0.5, false},
                       {&mlTridiagonal::solve_periodic, 1, 0.5, true},
                       {&mlTridiagonal::solve_periodic, -1, 0.5, true},
                       {&mlTridiagonal::solve_periodic, 1, -0.5, false}}; // of other signs: both are dropped
    for (int const n : {2, 3, 5, 10, 50, 400}) {
        for (auto const & [solve, sign, corner, counted] : cases) {
            mlMatrix band, a(mlMatrixZero, n, n), b(mlMatrixZero, n, 1), x(mlMatrixZero, n, 1);
            fill_random(band, n, 4, n); // the diagonals and the right-hand side
            mlSlice lower = band.col(0), diagonal = band.col(1), upper = band.col(2), r = band.col(3);
            lower[0] = corner * sign;
            upper[n - 1] = 0.9 * sign;
            for (int i = 0; i < n; ++i) {
                a(i, i) += diagonal[i] += 3.0 * sign;
                if (i > 0 || counted) a(i, (i + n - 1) % n) += lower[i];
                if (i < n - 1 || counted) a(i, (i + 1) % n) += upper[i];
            }
            mlTridiagonal const system(n, lower, diagonal, upper);
            EXPECT_EQ(system.same_sign_corners(), corner > 0.0);
            b.col(0) = r;
            (system.*solve)(r, r);
            x.col(0) = r;
            EXPECT_LT(solve_ratio(a, x, b), 10) << n;
        }
    }
}

TEST(Tridiagonal, AnswersForItsEndRowsAndCornersLiterally) {
    struct {
        Vector lower, diagonal, upper;
        int dominant, non_zero;
    } const cases[] = {
        {{9, 1, 1}, {1, 2, 1}, {1, 1, 9}, 1, 1},
        {{9, 1, 1}, {0, 2, 1}, {1, 1, 9}, 0, 0},
        {{9, 1, 1}, {1, 1.9, 1}, {1, 1, 9}, 0, 1},
        {{9, 1, 1}, {1, 2, -0.0}, {1, 1, 9}, 0, 0},
        {{0}, {-3}, {4}, 0, 1}, // of order 1, the corners are asked about
    };
    for (auto const & c : cases) {
        mlTridiagonal const system(c.diagonal.size(), c.lower.slice(), c.diagonal.slice(), c.upper.slice());
        EXPECT_EQ(system.diagonally_dominant(), c.dominant) << &c - cases;
        EXPECT_EQ(system.non_zero_diagonal(), c.non_zero) << &c - cases;
    }
    Vector two{2}, nine{9}, x{12};
    mlSlice solution = x.slice();
    mlTridiagonal(1, two.slice(), two.slice(), nine.slice()).solve_periodic(solution, solution);
    EXPECT_DOUBLE_EQ(x[0], 3.0); // and only lower[0] joins the diagonal
}

} // namespace
