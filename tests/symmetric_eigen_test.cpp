#include "tests/support/bits.h"
#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/test.h"

namespace {

std::pair<char const *, Element> const symmetric_families[] = {
    {"zero", [](int, int) { return 0.0; }},
    {"Hilbert", [](int i, int j) { return 1.0 / (i + j + 1); }},
    {"graded up", [](int i, int j) { return std::pow(10.0, i + j - 100) * (i == j ? 1.0 : 0.3); }},
    {"equal magnitudes", [](int i, int j) { return i == j ? 3.0 * (i % 3 - 1) : 0.0; }},
    {"rank one and identity", [](int i, int j) { return 1.0 / (1 + i) / (1 + j) + (i == j); }}, // n - 1 equal values
    // Wilkinson's W21+, copies of which hang together by 1e-14
    {"glued", [](int i, int j) { return i == j ? std::fabs(i % 21 - 10.0) : (j - i == 1) * (j % 21 ? 1.0 : 1e-14); }},
    {"Toeplitz", [](int i, int j) { return j - i == 1 ? 1.0 : 0.0; }},
};

void expect_decomposition(mlMatrix const & a) {
    int const n = a.rows();
    mlSymmetricEigen const found(a), values(a, mlSymmetricEigen::mlVALUES);
    ASSERT_EQ(found.status(), mlSymmetricEigenCalculated);
    mlMatrix const & v = found.eigen_vectors();
    double const scale = std::max(std::fabs(found.eigen_value(0)), 1e-300); // lest the measure overflow
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
        EXPECT_GE(std::pair(std::fabs(here), here), std::pair(std::fabs(next), next));
        double const largest = v.col(j).max_absolute_value();
        int first = 0;
        while (std::fabs(v(first, j)) <= 0.625 * largest)
            ++first;
        EXPECT_GT(v(first, j), 0.0) << "vector " << j;
    }
}

TEST(SymmetricEigen, LeavesAResidualOfAFewRoundoffsAndOrthonormalVectorsInOrder) {
    for (int const n : {1, 2, 3, 5, 16, 17, 18, 19, 33, 63, 130}) {
        auto all = families(n);
        all.insert(all.end(), std::begin(symmetric_families), std::end(symmetric_families));
        for (auto const & [name, element] : all) {
            SCOPED_TRACE(testing::Message() << name << ", n = " << n);
            expect_decomposition(symmetric_matrix(n, element));
        }
    }
    mlSymmetricEigen const found(Matrix(3, 3, {1, 0, 0, 0, 0, 1e-155, 0, 1e-155, 0}));
    EXPECT_EQ(contents(found.eigen_values()), (Values{1, 0, 0})) << "a square below the normal numbers beside zeros";
}

TEST(SymmetricEigen, LooksAtTheUpperTriangleOnlyAndRefusesWhatIsNotFiniteThere) {
    mlMatrix a = symmetric_matrix(5, uniform(1.0, 1));
    mlSymmetricEigen const expected(a), empty((mlMatrix()));
    a(3, 1) = a(4, 0) = nan_value;
    EXPECT_TRUE(equal_bits(expected.eigen_vectors(), mlSymmetricEigen(a).eigen_vectors())) << "NaN in the lower one";
    EXPECT_EQ(empty.status(), mlSymmetricEigenCalculated);
    EXPECT_EQ(empty.eigen_values().size() + empty.eigen_vectors().size(), 0);
    for (double const x : {nan_value, infinity, -infinity}) {
        for (int const j : {0, 1, 4}) {
            mlMatrix strange(utCopy, a);
            strange(0, j) = x;
            mlSymmetricEigen const found(strange);
            EXPECT_EQ(found.status(), mlSymmetricEigenNotFinite);
            EXPECT_EQ(found.eigen_values().size() + found.eigen_vectors().size(), 0);
        }
    }
}

} // namespace
