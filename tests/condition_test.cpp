#include <span>

#include "tests/support/matrices.h"
#include "tests/support/ratios.h"
#include "tests/support/test.h"

namespace {

TEST(Condition, IsEstimatedWithinAFactorAndMostlyExactly) {
    int exact = 0, all = 0;
    for (int const n : {1, 2, 3, 10, 60})
        for (int seed = 1; seed <= 4; ++seed) {
            auto const all_families = families(n, seed);
            for (auto const & [name, element] : std::span(all_families).first(5)) {
                SCOPED_TRACE(testing::Message() << name << ", n = " << n);
                mlMatrix const a = matrix_of(n, n, element);
                mlMatrix inverse, g;
                mlLUDecomposition const lu(a);
                lu.inverse(inverse);
                double const ratio = lu.reciprocal_condition() * one_norm(a) * one_norm(inverse);
                EXPECT_NEAR(ratio, 2.0, 1.0 + 1e-4);
                exact += ratio < 1.0 + 1e-4; // the inverse has errors of its own
                ++all;
                multiply(a, mlMatrix(mlMatrixTranspose, a), g);
                g += mlMatrix(mlMatrixIdentity, n);
                mlCholeskyDecomposition const cholesky(g);
                EXPECT_NEAR(cholesky.reciprocal_condition() / mlLUDecomposition(g).reciprocal_condition(), 1.0, 1e-4);
            }
        }
    EXPECT_GT(exact, 0.8 * all); // of which a solution with the wrong triangle falls short
}

TEST(Condition, OfWhatHasNoInverseSaysWhatIsWrong) {
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
template <class Decomposition> double refined(mlMatrix const & a, mlVector const & exact) {
    Decomposition const d(a);
    mlVector b, x;
    if (d.is_singular()) return infinity;
    multiply(a, exact, b);
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
    for (int n = 1; n <= 53; ++n) { // all numbers are integers, so that A, x and b are exact
        SCOPED_TRACE(n);
        mlVector exact(mlVectorZero, n);
        for (int i = 0; i < n; ++i)
            exact[i] = i % 3 - 3;
        if (n <= 15) { // multiples of Hilbert's matrix
            double const factor = n <= 10 ? 232792560.0 : 2329089562800.0;
            mlMatrix const a = symmetric_matrix(n, [=](int i, int j) { return std::floor(factor / (i + j + 1)); });
            double const bounds[] = {refined<mlLUDecomposition>(a, exact), refined<mlCholeskyDecomposition>(a, exact)};
            EXPECT_TRUE(n > 9 || std::max(bounds[0], bounds[1]) < 1e-14) << "a solution has 5 digits or more";
            EXPECT_TRUE(n < 15 || bounds[0] == infinity);
        }
        mlMatrix a = random_matrix(n, n, n); // and where elements and exchanges are of all kinds
        for (double & element : a)
            element = std::floor(1000.0 * element);
        std::ranges::fill(a.row(n - 1), 0.0);
        for (int i = 0; i < n - 1; ++i) // the sum of the others, but for one element
            a.row(n - 1).add_multiple(1.0, a.row(i));
        a(n - 1, n / 2) += 1.0;
        EXPECT_LT(refined<mlLUDecomposition>(a, exact), 1e-14);
    }
}

TEST(Refinement, TakesRowsOfAnyScaleAndSaysWhereThereIsNothingToRefine) {
    mlMatrix const one{{4}}, zero{{0}}, graded{{1e-18, 2e-18}, {3, 1}}; // rows are exchanged
    mlVector x{0}, guess{1e300}, first{1, 0};
    int by_lu = 0, by_cholesky = 0;
    for (int k = 30; k < 52; ++k) {
        mlMatrix const nearly_singular{{1, -1}, {-1, 1 + std::ldexp(1.0, -k)}};
        mlVector b{0, std::ldexp(1.0, -k)}, exact{1, 1};
        by_lu += mlLUDecomposition(nearly_singular).refine(b, exact) < infinity;
        by_cholesky += mlCholeskyDecomposition(nearly_singular).refine(b, exact) < infinity;
    }
    EXPECT_EQ(std::pair(by_lu, by_cholesky), std::pair(16, 16)) << "elements of either sign add to the bound";
    EXPECT_LT(mlLUDecomposition(graded).refine(mlVector{1e-18, 3}, first), 1e-15);
    EXPECT_EQ(mlLUDecomposition(one).refine(mlVector{0}, x), 0.0);
    EXPECT_EQ(mlLUDecomposition(zero).refine(mlVector{1}, x) + mlCholeskyDecomposition(zero).refine(mlVector{1}, x),
              infinity);
    EXPECT_EQ(mlCholeskyDecomposition(one).refine(mlVector{nan_value}, guess), infinity);
}

} // namespace
