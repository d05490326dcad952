#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/test.h"

namespace {

mlMatrix transposed(mlMatrix const & m) { return mlMatrix(mlMatrixTranspose, m); }

TEST(Cholesky, ReadsTheUpperTriangleKeepsItAndInvertsItsFactor) {
    for (int const n : {2, 5, 50}) {
        mlMatrix const g = random_matrix(n, n, n);
        mlMatrix a, original, l, inverse;
        multiply(g, transposed(g), a);
        mlMatrix upper(utCopy, a);
        for (int k = 0; k < n * n; ++k)
            if (k % n < k / n) upper[k] = nan_value; // which must not be read
        mlCholeskyDecomposition const cholesky(upper);
        cholesky.matrix_original(original);
        EXPECT_EQ(contents(original), contents(a)) << n;
        cholesky.matrix_l(l);
        cholesky.matrix_l_inverted(inverse);
        EXPECT_LT(solve_ratio(l, inverse, mlMatrix(mlMatrixIdentity, n)), 30) << n;
    }
}

TEST(Cholesky, HasTheDeterminantZeroWhereAPivotIsAndOneOfNoRows) {
    Matrix const semidefinite(3, 3, {4, 2, 6, 0, 1, 8, 0, 0, 100}); // 1 - 1 * 1 is exactly 0
    EXPECT_EQ(mlCholeskyDecomposition(semidefinite).determinant(), 0.0);
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
    double const x = 3.0000000000000004e-09, y = 9.99999954999999e-06; // of squared length 1e-10
    add({9e-6, 0}, 1, mlGSNegligible, 0.0, {9e-6, 0}, 0);
    add({x, y}, 0, mlGSSucceeded, 1e-10, {x, y}, 0);
    add({2, 0}, 1, mlGSSucceeded, 4.0, {2, 0}, 1);
    add({1e-6}, 1, mlGSWrongSize, 0.0, {1e-6}, 1); // the size is tested first
    add({3, 9e-6}, 1, mlGSRowRemoved, 0.0, {3, 9e-6}, 1);
    add({3, 5}, 0, mlGSSucceeded, 25.0, {0, 5}, 1);
    add({3, 7}, 1, mlGSSucceeded, 49.0, {0, 7}, 2);
    Matrix shortest(1, 2, {x, y});
    EXPECT_EQ(mlGramSchmidt(&shortest).status(), mlGSSucceeded);
    mlMatrix zeros;
    zeros.become(2, 0); // rows that become as long as the first vector
    mlGramSchmidt later(&zeros);
    Vector first{3, 4}, second{4, 3};
    for (Vector * const v : {&first, &second})
        later.add(v, 1);
    EXPECT_EQ(Values(zeros.begin(), zeros.begin() + 6), (Values{0, 0, 0, 0, 3, 4}));
    EXPECT_EQ(std::tuple(zeros.rows(), zeros.size()), std::tuple(4, 8));
    EXPECT_LT(std::fabs(scalar_product(zeros.row(2), zeros.row(3))), 1e-14);
}

TEST(GramSchmidt, MakesARowOrthogonalToThoseAboveOneAfterTheOther) {
    mlMatrix found = random_matrix(6, 9, 2), plain(utCopy, found);
    mlGramSchmidt const basis(&found);
    for (int k = 0; k < 6; ++k) {
        for (int j = 0; j < k; ++j) {
            double const factor = scalar_product(plain.row(k), plain.row(j)) / plain.row(j).modulus_squared();
            plain.row(k).add_multiple(-factor, plain.row(j));
        }
    }
    EXPECT_EQ(contents(found), contents(plain));
}

TEST(QR, TheVectorsAreTheCoefficientsTimesTheOrthogonalRows) {
    for (int const n : {1, 2, 5, 50}) {
        mlMatrix const a = random_matrix(n, n + 2, n);
        mlMatrix q, r, orthogonal, coefficients, orthonormal;
        mlQRDecomposition plain(&q, &r), unit(&orthogonal, &coefficients);
        unit.set_Q_orthonormal();
        for (int i = 0; i < n; ++i) {
            mlVector const v(a.row(i));
            plain.add(&v);
            unit.add(&v);
        }
        unit.get_orthonormal_Q(orthonormal);
        EXPECT_LT(orthonormality_ratio(orthonormal), 30);
        for (int i = 0; i < n; ++i) {
            mlVector row(orthogonal.row(i));
            row /= std::sqrt(row.modulus_squared());
            EXPECT_EQ(contents(row), contents(orthonormal.col(i))) << "divided by its length, not by the reciprocal";
        }
        EXPECT_LT(factor_ratio(r, q, a), 30);
        EXPECT_LT(factor_ratio(coefficients, transposed(orthonormal), a), 30);
    }
}

TEST(QR, TellsByItsStatusWhatBecameOfAVector) {
    for (int const orthonormal : {0, 1}) {
        mlMatrix q, r;
        mlQRDecomposition qr(&q, &r);
        if (orthonormal) qr.set_Q_orthonormal();
        EXPECT_EQ(qr.status(), mlQRNothingDone);
        auto const add = [&](Vector v, mlQRStatus status, double coefficient) {
            qr.add(&v);
            EXPECT_EQ(std::tuple(qr.status(), contents(r)), std::tuple(status, Values{coefficient})) << v;
        };
        add({3, 4}, mlQRAdded, orthonormal ? 5 : 1);
        add({9e-6}, mlQRNegligible, orthonormal ? 5 : 1); // the length is tested first
        add({1, 2, 3}, mlQRWrongSize, orthonormal ? 5 : 1);
        add({6, 8}, mlQRAdded, orthonormal ? 10 : 2); // dependent, and yet: its coefficients replace the last row
    }
}

TEST(Tridiagonal, LeavesAResidualOfAFewRoundoffsWithAndWithoutCorners) {
    for (int const n : {2, 3, 5, 400}) {
        for (int const kind : {0, 1, 2, 3}) { // without corners, with them, both negative, of unlike signs: dropped
            bool const counted = kind == 1 || kind == 2;
            double const sign = kind == 2 ? -1 : 1;
            mlMatrix band = random_matrix(n, 4, n), a(mlMatrixZero, n, n), b(n, 1); // the diagonals and b
            mlSlice lower = band.col(0), diagonal = band.col(1), upper = band.col(2), r = band.col(3);
            b.col(0) = r;
            lower[0] = kind == 3 ? -0.5 : 0.5 * sign;
            upper[n - 1] = 0.9 * sign;
            for (int i = 0; i < n; ++i) {
                a(i, i) += diagonal[i] += 3.0 * sign;
                if (i > 0 || counted) a(i, (i + n - 1) % n) += lower[i];
                if (i < n - 1 || counted) a(i, (i + 1) % n) += upper[i];
            }
            mlTridiagonal const system(n, lower, diagonal, upper);
            kind > 0 ? system.solve_periodic(r, r) : system.solve(r, r);
            EXPECT_LT(solve_ratio(a, mlMatrix(contents(r), n, 1), b), 10) << n;
            EXPECT_EQ(system.same_sign_corners(), kind != 3);
        }
    }
}

TEST(Tridiagonal, AnswersForItsEndRowsAndCornersLiterally) {
    auto const expect = [](Vector const & lower, Vector const & diagonal, Vector const & upper, int dominant,
                           int non_zero, int same_sign) {
        mlTridiagonal const system(diagonal.size(), lower.slice(), diagonal.slice(), upper.slice());
        EXPECT_EQ(std::tuple(system.diagonally_dominant(), system.non_zero_diagonal(), system.same_sign_corners()),
                  std::tuple(dominant, non_zero, same_sign))
            << lower << diagonal << upper;
    };
    expect({9, 1, 1}, {1, 2, 1}, {1, 1, 9}, 1, 1, 1);
    expect({9, 1, 1}, {0, 2, 1}, {1, 1, 9}, 0, 0, 1);
    expect({9, 1, 1}, {1, 1.9, 1}, {1, 1, 9}, 0, 1, 1);
    expect({9, 1, 1}, {1, 2, -0.0}, {1, 1, 9}, 0, 0, 1);
    expect({}, {}, {}, 1, 1, 1);
    expect({0}, {-3}, {4}, 0, 1, 0); // for order 1 both corners are tested
    expect({4}, {-3}, {0}, 0, 1, 0);
    for (double const zero : {0.0, -0.0}) // has both signs
        for (double const sign : {1.0, -1.0})
            expect({sign, 1, sign}, {zero, sign, zero}, {sign, 1, sign}, 0, 0, 1);
    Vector two{2}, nine{9}, x{12};
    mlSlice solution = x.slice();
    mlTridiagonal(1, two.slice(), two.slice(), nine.slice()).solve_periodic(solution, solution);
    EXPECT_DOUBLE_EQ(x[0], 3.0); // and only lower[0] joins the diagonal
}

} // namespace
