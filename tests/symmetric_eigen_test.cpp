#include "maths/decompositions/mlSymmetricEigen.h"

#include <cmath>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "maths/core/mlRandom.h"
#include "tests/support/bits.h"
#include "tests/support/ratios.h"
#include "tests/support/values.h"

namespace {

/// a(i, j) = element(i, j) for i <= j, and symmetric.
template <class Element> mlMatrix symmetric(int n, Element element) {
    mlMatrix a(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; ++j)
            a(i, j) = a(j, i) = element(i, j);
    return a;
}

struct Family {
    char const * name;
    std::function<mlMatrix(int n)> make;
    friend void PrintTo(Family const & family, std::ostream * stream) { *stream << family.name; }
};

mlMatrix random(int n, double scale) {
    mlRandom numbers(n + 1);
    return symmetric(n, [&](int, int) { return scale * numbers.uniform(-1.0, 1.0); });
}

Family const families[] = {
    {"Zero", [](int n) { return symmetric(n, [](int, int) { return 0.0; }); }},
    {"Random", [](int n) { return random(n, 1.0); }},
    {"Huge", [](int n) { return random(n, 1e307); }},
    {"Tiny", [](int n) { return random(n, 1e-295); }},
    {"Ones", [](int n) { return symmetric(n, [](int, int) { return 1.0; }); }},
    {"Hilbert", [](int n) { return symmetric(n, [](int i, int j) { return 1.0 / (i + j + 1); }); }},
    {"GradedDown",
     [](int n) { return symmetric(n, [](int i, int j) { return std::pow(10.0, -i - j) * (i == j ? 1.0 : 0.3); }); }},
    {"GradedUp",
     [n0 = 100](int n) {
         return symmetric(n, [&](int i, int j) { return std::pow(10.0, i + j - n0) * (i == j ? 1.0 : 0.3); });
     }},
    {"RankOneAndIdentity", // n - 1 equal values
     [](int n) { return symmetric(n, [](int i, int j) { return 1.0 / (1 + i) / (1 + j) + (i == j); }); }},
    {"Glued", // Wilkinson's W21+, copies of which hang together by 1e-14
     [](int n) {
         return symmetric(n, [](int i, int j) {
             return i == j ? std::fabs(i % 21 - 10.0) : j - i > 1 ? 0.0 : j % 21 == 0 ? 1e-14 : 1.0;
         });
     }},
    {"Toeplitz", [](int n) { return symmetric(n, [](int i, int j) { return j - i == 1 ? 1.0 : 0.0; }); }},
};

class SymmetricEigenOf : public testing::TestWithParam<Family> {};

TEST_P(SymmetricEigenOf, LeavesAResidualOfAFewRoundoffsAndOrthonormalVectors) {
    for (int const n : {1, 2, 3, 5, 16, 17, 18, 19, 33, 63, 130}) {
        SCOPED_TRACE(n);
        mlMatrix const a = GetParam().make(n);
        mlSymmetricEigen const found(a), values(a, mlSymmetricEigen::mlVALUES);
        ASSERT_EQ(found.status(), mlSymmetricEigenCalculated);
        mlMatrix const & v = found.eigen_vectors();
        // Scaled to near 1, lest the measure overflow.
        double const scale = std::max(std::fabs(found.eigen_value(0)), 1e-300);
        mlMatrix unit(utCopy, a), scaled(utCopy, v);
        for (int k = 0; k < n * n; ++k) {
            unit[k] /= scale;
            scaled[k] *= found.eigen_value(k % n) / scale;
        }
        EXPECT_LE(product_error(unit, v, scaled), 10 * n * norm_1(unit) * roundoff);
        EXPECT_LT(orthonormality_ratio(v), 10.0);
        EXPECT_TRUE(equal_bits(found.eigen_values(), values.eigen_values(), n)) << "with vectors and without";
        EXPECT_EQ(values.eigen_vectors().size(), 0);
        for (int j = 0; j < n; ++j) {
            double const here = found.eigen_value(j), next = j + 1 < n ? found.eigen_value(j + 1) : 0.0;
            EXPECT_TRUE(std::fabs(here) > std::fabs(next) || (std::fabs(here) == std::fabs(next) && here >= next));
            double largest = 0.0;
            for (int i = 0; i < n; ++i)
                largest = std::max(largest, std::fabs(v(i, j)));
            int first = 0;
            while (std::fabs(v(first, j)) <= 0.625 * largest)
                ++first;
            EXPECT_GT(v(first, j), 0.0) << "vector " << j;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, SymmetricEigenOf, testing::ValuesIn(families),
                         [](auto const & instance) { return std::string(instance.param.name); });

TEST(SymmetricEigen, HasTheKnownValuesOfAChain) {
    int const n = 100; // of masses between springs
    double const pi = 3.14159265358979323846;
    mlSymmetricEigen const found(symmetric(n, [](int i, int j) { return i == j ? 2.0 : j - i == 1 ? -1.0 : 0.0; }));
    for (int k = 0; k < n; ++k)
        EXPECT_NEAR(found.eigen_value(k), 2.0 + 2.0 * std::cos((k + 1) * pi / (n + 1)), 30 * roundoff);
}

TEST(SymmetricEigen, OrdersExactValuesByMagnitudeThePositiveOneFirst) {
    mlSymmetricEigen const found(Matrix(4, 4, {-3, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3}));
    EXPECT_EQ(contents(found.eigen_values()), (Values{3, -3, 1, 0}));
    EXPECT_EQ(contents(found.eigen_vectors()), (Values{0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0}));
}

TEST(SymmetricEigen, LeavesAloneWhatHasASquareBelowTheNormalNumbersBesideZeros) {
    mlSymmetricEigen const found(Matrix(3, 3, {1, 0, 0, 0, 0, 1e-155, 0, 1e-155, 0}));
    EXPECT_EQ(contents(found.eigen_values()), (Values{1, 0, 0}));
}

TEST(SymmetricEigen, KeepsTheSmallValuesOfAGradedMatrixWhicheverEndTheyAreAt) {
    int const n = 40; // values of d_i (1 - c_i) each, c_i of order 1e-4 and the same at both ends
    auto const graded = [](int from, int sign) {
        return [=](int i, int j) {
            return j - i > 1 ? 0.0 : std::pow(10.0, sign * (i + j - 2 * from)) * (i == j ? 1.0 : 0.1);
        };
    };
    mlSymmetricEigen const down(symmetric(n, graded(0, -1))), up(symmetric(n, graded(n - 1, 1)));
    for (int k = 0; k < n; ++k) {
        EXPECT_NEAR(down.eigen_value(k) / up.eigen_value(k), 1.0, 100 * roundoff) << k;
        EXPECT_NEAR(down.eigen_value(k) / std::pow(10.0, -2 * k), 1.0, 0.02) << k;
    }
}

TEST(SymmetricEigen, ScalesByPowersOfTwoWithoutAChange) {
    mlMatrix a = random(40, 1.0);
    mlSymmetricEigen const found(a);
    for (double const factor : {0x1p-900, 0x1p-3, 0x1p1000}) {
        mlMatrix scaled(utCopy, a);
        scaled *= factor;
        mlSymmetricEigen const of_scaled(scaled);
        mlVector values(utCopy, found.eigen_values());
        values *= factor;
        EXPECT_TRUE(equal_bits(values, of_scaled.eigen_values(), 40));
        EXPECT_TRUE(equal_bits(found.eigen_vectors(), of_scaled.eigen_vectors()));
    }
}

TEST(SymmetricEigen, LooksAtTheUpperTriangleOnlyAndRefusesWhatIsNotFiniteThere) {
    mlMatrix a = random(5, 1.0);
    mlSymmetricEigen const expected(a);
    a(3, 1) = nan_value;
    EXPECT_TRUE(equal_bits(expected.eigen_vectors(), mlSymmetricEigen(a).eigen_vectors()));
    for (double const x : {nan_value, infinity, -infinity}) {
        for (int const j : {0, 1, 4}) {
            double const before = a(0, j);
            a(0, j) = x;
            mlSymmetricEigen const found(a);
            EXPECT_EQ(found.status(), mlSymmetricEigenNotFinite);
            EXPECT_EQ(found.eigen_values().size() + found.eigen_vectors().size(), 0);
            a(0, j) = before;
        }
    }
    mlSymmetricEigen const empty((mlMatrix()));
    EXPECT_EQ(empty.status(), mlSymmetricEigenCalculated);
    EXPECT_EQ(empty.eigen_values().size() + empty.eigen_vectors().size(), 0);
}

} // namespace
