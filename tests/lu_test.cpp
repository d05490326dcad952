#include "tests/support/ratios.h"
#include "tests/support/test.h"

namespace {

TEST(LU, PrefersTheUpperOfEqualPivotsAndKeepsWhatTheColumnsBeforeASmallOneMade) {
    // packed: U, with the multipliers of L below its diagonal
    auto const expect = [](Values const & a, Values const & packed, Values const & rows, int singular, double det) {
        mlMatrix const m(utConvert, a.data(), 3, 3);
        mlLUDecomposition const lu(m);
        mlMatrix lower, upper, permutation;
        lu.lower_matrix(lower);
        lu.upper_matrix(upper);
        lu.permutation_matrix(permutation);
        for (int k = 0; k < 9; ++k) {
            EXPECT_TRUE(same((k % 3 < k / 3 ? lower : upper)[k], packed[k])) << "element " << k << " of " << upper;
            EXPECT_EQ(permutation[k], k % 3 == rows[k / 3]) << "element " << k;
        }
        EXPECT_EQ(lu.is_singular(), singular);
        EXPECT_TRUE(same(lu.determinant(), det)) << lu.determinant();
    };
    expect({1, 2, 0, -1, 3, 0, 0, 0, 1}, {1, 2, 0, -1, 5, 0, 0, 0, 1}, {0, 1, 2}, 0, 5);
    expect({2, 1, 4, 4, 2, 6, 1, 0.5, 7}, {4, 2, 6, 0.5, 0, 1, 0.25, 0, 5.5}, {1, 0, 2}, 1, 0);
    // exchanged first
    expect({1, 0, 0, 0, 0, 3, 0, 1e-21, 5}, {1, 0, 0, 0, 1e-21, 5, 0, 0, 3}, {0, 2, 1}, 1, -1e-21 * 3);
    // The threshold is absolute, and a NaN is not below it.
    double const below = std::nextafter(1e-20, 0.0);
    expect({1, 0, 0, 0, 1, 0, 0, 0, -1e-20}, {1, 0, 0, 0, 1, 0, 0, 0, -1e-20}, {0, 1, 2}, 0, -1e-20);
    expect({1, 0, 0, 0, 1, 0, 0, 0, below}, {1, 0, 0, 0, 1, 0, 0, 0, below}, {0, 1, 2}, 1, below);
    expect({1, 0, infinity, 0, 1, 0, 0, 0, 1}, {1, 0, infinity, 0, 1, nan_value, 0, 0, nan_value}, {0, 1, 2}, 0,
           nan_value);
    mlMatrix const none;
    EXPECT_EQ(mlLUDecomposition(none).determinant(), 1.0);
}

TEST(LU, MultipliesTheLastOfTheCallersRowsByAReciprocalInTheMatrixFormAlone) {
    Matrix a(3, 3, {0, 49, 1, 2, 0, 1, 0, 0, 8});
    mlMatrix x;
    mlLUDecomposition const lu(a);
    a.delete_row(2); // two equations are left
    Vector v{49, 2, 5};
    lu.solve(mlMatrix(utConvert, v.data(), 3, 1), x);
    lu.solve(v, v);
    EXPECT_EQ(contents(x), (Values{1, 1 - roundoff / 2, 5})); // 49 times the rounded 1/49
    EXPECT_EQ(contents(v), (Values{1, 1, 5}));
}

} // namespace
