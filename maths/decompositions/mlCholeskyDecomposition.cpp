#include "maths/decompositions/mlCholeskyDecomposition.h"

#include <algorithm>
#include <cmath>

#include "maths/core/mlRun.h"

namespace {

using Run = mlStridedRun<double const>;

// y[j] -= coefficients[t] * (&rows[t])[j] for t = 0 .. count - 1, in this order, which the last bits depend on: what
// goes side by side is elements. Four terms a pass spare three loads and stores of y, which no row overlaps.
void subtract_rows(double * __restrict y, int length, Run coefficients, Run rows, int count) {
    int t = 0;
    for (; t + 4 <= count; t += 4) {
        double const c0 = coefficients[t], c1 = coefficients[t + 1];
        double const c2 = coefficients[t + 2], c3 = coefficients[t + 3];
        double const *const r0 = &rows[t], *const r1 = &rows[t + 1];
        double const *const r2 = &rows[t + 2], *const r3 = &rows[t + 3];
        for (int j = 0; j < length; ++j)
            y[j] = y[j] - c0 * r0[j] - c1 * r1[j] - c2 * r2[j] - c3 * r3[j];
    }
    for (; t < count; ++t) {
        double const c = coefficients[t];
        double const * const r = &rows[t];
        for (int j = 0; j < length; ++j)
            y[j] -= c * r[j];
    }
}

// 1 when A is positive definite, else 0, with the columns of L as far as the factorisation came.
int ml_cholesky_decompose(mlMatrix & a, mlVector & diagonal) {
    int const n = a.rows();
    int const cols = a.cols();
    mlMatrix l_transposed; // its rows are contiguous, where the columns of L are not
    l_transposed.become(n, n);
    for (int i = 0; i < n; ++i) {
        double * const row = l_transposed.data() + i * n + i;
        std::copy_n(a.data() + i * cols + i, n - i, row);
        if (i > 0) subtract_rows(row, n - i, {a.data() + i * cols + i - 1, 0, -1}, {row - n, 0, -n}, i); // k falling
        if (row[0] <= 0.0) return 0;
        double const p = diagonal[i] = std::sqrt(row[0]);
        for (int j = 1; j < n - i; ++j)
            a.data()[(i + j) * cols + i] = row[j] /= p;
    }
    return 1;
}

// L L^T x = b, where the n rows of x, of m elements, hold b at first.
void ml_cholesky_solve(mlMatrix const & a, mlVector const & diagonal, double * x, int m) {
    int const n = a.rows();
    int const cols = a.cols();
    for (int i = 0; i < n; ++i) { // L y = b, k falling
        double * const row = x + i * m;
        if (i > 0) subtract_rows(row, m, {a.data() + i * cols + i - 1, 0, -1}, {row - m, 0, -m}, i);
        for (int j = 0; j < m; ++j)
            row[j] /= diagonal[i];
    }
    for (int i = n - 1; i >= 0; --i) { // L^T x = y, k rising
        double * const row = x + i * m;
        if (i < n - 1) subtract_rows(row, m, {a.data() + (i + 1) * cols + i, 0, cols}, {row + m, 0, m}, n - 1 - i);
        for (int j = 0; j < m; ++j)
            row[j] /= diagonal[i];
    }
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
    if (&x != &b) std::copy_n(b.data(), n * m, x.data());
    ml_cholesky_solve(matrix_, diagonal_, x.data(), m);
}

void mlCholeskyDecomposition::solve(mlVector const & b, mlVector & x) const {
    int const n = dimension();
    MATHS_CHECK(b.size() >= n, "Cholesky solve: order %d, %d elements", n, b.size());
    x.clear(0); // keeps the elements of an x that is b
    x.expand(n);
    if (&x != &b) std::copy_n(b.data(), n, x.data());
    ml_cholesky_solve(matrix_, diagonal_, x.data(), 1);
}
