#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "maths/core/mlNorms.h"
#include "maths/decompositions/mlCholeskyDecomposition.h"
#include "maths/decompositions/mlLUDecomposition.h"
#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/values.h"

namespace {

TEST(Condition, IsEstimatedWithinAFactorAndMostlyExactly) {
    int exact = 0, all = 0;
    for (Kind const kind : {Kind::identity, Kind::random, Kind::graded_rows, Kind::graded_cols, Kind::nearly_singular})
        for (int const n : {1, 2, 3, 10, 60})
            for (int seed = 1; seed <= 4; ++seed) {
                SCOPED_TRACE(name_of(kind) + std::to_string(n));
                mlMatrix a, inverse, g;
                make_matrix(a, kind, n, n, seed);
                mlLUDecomposition const lu(a);
                lu.inverse(inverse);
                double const ratio = lu.reciprocal_condition() * one_norm(a) * one_norm(inverse);
                EXPECT_TRUE(ratio > 1.0 - 1e-4 && ratio < 3.0) << ratio;
                exact += ratio < 1.0 + 1e-4; // the inverse has errors of its own
                ++all;
                multiply(a, mlMatrix(mlMatrixTranspose, a), g);
                g += mlMatrix(mlMatrixIdentity, n);
                mlCholeskyDecomposition const cholesky(g);
                EXPECT_NEAR(cholesky.reciprocal_condition() / mlLUDecomposition(g).reciprocal_condition(), 1.0, 1e-4);
            }
    EXPECT_GT(exact, 0.8 * all); // of which a solution with the wrong triangle falls short
}

TEST(Condition, OfHilbertMatricesIsTheirIntegerAndOfOthersSaysWhatIsWrong) {
    double const conditions[] = {1, 27, 748, 28375, 943656, 29070279};
    for (int n = 1; n <= 6; ++n) {
        mlMatrix const hilbert(mlMatrixHilbert, n);
        EXPECT_NEAR(1.0 / mlLUDecomposition(hilbert).reciprocal_condition() / conditions[n - 1], 1.0, 1e-8);
        EXPECT_NEAR(1.0 / mlCholeskyDecomposition(hilbert).reciprocal_condition() / conditions[n - 1], 1.0, 1e-8);
    }
    mlMatrix const zero{{1, 1}, {1, 1}}, not_a_number{{1, 0}, {0, nan_value}},
        with_right_side{{2, 1, 1e9}, {1, 2, 1e9}}, none, overflows{{1e300, 0}, {0, 1e-19}};
    EXPECT_EQ(mlLUDecomposition(zero).reciprocal_condition() + mlCholeskyDecomposition(zero).reciprocal_condition(), 0);
    EXPECT_TRUE(std::isnan(mlLUDecomposition(not_a_number).reciprocal_condition()));
    EXPECT_DOUBLE_EQ(mlLUDecomposition(with_right_side).reciprocal_condition(), 1.0 / 3.0);
    EXPECT_EQ(mlLUDecomposition(none).reciprocal_condition() + mlCholeskyDecomposition(none).reciprocal_condition(), 2);
    EXPECT_NEAR(mlLUDecomposition(overflows).reciprocal_condition() * 1e300, 1e-19, 1e-22);
}

/// Refines the solution of A x = b, of which `exact` is known, until the bound stops falling: it must hold each time.
/// Returns the last bound.
template <class Decomposition> double refined(Decomposition const & d, mlVector const & b, mlVector const & exact) {
    mlVector x;
    if (d.is_singular()) return infinity;
    d.solve(b, x);
    double bound = infinity, before;
    do {
        before = bound;
        bound = d.refine(b, x);
        EXPECT_LE(norm_diff(x, exact), bound * infinity_norm(x));
    } while (bound < 0.5 * before);
    return bound;
}

TEST(Refinement, GivesABoundThatHoldsAndTheDigitsThatTheSolutionLost) {
    for (int n = 1; n <= 15; ++n) {
        // Hilbert's matrix times a number that makes it one of integers, so that A, x and b are exact.
        double const factor = n <= 10 ? 232792560.0 : 2329089562800.0;
        mlMatrix a(n, n);
        mlVector exact(mlVectorZero, n), b(mlVectorZero, n);
        for (int i = 0; i < n; ++i) {
            exact[i] = i % 3 - 3;
            for (int j = 0; j < n; ++j)
                a(i, j) = std::floor(factor / (i + j + 1));
        }
        multiply(a, exact, b);
        double const by_lu = refined(mlLUDecomposition(a), b, exact);
        double const by_cholesky = refined(mlCholeskyDecomposition(a), b, exact);
        EXPECT_TRUE(n > 9 || std::max(by_lu, by_cholesky) < 1e-14) << n << ", where a solution has 5 digits or more";
        EXPECT_TRUE(n < 15 || by_lu == infinity);
    }
    for (int seed = 1; seed <= 50; ++seed) { // and where elements and exchanges are of all kinds
        int const n = 3 + seed;
        mlMatrix a;
        mlVector exact, b;
        fill_random(a, n, n, seed);
        fill_random(exact, n, seed);
        for (double & e : a)
            e = std::floor(1000.0 * e);
        for (double & e : exact)
            e = std::floor(1000.0 * e);
        std::ranges::fill(a.row(n - 1), 0.0);
        for (int i = 0; i < n - 1; ++i) // the sum of the others, but for one element
            a.row(n - 1).add_multiple(1.0, a.row(i));
        a(n - 1, seed % n) += 1.0;
        multiply(a, exact, b);
        EXPECT_LT(refined(mlLUDecomposition(a), b, exact), 1e-14) << n;
    }
    mlMatrix const one{{4}}, zero{{0}}, graded{{1e-18, 2e-18}, {3, 1}}; // rows of any scale, exchanged
    mlVector x{0}, guess{1e300}, first{1, 0};
    EXPECT_LT(mlLUDecomposition(graded).refine(mlVector{1e-18, 3}, first), 1e-15);
    EXPECT_EQ(mlLUDecomposition(one).refine(mlVector{0}, x), 0.0);
    EXPECT_EQ(mlLUDecomposition(zero).refine(mlVector{1}, x) + mlCholeskyDecomposition(zero).refine(mlVector{1}, x),
              infinity);
    EXPECT_EQ(mlCholeskyDecomposition(one).refine(mlVector{nan_value}, guess), infinity);
}

} // namespace
