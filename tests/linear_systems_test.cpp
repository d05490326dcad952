#include <tuple>
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

TEST(Cholesky, ReadsTheUpperTriangleAndFactorsAndInvertsWithinAFewRoundoffs) {
    for (Kind const kind : all_kinds) {
        for (int const n : {2, 5, 50}) {
            SCOPED_TRACE(name_of(kind) + std::to_string(n));
            mlMatrix g, upper, a, l, inverse;
            make_matrix(g, kind, n, n, n);
            multiply(g, transposed(g), upper);
            double const lift = 100 * n * roundoff * norm_1(upper); // by a few roundoffs: safely definite
            for (int i = 0; i < n; ++i) {
                upper(i, i) += lift;
                for (int j = 0; j < i; ++j)
                    upper(i, j) = nan_value; // which must not be read
            }
            mlCholeskyDecomposition const cholesky(upper);
            ASSERT_EQ(cholesky.is_singular(), 0);
            cholesky.matrix_original(a);
            cholesky.matrix_l(l);
            EXPECT_LT(factor_ratio(l, transposed(l), a), 30);
            cholesky.matrix_l_inverted(inverse);
            EXPECT_LT(solve_ratio(l, inverse, mlMatrix(mlMatrixIdentity, n)), 30);
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
    EXPECT_EQ(mlCholeskyDecomposition(mlMatrix()).determinant(), 1.0);
}

TEST(GramSchmidt, TellsByItsStatusWhatBecameOfAVector) {
    Matrix dependent(5, 3, {1, 0, 0, 1, 1, 0, 3, 2, 0, 0, 0, 1, 5, 5, 5});
    EXPECT_EQ(mlGramSchmidt(&dependent).status(), mlGSRowRemoved);
    EXPECT_EQ(contents(dependent), (Values{1, 0, 0, 0, 1, 0})); // the first such row is removed, and all after it
    mlMatrix m;
    mlGramSchmidt basis(&m);
    EXPECT_EQ(basis.status(), mlGSNothingDone);
    auto const add = [&](Vector v, int keep, mlGSStatus status, double answer, Values const & left, int rows) {
        EXPECT_EQ(basis.add(&v, keep), answer);
        EXPECT_EQ(std::tuple(basis.status(), contents(v), m.rows()), std::tuple(status, left, rows));
    };
    add({9e-6, 0}, 1, mlGSNegligible, 0.0, {9e-6, 0}, 0);
    add({2, 0}, 1, mlGSSucceeded, 4.0, {2, 0}, 1);
    add({1e-6}, 1, mlGSWrongSize, 0.0, {1e-6}, 1); // the size is tested first
    add({3, 9e-6}, 1, mlGSRowRemoved, 0.0, {3, 9e-6}, 1);
    add({3, 5}, 0, mlGSSucceeded, 25.0, {0, 5}, 1);
    add({3, 7}, 1, mlGSSucceeded, 49.0, {0, 7}, 2);
    Matrix shortest(1, 2, {3.0000000000000004e-09, 9.99999954999999e-06}); // of squared length 1e-10
    EXPECT_EQ(mlGramSchmidt(&shortest).status(), mlGSSucceeded);
    Vector added{shortest(0, 0), shortest(0, 1)};
    mlMatrix of_shortest, no_cols;
    EXPECT_EQ(mlGramSchmidt(&of_shortest).add(&added, 1), 1e-10);
    no_cols.become(2, 0);
    mlGramSchmidt later(&no_cols);
    Vector first{3, 4}, second{4, 3};
    later.add(&first, 1);
    later.add(&second, 1);
    EXPECT_EQ(Values(no_cols.begin(), no_cols.begin() + 6), (Values{0, 0, 0, 0, 3, 4})) << "rows of zeros";
    EXPECT_EQ(std::tuple(no_cols.rows(), no_cols.size()), std::tuple(4, 8));
    EXPECT_LT(std::fabs(scalar_product(no_cols.row(2), no_cols.row(3))), 1e-14);
}

TEST(GramSchmidt, MakesARowOrthogonalToThoseAboveOneAfterTheOther) {
    mlMatrix found, plain;
    fill_random(found, 6, 9, 2);
    plain.become(utCopy, found);
    mlGramSchmidt const basis(&found);
    for (int k = 0; k < 6; ++k) {
        for (int j = 0; j < k; ++j) {
            double const factor = scalar_product(plain.row(k), plain.row(j)) / plain.row(j).modulus_squared();
            for (int c = 0; c < 9; ++c)
                plain(k, c) -= plain(j, c) * factor;
        }
    }
    EXPECT_EQ(contents(found), contents(plain));
}

TEST(QR, TheVectorsAreTheCoefficientsTimesTheOrthogonalRows) {
    for (int const n : {1, 2, 5, 50}) {
        mlMatrix a, q, r, orthogonal, coefficients, orthonormal;
        fill_random(a, n, n + 2, n);
        mlQRDecomposition plain(&q, &r), unit(&orthogonal, &coefficients);
        unit.set_Q_orthonormal();
        for (int i = 0; i < n; ++i) {
            mlVector const v(a.row(i));
            plain.add(&v);
            unit.add(&v);
        }
        unit.get_orthonormal_Q(orthonormal);
        EXPECT_LT(orthonormality_ratio(orthonormal), 30);
        EXPECT_LT(factor_ratio(r, q, a), 30);
        EXPECT_LT(factor_ratio(coefficients, transposed(orthonormal), a), 30);
    }
}

TEST(QR, TellsByItsStatusWhatBecameOfAVector) {
    mlMatrix q, r, unit_q, unit_r;
    mlQRDecomposition plain(&q, &r), unit(&unit_q, &unit_r);
    unit.set_Q_orthonormal();
    auto const add = [&](mlQRDecomposition & qr, Vector v, mlQRStatus status, Values const & coefficients) {
        qr.add(&v);
        EXPECT_EQ(std::tuple(qr.status(), contents(&qr == &plain ? r : unit_r)), std::tuple(status, coefficients))
            << v[0];
    };
    EXPECT_EQ(plain.status(), mlQRNothingDone);
    add(plain, {1, 0}, mlQRAdded, {1});
    add(plain, {9e-6}, mlQRNegligible, {1}); // the length is tested first
    add(plain, {1, 2, 3}, mlQRWrongSize, {1});
    add(plain, {5, 0}, mlQRAdded, {5}); // dependent, and yet: its coefficients replace the last row
    add(unit, {3, 4}, mlQRAdded, {5});
    add(unit, {6, 8}, mlQRAdded, {10});
}

TEST(Tridiagonal, LeavesAResidualOfAFewRoundoffsWithAndWithoutCorners) {
    for (int const n : {2, 3, 5, 400}) {
        for (int const kind : {0, 1, 2, 3}) { // without corners, with them, both negative, of unlike signs: dropped
            bool const counted = kind == 1 || kind == 2;
            double const sign = kind == 2 ? -1 : 1;
            mlMatrix band, a(mlMatrixZero, n, n);
            fill_random(band, n, 4, n); // the diagonals and the right-hand side
            mlSlice lower = band.col(0), diagonal = band.col(1), upper = band.col(2), r = band.col(3);
            lower[0] = kind == 3 ? -0.5 : 0.5 * sign;
            upper[n - 1] = 0.9 * sign;
            for (int i = 0; i < n; ++i) {
                a(i, i) += diagonal[i] += 3.0 * sign;
                if (i > 0 || counted) a(i, (i + n - 1) % n) += lower[i];
                if (i < n - 1 || counted) a(i, (i + 1) % n) += upper[i];
            }
            mlMatrix const b(utConvert, contents(r).data(), n, 1);
            mlTridiagonal const system(n, lower, diagonal, upper);
            kind > 0 ? system.solve_periodic(r, r) : system.solve(r, r);
            EXPECT_LT(solve_ratio(a, mlMatrix(utConvert, contents(r).data(), n, 1), b), 10) << n;
            EXPECT_EQ(system.same_sign_corners(), kind != 3);
        }
    }
}

TEST(Tridiagonal, AnswersForItsEndRowsAndCornersLiterally) {
    auto const answers = [](Vector const & lower, Vector const & diagonal, Vector const & upper) {
        mlTridiagonal const system(diagonal.size(), lower.slice(), diagonal.slice(), upper.slice());
        return std::pair(system.diagonally_dominant(), system.non_zero_diagonal());
    };
    EXPECT_EQ(answers({9, 1, 1}, {1, 2, 1}, {1, 1, 9}), std::pair(1, 1));
    EXPECT_EQ(answers({9, 1, 1}, {0, 2, 1}, {1, 1, 9}), std::pair(0, 0));
    EXPECT_EQ(answers({9, 1, 1}, {1, 1.9, 1}, {1, 1, 9}), std::pair(0, 1));
    EXPECT_EQ(answers({9, 1, 1}, {1, 2, -0.0}, {1, 1, 9}), std::pair(0, 0));
    EXPECT_EQ(answers({0}, {-3}, {4}), std::pair(0, 1)); // for order 1 both corners are tested
    EXPECT_EQ(answers({4}, {-3}, {0}), std::pair(0, 1));
    for (double const zero : {0.0, -0.0}) // has both signs
        for (double const sign : {1.0, -1.0}) {
            Vector const diagonal{zero, sign, zero}, corner{sign, 1, sign};
            EXPECT_EQ(mlTridiagonal(3, corner.slice(), diagonal.slice(), corner.slice()).same_sign_corners(), 1);
        }
    Vector two{2}, nine{9}, x{12};
    mlSlice solution = x.slice();
    mlTridiagonal(1, two.slice(), two.slice(), nine.slice()).solve_periodic(solution, solution);
    EXPECT_DOUBLE_EQ(x[0], 3.0); // and only lower[0] joins the diagonal
}

} // namespace
