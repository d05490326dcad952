#include <bit>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "maths/decompositions/mlSymEigenVecs.h"
#include "maths/decompositions/ml_svd.h"
#include "maths/kernels/mlInstructionSet.h"
#include "platform/doublecoQuickSortIndex.h"
#include "tests/support/matrices.h"
#include "tests/support/values.h"

// Jacobi's methods beside the plain forms that they promise the bits of: rotations by full matrix products, pairs of
// columns one after the other.

namespace {

struct Spectrum {
    Values values;
    mlMatrix vectors;
};

/// The rotation of rows and columns p and q.
void become_rotation(mlMatrix & r, mlMatrix const & m, int p, int q) {
    double const a = m(p, p), b = m(p, q), d = m(q, q);
    double const lambda = (a + d) * 0.5 + std::sqrt((a - d) * (a - d) * 0.25 + b * b);
    double const rows[2][2] = {{a - lambda, b}, {m(q, p), d - lambda}};
    double const squares[2] = {rows[0][0] * rows[0][0] + rows[0][1] * rows[0][1],
                               rows[1][0] * rows[1][0] + rows[1][1] * rows[1][1]};
    int const k = squares[1] > squares[0] ? 1 : 0;
    double const length = std::sqrt(squares[k]);
    r.become(mlMatrixIdentity, m.rows());
    r(p, p) = rows[k][1] / length;
    r(q, p) = -rows[k][0] / length;
    r(p, q) = rows[k][0] / length;
    r(q, q) = rows[k][1] / length;
}

void full_products(mlMatrix const & m, double tolerance, Spectrum & found) {
    int const n = m.rows();
    mlMatrix a, r, v(mlMatrixIdentity, n);
    a.become(utCopy, m);
    for (int rotations = 0; rotations < 10000; ++rotations) { // more than any of these takes
        double largest = -largest_double;
        int p = 0, q = 0;
        for (int k = 0; k < n * n; ++k) {
            if (k / n >= k % n || !(std::fabs(a[k]) > largest)) continue;
            largest = std::fabs(a[k]);
            p = k / n;
            q = k % n;
        }
        if (tolerance * 0.01 > largest) break;
        become_rotation(r, a, p, q);
        a.become(mlMatrixProduct, mlMatrix(mlMatrixProduct, mlMatrix(mlMatrixTranspose, r), a), r);
        v.become(mlMatrixProduct, v, r);
    }
    doublecoPageArr squares;
    intcoPageArr order;
    for (int i = 0; i < n; ++i) {
        squares[i] = a(i, i) * a(i, i);
        order[i] = i;
    }
    doublecoQuickSortIndex(squares, order).sort(&order, n);
    found.values.clear();
    found.vectors.become(n, n);
    for (int i = 0; i < n; ++i) {
        found.values.push_back(a(order[n - 1 - i], order[n - 1 - i]));
        found.vectors.col(i) = v.col(order[n - 1 - i]);
    }
}

/// The first element whose bits differ, or -1. Any NaN equals any other.
template <class Array> int first_difference(Values const & expected, Array const & found) {
    for (int i = 0; i < static_cast<int>(expected.size()); ++i) {
        double const x = expected[i], y = found[i];
        if (std::bit_cast<std::uint64_t>(x) != std::bit_cast<std::uint64_t>(y) && !(std::isnan(x) && std::isnan(y)))
            return i;
    }
    return -1;
}

void expect_the_bits_of_full_products(mlMatrix const & a, double tolerance = 1e-6) {
    Spectrum expected;
    full_products(a, tolerance, expected);
    mlSymEigenVecs eigen(a);
    eigen.set_tolerance(tolerance);
    eigen.calculate();
    EXPECT_EQ(eigen.status(), mlEigenVecsCalculated);
    ASSERT_EQ(eigen.num_real_eigen_values(), a.rows());
    EXPECT_EQ(first_difference(expected.values, eigen.eigen_values()), -1);
    EXPECT_EQ(first_difference(contents(expected.vectors), eigen.eigen_vectors()), -1);
}

/// m becomes symmetric, element (i, j) with i <= j being value().
template <class Value> void make_symmetric(mlMatrix & m, int n, Value value) {
    m.become(n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j)
            m(i, j) = m(j, i) = value();
    }
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

TEST_P(JacobiOfOrder, TakesTheFirstOfEqualPivots) {
    for (int repetition = 0; repetition < (n < 10 ? 40 : 3); ++repetition) {
        make_symmetric(a, n, [&] { return one_of({-1.0, 0.0, 1.0}); });
        expect_the_bits_of_full_products(a);
    }
    make_symmetric(a, n, [] { return 0.25; });
    expect_the_bits_of_full_products(a);
    for (int i = 0; i < n; ++i)
        a(i, i) = one_of({0.0, 2.0, -2.0});
    expect_the_bits_of_full_products(a);
}

TEST_P(JacobiOfOrder, KeepsNegativeZerosUntilItRotates) {
    make_symmetric(a, n, [] { return -0.0; });
    expect_the_bits_of_full_products(a);
    for (int repetition = 0; repetition < (n < 10 ? 40 : 3); ++repetition) {
        make_symmetric(a, n, [&] { return one_of({-0.0, -0.0, -0.0, 1.0, -0.75}); });
        expect_the_bits_of_full_products(a);
    }
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

// From 13 on rows are rotated by a kernel; from 9 elements on the largest is sought in several chains.
INSTANTIATE_TEST_SUITE_P(, JacobiOfOrder, testing::Values(0, 1, 2, 3, 4, 5, 8, 12, 13, 21, 40));

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
    enum mlInstructionSet const widest = ml_instruction_set();
    for (auto const & [rows, cols] : {std::pair(5, 1), {3, 2}, {9, 5}, {4, 9}, {20, 10}, {40, 23}}) {
        for (int const negligible : {0, 1, cols / 2}) {
            mlRandom random(rows);
            double const tol = 0.1 * 1e-22;
            Values expected((rows + cols) * cols), squares(cols, 7.0), found_squares(cols, 7.0);
            for (int k = 0; k < rows * cols; ++k)
                expected[k] = random.uniform(-1.0, 1.0) * (k % cols < cols - negligible ? 1.0 : 1e-40);
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
            for (int set = widest; set >= 0; --set) {
                SCOPED_TRACE(testing::Message() << rows << " x " << cols << ", set " << set);
                ASSERT_TRUE(ml_use_instruction_set(mlInstructionSet(set)));
                found = a;
                ml_svd(found.data(), found_squares.data(), rows, cols);
                EXPECT_EQ(first_difference(expected, found), -1);
                EXPECT_EQ(first_difference(squares, found_squares), -1);
            }
        }
    }
    ml_use_instruction_set(widest);
}

} // namespace
