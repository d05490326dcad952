#include <vector>

#include <gtest/gtest.h>

#include "maths/decompositions/ml_svd.h"
#include "maths/kernels/mlTuning.h"
#include "tests/support/matrices.h"
#include "tests/support/plain_jacobi.h"

// Jacobi's methods beside the plain forms that they promise the bits of: rotations by full matrix products, pairs of
// columns one after the other.

namespace {

/// m becomes symmetric, element (i, j) with i <= j being value().
template <class Value> void make_symmetric(mlMatrix & m, int n, Value value) {
    m.become(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; ++j)
            m(i, j) = m(j, i) = value();
}

class JacobiOfOrder : public testing::TestWithParam<int> {
protected:
    int n = GetParam();
    mlRandom random{n};
    mlMatrix a;

    double one_of(Values const & values) { return values[static_cast<int>(random.uniform(0.0, values.size()))]; }
};

TEST_P(JacobiOfOrder, RotatesGradedAndAsymmetricMatricesToTheSameBits) {
    make_symmetric(a, n, [&] { return random.uniform(-1.0, 1.0); });
    expect_the_bits_of_full_products(a);
    for (int k = 0; k < n * n; ++k)
        a[k] *= std::pow(10.0, -4.0 * (k / n + k % n) / n);
    expect_the_bits_of_full_products(a, 1e-9);
    for (int k = 0; k < n * n; ++k) // symmetry is trusted: what is below the diagonal counts as it stands
        a[k] += k / n > k % n ? random.uniform(-1e-9, 1e-9) : 0.0;
    expect_the_bits_of_full_products(a);
}

TEST_P(JacobiOfOrder, TakesTheFirstOfEqualPivotsAndKeepsNegativeZerosUntilItRotates) {
    for (int repetition = 0; repetition < (n < 10 ? 40 : 3); ++repetition) {
        for (Values const & values : {Values{-1.0, 0.0, 1.0}, {-0.0, -0.0, -0.0, 1.0, -0.75}, {-0.0}, {0.25}}) {
            make_symmetric(a, n, [&] { return one_of(values); });
            expect_the_bits_of_full_products(a);
        }
    }
    for (int repetition = 0; repetition < 20 && n > 0; ++repetition) { // rotations that exchange two columns
        make_symmetric(a, n, [&] { return one_of({0.25, -0.25, 0.125}); });
        a(n - 1, n - 1) = 1e20;
        a(n / 2, n - 1) = a(n - 1, n / 2) = n < 2 ? 1e20 : 1.0;
        if (n > 2) expect_the_bits_of_full_products(a);
    }
    make_symmetric(a, n, [] { return 0.25; });
    for (int i = 0; i < n; ++i)
        a(i, i) = one_of({0.0, 2.0, -2.0});
    expect_the_bits_of_full_products(a);
}

TEST_P(JacobiOfOrder, SpreadsNaNsAndInfinitiesAsProductsDo) {
    for (double const strange : {nan_value, infinity, -infinity, 1e300, 1e-200}) {
        for (int const row : {0, n / 2, n - 1}) {
            if (n == 0) continue;
            make_symmetric(a, n, [&] { return one_of({-1.0, -0.0, 0.5, 2.0}); });
            a(row, n - 1) = strange;
            bool const misuse = checked_build && std::isfinite(strange); // asymmetric
            if (!(std::fabs(strange) < 1.0) && !misuse)                  // little beside much never ends
                expect_the_bits_of_full_products(a);
            a(n - 1, row) = strange;
            expect_the_bits_of_full_products(a);
        }
    }
    // The rotations start well, and meet a difference with an infinite square.
    make_symmetric(a, n, [&] { return random.uniform(-1e149, 1e149); });
    for (int i = 0; i < n; ++i)
        a(i, i) = i < n - 1 ? 1e160 : -1e160;
    expect_the_bits_of_full_products(a);
}

// Rows of more elements are rotated by a kernel; from 9 elements on the largest is sought in several chains.
int const plain = ml_tuning::jacobi_plain_max_cols;
INSTANTIATE_TEST_SUITE_P(, JacobiOfOrder, testing::Values(0, 1, 2, 3, 4, 5, 8, plain, plain + 1, 21, 30));

/// One sweep over a row-major array, pair by pair; the number of rotations.
int sweep_in_order(Values & a, Values & s2, int rows, int cols, int rank) {
    int rotations = 0;
    for (int j = 0; j < rank - 1; ++j) {
        for (int k = j + 1; k < rank; ++k) {
            double p = 0.0, q = 0.0, w = 0.0;
            for (int i = 0; i < rows; ++i) {
                p += a[i * cols + j] * a[i * cols + k];
                q += a[i * cols + j] * a[i * cols + j];
                w += a[i * cols + k] * a[i * cols + k];
            }
            s2[j] = q;
            s2[k] = w;
            if (q >= w && (rows * 10.0 * 1e-22 * 1e-22 * s2[0] >= q || 0.1 * 1e-22 * q >= std::fabs(p))) continue;
            ++rotations;
            bool const swapped = q < w;
            p /= swapped ? w : q;
            double const t = swapped ? q / w - 1.0 : 1.0 - w / q, v = std::sqrt(4.0 * (p * p) + t * t);
            double const root = std::sqrt(std::fabs(0.5 * (swapped ? 1.0 - t / v : 1.0 + t / v)));
            double const first = swapped && p < 0.0 ? -root : root, second = p / (v * first);
            double const c = swapped ? second : first, s = swapped ? first : second;
            for (int i = 0; i < rows + cols; ++i) {
                double const x = a[i * cols + j], y = a[i * cols + k];
                a[i * cols + j] = x * c + y * s;
                a[i * cols + k] = y * c - x * s;
            }
        }
    }
    return rotations;
}

TEST(OneSidedJacobi, TakesThePairsOfColumnsAsIfOneByOne) {
    for (auto const & shape : {std::pair(5, 1), {3, 2}, {9, 5}, {4, 9}, {20, 10}, {40, 23}}) {
        int const rows = shape.first, cols = shape.second;
        for (int const negligible : {0, 1, cols / 2, cols - 1, -1}) { // columns; -1: ties
            mlRandom random(rows);
            double const tol = 0.1 * 1e-22;
            Values expected((rows + cols) * cols), squares(cols, 7.0), found_squares(cols, 7.0);
            for (int k = 0; k < rows * cols; ++k)
                expected[k] = negligible < 0 ? std::round(random.uniform(-1.4, 1.4))
                                             : random.uniform(-1.0, 1.0) * (k % cols < cols - negligible ? 1.0 : 1e-40);
            Values found = expected;
            for (int k = 0; k < cols * cols; ++k)
                expected[rows * cols + k] = k % (cols + 1) == 0 ? 1.0 : 0.0;
            int rank = cols, rotations = cols > 1;
            for (int sweeps = 0; rotations != 0 && sweeps <= std::max(cols / 4, 6); ++sweeps) {
                rotations = sweep_in_order(expected, squares, rows, cols, rank);
                while (rank >= 3 && squares[rank - 1] <= squares[0] * tol + tol * tol)
                    --rank;
            }
            Values const a = found;
            SCOPED_TRACE(testing::Message() << rows << " x " << cols);
            in_each_instruction_set([&] {
                found = a;
                ml_svd(found.data(), found_squares.data(), rows, cols);
                EXPECT_TRUE(equal_bits(expected, found, static_cast<int>(found.size())));
                EXPECT_TRUE(equal_bits(squares, found_squares, cols));
            });
        }
    }
}

} // namespace
