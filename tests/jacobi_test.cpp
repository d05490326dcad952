#include "maths/kernels/mlTuning.h"
#include "tests/support/matrices.h"
#include "tests/support/plain_jacobi.h"
#include "tests/support/test.h"

// Jacobi's methods beside the plain forms that they promise the bits of: rotations by full matrix products, pairs of
// columns one after the other.

namespace {

class JacobiOfOrder : public testing::TestWithParam<int> {
protected:
    int const n = GetParam(), last = n - 1;
    Element const numbers = uniform(1.0, n);
};

// Ties decide which pivot is first; zeros keep their sign until the first rotation.
TEST_P(JacobiOfOrder, RotatesToTheBitsOfFullProducts) {
    Element const ends = one_of({0.0, 0.25, 2.0, -2.0}, n), quarters = one_of({0.25, -0.25, 0.125}, n);
    std::pair<char const *, Element> const structures[] = {
        {"graded", [&](int i, int j) { return numbers(i, j) * std::pow(10.0, -4.0 * (i + j) / n); }},
        {"ternary", one_of({-1.0, 0.0, 1.0}, n)},
        {"negative zeros", one_of({-0.0, -0.0, -0.0, 1.0, -0.75}, n)},
        {"equal off the diagonal", [&](int i, int j) { return i == j ? ends(i, j) : 0.25; }},
        {"rotations that exchange two columns",
         [&](int i, int j) { return j < last ? quarters(i, j) : (i == last) * 1e20 + (i == n / 2); }},
        {"infinite squares of differences, after the start",
         [&](int i, int j) { return i < j ? 1e149 * numbers(i, j) : std::copysign(1e160, last - i - 0.5); }},
    };
    for (auto const & [name, element] : structures) {
        SCOPED_TRACE(name);
        for (int repetition = 0; repetition < (n < 10 ? 40 : 3); ++repetition)
            expect_the_bits_of_full_products(symmetric_matrix(n, element));
    }
}

TEST_P(JacobiOfOrder, TrustsSymmetryAndTakesWhatIsBelowTheDiagonalAsItStands) {
    mlMatrix a = symmetric_matrix(n, numbers);
    for (int k = 0; k < n * n; ++k)
        a[k] += k / n > k % n ? 1e-9 * numbers(0, 0) : 0.0;
    expect_the_bits_of_full_products(a, 1e-5);
}

TEST_P(JacobiOfOrder, SpreadsNaNsAndInfinitiesAsProductsDo) {
    for (double const strange : {nan_value, infinity, -infinity, 1e300, 1e-200}) {
        for (int const row : {0, n / 2, n - 1}) {
            if (n == 0) continue;
            mlMatrix a = symmetric_matrix(n, one_of({-1.0, -0.0, 0.5, 2.0}, row));
            a(row, n - 1) = strange;
            bool const misuse = checked_build && std::isfinite(strange); // asymmetric
            if (!(std::fabs(strange) < 1.0) && !misuse)                  // little beside much never ends
                expect_the_bits_of_full_products(a);
            a(n - 1, row) = strange;
            expect_the_bits_of_full_products(a);
        }
    }
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
                double const x = a[i * cols + j], y = a[i * cols + k];
                p += x * y, q += x * x, w += y * y;
            }
            s2[j] = q, s2[k] = w;
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

void expect_pairs_in_order(int rows, int cols, int negligible) {
    mlRandom random(rows);
    double const tol = 0.1 * 1e-22;
    Values a((rows + cols) * cols), squares(cols, 7.0), found_squares(cols, 7.0);
    for (int k = 0; k < rows * cols; ++k)
        a[k] = negligible < 0 ? std::round(random.uniform(-1.4, 1.4))
                              : random.uniform(-1.0, 1.0) * (k % cols < cols - negligible ? 1.0 : 1e-40);
    Values expected = a;
    for (int j = 0; j < cols; ++j)
        expected[(rows + j) * cols + j] = 1.0;
    int rank = cols, rotations = cols > 1;
    for (int sweeps = 0; rotations != 0 && sweeps <= std::max(cols / 4, 6); ++sweeps) {
        rotations = sweep_in_order(expected, squares, rows, cols, rank);
        while (rank >= 3 && squares[rank - 1] <= squares[0] * tol + tol * tol)
            --rank;
    }
    in_each_instruction_set([&] {
        Values found = a;
        ml_svd(found.data(), found_squares.data(), rows, cols);
        EXPECT_TRUE(equal_bits(expected, found, static_cast<int>(found.size()))) << rows << " x " << cols;
        EXPECT_TRUE(equal_bits(squares, found_squares, cols)) << rows << " x " << cols;
    });
}

TEST(OneSidedJacobi, TakesThePairsOfColumnsAsIfOneByOne) {
    for (auto const & [rows, cols] : {std::pair(5, 1), {3, 2}, {9, 5}, {4, 9}, {20, 10}, {40, 23}})
        for (int const negligible : {0, 1, cols / 2, cols - 1, -1}) // columns; -1: ties
            expect_pairs_in_order(rows, cols, negligible);
}

} // namespace
