#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/decompositions/mlSingularValueDecomposition.h"
#include "maths/decompositions/ml_svd.h"
#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/values.h"

namespace {

using SVD = mlSingularValueDecomposition;
using Shape = std::pair<int, int>;

Shape const shapes[] = {{1, 1}, {1, 6},  {6, 1},  {2, 2}, {2, 3}, {3, 2},
                        {3, 3}, {5, 10}, {10, 5}, {7, 8}, {8, 7}, {80, 80}};

class SingularValuesOf : public testing::TestWithParam<std::tuple<Kind, Shape>> {};

TEST_P(SingularValuesOf, ReproduceTheMatrixFromOrthonormalBasesInOrder) {
    auto const [kind, shape] = GetParam();
    auto const [rows, cols] = shape;
    mlMatrix a;
    make_matrix(a, kind, rows, cols);
    SVD const svd(a);
    ASSERT_EQ(svd.invalid(), 0);
    mlVector const & s = svd.diagonal();
    ASSERT_EQ(s.size(), std::min(rows, cols));
    mlMatrix us(mlMatrixZero, rows, cols);
    for (int i = 0; i < s.size(); ++i) {
        EXPECT_TRUE(0.0 <= s[i] && s[i] <= s[std::max(i - 1, 0)]);
        for (int r = 0; r < rows; ++r)
            us(r, i) = svd.U()(r, i) * s[i];
    }
    EXPECT_LT(factor_ratio(us, mlMatrix(mlMatrixTranspose, svd.V()), a), 30.0);
    EXPECT_LT(orthonormality_ratio(svd.U()), 30.0);
    EXPECT_LT(orthonormality_ratio(svd.V()), 30.0);
}

auto const of_every_shape = testing::ValuesIn(shapes);
INSTANTIATE_TEST_SUITE_P(, SingularValuesOf, testing::Combine(testing::ValuesIn(all_kinds), of_every_shape));
INSTANTIATE_TEST_SUITE_P(Harder, SingularValuesOf, testing::Combine(testing::ValuesIn(harder_kinds), of_every_shape));

TEST(SingularValues, AreTheSameBitsWhateverVectorsAreWanted) {
    for (auto const & [rows, cols] : shapes) {
        mlMatrix a;
        make_matrix(a, Kind::random, rows, cols);
        SVD const full(a);
        for (int jobs = 0; jobs < 6; ++jobs) {
            SVD const svd(a, static_cast<SVD::mlJOB_U>(jobs % 2), static_cast<SVD::mlJOB_V>(jobs / 2));
            EXPECT_TRUE(svd.diagonal() == full.diagonal());
            bool const wants_u = jobs % 2 == SVD::mlALL_U, wants_v = jobs / 2 != SVD::mlNO_V;
            int const v_cols = jobs / 2 == SVD::mlTHIN_V ? std::min(rows, cols) : cols;
            ASSERT_EQ(svd.V().rows(), wants_v ? cols : 1);
            ASSERT_EQ(svd.V().cols(), wants_v ? v_cols : 1);
            ASSERT_EQ(svd.U().rows(), wants_u ? rows : 1);
            EXPECT_TRUE(!wants_u || svd.U() == full.U());
            for (int c = 0; wants_v && c < v_cols; ++c)
                EXPECT_EQ(norm_diff(svd.V().col(c), full.V().col(c)), 0.0);
        }
    }
}

TEST(SingularValues, OfADiagonalMatrixAreExactAndTheBasesPermutations) {
    SVD const svd(Matrix(3, 3, {3, 0, 0, 0, 1, 0, 0, 0, -2})), equal(Matrix(2, 2, {1, 0, 0, 1})),
        lone(Matrix(1, 1, {-5}));
    EXPECT_EQ(contents(svd.diagonal()), (Values{3, 2, 1}));
    int const place[] = {0, 2, 1};
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(std::fabs(svd.V()[i]), i / 3 == place[i % 3] ? 1.0 : 0.0);
        EXPECT_EQ(std::fabs(svd.U()[i]), i / 3 == place[i % 3] ? 1.0 : 0.0);
    }
    EXPECT_EQ(svd.U()(2, 1), -svd.V()(2, 1)) << "the sign of a value goes to its column of U";
    EXPECT_EQ(std::fabs(equal.V()(0, 0)), 1.0) << "equal values keep their order";
    EXPECT_TRUE(lone.diagonal()[0] == 5.0 && lone.U()(0, 0) == -1.0 && lone.V()(0, 0) == 1.0);
}

TEST(SingularValues, JudgeRankRelativelyButASingleValueAbsolutely) {
    struct {
        Matrix a;
        double tolerance;
        int rank, singular;
    } const cases[] = {
        {Matrix(2, 2, {1, 0, 0, 1e-9}), 1e-7, 1, 1},
        {Matrix(2, 2, {1, 0, 0, 1e-9}), 1e-10, 2, 0},
        {Matrix(2, 2, {0, 0, 0, 0}), 1e-7, 2, 0},
        {Matrix(1, 1, {1e-9}), 1e-7, 0, 1},
        {Matrix(1, 1, {1e-9}), 1e-9, 1, 0},
        {Matrix(2, 2, {1, 0, 0, 0.25}), 0.25, 2, 0},
        {Matrix(0, 3, {}), 1e-7, 0, 1},
        {Matrix(3, 0, {}), 1e-7, 0, 1},
    };
    for (auto const & c : cases) {
        SVD const svd(c.a);
        EXPECT_EQ(svd.rank(c.tolerance), c.rank) << &c - cases;
        EXPECT_EQ(svd.is_singular(c.tolerance), c.singular) << &c - cases;
        EXPECT_TRUE(svd.U().rows() == c.a.rows() && svd.V().rows() == c.a.cols());
        svd.inverse(1e-7); // whatever the shape
    }
    EXPECT_EQ(SVD(Matrix(1, 1, {1e-9})).inverse(2.0)(0, 0), 1.0 / 1e-9) << "whatever the tolerance";
    EXPECT_EQ(SVD(Matrix(2, 2, {nan_value, 1, 1, 1})).invalid(), 1) << "the iteration limit is reported";
}

TEST(PseudoInverse, IsThatOfTheFirstToleranceForGood) {
    Matrix const a(2, 2, {1, 0, 0, 1e-9});
    SVD const svd(a), other(a);
    EXPECT_EQ(svd.inverse(1e-7)(1, 1), 0.0);
    EXPECT_EQ(svd.inverse(1e-12)(1, 1), 0.0);
    EXPECT_NEAR(other.inverse(1e-12)(1, 1), 1e9, 1.0);
    mlMatrix x;
    other.solve(mlMatrix(mlMatrixIdentity, 2), x);
    EXPECT_NEAR(x(1, 1), 1e9, 1.0);
}

TEST(PseudoInverse, MakesAProjectionAndSolvesLeastSquares) {
    for (Kind const kind : {Kind::random, Kind::rank_two, Kind::zero_row, Kind::zero_col}) {
        for (auto const & [rows, cols] : {Shape(4, 4), Shape(9, 5), Shape(5, 9)}) {
            mlMatrix a, b, x;
            make_matrix(a, kind, rows, cols);
            fill_random(b, rows, 2, 7);
            SVD const svd(a);
            mlMatrix const & inverse = svd.inverse(1e-7);
            mlMatrix const image(mlMatrixProduct, a, inverse), image_transposed(mlMatrixTranspose, image);
            double const scale = 30 * rows * norm_1(a) * norm_1(inverse) * roundoff;
            EXPECT_LT(product_error(image, a, a), norm_1(a) * scale);
            EXPECT_LT(product_error(image, mlMatrix(mlMatrixIdentity, rows), image_transposed), scale);
            mlVector column(mlVectorZero, rows);
            column = b.col(1);
            svd.solve(b, x);
            svd.solve(column, column);
            EXPECT_EQ(norm_diff(column.slice(), x.col(1)), 0.0);
            svd.solve(b, b); // in its place, too
            EXPECT_TRUE(b == x);
        }
    }
}

TEST(OneSidedJacobi, FindsTheValuesAndTheRightVectors) {
    for (auto const & [rows, cols] :
         {Shape(2, 2), Shape(3, 3), Shape(5, 3), Shape(10, 10), Shape(20, 12), Shape(12, 40)}) {
        mlMatrix a, both, av, v;
        make_matrix(a, Kind::random, rows, cols);
        both.become(utCopy, a);
        both.expand(rows + cols, cols, nan_value);
        mlVector s2(mlVectorZero, cols);
        ml_svd(both.data(), s2.data(), rows, cols);
        av.become(utConvert, both.data(), rows, cols);
        v.become(utConvert, both.data() + rows * cols, cols, cols);
        EXPECT_LT(orthonormality_ratio(v), 100.0);
        EXPECT_LT(factor_ratio(a, v, av), 100.0);
        std::sort(s2.begin(), s2.end(), std::greater<>());
        SVD const svd(a);
        mlVector const & s = svd.diagonal();
        for (int i = 0; i < s.size(); ++i)
            EXPECT_NEAR(std::sqrt(s2[i]), s[i], 100 * cols * roundoff * s[0]) << i;
    }
}

TEST(OneSidedJacobi, LeavesOrthogonalColumnsAndSingleColumnsAlone) {
    Values orthogonal = {2, 0, 0, 1, 7, 7, 7, 7}, squares = {-1, -1}, column = {3, 4, 7}, square = {-1};
    ml_svd(orthogonal.data(), squares.data(), 2, 2);
    EXPECT_EQ(orthogonal, (Values{2, 0, 0, 1, 1, 0, 0, 1}));
    EXPECT_EQ(squares, (Values{4, 1}));
    ml_svd(column.data(), square.data(), 2, 1);
    EXPECT_EQ(column, (Values{3, 4, 1}));
    EXPECT_EQ(square, Values{-1}) << "not written";
}

} // namespace
