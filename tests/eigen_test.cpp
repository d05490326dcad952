#include <cmath>

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

void make_symmetric(mlMatrix & m) {
    for (int i = 0; i < m.rows(); ++i)
        for (int j = 0; j < i; ++j)
            m(i, j) = m(j, i);
}

/// Largest column of |A v - lambda v| over the eigenvectors that were found.
double residual(mlMatrix const & a, mlEigenVecs const & eigen) {
    mlMatrix scaled;
    scaled.become(utCopy, eigen.eigen_vectors());
    for (int k = 0; k < scaled.rows() * scaled.cols(); ++k)
        scaled[k] *= eigen.eigen_value(k % scaled.cols());
    return product_error(a, eigen.eigen_vectors(), scaled);
}

/// These values, and unit vectors that belong to them.
void expect_eigen(mlMatrix const & a, mlEigenVecs const & eigen, Values const & expected, double tolerance) {
    EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
    ASSERT_EQ(eigen.num_real_eigen_values(), static_cast<int>(expected.size()));
    for (int i = 0; i < eigen.num_real_eigen_values(); ++i)
        EXPECT_NEAR(eigen.eigen_value(i), expected[i], tolerance) << i;
    EXPECT_LT(residual(a, eigen), 1e-11 + 10 * tolerance);
    for (int i = 0; i < eigen.eigen_vectors().cols(); ++i)
        EXPECT_NEAR(eigen.eigen_vector(i).modulus_squared(), 1.0, 1e-14);
}

TEST(SymmetricEigen, HasOrthonormalVectorsAndValuesOfDecreasingMagnitude) {
    for (int const n : {1, 2, 3, 5, 10, 20}) {
        for (Kind const kind : {Kind::identity, Kind::random, Kind::graded_rows, Kind::zero_row, Kind::rank_two}) {
            SCOPED_TRACE(name_of(kind));
            mlMatrix a;
            make_matrix(a, kind, n, n, n);
            make_symmetric(a);
            mlSymEigenVecs eigen(a);
            eigen.set_tolerance(-1e-10); // its magnitude counts
            EXPECT_EQ(eigen.status(), mlEigenVecsNotCalculated);
            eigen.calculate();
            ASSERT_EQ(eigen.status(), mlEigenVecsCalculated);
            ASSERT_EQ(eigen.num_real_eigen_values(), n);
            EXPECT_LT(residual(a, eigen), 1e-12 * n + 30 * n * norm_1(a) * roundoff);
            EXPECT_LT(orthonormality_ratio(eigen.eigen_vectors()), 100.0);
            for (int i = 1; i < n; ++i)
                EXPECT_LE(std::fabs(eigen.eigen_value(i)), std::fabs(eigen.eigen_value(i - 1)));
        }
    }
}

TEST(SymmetricEigen, VectorsAreEqualUpToTheirSign) {
    Matrix const unit(2, 2, {0.6, 0.8, -0.6, -0.8}), others(2, 2, {0.8, 0.6, 1.2, 1.6});
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Solved<mlSymEigenVecs>::equals(unit.row(0), unit.row(i), 1e-9), 1);
        EXPECT_EQ(Solved<mlSymEigenVecs>::equals(unit.row(0), others.row(i), 1e-9), 0);
    }
}

TEST(SymmetricEigen, LeavesAloneWhatIsBelowAHundredthOfItsTolerance) {
    Matrix const a(2, 2, {1, 0.9e-8, 0.9e-8, -2}), b(2, 2, {1, 1.1e-8, 1.1e-8, -2});
    Solved<mlSymEigenVecs> const eigen(a), rotated(b);
    EXPECT_EQ(contents(eigen.eigen_values()), (Values{-2, 1}));
    EXPECT_EQ(contents(eigen.eigen_vectors()), (Values{0, 1, 1, 0}));
    EXPECT_NE(rotated.eigen_vectors()(0, 0), 0.0);
    mlVector copy;
    eigen.eigen_values(copy);
    EXPECT_EQ(contents(copy), contents(eigen.eigen_values()));
}

TEST(SymmetricEigen, GivesUpEmptyHandedWhenItMayTolerateNothing) {
    Matrix const a(2, 2, {1, 0.5, 0.5, -2});
    mlSymEigenVecs eigen(a);
    eigen.set_tolerance(0.0);
    eigen.calculate(); // ten million rotations
    EXPECT_EQ(eigen.status(), mlEigenVecsIterationLimit);
    EXPECT_EQ(eigen.num_real_eigen_values() + eigen.eigen_vectors().cols(), 0);
}

TEST(ATAEigen, DecomposesTheProductOfTheTransposeAndTheMatrix) {
    for (int const rows : {9, 5, 3}) {
        mlMatrix a;
        make_matrix(a, Kind::random, rows, 5);
        mlMatrix const transposed(mlMatrixTranspose, a), product(mlMatrixProduct, transposed, a);
        Solved<mlATAEigenVecs> const eigen(a);
        EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
        ASSERT_EQ(eigen.num_real_eigen_values(), 5);
        EXPECT_LT(residual(product, eigen), 30 * 9 * norm_1(product) * roundoff);
    }
}

/// Fills the points, which must be of 1 x 1 elements, and a matrix of the same numbers.
void make_points(doublecoDynArr2D & points, mlMatrix & m, int count, int dimension) {
    fill_random(m, count, dimension, 3);
    points.expand(count, dimension);
    for (int i = 0; i < count; ++i)
        for (int j = 0; j < dimension; ++j)
            points(i, j) = m(i, j) = 10.0 * j + (1 + j) * m(i, j) + 0.5 * m(i, 0);
}

TEST(PrincipalComponents, AreTheEigenvectorsOfTheCovariance) {
    for (int const count : {4, 5, 200}) {
        int const d = 4;
        doublecoDynArr2D points(1, 1, 1, 1);
        mlMatrix x, axes(mlMatrixZero, d, d), scaled(mlMatrixZero, d, d);
        make_points(points, x, count, d);
        mlPCA const pca(points);
        ASSERT_EQ(pca.status(), mlPCAComputed);
        for (int k = 0; k < count * d; ++k)
            x[k] -= pca.mass_centre()[k % d];
        mlVector axis, values;
        axis.expand(9); // what it holds goes
        EXPECT_EQ(pca.eigenvalues(values), mlPCAComputed);
        for (int c = 0; c < d; ++c) {
            EXPECT_NEAR(x.col(c).sum(), 0.0, 1e-12 * count);
            ASSERT_EQ(pca.axis(c, axis), mlPCAComputed);
            ASSERT_EQ(axis.size(), d);
            for (int r = 0; r < d; ++r)
                scaled(r, c) = (axes(r, c) = axis[r]) * values[c] * (count - 1);
        }
        mlMatrix const transposed(mlMatrixTranspose, x), covariance(mlMatrixProduct, transposed, x);
        EXPECT_LT(product_error(covariance, axes, scaled), 1e-12 * norm_1(covariance));
        EXPECT_LT(orthonormality_ratio(axes), 30.0);
        EXPECT_GT(pca.eigenvalue(0), pca.eigenvalue(d - 1));
        EXPECT_EQ(norm_diff(pca.principal_axis(), axes.col(0)), 0.0);
        EXPECT_EQ(norm_diff(pca.least_axis(), axes.col(d - 1)), 0.0);
        EXPECT_EQ(pca.axis(d, axis), mlPCAAxisOutOfRange);
        EXPECT_EQ(pca.axis(-1, axis), mlPCAAxisOutOfRange);
    }
}

TEST(PrincipalComponents, NeedTwoDimensionsAndAPointForEach) {
    for (auto const & [count, dimension] : {std::pair(2, 3), std::pair(9, 1), std::pair(0, 0)}) {
        doublecoDynArr2D points(1, 1, 1, 1);
        mlMatrix same;
        make_points(points, same, count, dimension);
        mlPCA const pca(points);
        EXPECT_EQ(pca.status(), mlPCANotEnoughData);
        mlVector untouched(mlVectorZero, 1);
        EXPECT_EQ(pca.axis(0, untouched), mlPCAAxisOutOfRange);
        EXPECT_EQ(pca.least_axis(untouched), mlPCAAxisOutOfRange);
        EXPECT_EQ(pca.principal_axis(untouched), mlPCANotEnoughData);
        EXPECT_EQ(pca.eigenvalues(untouched), mlPCANotEnoughData);
        EXPECT_EQ(untouched.size(), 1);
        EXPECT_EQ(pca.eigenvalue(0), largest_double);
    }
}

/// a becomes p diag(values) p^-1 for a fixed p of integers, whose inverse is of integers too.
void make_with_spectrum(mlMatrix & a, Values const & values) {
    int const n = static_cast<int>(values.size());
    Matrix const p = n == 2 ? Matrix(2, 2, {1, 1, 1, 2}) : Matrix(3, 3, {1, 1, 0, 1, 2, 1, 0, 1, 2});
    Matrix const inverse = n == 2 ? Matrix(2, 2, {2, -1, -1, 1}) : Matrix(3, 3, {3, -2, 1, -2, 2, -1, 1, -1, 1});
    a.become(mlMatrixZero, n, n);
    for (int place = 0; place < n * n; ++place)
        for (int k = 0; k < n; ++k)
            a[place] += p(place / n, k) * values[k] * inverse(k, place % n);
}

TEST(GeneralEigen, HasRealEigenvaluesAndUnitVectors) {
    struct {
        Values expected; // by decreasing magnitude, the larger first
        double tolerance;
    } const cases[] = {
        {{3, 2}, 1e-13},    {{-7, 2}, 1e-13},    {{4, 0}, 1e-13},     {{3, -3}, 1e-13},
        {{3, 2, 1}, 1e-12}, {{-5, 4, 1}, 1e-12}, {{2, -2, 1}, 1e-12}, {{4, -1, 0}, 1e-12},
        {{5, 1, 1}, 1e-6},  {{4, 4, 1}, 1e-6},   {{-6, -6, -6}, 0.0},
    };
    for (auto const & [expected, tolerance] : cases) {
        mlMatrix a;
        make_with_spectrum(a, expected);
        if (a.rows() == 2) expect_eigen(a, Solved<mlAsymEigenVecs2>(a), expected, tolerance);
        if (a.rows() == 3) expect_eigen(a, Solved<mlAsymEigenVecs3>(a), expected, tolerance);
    }
}

TEST(GeneralEigen, SharesASpaceBetweenCloseValuesAndHasNoComplexOnes) {
    Matrix const isotropic(2, 2, {2, 0, 0, 2}), close(2, 2, {1, 1, 0, 1.00005}), rotation(2, 2, {0, -1, 1, 0}),
        single(2, 2, {1e12, 1, 0, 1e-3}), turning(3, 3, {0, -1, 0, 1, 0, 0, 0, 0, 3});
    EXPECT_EQ(contents(Solved<mlAsymEigenVecs2>(isotropic).eigen_vectors()), (Values{1, 0, 0, 1}));
    // As good as equal: one space, though the vectors are nearly parallel.
    EXPECT_LT(orthonormality_ratio(Solved<mlAsymEigenVecs2>(close).eigen_vectors()), 30.0);
    expect_eigen(rotation, Solved<mlAsymEigenVecs2>(rotation), {}, 0.0);
    // The square term is negligible beside the trace.
    expect_eigen(single, Solved<mlAsymEigenVecs2>(single), {1e-3}, 1e-15);
    EXPECT_EQ(Solved<mlAsymEigenVecs2>(single).eigen_vectors().cols(), 0) << "no vector for a single value";
    expect_eigen(turning, Solved<mlAsymEigenVecs3>(turning), {3}, 1e-14);
    EXPECT_EQ(Solved<mlAsymEigenVecs3>(turning).eigen_vectors().cols(), 1);
}

} // namespace
