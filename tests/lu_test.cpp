#include "maths/decompositions/mlLUDecomposition.h"

#include <tuple>

#include <gtest/gtest.h>

#include "tests/support/ratios.h"
#include "tests/support/values.h"

namespace {

struct Factors {
    explicit Factors(mlLUDecomposition const & lu) {
        lu.lower_matrix(lower);
        lu.upper_matrix(upper);
        lu.permutation_matrix(permutation);
    }
    mlMatrix lower, upper, permutation;
};

TEST(LU, PrefersTheUpperOfEqualPivotsAndKeepsWhatTheColumnsBeforeASmallOneMade) {
    // packed: U, with the multipliers of L below its diagonal
    auto const expect = [](Values const & a, Values const & packed, Values const & rows, int singular, double det) {
        mlMatrix const m(utConvert, a.data(), 3, 3);
        mlLUDecomposition const lu(m);
        Factors const f(lu);
        for (int k = 0; k < 9; ++k) {
            EXPECT_EQ((k % 3 < k / 3 ? f.lower : f.upper).data()[k], packed[k]) << "element " << k;
            EXPECT_EQ(f.permutation.data()[k], k % 3 == rows[k / 3]) << "element " << k;
        }
        EXPECT_EQ(std::tuple(lu.is_singular(), lu.determinant()), std::tuple(singular, det)) << lu.determinant();
    };
    expect({1, 2, 0, -1, 3, 0, 0, 0, 1}, {1, 2, 0, -1, 5, 0, 0, 0, 1}, {0, 1, 2}, 0, 5);
    expect({2, 1, 4, 4, 2, 6, 1, 0.5, 7}, {4, 2, 6, 0.5, 0, 1, 0.25, 0, 5.5}, {1, 0, 2}, 1, 0);
    expect({1, 0, 0, 0, 0, 3, 0, 1e-21, 5}, {1, 0, 0, 0, 1e-21, 5, 0, 0, 3}, {0, 2, 1}, 1,
           -1e-21 * 3); // exchanged first
    mlMatrix const none;
    EXPECT_EQ(mlLUDecomposition(none).determinant(), 1.0);

    Matrix a(2, 2, {1, 0, 0, -1e-20}); // the threshold is absolute
    EXPECT_EQ(mlLUDecomposition(a).is_singular(), 0);
    a(1, 1) = std::nextafter(1e-20, 0.0);
    EXPECT_EQ(mlLUDecomposition(a).is_singular(), 1);
    a(0, 1) = infinity; // a(1, 1) - 0 * infinity
    EXPECT_TRUE(std::isnan(Factors(mlLUDecomposition(a)).upper(1, 1)) && mlLUDecomposition(a).is_singular() == 0);
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
