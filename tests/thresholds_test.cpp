#include <fstream>
#include <functional>
#include <map>
#include <numeric>
#include <regex>
#include <set>

#include "maths/decompositions/mlLUElimination.h"
#include "maths/decompositions/svd/mlRotatedBasis.h"
#include "maths/kernels/mlLanes.h"
#include "maths/kernels/mlTuning.h"
#include "tests/support/bits.h"
#include "tests/support/matrices.h"
#include "tests/support/plain_jacobi.h"
#include "tests/support/plain_ldlt.h"
#include "tests/support/plain_svd.h"
#include "tests/support/plain_symmetric.h"
#include "tests/support/test.h"

// Each size at which one method gives way to another, that is each constant of mlTuning.h, and the sizes below and
// above it: in every instruction set the bits are those of the plain definitions that stand here.

namespace {

using namespace ml_tuning;

// ---- Gaussian elimination ----

/// What is hard about a matrix where blocked elimination may go wrong.
enum class Trouble { none, exchange_at_every_step, ties, nan_below_a_pivot, nan_pivot, failing_pivot };

mlMatrix troubled(int n, int cols, Trouble trouble, int p) {
    mlMatrix a = random_matrix(n, cols, n + 7 * p);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < cols; ++j) {
            double & x = a(i, j);
            if (trouble == Trouble::exchange_at_every_step) x = 1.0 + 1e-3 * i + (i == j ? 0.5 : 1e-4) * x;
            if (trouble == Trouble::ties) x = std::round(1.4 * x);
        }
        if (trouble == Trouble::nan_pivot) a(i, p) = nan_value;
        if (trouble == Trouble::failing_pivot) a(i, p) *= 1e-40; // not the largest first, and no zeros beside it
    }
    if (trouble == Trouble::nan_below_a_pivot) a(n - 1, p) = nan_value;
    return a;
}

/// x's columns from `first` on become the solutions of U x = b; LU's matrix form takes the last pivot's reciprocal.
void solve_upper(mlMatrix const & u, mlMatrix & x, int first, bool reciprocal = false) {
    int const n = u.rows();
    for (int c = first; c < x.cols(); ++c) {
        for (int i = n - 1; i >= 0; --i) {
            for (int j = i + 1; j < n; ++j)
                x(i, c) -= u(i, j) * x(j, c);
            x(i, c) = reciprocal && i == n - 1 ? x(i, c) * (1.0 / u(i, i)) : x(i, c) / u(i, i);
        }
    }
}

/// x becomes the solution of L x = b: LU's has a unit diagonal, Cholesky's takes the latest terms first.
void solve_lower(mlMatrix const & l, mlMatrix & x, bool of_lu) {
    for (int c = 0; c < x.cols(); ++c) {
        for (int i = 0; i < l.rows(); ++i) {
            for (int k = 0, j = of_lu ? 0 : i - 1; k < i; ++k, j += of_lu ? 1 : -1)
                x(i, c) -= l(i, j) * x(j, c);
            if (!of_lu) x(i, c) /= l(i, i);
        }
    }
}

/// The square part is factored, and the columns after it are solved.
struct PlainLU {
    explicit PlainLU(mlMatrix const & m) : a(utCopy, m), rows(m.rows()) {
        int const n = m.rows();
        std::iota(rows.begin(), rows.end(), 0);
        for (int k = 0; k < n; ++k) {
            int p = k;
            for (int i = k + 1; i < n; ++i)
                if (std::fabs(a(i, k)) > std::fabs(a(p, k))) p = i;
            a.swap_rows(k, p);
            std::swap(rows[k], rows[p]);
            swaps += p != k;
            if (1e-20 > std::fabs(a(k, k))) return;
            for (int i = k + 1; i < n; ++i) {
                a(i, k) /= a(k, k);
                for (int j = k + 1; j < m.cols(); ++j)
                    a(i, j) -= a(k, j) * a(i, k);
            }
        }
        solve_upper(a, a, n);
        passed = 1;
    }

    mlMatrix a;
    std::vector<int> rows;
    int swaps = 0, passed = 0;
};

void expect_plain_elimination(int n, Trouble trouble, int p) {
    SCOPED_TRACE(testing::Message() << "order " << n << ", trouble " << static_cast<int>(trouble) << " at " << p);
    mlMatrix const a = troubled(n, n + 3, trouble, p); // three right-hand sides
    PlainLU const plain(a);
    EXPECT_TRUE(trouble == Trouble::ties || plain.passed == (trouble != Trouble::failing_pivot));
    in_each_instruction_set([&] {
        mlMatrix found(utCopy, a);
        intcoDynArr permutation;
        permutation.expand(n);
        int swaps = -1;
        EXPECT_EQ(ml_lu_decompose(found, permutation, swaps, 1e-20), plain.passed);
        EXPECT_EQ(swaps, plain.swaps);
        EXPECT_EQ(contents(permutation), plain.rows);
        EXPECT_TRUE(equal_bits(plain.a, found));
    });
}

/// The solution for all columns of b, and that for its first one as a vector.
template <class Decomposition>
void expect_solutions(mlMatrix const & a, mlMatrix const & b, mlMatrix const & expected, mlMatrix const & column) {
    in_each_instruction_set([&] {
        Decomposition const decomposition(a);
        mlMatrix x(utCopy, b), of_its_rows(mlMatrixZero, b.rows(), 1), of_its_cols(mlMatrixZero, 1, b.cols());
        mlVector v(b.col(0)), longer(mlVectorZero, b.rows() + 1);
        for (mlMatrix * const to : {&of_its_rows, &of_its_cols, &x}) { // the last one in b's place
            decomposition.solve(to == &x ? x : b, *to);
            EXPECT_TRUE(equal_bits(expected, *to)) << b.rows() << " rows, " << b.cols() << " right-hand sides";
        }
        for (mlVector * const to : {&longer, &v}) {
            decomposition.solve(v, *to);
            ASSERT_EQ(to->size(), b.rows());
            EXPECT_TRUE(equal_bits(column.col(0), *to, b.rows())) << "of a vector";
        }
    });
}

void lu_solves(int n, int count) {
    mlMatrix const a = random_matrix(n, n, n), b = random_matrix(n, count, 3);
    mlMatrix expected(n, count);
    PlainLU const plain(a);
    ASSERT_EQ(plain.passed, 1);
    for (int i = 0; i < n; ++i)
        expected.row(i) = b.row(plain.rows[i]);
    solve_lower(plain.a, expected, true);
    mlMatrix column(utCopy, expected);
    solve_upper(plain.a, column, 0);
    solve_upper(plain.a, expected, 0, true);
    expect_solutions<mlLUDecomposition>(a, b, expected, column);
}

std::vector<int> places(int n) {
    return n < 100 ? std::vector{0, n / 4, n / 2 + 1, n - 2, n - 1} : std::vector{n / 2 + 1};
}

void lu(int n) {
    for (auto const trouble : {Trouble::none, Trouble::exchange_at_every_step, Trouble::ties})
        expect_plain_elimination(n, trouble, 0);
    for (auto const trouble : {Trouble::nan_below_a_pivot, Trouble::nan_pivot, Trouble::failing_pivot})
        for (int const p : places(n))
            expect_plain_elimination(n, trouble, p);
    lu_solves(n, 1);
    lu_solves(n, 9);
}

void lu_in_every_column(int n) {
    for (int p = 0; p < n; ++p)
        expect_plain_elimination(n, Trouble::failing_pivot, p);
}

// ---- Cholesky ----

/// L as far as the pivots are above zero or NaN; after that zeros on the diagonal, and a below it.
bool factor_plainly(mlMatrix const & a, mlMatrix & l) {
    int const n = a.rows();
    l.become(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < i; ++j)
            l(i, j) = a(i, j);
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j) {
            double s = a(i, j);
            for (int k = i - 1; k >= 0; --k)
                s -= l(i, k) * l(j, k);
            if (j == i && s <= 0.0) return false;
            l(j, i) = j == i ? std::sqrt(s) : s / l(i, i);
        }
    }
    return true;
}

/// `pivot` is what stands at (p, p): a failing one, a NaN, or one that leaves exactly zero in a row of its own.
void expect_plain_factor(mlMatrix const & a, int p, double pivot) {
    SCOPED_TRACE(testing::Message() << "order " << a.rows() << ", " << pivot << " at " << p);
    mlMatrix changed(utCopy, a), expected, found;
    for (int k = 0; pivot == 0.0 && k < a.rows(); ++k)
        changed(k, p) = changed(p, k) = 0.0;
    changed(p, p) = pivot;
    bool const definite = factor_plainly(changed, expected);
    EXPECT_EQ(definite, !(pivot <= 0.0));
    in_each_instruction_set([&] {
        mlCholeskyDecomposition const cholesky(changed);
        EXPECT_EQ(cholesky.is_singular(), !definite);
        cholesky.matrix_l(found);
        EXPECT_TRUE(equal_bits(expected, found));
    });
}

void cholesky_solves(mlMatrix const & a, int count) {
    mlMatrix const b = random_matrix(a.rows(), count, 3);
    mlMatrix l, expected(utCopy, b);
    ASSERT_TRUE(factor_plainly(a, l));
    solve_lower(l, expected, false);
    solve_upper(mlMatrix(mlMatrixTranspose, l), expected, 0);
    expect_solutions<mlCholeskyDecomposition>(a, b, expected, expected);
}

mlMatrix definite(int n) {
    Element const numbers = uniform(1.0, n);
    return symmetric_matrix(n, [&](int i, int j) { return numbers(i, j) + (i == j) * (2.0 + std::sqrt(3.0 * n)); });
}

void cholesky(int n) {
    mlMatrix const a = definite(n);
    expect_plain_factor(a, 0, a(0, 0));
    for (int const p : places(n))
        for (double const pivot : {-1.0, 0.0, nan_value})
            expect_plain_factor(a, p, pivot);
    cholesky_solves(a, 1);
    cholesky_solves(a, 9);
}

void right_hand_sides(int rows, int count) {
    lu_solves(rows, count);
    cholesky_solves(definite(rows), count);
}

std::vector<int> around(int t) { return {t - 1, t, t + 1}; }

/// About as many right-hand sides as rows; for LU also the inverse, which has the bits of the identity's solution.
void square_right_hand_sides(int n) {
    for (int const count : around(n))
        right_hand_sides(n, count);
    mlMatrix a = random_matrix(n, n, n), solution, inverse;
    mlMatrix const identity(mlMatrixIdentity, n);
    mlLUDecomposition const lu(a);
    lu.solve(identity, solution);
    lu.inverse(inverse);
    EXPECT_TRUE(equal_bits(solution, inverse));
    lu.inverse(a); // in the place of the matrix that it was made of
    EXPECT_TRUE(equal_bits(solution, a));
}

// ---- spectra ----

void svd(int n) {
    for (auto const & [rows, cols] : {std::pair(n, n), {n, 3}, {3, n}})
        expect_plain_svd(random_matrix(rows, cols, n));
}

void symmetric(int n) { // few elements off the diagonal, and equal squares
    auto const element = [](int i, int j) {
        return i == j ? (i % 2 == 0 ? 1.0 : -1.0) * (i % 7) : j % 5 == 2 && j - i < 3 ? 0.25 : 0.0;
    };
    in_each_instruction_set([&] { expect_the_bits_of_full_products(symmetric_matrix(n, element)); });
}

/// Values by decreasing magnitude, and vectors up to their signs.
void expect_plain_symmetric(mlMatrix const & a) {
    int const n = a.rows();
    PlainSymmetric const plain(a);
    std::vector<int> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::ranges::sort(order, std::greater<>(), [&](int i) { return std::fabs(plain.d[i]); });
    in_each_instruction_set([&] {
        mlSymmetricEigen const found(a);
        for (int j = 0; j < n; ++j) {
            ASSERT_EQ(with_bits(found.eigen_value(j)), with_bits(plain.d[order[j]])) << "value " << j;
            mlVector expected(plain.q.col(order[j]));
            if (scalar_product(found.eigen_vector(j), expected.slice()) < 0.0) expected *= -1.0;
            ASSERT_TRUE(equal_bits(expected, found.eigen_vector(j), n)) << "vector " << j;
        }
    });
}

void symmetric_ql(int n) {
    mlMatrix a = random_matrix(n, n, n);
    for (double const corner : {0.0, 10.0}) { // QL steps, whose rotations go to lower columns, and QR steps
        a(0, 0) = corner;
        expect_plain_symmetric(a);
    }
}

/// Rotates columns one by one along a walk that goes up, turns round and jumps; then exchanges and negates some.
void rotations(int rows) {
    int const cols = 9;
    in_each_instruction_set([&] {
        mlRandom random(rows);
        auto const choose = [&](int n) { return static_cast<int>(random.uniform() * n); };
        mlMatrix plain = random_matrix(rows, cols, rows);
        mlFortranMatrix basis(rows, cols), again(rows, cols);
        for (int k = 0; k < rows * cols; ++k)
            basis(1 + k / cols, 1 + k % cols) = plain[k];
        mlRotatedBasis rotated(basis);
        for (int count = 0, j = 0, step = 1; count < rotations_queue_length + 400; ++count) {
            if (choose(5) == 0) step = -step;
            int k = j + step;
            if (choose(9) == 0 || k < 0 || k >= cols) k = (j + 1 + choose(cols - 1)) % cols; // mostly no neighbour
            double const c = random.uniform(-1.0, 1.0), s = std::sqrt(1.0 - c * c);
            rotated.rotate(j + 1, k + 1, {c, s});
            for (int i = 0; i < rows; ++i) {
                double const x = plain(i, j), y = plain(i, k);
                plain(i, j) = c * x + s * y;
                plain(i, k) = c * y - s * x;
            }
            j = choose(9) == 0 ? choose(cols) : k;
        }
        for (int count = 0; count < 20; ++count) {
            int const j = choose(cols), k = choose(cols), negative = choose(cols);
            rotated.exchange(j + 1, k + 1);
            rotated.negate(negative + 1);
            plain.swap_cols(j, k);
            for (int i = 0; i < rows; ++i)
                plain(i, negative) *= -1.0;
        }
        for (mlFortranMatrix * const to : {&basis, &again}) {
            rotated.finish(*to);
            for (int i = 0; i < rows; ++i)
                ASSERT_TRUE(equal_bits(plain.row(i), to->row(i + 1), cols)) << "row " << i;
        }
    });
}

// ---- products, and the rest ----

void multiplies(int rows, int cols, int inner) {
    mlMatrix a = random_matrix(rows, inner, 1), b = random_matrix(inner, cols, 2);
    mlMatrix const before = random_matrix(rows, cols, 3);
    mlMatrix expected(mlMatrixZero, rows, cols), less(utCopy, before), found, of_transposed, rest;
    a(0, 0) = b(inner - 1, 0) = 0.0;
    a(rows - 1, inner - 1) = b(0, cols - 1) = infinity; // meet the zeros: no term is skipped
    mlMatrix const transposed(mlMatrixTranspose, a);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            for (int k = 0; k < inner; ++k)
                expected(i, j) += a(i, k) * b(k, j), less(i, j) -= a(i, k) * b(k, j);
    in_each_instruction_set([&] {
        mlVector y(mlVectorZero, 2 * rows);
        found.become(utCopy, b);
        multiply(a, found, found); // in its place
        multiply_transposed(transposed, b, of_transposed);
        multiply(a, b.col(cols - 1), y);
        ASSERT_EQ(y.size(), rows);
        rest.become(utCopy, before);
        ml_kernels().gemm_subtract(rows, cols, inner, {a.data(), inner}, {b.data(), cols}, {rest.data(), cols});
        EXPECT_TRUE(equal_bits(less, rest)) << rows << " x " << inner << " x " << cols << " subtracted";
        EXPECT_TRUE(equal_bits(expected, of_transposed)) << inner << " x " << rows << " transposed x " << cols;
        EXPECT_TRUE(equal_bits(expected, found)) << rows << " x " << inner << " x " << cols;
        EXPECT_TRUE(equal_bits(expected.col(cols - 1), y, rows)) << rows << " x " << inner << " times a vector";
    });
}

void small_shapes(int n) { // which end in parts of registers
    lu(n), cholesky(n), svd(n);
    for (int cols = 1; cols <= 40; ++cols) {
        int const other = (n * 7 + cols * 3) % 40 + 1;
        multiplies(n, cols, other);
        if (cols % 8 == 0)
            expect_plain_svd(matrix_of(n, other, one_of({0, 0, 0, 1, -1, 0.5 * DBL_MIN, -0.3 * DBL_MIN, 2}, n)));
    }
}

std::vector<int> small_sizes() {
    std::vector<int> sizes(38);
    std::iota(sizes.begin(), sizes.end(), 3);
    return sizes;
}

void sparse_terms(int terms) { // those before the last of the rows that a row of the product adds up
    int const rows = 130, full = 128;
    mlSparseMatrix a(mlMatrixZero, 1, rows), b(mlMatrixZero, rows, rows + full), product;
    mlRandom random(terms);
    Values expected(rows + full);
    for (int k = 0, left = terms; k < rows; left -= std::min(left, full), ++k) {
        a.set(0, k, random.uniform(-1.0, 1.0));
        for (int j = k; j < k + (k == rows - 1 ? full : std::min(left, full)); ++j) {
            b.set(k, j, random.uniform(-1.0, 1.0));
            expected[j] += a.element(0, k) * b.element(k, j);
        }
    }
    mlMatrix found;
    product.become(mlMatrixProduct, a, b);
    product.decompress(found);
    EXPECT_TRUE(equal_bits(expected, found.data(), rows + full));
}

void sparse_panels(int cols) { // blocks of so many unknowns, each coupled with the next
    int const n = 4 * cols;
    mlSparseSymMatrix a(mlMatrixZero, n);
    mlRandom random(cols);
    for (int i = 0; i < n; ++i) {
        a.set(i, i, 3.0 * cols);
        for (int j = i + 1; j < std::min(n, (i / cols + 2) * cols); ++j)
            a.set(i, j, random.uniform(-1.0, 1.0));
    }
    in_each_instruction_set([&] {
        mlSparseCholesky const cholesky(a);
        PlainLdlt const plain(a, cholesky.order());
        EXPECT_TRUE(equal_bits(plain.d, cholesky.d(), n));
        mlSparseMatrix l;
        mlMatrix found;
        cholesky.matrix_l(l);
        l.decompress(found);
        EXPECT_EQ(contents(found), contents(plain.l));
    });
}

void tridiagonal(int n) {
    mlMatrix rows = random_matrix(4, n, n);
    rows.row(1) -= -3.0;
    mlMatrix plain(utCopy, rows);
    mlSlice d = plain.row(1), y = plain.row(3), found = rows.row(3);
    for (int i = 1; i < n; ++i) {
        double const m = rows(0, i) / d[i - 1];
        d[i] -= m * rows(2, i - 1);
        y[i] -= m * y[i - 1];
    }
    y[n - 1] /= d[n - 1];
    for (int i = n - 2; i >= 0; --i)
        y[i] = (y[i] - rows(2, i) * y[i + 1]) / d[i];
    mlTridiagonal(n, rows.row(0), rows.row(1), rows.row(2)).solve(found, found);
    EXPECT_TRUE(equal_bits(y, found, n));
}

void romberg(int levels) { // few are needed
    mlFunctionOf const f([](double t) { return 1.0 / (1.0 + t * t); });
    EXPECT_EQ(mlIntegrateRomberg(1e-6, levels).integrate(f, 0.0, 1.0),
              mlIntegrateRomberg(1e-6, 12).integrate(f, 0.0, 1.0));
}

// ---- the constants ----

struct Check {
    std::vector<int> sizes;
    void (*at)(int size);
    friend void PrintTo(Check const & check, std::ostream * stream) { *stream << testing::PrintToString(check.sizes); }
};

std::map<std::string, Check> const checks = {
    {"baseline", {small_sizes(), small_shapes}}, // by every set
    {"avx2", {{}, nullptr}},
    {"avx512", {{}, nullptr}},
    {"gemm_baseline_max", {around(gemm_baseline_max), [](int n) { multiplies(n, n, n), multiplies(n, 2 * n, n); }}},
    {"gemm_unpacked_max_elements",
     {around(gemm_unpacked_max_elements / 64), [](int n) { multiplies(9, 64, n), multiplies(4, 65, n); }}},
    {"gemm_kc", {around(gemm_kc), [](int n) { multiplies(9, 65, n), multiplies(9, 65, 2 * n); }}},
    {"gemm_mc", {around(gemm_mc), [](int n) { multiplies(n, 65, 129); }}},
    {"gemm_nc", {around(gemm_nc), [](int n) { multiplies(9, n, 257), multiplies(9, 2 * n, 257); }}},
    {"solve_prefetch_after_row", {around(solve_prefetch_after_row + 1), cholesky}},
    {"panel_group_cols", {{lu_one_panel_max_rows - panel_group_cols, 3 * lu_panel_cols}, lu_in_every_column}},
    {"gemv_plain_max", {around(gemv_plain_max), [](int n) { multiplies(n, 1, n), multiplies(n, 1, n + 1); }}},
    {"transposed_product_block",
     {around(transposed_product_block), [](int n) { multiplies(n, 9, 2 * n), multiplies(2 * n, 9, n); }}},
    {"triangle_plain_max", {around(triangle_plain_max), square_right_hand_sides}},
    {"strip_wide_max_rows", {around(strip_wide_max_rows), [](int n) { lu(n), cholesky(n), right_hand_sides(n, 40); }}},
    {"strip_wide_cols", {around(strip_wide_cols), [](int count) { right_hand_sides(50, count); }}},
    {"strip_narrow_cols",
     {around(strip_narrow_cols), [](int count) { right_hand_sides(strip_wide_max_rows + 1, count); }}},
    {"lu_unblocked_max_rows", {around(lu_unblocked_max_rows), lu}},
    {"lu_one_panel_max_rows", {around(lu_one_panel_max_rows), lu}},
    {"lu_panel_cols", {around(3 * lu_panel_cols), lu}},
    {"unit_lower_leaf_rows", {around(unit_lower_leaf_rows), lu}},
    {"unit_lower_blocked_min_rows", {around(unit_lower_blocked_min_rows), lu}},
    {"unit_lower_block_rows", {around(unit_lower_blocked_min_rows + unit_lower_block_rows), lu}},
    {"cholesky_blocked_min_rows", {around(cholesky_blocked_min_rows), cholesky}},
    {"jacobi_plain_max_cols", {around(jacobi_plain_max_cols), symmetric}},
    {"rotations_immediate_max_rows",
     {around(rotations_immediate_max_rows), [](int n) { svd(n), symmetric_ql(n), rotations(n); }}},
    {"rotations_queue_length", // they rotate many times as often
     {{rotations_immediate_max_rows + 30},
      [](int n) { svd(n), symmetric_ql(n), rotations(n - n % mlKernels::strip_rows); }}},
    {"reduction_update_rows", {around(reduction_update_rows + PlainSymmetric::panel), symmetric_ql}},
    {"sparse_pending_max_terms", {around(sparse_pending_max_terms), sparse_terms}},
    {"sparse_panel_max_cols", {around(sparse_panel_max_cols), sparse_panels}},
    {"sparse_update_plain_max_cols", {around(sparse_update_plain_max_cols), sparse_panels}},
    {"sparse_panel_block_cols", {around(sparse_panel_block_cols), sparse_panels}},
    {"strip_scratch", {around(strip_scratch / strip_narrow_cols), cholesky}},
    {"lu_panel_scratch", {around(lu_panel_scratch / lu_panel_cols), lu}},
    {"reflection_scratch",
     {around(reflection_scratch - ml_max_lanes + 1), [](int sum) { expect_plain_svd(random_matrix(2, sum - 2, 1)); }}},
    {"jacobi_scratch", {{20, 21}, symmetric}}, // two matrices and two vectors
    {"eigen_scratch", {around(eigen_scratch / 2), symmetric}},
    {"tridiagonal_scratch", {around(tridiagonal_scratch / 2), tridiagonal}},
    {"gemv_scratch", {around(gemv_scratch), [](int n) { multiplies(9, 2, n); }}},
    {"romberg_scratch", {around(romberg_scratch - 1), romberg}},
};

class Threshold : public testing::TestWithParam<std::pair<std::string const, Check>> {};

TEST_P(Threshold, LeavesTheBitsThatThePlainDefinitionHas) {
    for (int const size : GetParam().second.sizes) {
        SCOPED_TRACE(size);
        GetParam().second.at(size);
    }
}

INSTANTIATE_TEST_SUITE_P(, Threshold, testing::ValuesIn(checks), [](auto const & test) { return test.param.first; });

TEST(Thresholds, LeaveSmallOrdersToThePlainDefinition) {
    for (int const n : {4, 5, 8})
        svd(n), square_right_hand_sides(n);
    expect_plain_symmetric(Matrix(3, 3, {1, 0, 1, 0, 1, 0.5, 1, 0.5, -2})); // its ends are equal when it is tridiagonal
    for (int const sign : {-1, 1}) // graded: small values are kept whichever end they are at
        expect_plain_symmetric(symmetric_matrix(40, [=](int i, int j) {
            return j - i > 1 ? 0.0 : std::pow(10.0, sign * (i + j - 39)) * (i == j ? 1.0 : 0.1);
        }));
}

TEST(Thresholds, AreAllHere) {
    std::ifstream header(MATHS_TUNING_HEADER);
    std::regex const constant("^constexpr (int|mlKernelShape) (\\w+)");
    std::set<std::string> constants, checked;
    std::smatch match;
    for (std::string line; std::getline(header, line);)
        if (std::regex_search(line, match, constant)) constants.insert(match[2]);
    for (auto const & [name, check] : checks)
        checked.insert(name);
    EXPECT_EQ(constants, checked);
}

} // namespace
