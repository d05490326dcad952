#include "maths/decompositions/mlLUDecomposition.h"

#include <gtest/gtest.h>

#include <tuple>

#include "tests/support/matrices.h"
#include "tests/support/ratios.h"

namespace {

struct Factors {
    explicit Factors(mlLUDecomposition const & lu) {
        lu.lower_matrix(lower);
        lu.upper_matrix(upper);
        lu.permutation_matrix(permutation);
    }
    mlMatrix lower, upper, permutation;
};

class LUOf : public testing::TestWithParam<std::tuple<Kind, int>> {};

TEST_P(LUOf, FactorsSolvesAndInvertsWithinAFewRoundoffs) {
    auto const [kind, n] = GetParam();
    mlMatrix a, b, x, inverse;
    make_matrix(a, kind, n, n, 100 + n);
    fill_random(b, n, 1, 200 + n);
    mlLUDecomposition const lu(a);
    Factors const f(lu);
    mlMatrix wide; // its further columns are solved in place, out of sight
    wide.become(utCopy, a);
    wide.expand(n, n + 2, 1.0);
    EXPECT_EQ(Factors(mlLUDecomposition(wide)).upper, f.upper);
    ASSERT_EQ(lu.is_singular(), kind == Kind::zero_row);
    if (lu.is_singular()) return;

    EXPECT_LT(factor_ratio(f.lower, f.upper, mlMatrix(mlMatrixProduct, f.permutation, a)), 30.0);
    lu.solve(b, x);
    EXPECT_LT(solve_ratio(a, x, b), 30.0);
    lu.inverse(inverse);
    EXPECT_LT(solve_ratio(a, inverse, mlMatrix(mlMatrixIdentity, n)), 30.0);

    mlVector v(mlVectorZero, n);
    v = b.col(0);
    lu.solve(v, v);
    EXPECT_LT(solve_ratio(a, mlMatrix(utConvert, v.data(), n, 1), b), 30.0);
    lu.solve(b, b);
    EXPECT_EQ(b, x) << "solving in place";
}

INSTANTIATE_TEST_SUITE_P(, LUOf, testing::Combine(testing::ValuesIn(all_kinds), testing::Values(1, 2, 3, 5, 10, 50)),
                         [](auto const & tested) {
                             return name_of(std::get<0>(tested.param)) + std::to_string(std::get<1>(tested.param));
                         });

struct Exact {
    double a[9], packed[9]; // packed: U, with the multipliers of L below its diagonal
    int row[3], singular;
    double determinant;
};

TEST(LU, PrefersTheUpperOfEqualPivotsAndKeepsWhatTheColumnsBeforeASmallOneMade) {
    Exact const cases[] = {
        {{1, 2, 0, -1, 3, 0, 0, 0, 1}, {1, 2, 0, -1, 5, 0, 0, 0, 1}, {0, 1, 2}, 0, 5},
        {{0, 1, 0, 0, 0, 1, 2, 0, 0}, {2, 0, 0, 0, 1, 0, 0, 0, 1}, {2, 0, 1}, 0, 2},
        {{2, 1, 4, 4, 2, 6, 1, 0.5, 7}, {4, 2, 6, 0.5, 0, 1, 0.25, 0, 5.5}, {1, 0, 2}, 1, 0},
        {{1, 0, 0, 0, 0, 3, 0, 1e-21, 5}, {1, 0, 0, 0, 1e-21, 5, 0, 0, 3}, {0, 2, 1}, 1, -1e-21 * 3}, // exchanged first
    };
    for (Exact const & e : cases) {
        mlMatrix const a(utConvert, e.a, 3, 3);
        mlLUDecomposition const lu(a);
        Factors const f(lu);
        for (int k = 0; k < 9; ++k)
            EXPECT_EQ((k % 3 < k / 3 ? f.lower : f.upper).data()[k], e.packed[k]) << "element " << k;
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(f.permutation(i, e.row[i]), 1.0) << "row " << i;
        EXPECT_EQ(lu.is_singular(), e.singular);
        EXPECT_EQ(lu.determinant(), e.determinant);
    }
}

TEST(LU, PassesPivotsOfTheAbsoluteThresholdAndNaNsAndSkipsNoZeroMultiplier) {
    mlMatrix a(mlMatrixIdentity, 2);
    a(1, 1) = -1e-20;
    EXPECT_EQ(mlLUDecomposition(a).is_singular(), 0);
    a(1, 1) = std::nextafter(1e-20, 0.0);
    EXPECT_EQ(mlLUDecomposition(a).is_singular(), 1);
    a(0, 1) = std::numeric_limits<double>::infinity(); // a(1, 1) - 0 * infinity
    EXPECT_EQ(mlLUDecomposition(a).is_singular(), 0);
    EXPECT_TRUE(std::isnan(Factors(mlLUDecomposition(a)).upper(1, 1)));
}

TEST(LU, MultipliesTheLastRowByAReciprocalInTheMatrixFormAlone) {
    double const elements[] = {49, 0, 0, 49};
    mlMatrix const a(utConvert, elements, 2, 2);
    mlMatrix x;
    mlLUDecomposition(a).solve(a, x);
    EXPECT_EQ(x(0, 0), 1.0);
    EXPECT_EQ(x(1, 1), 1.0 - roundoff / 2) << "49 times the rounded 1/49";
    mlVector v(mlVectorZero, 2);
    v.fill(49.0);
    mlLUDecomposition(a).solve(v, v);
    EXPECT_EQ(v[1], 1.0);
}

TEST(LU, SolvesAsManyEquationsAsTheCallersMatrixHasRows) {
    double const elements[] = {0, 4, 1, 2, 0, 1, 0, 0, 8}, b[] = {8, 2, 5}, solution[] = {1, 2, 5};
    mlMatrix a(utConvert, elements, 3, 3), x;
    mlLUDecomposition const lu(a);
    a.delete_row(2);
    lu.solve(mlMatrix(utConvert, b, 3, 1), x);
    EXPECT_EQ(x, mlMatrix(utConvert, solution, 3, 1));
    mlVector v;
    lu.solve(v.become(utConvert, b, 3), v);
    EXPECT_EQ(v.slice(), x.col(0));
}

TEST(LU, OfNoRowsIsRegular) {
    mlMatrix const none;
    mlMatrix inverse(mlMatrixIdentity, 2);
    mlLUDecomposition const lu(none);
    lu.inverse(inverse);
    EXPECT_EQ(inverse.rows() + lu.is_singular(), 0);
    EXPECT_EQ(lu.determinant(), 1.0);
}

} // namespace
