#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/test.h"

namespace {

template <class Eigen> struct Solved : Eigen {
    explicit Solved(mlMatrix const & a) : Eigen(a) { this->calculate(); }
    using Eigen::equals;
};

/// Largest column of |A v - lambda v| over the eigenvectors that were found.
double residual(mlMatrix const & a, mlEigenVecs const & eigen) {
    mlMatrix scaled(utCopy, eigen.eigen_vectors());
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
        mlMatrix x = random_matrix(count, d, 3);
        for (int k = 0; k < count * d; ++k)
            points(k / d, k % d) = x[k] *= 1 + k % d;
        mlPCA const pca(points), of_matrix(x);
        EXPECT_EQ(contents(of_matrix.eigenvalues()), contents(pca.eigenvalues()));
        mlMatrix scores, in_place(utCopy, x);
        ASSERT_EQ(pca.scores(points, scores), mlPCAComputed);
        pca.scores(in_place, in_place);
        EXPECT_EQ(in_place, scores);
        for (int k = 0; k < count * d; ++k)
            x[k] -= pca.mass_centre()[k % d];
        Solved<mlATAEigenVecs> const eigen(x);
        mlMatrix const product(mlMatrixProduct, mlMatrix(mlMatrixTranspose, x), x);
        ASSERT_EQ(eigen.num_real_eigen_values(), d);
        EXPECT_LT(residual(product, eigen), 30 * count * norm_1(product) * roundoff);
        EXPECT_LT(product_error(x, eigen.eigen_vectors(), scores), 1e-12 * count);
        mlVector axis(mlVectorZero, 9), values; // what it holds goes
        for (int i = 0; i < d; ++i) {
            EXPECT_NEAR(x.col(i).sum(), 0.0, 1e-12 * count);
            ASSERT_EQ(pca.axis(i, axis), mlPCAComputed);
            EXPECT_LT(norm_diff(axis.slice(), eigen.eigen_vector(i)), 1e-12);
            EXPECT_NEAR(pca.eigenvalue(i) * (count - 1), eigen.eigen_value(i), 1e-11);
        }
        EXPECT_EQ(contents(axis), contents(pca.least_axis()));
        EXPECT_EQ(contents(pca.axis(0)), contents(pca.principal_axis()));
        for (int const none : {-1, d})
            EXPECT_EQ(pca.axis(none, axis), mlPCAAxisOutOfRange);
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
        mlMatrix scores;
        EXPECT_EQ(pca.axis(0, untouched), mlPCAAxisOutOfRange);
        EXPECT_EQ(pca.least_axis(untouched), mlPCAAxisOutOfRange);
        EXPECT_EQ(pca.principal_axis(untouched), mlPCANotEnoughData);
        EXPECT_EQ(pca.eigenvalues(untouched), mlPCANotEnoughData);
        EXPECT_EQ(pca.scores(points, scores), mlPCANotEnoughData);
        EXPECT_EQ(pca.eigenvalue(0), largest_double);
        EXPECT_EQ(untouched.size(), 1);
    }
}

/// These values, and unit vectors that belong to them.
template <class Eigen> void expect_eigen(mlMatrix const & a, Values const & expected, double tolerance, int vectors) {
    Solved<Eigen> const eigen(a);
    EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
    ASSERT_EQ(eigen.num_real_eigen_values(), static_cast<int>(expected.size()));
    mlVector values;
    eigen.eigen_values(values);
    for (int i = 0; i < values.size(); ++i)
        EXPECT_NEAR(values[i], expected[i], tolerance) << i;
    EXPECT_LT(residual(a, eigen), 1e-11 + 10 * tolerance);
    ASSERT_EQ(eigen.eigen_vectors().cols(), vectors);
    for (int i = 0; i < vectors; ++i)
        EXPECT_NEAR(eigen.eigen_vector(i).modulus_squared(), 1.0, 1e-14);
}

TEST(GeneralEigen, HasRealEigenvaluesByDecreasingMagnitudeTheLargerFirst) {
    expect_eigen<mlAsymEigenVecs2>({{9, -6}, {12, -9}}, {3, -3}, 1e-13, 2);
    expect_eigen<mlAsymEigenVecs2>({{3, 0}, {-1, 1}}, {3, 1}, 1e-13, 2); // A - 3 has no element above 0
    expect_eigen<mlAsymEigenVecs3>({{14, -10, 5}, {16, -12, 6}, {2, -2, 1}}, {4, -1, 0}, 1e-12, 3);
    expect_eigen<mlAsymEigenVecs3>({{13, -8, 4}, {12, -7, 4}, {0, 0, 1}}, {5, 1, 1}, 1e-6, 3);
    expect_eigen<mlAsymEigenVecs3>({{4, 0, 0}, {-3, 7, -3}, {-6, 6, -2}}, {4, 4, 1}, 1e-6, 3);
    expect_eigen<mlAsymEigenVecs3>({{-6, 0, 0}, {0, -6, 0}, {0, 0, -6}}, {-6, -6, -6}, 0.0, 3);
    expect_eigen<mlAsymEigenVecs2>({{0, -1}, {1, 0}}, {}, 0.0, 0); // no complex ones
    expect_eigen<mlAsymEigenVecs3>({{0, -1, 0}, {1, 0, 0}, {0, 0, 3}}, {3}, 1e-14, 1);
    // The square term is negligible beside the trace: a single value, and no vector for it.
    expect_eigen<mlAsymEigenVecs2>({{1e12, 1}, {0, 1e-3}}, {1e-3}, 1e-15, 0);
}

TEST(GeneralEigen, SharesASpaceBetweenCloseValues) {
    Solved<mlAsymEigenVecs2> const isotropic({{2, 0}, {0, 2}}), close({{1, 1}, {0, 1.00005}}),
        defective({{2, 1}, {0, 2}});
    Solved<mlAsymEigenVecs3> const chain({{1e-3, 1, 0}, {0, 1.07e-3, 1}, {0, 0, 1.14e-3}});
    EXPECT_EQ(contents(isotropic.eigen_vectors()), (Values{1, 0, 0, 1}));
    EXPECT_EQ(chain.eigen_vectors().cols(), 3);
    EXPECT_LT(orthonormality_ratio(chain.eigen_vectors()), 30.0) << "neighbours are close, though the ends are not";
    EXPECT_LT(orthonormality_ratio(close.eigen_vectors()), 30.0) << "though the true ones are nearly parallel";
    EXPECT_EQ(std::fabs(defective.eigen_vector(0)[0]), 1.0);
    EXPECT_EQ(std::fabs(defective.eigen_vector(1)[1]), 1.0) << "no eigenvector, there is only one";
}

} // namespace
