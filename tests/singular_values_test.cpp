#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "maths/decompositions/mlSingularValueDecomposition.h"
#include "maths/decompositions/ml_svd.h"
#include "tests/support/matrices.h"
#include "tests/support/ratios.h"

namespace {

using SVD = mlSingularValueDecomposition;

double const nan = std::numeric_limits<double>::quiet_NaN();
double const infinity = std::numeric_limits<double>::infinity();

struct Shape {
    int rows, cols;
};

Shape const shapes[] = {{1, 1}, {1, 6},  {6, 1},  {2, 2}, {2, 3}, {3, 2},
                        {3, 3}, {5, 10}, {10, 5}, {7, 8}, {8, 7}, {80, 80}};

std::vector<Kind> every_kind() {
    std::vector<Kind> kinds(std::begin(all_kinds), std::end(all_kinds));
    kinds.insert(kinds.end(), std::begin(harder_kinds), std::end(harder_kinds));
    return kinds;
}

/// U diag(s), with as many columns as V has.
void scale_columns(SVD const & svd, mlMatrix & us) {
    mlVector const & s = svd.diagonal();
    us.become(mlMatrixZero, svd.U().rows(), svd.V().cols());
    for (int r = 0; r < us.rows(); ++r) {
        for (int c = 0; c < s.size(); ++c)
            us(r, c) = svd.U()(r, c) * s[c];
    }
}

class SingularValuesOf : public testing::TestWithParam<std::tuple<Kind, Shape>> {};

TEST_P(SingularValuesOf, ReproduceTheMatrixFromOrthonormalBasesInOrder) {
    auto const [kind, shape] = GetParam();
    mlMatrix a, us;
    make_matrix(a, kind, shape.rows, shape.cols);
    SVD const svd(a);
    ASSERT_EQ(svd.invalid(), 0);
    mlVector const & s = svd.diagonal();
    ASSERT_EQ(s.size(), std::min(shape.rows, shape.cols));
    for (int i = 0; i < s.size(); ++i) {
        EXPECT_GE(s[i], 0.0);
        EXPECT_LE(s[i], s[std::max(i - 1, 0)]);
    }
    scale_columns(svd, us);
    mlMatrix const v_transposed(mlMatrixTranspose, svd.V());
    EXPECT_LT(factor_ratio(us, v_transposed, a), 30.0);
    EXPECT_LT(orthonormality_ratio(svd.U()), 30.0);
    EXPECT_LT(orthonormality_ratio(svd.V()), 30.0);
}

INSTANTIATE_TEST_SUITE_P(, SingularValuesOf,
                         testing::Combine(testing::ValuesIn(every_kind()), testing::ValuesIn(shapes)),
                         [](auto const & of) {
                             Shape const shape = std::get<1>(of.param);
                             return name_of(std::get<0>(of.param)) + "_" + std::to_string(shape.rows) + "x" +
                                    std::to_string(shape.cols);
                         });

TEST(SingularValues, AreTheSameBitsWhateverVectorsAreWanted) {
    for (Shape const shape : shapes) {
        mlMatrix a;
        make_matrix(a, Kind::random, shape.rows, shape.cols);
        SVD const full(a);
        for (int job_u : {0, 1}) {
            for (int job_v : {0, 1, 2}) {
                SVD const svd(a, static_cast<SVD::mlJOB_U>(job_u), static_cast<SVD::mlJOB_V>(job_v));
                EXPECT_TRUE(svd.diagonal() == full.diagonal());
                int const v_cols = job_v == SVD::mlTHIN_V ? std::min(shape.rows, shape.cols) : shape.cols;
                ASSERT_EQ(svd.V().rows(), job_v ? shape.cols : 1);
                ASSERT_EQ(svd.V().cols(), job_v ? v_cols : 1);
                ASSERT_EQ(svd.U().rows(), job_u ? shape.rows : 1);
                ASSERT_EQ(svd.U().cols(), job_u ? shape.rows : 1);
                for (int c = 0; job_u && c < shape.rows; ++c)
                    EXPECT_EQ(norm_diff(svd.U().col(c), full.U().col(c)), 0.0);
                for (int c = 0; job_v && c < v_cols; ++c)
                    EXPECT_EQ(norm_diff(svd.V().col(c), full.V().col(c)), 0.0);
            }
        }
    }
}

TEST(SingularValues, OfTheSecondDifferenceAreKnown) {
    int const n = 30;
    mlMatrix a(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i) {
        a(i, i) = -2.0; // every value is negative before its sign is turned
        if (i > 0) a(i, i - 1) = a(i - 1, i) = 1.0;
    }
    SVD const svd(a);
    for (int k = 0; k < n; ++k) {
        double const sine = std::sin((n - k) * std::acos(-1.0) / (2 * (n + 1)));
        EXPECT_NEAR(svd.diagonal()[k], 4.0 * sine * sine, 30 * 4.0 * roundoff);
    }
}

TEST(SingularValues, OfADiagonalMatrixAreExactAndTheBasesPermutations) {
    mlMatrix a(mlMatrixZero, 3, 3);
    a(0, 0) = 3.0;
    a(1, 1) = 1.0;
    a(2, 2) = -2.0;
    SVD const svd(a);
    int const place[] = {0, 2, 1};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(svd.diagonal()[i], 3.0 - i);
        for (int r = 0; r < 3; ++r) {
            EXPECT_EQ(std::fabs(svd.V()(r, i)), r == place[i] ? 1.0 : 0.0);
            EXPECT_EQ(std::fabs(svd.U()(r, i)), r == place[i] ? 1.0 : 0.0);
        }
    }
    EXPECT_EQ(svd.U()(2, 1), -svd.V()(2, 1)) << "the sign of a value goes to its column of U";
    a.become(mlMatrixIdentity, 3);
    SVD const equal(a);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(std::fabs(equal.V()(i, i)), 1.0) << "equal values keep their order";

    a.become(mlMatrixZero, 1, 1);
    a(0, 0) = -5.0;
    SVD const negative(a);
    EXPECT_EQ(negative.diagonal()[0], 5.0);
    EXPECT_EQ(negative.U()(0, 0), -1.0);
    EXPECT_EQ(negative.V()(0, 0), 1.0);
}

TEST(SingularValues, JudgeRankRelativelyButASingleValueAbsolutely) {
    mlMatrix a(mlMatrixIdentity, 2);
    a(1, 1) = 1e-9;
    SVD const weak(a);
    EXPECT_EQ(weak.rank(1e-7), 1);
    EXPECT_EQ(weak.is_singular(1e-7), 1);
    EXPECT_EQ(weak.rank(1e-10), 2);
    EXPECT_EQ(weak.is_singular(1e-10), 0);

    a.become(mlMatrixZero, 2, 2);
    SVD const zero(a);
    EXPECT_EQ(zero.rank(1e-7), 2);
    EXPECT_EQ(zero.is_singular(1e-7), 0);

    a.become(mlMatrixZero, 1, 1);
    a(0, 0) = 1e-9;
    SVD const single(a);
    EXPECT_EQ(single.rank(1e-7), 0);
    EXPECT_EQ(single.is_singular(1e-7), 1);
    EXPECT_EQ(single.inverse(2.0)(0, 0), 1.0 / 1e-9) << "the first value is inverted whatever the tolerance";

    for (Shape const empty : {Shape{0, 0}, Shape{0, 3}, Shape{3, 0}}) {
        a.become(mlMatrixZero, empty.rows, empty.cols);
        SVD const nothing(a);
        EXPECT_EQ(nothing.rank(1e-7), 0);
        EXPECT_EQ(nothing.is_singular(1e-7), 1);
        EXPECT_EQ(nothing.U().rows(), empty.rows);
        EXPECT_EQ(nothing.V().rows(), empty.cols);
        nothing.inverse(1e-7);
    }
    make_matrix(a, Kind::rank_two, 9, 12);
    EXPECT_EQ(SVD(a).rank(1e-12), 2);
}

TEST(PseudoInverse, IsThatOfTheFirstToleranceForGood) {
    mlMatrix a(mlMatrixIdentity, 2), b(mlMatrixIdentity, 2), x;
    a(1, 1) = 1e-9;
    SVD const svd(a), other(a);
    EXPECT_EQ(svd.inverse(1e-7)(1, 1), 0.0);
    EXPECT_EQ(svd.inverse(1e-12)(1, 1), 0.0);
    EXPECT_NEAR(other.inverse(1e-12)(1, 1), 1e9, 1.0);
    other.solve(b, x);
    EXPECT_NEAR(x(1, 1), 1e9, 1.0);
}

TEST(PseudoInverse, MakesAProjectionAndSolvesLeastSquares) {
    for (Kind const kind : {Kind::random, Kind::rank_two, Kind::zero_row, Kind::zero_col}) {
        for (Shape const shape : {Shape{4, 4}, Shape{9, 5}, Shape{5, 9}}) {
            mlMatrix a, b, x;
            make_matrix(a, kind, shape.rows, shape.cols);
            fill_random(b, shape.rows, 2, 7);
            SVD const svd(a);
            mlMatrix const & inverse = svd.inverse(1e-7);
            mlMatrix const image(mlMatrixProduct, a, inverse), image_transposed(mlMatrixTranspose, image);
            double const scale = norm_1(a) * norm_1(inverse) * roundoff;
            EXPECT_LT(product_error(image, a, a), 30 * shape.rows * norm_1(a) * scale);
            EXPECT_LT(product_error(image, image, image), 30 * shape.rows * scale);
            EXPECT_LT(norm_diff(image.row(0), image_transposed.row(0)), 30 * shape.rows * scale);

            svd.solve(b, x);
            mlVector column(mlVectorZero, shape.rows), solution;
            column = b.col(1);
            svd.solve(column, solution);
            EXPECT_EQ(norm_diff(solution.slice(), x.col(1)), 0.0);
            svd.solve(column, column);
            EXPECT_TRUE(column == solution);
        }
    }
}

TEST(SingularValues, OfNaNAndInfinityEnd) {
    int not_found = 0;
    double const strange[] = {nan, infinity, -infinity, 0.0, 1e308, 5e-324};
    for (int seed = 0; seed < 4000; ++seed) {
        mlRandom random(seed);
        int const rows = 1 + static_cast<int>(random.uniform(0.0, 5.0)), cols = 1 + seed % 5;
        mlMatrix a;
        fill_random(a, rows, cols, seed);
        for (int i = 0; i < rows * cols; ++i)
            if (random.uniform() < 0.4) a[i] = strange[static_cast<int>(random.uniform(0.0, 6.0))];
        not_found += SVD(a).invalid();
        SVD const thin(a, SVD::mlALL_U, SVD::mlTHIN_V);
    }
    EXPECT_GT(not_found, 0) << "the iteration limit is reported";
}

TEST(OneSidedJacobi, FindsTheValuesAndTheRightVectors) {
    for (Shape const shape : {Shape{2, 2}, Shape{3, 3}, Shape{5, 3}, Shape{10, 10}, Shape{20, 12}, Shape{12, 40}}) {
        mlMatrix a, both, av, v;
        make_matrix(a, Kind::random, shape.rows, shape.cols);
        both.become(utCopy, a);
        both.expand(shape.rows + shape.cols, shape.cols, nan);
        mlVector s2(mlVectorZero, shape.cols);
        ml_svd(both.data(), s2.data(), shape.rows, shape.cols);

        av.become(utConvert, both.data(), shape.rows, shape.cols);
        v.become(utConvert, both.data() + shape.rows * shape.cols, shape.cols, shape.cols);
        EXPECT_LT(orthonormality_ratio(v), 100.0);
        EXPECT_LT(factor_ratio(a, v, av), 100.0);

        std::sort(s2.begin(), s2.end(), std::greater<>());
        SVD const svd(a);
        double const largest = svd.diagonal()[0];
        for (int i = 0; i < svd.diagonal().size(); ++i)
            EXPECT_NEAR(std::sqrt(s2[i]), svd.diagonal()[i], 100 * shape.cols * roundoff * largest) << i;
    }
}

TEST(OneSidedJacobi, LeavesOrthogonalColumnsAndSingleColumnsAlone) {
    double orthogonal[] = {2, 0, 0, 1, 7, 7, 7, 7}, squares[] = {-1, -1};
    ml_svd(orthogonal, squares, 2, 2);
    double const expected[] = {2, 0, 0, 1, 1, 0, 0, 1};
    EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), orthogonal));
    EXPECT_EQ(squares[0], 4.0);
    EXPECT_EQ(squares[1], 1.0);

    double column[] = {3, 4, 7}, square = -1.0;
    ml_svd(column, &square, 2, 1);
    EXPECT_EQ(column[2], 1.0);
    EXPECT_EQ(square, -1.0) << "not written";

    double strange[] = {nan, 1, infinity, 2, 0, 0, 0, 0};
    ml_svd(strange, squares, 2, 2); // ends
    EXPECT_TRUE(std::isnan(squares[0]));
}

} // namespace
