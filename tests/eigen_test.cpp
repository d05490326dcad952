#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "maths/decompositions/mlATAEigenVecs.h"
#include "maths/decompositions/mlAsymEigenVecs2.h"
#include "maths/decompositions/mlAsymEigenVecs3.h"
#include "maths/decompositions/mlPCA.h"
#include "maths/decompositions/mlSymEigenVecs.h"
#include "tests/support/matrices.h"
#include "tests/support/ratios.h"

namespace {

double const nan = std::numeric_limits<double>::quiet_NaN();

void make_symmetric(mlMatrix & m) {
    for (int i = 0; i < m.rows(); ++i) {
        for (int j = 0; j < i; ++j)
            m(i, j) = m(j, i);
    }
}

void set(mlMatrix & m, int rows, int cols, std::initializer_list<double> values) {
    m.become(utConvert, values.begin(), rows, cols);
}

/// Largest element of |A v - lambda v| over the eigenvectors that were found.
double residual(mlMatrix const & a, mlEigenVecs const & eigen) {
    mlMatrix scaled;
    scaled.become(utCopy, eigen.eigen_vectors());
    for (int r = 0; r < scaled.rows(); ++r) {
        for (int c = 0; c < scaled.cols(); ++c)
            scaled(r, c) *= eigen.eigen_value(c);
    }
    return product_error(a, eigen.eigen_vectors(), scaled);
}

void expect_values(mlEigenVecs const & eigen, std::initializer_list<double> expected, double tolerance) {
    EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
    ASSERT_EQ(eigen.num_real_eigen_values(), static_cast<int>(expected.size()));
    for (int i = 0; i < eigen.num_real_eigen_values(); ++i)
        EXPECT_NEAR(eigen.eigen_value(i), expected.begin()[i], tolerance) << i;
}

class SymmetricOfOrder : public testing::TestWithParam<int> {};

TEST_P(SymmetricOfOrder, HasOrthonormalVectorsAndValuesOfDecreasingMagnitude) {
    int const n = GetParam();
    for (Kind const kind : {Kind::identity, Kind::random, Kind::graded_rows, Kind::zero_row, Kind::rank_two}) {
        mlMatrix a;
        make_matrix(a, kind, n, n, n);
        make_symmetric(a);
        mlSymEigenVecs eigen(a);
        eigen.set_tolerance(-1e-10); // its magnitude counts
        EXPECT_EQ(eigen.status(), mlEigenVecsNotCalculated);
        eigen.calculate();
        ASSERT_EQ(eigen.status(), mlEigenVecsCalculated);
        ASSERT_EQ(eigen.num_real_eigen_values(), n);
        EXPECT_LT(residual(a, eigen), 1e-12 * n + 30 * n * norm_1(a) * roundoff) << name_of(kind);
        EXPECT_LT(orthonormality_ratio(eigen.eigen_vectors()), 100.0) << name_of(kind);
        for (int i = 1; i < n; ++i)
            EXPECT_LE(std::fabs(eigen.eigen_value(i)), std::fabs(eigen.eigen_value(i - 1)));
    }
}

INSTANTIATE_TEST_SUITE_P(, SymmetricOfOrder, testing::Values(1, 2, 3, 5, 10, 20));

TEST(SymmetricEigen, IsExactWhereNothingNeedsRotating) {
    mlMatrix a;
    set(a, 2, 2, {1, 0, 0, -5});
    mlSymEigenVecs diagonal(a);
    diagonal.calculate();
    expect_values(diagonal, {-5, 1}, 0.0);
    EXPECT_EQ(diagonal.eigen_vectors()(1, 0), 1.0);
    EXPECT_EQ(diagonal.eigen_vectors()(0, 1), 1.0);

    set(a, 2, 2, {1, 0.9e-8, 0.9e-8, 2}); // below a hundredth of the tolerance
    mlSymEigenVecs negligible(a);
    negligible.calculate();
    expect_values(negligible, {2, 1}, 0.0);

    set(a, 2, 2, {2, 1, 1, 2});
    mlSymEigenVecs pair(a);
    pair.calculate();
    expect_values(pair, {3, 1}, 1e-15);
    EXPECT_NEAR(std::fabs(pair.eigen_vectors()(0, 0) + pair.eigen_vectors()(1, 0)), std::sqrt(2.0), 1e-15);

    mlVector copy;
    pair.eigen_values(copy);
    EXPECT_EQ(copy[0], pair.eigen_value(0));
    EXPECT_EQ(pair.eigen_vector(1)[0], pair.eigen_vectors()(0, 1));
}

TEST(SymmetricEigen, FindsTheSpectrumOfTheSecondDifference) {
    int const n = 12;
    mlMatrix a(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i) {
        a(i, i) = 2.0;
        if (i > 0) a(i, i - 1) = a(i - 1, i) = -1.0;
    }
    mlSymEigenVecs eigen(a);
    eigen.calculate();
    for (int k = 0; k < n; ++k) {
        double const sine = std::sin((n - k) * std::acos(-1.0) / (2 * (n + 1)));
        EXPECT_NEAR(eigen.eigen_value(k), 4.0 * sine * sine, 1e-13);
    }
}

TEST(SymmetricEigen, OfNaNAndInfinityEnds) {
    for (double const strange : {nan, std::numeric_limits<double>::infinity()}) {
        for (int place = 0; place < 6; ++place) {
            mlMatrix a;
            make_matrix(a, Kind::random, 4, 4);
            a(place / 3, 1 + place % 3) = strange;
            make_symmetric(a);
            mlSymEigenVecs eigen(a);
            eigen.calculate();
            EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
        }
    }
}

TEST(ATAEigen, AgreesWithTheEigenvaluesOfTheProduct) {
    mlMatrix a;
    make_matrix(a, Kind::random, 9, 5);
    mlMatrix const transposed(mlMatrixTranspose, a), product(mlMatrixProduct, transposed, a);
    mlATAEigenVecs eigen(a);
    eigen.calculate();
    EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
    EXPECT_EQ(eigen.num_real_eigen_values(), 5);
    EXPECT_LT(residual(product, eigen), 30 * 9 * norm_1(product) * roundoff);
}

void make_points(doublecoDynArr2D & points, int count, int dimension, long seed) {
    mlMatrix m;
    make_matrix(m, Kind::random, count, dimension, seed);
    points.expand(count, dimension);
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < dimension; ++j)
            points(i, j) = 10.0 * j + (1 + j) * m(i, j) + 0.5 * m(i, 0);
    }
}

TEST(PrincipalComponents, AreTheEigenvectorsOfTheCovariance) {
    for (int const count : {4, 5, 200}) {
        int const d = 4;
        doublecoDynArr2D points(1, 1, 1, 1);
        make_points(points, count, d, 3);
        mlPCA const pca(points);
        ASSERT_EQ(pca.status(), mlPCAComputed);

        mlMatrix covariance(mlMatrixZero, d, d), scaled;
        for (int i = 0; i < count; ++i) {
            for (int j = 0; j < d; ++j) {
                for (int k = 0; k < d; ++k)
                    covariance(j, k) += (points(i, j) - pca.mass_centre()[j]) * (points(i, k) - pca.mass_centre()[k]);
            }
        }
        mlMatrix axes, mean(mlMatrixZero, 1, d);
        axes.become(mlMatrixZero, d, d);
        scaled.become(mlMatrixZero, d, d);
        mlVector axis;
        axis.expand(9); // what it holds goes
        for (int c = 0; c < d; ++c) {
            ASSERT_EQ(pca.axis(c, axis), mlPCAComputed);
            ASSERT_EQ(axis.size(), d);
            axes.col(c) = axis;
            for (int r = 0; r < d; ++r)
                scaled(r, c) = axis[r] * pca.eigenvalue(c) * (count - 1);
        }
        EXPECT_LT(product_error(covariance, axes, scaled), 1e-12 * norm_1(covariance));
        EXPECT_LT(orthonormality_ratio(axes), 30.0);
        EXPECT_GT(pca.eigenvalue(0), pca.eigenvalue(d - 1));
        EXPECT_EQ(norm_diff(pca.principal_axis(), axes.col(0)), 0.0);
        EXPECT_EQ(norm_diff(pca.least_axis(), axes.col(d - 1)), 0.0);
    }
}

TEST(PrincipalComponents, OfPointsOnALineHaveOneDirection) {
    doublecoDynArr2D points(0, 0, 1, 1);
    for (int i = 0; i < 7; ++i) {
        points(i, 0) = 5.0 + 3.0 * i;
        points(i, 1) = 1.0 - 4.0 * i;
    }
    mlPCA const pca(points);
    mlVector axis, values;
    EXPECT_EQ(pca.principal_axis(axis), mlPCAComputed);
    EXPECT_NEAR(std::fabs(axis[0] * 0.6 - axis[1] * 0.8), 1.0, 1e-15);
    EXPECT_EQ(pca.eigenvalues(values), mlPCAComputed);
    EXPECT_NEAR(values[0], 25.0 * 28.0 / 6.0, 1e-12);
    EXPECT_NEAR(values[1], 0.0, 1e-28);
    EXPECT_EQ(pca.axis(2, axis), mlPCAAxisOutOfRange);
    EXPECT_EQ(pca.axis(-1, axis), mlPCAAxisOutOfRange);
    EXPECT_EQ(pca.status(), mlPCAComputed);
}

TEST(PrincipalComponents, NeedTwoDimensionsAndAPointForEach) {
    struct {
        int count, dimension;
        mlPCAStatus status;
    } const cases[] = {
        {3, 3, mlPCAComputed}, {2, 3, mlPCANotEnoughData}, {9, 1, mlPCANotEnoughData}, {0, 0, mlPCANotEnoughData}};
    for (auto const & c : cases) {
        doublecoDynArr2D points(1, 1, 1, 1);
        make_points(points, c.count, c.dimension, 1);
        mlPCA const pca(points);
        EXPECT_EQ(pca.status(), c.status);
        if (c.status == mlPCAComputed) continue;
        mlVector untouched(mlVectorZero, 1);
        EXPECT_EQ(pca.axis(0, untouched), mlPCAAxisOutOfRange);
        EXPECT_EQ(pca.least_axis(untouched), mlPCAAxisOutOfRange);
        EXPECT_EQ(pca.principal_axis(untouched), mlPCANotEnoughData);
        EXPECT_EQ(pca.eigenvalues(untouched), mlPCANotEnoughData);
        EXPECT_EQ(untouched.size(), 1);
        EXPECT_EQ(pca.eigenvalue(0), std::numeric_limits<double>::max());
    }
}

/// p diag(values) p^-1 for a fixed p of integers, whose inverse is of integers too.
void with_spectrum(mlMatrix & a, std::initializer_list<double> values) {
    int const n = static_cast<int>(values.size());
    mlMatrix p, inverse, diagonal(mlMatrixZero, n, n), left;
    if (n == 2) {
        set(p, 2, 2, {1, 1, 1, 2});
        set(inverse, 2, 2, {2, -1, -1, 1});
    } else {
        set(p, 3, 3, {1, 1, 0, 1, 2, 1, 0, 1, 2});
        set(inverse, 3, 3, {3, -2, 1, -2, 2, -1, 1, -1, 1});
    }
    for (int i = 0; i < n; ++i)
        diagonal(i, i) = values.begin()[i];
    left.become(mlMatrixProduct, p, diagonal);
    a.become(mlMatrixProduct, left, inverse);
}

TEST(GeneralTwoByTwo, HasItsRealEigenvaluesAndUnitVectors) {
    mlMatrix a;
    struct {
        std::initializer_list<double> spectrum, expected;
    } const cases[] = {{{3, 2}, {3, 2}}, {{2, -7}, {-7, 2}}, {{0, 4}, {4, 0}}, {{-3, 3}, {3, -3}}};
    for (auto const & c : cases) {
        with_spectrum(a, c.spectrum);
        mlAsymEigenVecs2 eigen(a);
        eigen.calculate();
        expect_values(eigen, c.expected, 1e-13);
        EXPECT_LT(residual(a, eigen), 1e-12);
        for (int i = 0; i < 2; ++i)
            EXPECT_NEAR(eigen.eigen_vector(i).modulus_squared(), 1.0, 1e-14);
    }
    set(a, 2, 2, {0, -1, 1, 0}); // a rotation
    mlAsymEigenVecs2 complex(a);
    complex.calculate();
    expect_values(complex, {}, 0.0);

    set(a, 2, 2, {2, 0, 0, 2});
    mlAsymEigenVecs2 isotropic(a);
    isotropic.calculate();
    expect_values(isotropic, {2, 2}, 0.0);
    EXPECT_TRUE(isotropic.eigen_vectors() == mlMatrix(mlMatrixIdentity, 2));

    set(a, 2, 2, {1, 1, 0, 1.00005}); // as good as equal: one space, though the vectors are nearly parallel
    mlAsymEigenVecs2 close(a);
    close.calculate();
    EXPECT_LT(orthonormality_ratio(close.eigen_vectors()), 30.0);

    set(a, 2, 2, {1e12, 1, 0, 1e-3}); // the square term is negligible beside the trace
    mlAsymEigenVecs2 single(a);
    single.calculate();
    expect_values(single, {1e-3}, 1e-15);
    EXPECT_EQ(single.eigen_vectors().cols(), 0) << "no vector for a single value";
}

TEST(GeneralThreeByThree, HasItsRealEigenvaluesAndUnitVectors) {
    mlMatrix a;
    struct {
        std::initializer_list<double> spectrum, expected;
        double tolerance;
    } const cases[] = {{{1, 2, 3}, {3, 2, 1}, 1e-12},    {{-5, 1, 4}, {-5, 4, 1}, 1e-12},
                       {{-2, 2, 1}, {2, -2, 1}, 1e-12},  {{0, 4, -1}, {4, -1, 0}, 1e-12},
                       {{1, 1, 5}, {5, 1, 1}, 1e-6},     {{4, 4, 1}, {4, 4, 1}, 1e-6},
                       {{-6, -6, -6}, {-6, -6, -6}, 0.0}};
    for (auto const & c : cases) {
        with_spectrum(a, c.spectrum);
        mlAsymEigenVecs3 eigen(a);
        eigen.calculate();
        expect_values(eigen, c.expected, c.tolerance);
        ASSERT_EQ(eigen.eigen_vectors().cols(), 3);
        EXPECT_LT(residual(a, eigen), 1e-11 + 10 * c.tolerance);
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(eigen.eigen_vector(i).modulus_squared(), 1.0, 1e-14);
    }
    set(a, 3, 3, {0, -1, 0, 1, 0, 0, 0, 0, 3}); // a rotation about an axis that is stretched
    mlAsymEigenVecs3 turning(a);
    turning.calculate();
    expect_values(turning, {3}, 1e-14);
    ASSERT_EQ(turning.eigen_vectors().cols(), 1);
    EXPECT_NEAR(std::fabs(turning.eigen_vectors()(2, 0)), 1.0, 1e-14);
}

TEST(GeneralSmallMatrices, OfNaNEnd) {
    for (int place = 0; place < 9; ++place) {
        mlMatrix a(mlMatrixIdentity, 3), b(mlMatrixIdentity, 2);
        a[place] = b[place % 4] = nan;
        mlAsymEigenVecs3 three(a);
        three.calculate();
        mlAsymEigenVecs2 two(b);
        two.calculate();
        EXPECT_EQ(three.status() + two.status(), 2 * mlEigenVecsCalculated);
    }
}

} // namespace
