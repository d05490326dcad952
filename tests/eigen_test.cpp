#include <cmath>
#include <tuple>

#include <gtest/gtest.h>

#include "maths/decompositions/mlATAEigenVecs.h"
#include "maths/decompositions/mlAsymEigenVecs2.h"
#include "maths/decompositions/mlAsymEigenVecs3.h"
#include "maths/decompositions/mlPCA.h"
#include "maths/decompositions/mlSymEigenVecs.h"
#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/values.h"

namespace {

template <class Eigen> struct Solved : Eigen {
    explicit Solved(mlMatrix const & a) : Eigen(a) { this->calculate(); }
    using Eigen::equals;
};

/// Largest column of |A v - lambda v| over the eigenvectors that were found.
double residual(mlMatrix const & a, mlEigenVecs const & eigen) {
    mlMatrix scaled;
    scaled.become(utCopy, eigen.eigen_vectors());
    for (int k = 0; k < scaled.rows() * scaled.cols(); ++k)
        scaled[k] *= eigen.eigen_value(k % scaled.cols());
    return product_error(a, eigen.eigen_vectors(), scaled);
}

TEST(SymmetricEigen, VectorsAreEqualUpToTheirSign) {
    Matrix const unit(2, 2, {0.6, 0.8, -0.6, -0.8}), others(2, 2, {0.8, 0.6, 1.2, 1.6});
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Solved<mlSymEigenVecs>::equals(unit.row(0), unit.row(i), 1e-9), 1);
        EXPECT_EQ(Solved<mlSymEigenVecs>::equals(unit.row(0), others.row(i), 1e-9), 0);
    }
}

TEST(SymmetricEigen, LeavesAloneWhatIsBelowAHundredthOfItsTolerance) {
    Solved<mlSymEigenVecs> const eigen(Matrix(2, 2, {1, 0.9e-8, 0.9e-8, -2})),
        rotated(Matrix(2, 2, {1, 1.1e-8, 1.1e-8, -2}));
    mlVector values;
    eigen.eigen_values(values);
    EXPECT_EQ(contents(values), (Values{-2, 1}));
    EXPECT_EQ(contents(eigen.eigen_vectors()), (Values{0, 1, 1, 0}));
    EXPECT_NE(rotated.eigen_vectors()(0, 0), 0.0);
}

TEST(SymmetricEigen, GivesUpEmptyHandedWhenItMayTolerateNothing) {
    Matrix const a(2, 2, {1, 0.5, 0.5, -2});
    mlSymEigenVecs eigen(a);
    eigen.set_tolerance(0.0);
    eigen.calculate(); // ten million rotations
    EXPECT_EQ(eigen.status(), mlEigenVecsIterationLimit);
    EXPECT_EQ(eigen.num_real_eigen_values() + eigen.eigen_vectors().cols(), 0);
}

TEST(PrincipalComponents, AreTheEigenvectorsOfTheCovariance) {
    for (int const count : {4, 200}) {
        int const d = 4;
        doublecoDynArr2D points(count, d, 1, 1);
        mlMatrix x;
        fill_random(x, count, d, 3);
        for (int k = 0; k < count * d; ++k)
            points(k / d, k % d) = x[k] *= 1 + k % d;
        mlPCA const pca(points);
        for (int k = 0; k < count * d; ++k)
            x[k] -= pca.mass_centre()[k % d];
        Solved<mlATAEigenVecs> const eigen(x);
        mlMatrix const product(mlMatrixProduct, mlMatrix(mlMatrixTranspose, x), x);
        ASSERT_EQ(eigen.num_real_eigen_values(), d);
        EXPECT_LT(residual(product, eigen), 30 * count * norm_1(product) * roundoff);
        mlVector axis(mlVectorZero, 9), values; // what it holds goes
        for (int i = 0; i < d; ++i) {
            EXPECT_NEAR(x.col(i).sum(), 0.0, 1e-12 * count);
            ASSERT_EQ(pca.axis(i, axis), mlPCAComputed);
            EXPECT_LT(norm_diff(axis.slice(), eigen.eigen_vector(i)), 1e-12);
            EXPECT_NEAR(pca.eigenvalue(i) * (count - 1), eigen.eigen_value(i), 1e-11);
        }
        EXPECT_EQ(contents(axis), contents(pca.least_axis()));
        EXPECT_EQ(contents(pca.axis(0)), contents(pca.principal_axis()));
        EXPECT_EQ(std::tuple(pca.axis(d, axis), pca.axis(-1, axis)),
                  std::tuple(mlPCAAxisOutOfRange, mlPCAAxisOutOfRange));
        EXPECT_EQ(pca.eigenvalues(values), mlPCAComputed);
        EXPECT_EQ(contents(values), contents(pca.eigenvalues()));
    }
}

TEST(PrincipalComponents, NeedTwoDimensionsAndAPointForEach) {
    for (auto const & [count, dimension] : {std::pair(2, 3), std::pair(9, 1)}) {
        doublecoDynArr2D points(1, 1, 1, 1);
        points.expand(count, dimension);
        mlPCA const pca(points);
        mlVector untouched(mlVectorZero, 1);
        EXPECT_EQ(std::tuple(pca.axis(0, untouched), pca.least_axis(untouched)),
                  std::tuple(mlPCAAxisOutOfRange, mlPCAAxisOutOfRange));
        EXPECT_EQ(pca.principal_axis(untouched), mlPCANotEnoughData);
        EXPECT_EQ(pca.eigenvalues(untouched), mlPCANotEnoughData);
        EXPECT_EQ(std::tuple(untouched.size(), pca.eigenvalue(0)), std::tuple(1, largest_double));
    }
}

/// These values, and unit vectors that belong to them.
template <class Eigen> void expect_eigen(mlMatrix const & a, Values const & expected, double tolerance, int vectors) {
    Solved<Eigen> const eigen(a);
    EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
    ASSERT_EQ(eigen.num_real_eigen_values(), static_cast<int>(expected.size()));
    for (int i = 0; i < eigen.num_real_eigen_values(); ++i)
        EXPECT_NEAR(eigen.eigen_value(i), expected[i], tolerance) << i;
    EXPECT_LT(residual(a, eigen), 1e-11 + 10 * tolerance);
    ASSERT_EQ(eigen.eigen_vectors().cols(), vectors);
    for (int i = 0; i < vectors; ++i)
        EXPECT_NEAR(eigen.eigen_vector(i).modulus_squared(), 1.0, 1e-14);
}

TEST(GeneralEigen, HasRealEigenvaluesByDecreasingMagnitudeTheLargerFirst) {
    expect_eigen<mlAsymEigenVecs2>(Matrix(2, 2, {-16, 9, -18, 11}), {-7, 2}, 1e-13, 2);
    expect_eigen<mlAsymEigenVecs2>(Matrix(2, 2, {9, -6, 12, -9}), {3, -3}, 1e-13, 2);
    expect_eigen<mlAsymEigenVecs3>(Matrix(3, 3, {5, -2, 1, 2, 1, 0, -2, 2, 0}), {3, 2, 1}, 1e-12, 3);
    expect_eigen<mlAsymEigenVecs3>(Matrix(3, 3, {14, -10, 5, 16, -12, 6, 2, -2, 1}), {4, -1, 0}, 1e-12, 3);
    expect_eigen<mlAsymEigenVecs3>(Matrix(3, 3, {13, -8, 4, 12, -7, 4, 0, 0, 1}), {5, 1, 1}, 1e-6, 3);
    expect_eigen<mlAsymEigenVecs3>(Matrix(3, 3, {4, 0, 0, -3, 7, -3, -6, 6, -2}), {4, 4, 1}, 1e-6, 3);
    expect_eigen<mlAsymEigenVecs3>(Matrix(3, 3, {-6, 0, 0, 0, -6, 0, 0, 0, -6}), {-6, -6, -6}, 0.0, 3);
}

TEST(GeneralEigen, SharesASpaceBetweenCloseValuesAndHasNoComplexOnes) {
    Solved<mlAsymEigenVecs2> const isotropic(Matrix(2, 2, {2, 0, 0, 2})), close(Matrix(2, 2, {1, 1, 0, 1.00005}));
    EXPECT_EQ(contents(isotropic.eigen_vectors()), (Values{1, 0, 0, 1}));
    EXPECT_LT(orthonormality_ratio(close.eigen_vectors()), 30.0) << "though the true ones are nearly parallel";
    Solved<mlAsymEigenVecs2> const defective(Matrix(2, 2, {2, 1, 0, 2}));
    EXPECT_EQ(std::fabs(defective.eigen_vector(0)[0]), 1.0);
    EXPECT_EQ(std::fabs(defective.eigen_vector(1)[1]), 1.0) << "no eigenvector, there is only one";
    expect_eigen<mlAsymEigenVecs2>(Matrix(2, 2, {0, -1, 1, 0}), {}, 0.0, 0);
    expect_eigen<mlAsymEigenVecs3>(Matrix(3, 3, {0, -1, 0, 1, 0, 0, 0, 0, 3}), {3}, 1e-14, 1);
    // The square term is negligible beside the trace: a single value, and no vector for it.
    expect_eigen<mlAsymEigenVecs2>(Matrix(2, 2, {1e12, 1, 0, 1e-3}), {1e-3}, 1e-15, 0);
}

} // namespace
