#include "maths/decompositions/mlCholeskyDecomposition.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

// Sums run over k in a fixed order, which their last bits depend on. What can go side by side is elements of a row:
// a panel holds `width` columns of a matrix, row behind row.
constexpr int panel_width = 8;

// y[j] -= coefficient(k) * panel(k, j), for k = from, from + step, ... short of `to`.
template <int width>
void subtract_products(double (&y)[width], double const * coefficients, std::ptrdiff_t stride, double const * panel,
                       int from, int to, int step) {
    double differences[width];
    std::copy_n(y, width, differences);
    for (int k = from; k != to; k += step) {
        double const coefficient = coefficients[k * stride];
        for (int j = 0; j < width; ++j)
            differences[j] -= coefficient * panel[k * width + j];
    }
    std::copy_n(differences, width, y);
}

// 1 when A is positive definite, else 0, with the columns of L as far as the factorisation came.
int ml_cholesky_decompose(mlMatrix & a, mlVector & diagonal) {
    int const n = a.rows();
    int const cols = a.cols();
    int const panels = (n + panel_width - 1) / panel_width;
    mlVector l_transposed; // by panels, the last one padded
    l_transposed.expand(panels * n * panel_width);
    for (int i = 0; i < n; ++i) {
        double const * const l_row = a.data() + i * cols;
        for (int first = i - i % panel_width; first < n; first += panel_width) {
            double * const panel = l_transposed.data() + first * n;
            int const count = std::min(panel_width, n - first);
            double y[panel_width] = {};
            std::copy_n(a.data() + i * cols + first, count, y);
            subtract_products(y, l_row, 1, panel, i - 1, -1, -1);
            if (first <= i) {
                double const square = y[i - first];
                if (square <= 0.0) return 0;
                diagonal[i] = std::sqrt(square);
            }
            for (double & element : y)
                element /= diagonal[i];
            std::copy_n(y, panel_width, panel + i * panel_width);
            for (int j = std::max(i + 1, first); j < first + count; ++j)
                a.data()[j * cols + i] = y[j - first];
        }
    }
    return 1;
}

// L L^T x = b for the columns of a panel, which holds b at first.
template <int width> void ml_cholesky_solve(mlMatrix const & a, mlVector const & diagonal, double * panel) {
    int const n = a.rows();
    int const cols = a.cols();
    auto const solve_row = [&](int i, double const * coefficients, int stride, int from, int to, int step) {
        double y[width];
        std::copy_n(panel + i * width, width, y);
        subtract_products(y, coefficients, stride, panel, from, to, step);
        for (int j = 0; j < width; ++j)
            panel[i * width + j] = y[j] / diagonal[i];
    };
    for (int i = 0; i < n; ++i) // L y = b, k falling
        solve_row(i, a.data() + i * cols, 1, i - 1, -1, -1);
    for (int i = n - 1; i >= 0; --i) // L^T x = y, k rising
        solve_row(i, a.data() + i, cols, i + 1, n, 1);
}

} // namespace

mlCholeskyDecomposition::mlCholeskyDecomposition(mlMatrix const & a) {
    MATHS_CHECK(a.rows() == a.cols(), "Cholesky decomposition: %d x %d is not square", a.rows(), a.cols());
    diagonal_.become(mlVectorZero, a.rows());
    matrix_.become(utCopy, a);
    singular_ = !ml_cholesky_decompose(matrix_, diagonal_);
}

double mlCholeskyDecomposition::determinant() const {
    double product = 1.0;
    for (double const p : diagonal_)
        product *= p;
    return product * product;
}

void mlCholeskyDecomposition::inverse(mlMatrix & out) const {
    mlMatrix const identity(mlMatrixIdentity, dimension());
    solve(identity, out);
}

void mlCholeskyDecomposition::matrix_l(mlMatrix & out) const {
    int const n = dimension();
    out.become(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i) {
        std::copy_n(matrix_.data() + i * matrix_.cols(), i, out.data() + i * n);
        out(i, i) = diagonal_[i];
    }
}

void mlCholeskyDecomposition::matrix_l_inverted(mlMatrix & out) const {
    int const n = dimension();
    out.become(mlMatrixZero, n, n);
    for (int j = 0; j < n; ++j) { // row j = -(sum over k < j of L(j, k) row k) / p, an element from its own row on
        double * const row = out.data() + j * n;
        for (int k = 0; k < j; ++k) {
            double const factor = matrix_(j, k);
            double const * const above = out.data() + k * n;
            for (int i = 0; i <= k; ++i)
                row[i] -= factor * above[i];
        }
        for (int i = 0; i < j; ++i)
            row[i] /= diagonal_[j];
        row[j] = 1.0 / diagonal_[j];
    }
}

void mlCholeskyDecomposition::matrix_original(mlMatrix & out) const {
    int const n = dimension();
    out.become(n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j)
            out(i, j) = out(j, i) = matrix_(i, j);
    }
}

void mlCholeskyDecomposition::solve(mlMatrix const & b, mlMatrix & x) const {
    int const n = dimension();
    int const m = b.cols();
    MATHS_CHECK(b.rows() >= n, "Cholesky solve: order %d, %d x %d right-hand sides", n, b.rows(), m);
    if (x.rows() != n || x.cols() != m) x.become(n, m);
    mlVector panel(mlVectorZero, n * panel_width);
    for (int first = 0; first < m; first += panel_width) {
        int const count = std::min(panel_width, m - first);
        for (int i = 0; i < n; ++i)
            std::copy_n(b.data() + i * m + first, count, panel.data() + i * panel_width);
        ml_cholesky_solve<panel_width>(matrix_, diagonal_, panel.data());
        for (int i = 0; i < n; ++i)
            std::copy_n(panel.data() + i * panel_width, count, x.data() + i * m + first);
    }
}

void mlCholeskyDecomposition::solve(mlVector const & b, mlVector & x) const {
    int const n = dimension();
    MATHS_CHECK(b.size() >= n, "Cholesky solve: order %d, %d elements", n, b.size());
    x.clear(0); // keeps the elements of an x that is b
    x.expand(n);
    if (&x != &b) std::copy_n(b.data(), n, x.data());
    ml_cholesky_solve<1>(matrix_, diagonal_, x.data());
}
