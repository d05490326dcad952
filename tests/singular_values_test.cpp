#include <functional>
#include <iterator>

#include "tests/support/matrices.h"
#include "tests/support/plain_svd.h"
#include "tests/support/ratios.h"
#include "tests/support/test.h"

namespace {

using SVD = mlSingularValueDecomposition;
using Shape = std::pair<int, int>;

Shape const shapes[] = {{1, 1}, {1, 6}, {6, 1}, {2, 2}, {2, 3}, {3, 2}, {5, 10}, {10, 5}, {8, 7}, {80, 80}};

TEST(SingularValues, ReproduceTheMatrixFromOrthonormalBasesInOrder) {
    for (auto const & [rows, cols] : shapes) {
        for (auto const & [name, element] : families(std::max(rows, cols))) {
            SCOPED_TRACE(testing::Message() << name << ", " << rows << " x " << cols);
            mlMatrix const a = matrix_of(rows, cols, element);
            mlMatrix s(mlMatrixZero, rows, cols);
            SVD const svd(a);
            mlVector const & values = svd.diagonal();
            ASSERT_EQ(std::tuple(svd.invalid(), values.size()), std::tuple(0, std::min(rows, cols)));
            EXPECT_TRUE(std::is_sorted(values.begin(), values.end(), std::greater<>())) << values;
            EXPECT_GE(values.end()[-1], 0.0);
            s.diagonal() = values;
            mlMatrix const us(mlMatrixProduct, svd.U(), s);
            EXPECT_LT(factor_ratio(us, mlMatrix(mlMatrixTranspose, svd.V()), a), 30.0);
            EXPECT_LT(orthonormality_ratio(svd.U()), 30.0);
            EXPECT_LT(orthonormality_ratio(svd.V()), 30.0);
        }
    }
}

// Ties decide signs and last bits; a zero row or column in the middle ends a chain of reflections.
TEST(SingularValues, HaveTheBitsOfThePlainMethodForStructuredMatrices) {
    Element const ternary = one_of({-1, 0, 1}, 1), numbers = uniform(1, 1);
    std::pair<char const *, Element> const structures[] = {
        {"ternary", ternary},
        {"ternary, mostly zero", one_of({-1, 0, 0, -0.0, 0, 1}, 1)},
        {"equal off the diagonal", [&](int r, int c) { return r == c ? ternary(r, c) : 0.5; }},
        {"bidiagonal with zeros", [&](int r, int c) { return r == c || r + 1 == c ? ternary(r, c) : 0.0; }},
        {"blocks around a zero block",
         [&](int r, int c) { return (r < 2 && c < 3) || (r > 4 && c > 3) ? numbers(r, c) : 0.0; }},
        {"first elements -0", [&](int r, int c) { return r == 0 || c == 0 ? -0.0 : numbers(r, c); }},
        {"chains of near values", [](int r, int c) { return (r == c) * (1 + 1e-15 * r) + (r + 1 == c) * 1e-15; }},
        {"tiny beside zeros",
         [](int r, int c) { return (c == 0) * (r < 2 ? 1.0 : 0.4 * DBL_MIN) + (c > 0) * (r == c + 1); }},
        {"at the least normal number", one_of({DBL_MIN, -DBL_MIN, 0.5 * DBL_MIN, 1, 0}, 1)},
        {"with strange numbers", one_of({1, 2, -1, 0.5, 3, nan_value, infinity, 1e300}, 1)},
    };
    for (auto const & [name, element] : structures) {
        SCOPED_TRACE(name);
        for (auto const & [rows, cols] : {Shape(1, 1), {2, 2}, {3, 3}, {4, 3}, {5, 7}, {7, 6}, {8, 8}, {13, 11}}) {
            for (int trial = 0; trial < 20; ++trial)
                expect_plain_svd(matrix_of(rows, cols, element));
        }
    }
}

TEST(SingularValues, AreTheSameBitsWhateverVectorsAreWanted) {
    std::vector<Shape> all_shapes = {{0, 0}, {0, 1}, {0, 300}, {1, 0}, {300, 0}};
    all_shapes.insert(all_shapes.end(), std::begin(shapes), std::end(shapes));
    for (auto const & [rows, cols] : all_shapes) {
        SCOPED_TRACE(testing::Message() << rows << " x " << cols);
        mlMatrix const a = random_matrix(rows, cols, 1);
        SVD const full(a);
        EXPECT_EQ(std::tuple(full.diagonal().size(), full.invalid()), std::tuple(std::min(rows, cols), 0));
        for (int jobs = 0; jobs < 6; ++jobs) {
            SVD const svd(a, static_cast<SVD::mlJOB_U>(jobs % 2), static_cast<SVD::mlJOB_V>(jobs / 2));
            EXPECT_EQ(contents(svd.diagonal()), contents(full.diagonal()));
            bool const wants_u = jobs % 2 == SVD::mlALL_U, wants_v = jobs / 2 != SVD::mlNO_V;
            int const v_cols = jobs / 2 == SVD::mlTHIN_V ? std::min(rows, cols) : cols;
            ASSERT_EQ(std::tuple(svd.U().rows(), svd.V().rows(), svd.V().cols()),
                      std::tuple(wants_u ? rows : 1, wants_v ? cols : 1, wants_v ? v_cols : 1));
            EXPECT_EQ(contents(wants_u ? svd.U() : full.U()), contents(full.U()));
            for (int c = 0; wants_v && c < v_cols; ++c)
                EXPECT_EQ(norm_diff(svd.V().col(c), full.V().col(c)), 0.0);
        }
    }
}

TEST(SingularValues, JudgeRankRelativelyButASingleValueAbsolutely) {
    auto const expect = [](mlMatrix const & a, double tolerance, int rank, int singular) {
        SVD const svd(a);
        EXPECT_EQ(std::tuple(svd.rank(tolerance), svd.is_singular(tolerance)), std::tuple(rank, singular))
            << a << tolerance;
        EXPECT_EQ(std::tuple(svd.U().rows(), svd.V().rows()), std::tuple(a.rows(), a.cols()));
        svd.inverse(1e-7); // of every shape
    };
    expect(Matrix(2, 2, {1, 0, 0, 1e-9}), 1e-7, 1, 1);
    expect(Matrix(2, 2, {0, 0, 0, 0}), 1e-7, 2, 0);
    expect(Matrix(2, 2, {1, 0, 0, 0.25}), 0.25, 2, 0);
    expect(Matrix(1, 1, {1e-9}), 1e-7, 0, 1);
    expect(Matrix(1, 1, {1e-9}), 1e-9, 1, 0);
    expect(Matrix(0, 3, {}), 1e-7, 0, 1);
    expect(Matrix(3, 0, {}), 1e-7, 0, 1);
}

TEST(PseudoInverse, IsThatOfTheFirstToleranceForGood) {
    Matrix const a(2, 2, {1, 0, 0, 1e-9});
    SVD const svd(a);
    EXPECT_EQ(svd.inverse(1e-7)(1, 1) + svd.inverse(1e-12)(1, 1), 0.0);
    EXPECT_NEAR(SVD(a).inverse(1e-12)(1, 1), 1e9, 1.0);
    EXPECT_EQ(SVD(Matrix(2, 2, {1, 0, 0, 0.25})).inverse(0.25)(1, 1), 0.0) << "at the tolerance";
    EXPECT_EQ(SVD(Matrix(1, 1, {1e-9})).inverse(2.0)(0, 0), 1.0 / 1e-9) << "of a single value at any tolerance";
}

TEST(PseudoInverse, MakesAProjectionAndSolvesLeastSquares) {
    for (auto const & [rows, cols] : {Shape(4, 4), Shape(9, 5), Shape(5, 9)}) {
        for (Element const & element : {uniform(1.0, 1), Element(rank_two)}) {
            mlMatrix const a = matrix_of(rows, cols, element);
            mlMatrix b = random_matrix(rows, 2, 7), x;
            SVD const svd(a);
            mlMatrix const & inverse = svd.inverse(1e-7);
            mlMatrix const image(mlMatrixProduct, a, inverse), image_transposed(mlMatrixTranspose, image);
            double const scale = 30 * rows * norm_1(a) * norm_1(inverse) * roundoff;
            EXPECT_LT(product_error(image, a, a), norm_1(a) * scale);
            EXPECT_LT(product_error(image, mlMatrix(mlMatrixIdentity, rows), image_transposed), scale);
            mlVector column(b.col(1));
            svd.solve(b, x);
            svd.solve(column, column); // in its place
            svd.solve(b, b);
            EXPECT_EQ(std::tuple(contents(b), contents(column)), std::tuple(contents(x), contents(x.col(1))));
        }
    }
}

} // namespace
