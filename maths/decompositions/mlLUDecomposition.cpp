#include "maths/decompositions/mlLUDecomposition.h"

#include <algorithm>

#include "maths/decompositions/mlLUElimination.h"
#include "maths/kernels/mlKernels.h"

namespace {

// L y = b in place, an element taking its terms in increasing k: those from above its block of rows come from the
// kernel, which has many rows in flight, the rest from the plain method, where a term waits for the one before.
void solve_unit_lower(mlMatrix const & lu, int n, double * y) {
    int const worth_a_kernel = 48; // rows
    int const step = n < worth_a_kernel ? n : 16;
    for (int first = 0; first < n; first += step) {
        int const end = std::min(first + step, n);
        double const * const rows = lu.data() + first * lu.cols();
        if (first > 0) ml_kernels().subtract_product_vector(end - first, first, {rows, lu.cols()}, y, y + first);
        for (int i = first + 1; i < end; ++i) {
            double const * const row = lu.data() + i * lu.cols();
            double s = y[i];
            for (int k = first; k < i; ++k)
                s -= y[k] * row[k];
            y[i] = s;
        }
    }
}

// U x = y in place. Every row waits for the one below it at its very first term: nothing can go side by side.
void solve_upper(mlMatrix const & lu, int n, double * x) {
    for (int i = n - 1; i >= 0; --i) {
        double const * const row = lu.data() + i * lu.cols();
        double s = x[i];
        for (int j = i + 1; j < n; ++j)
            s -= x[j] * row[j];
        x[i] = s / row[i];
    }
}

} // namespace

mlLUDecomposition::mlLUDecomposition(mlMatrix const & a) : source_(&a), singular_(1), swap_count_(0) {
    lu_.become(utCopy, a);
    permutation_.expand(a.rows());
    singular_ = !ml_lu_decompose(lu_, permutation_, swap_count_, 1e-20);
}

double mlLUDecomposition::determinant() const {
    double product = swap_count_ % 2 == 0 ? 1.0 : -1.0;
    for (int i = 0; i < lu_.rows(); ++i)
        product *= lu_(i, i);
    return product;
}

void mlLUDecomposition::inverse(mlMatrix & out) const {
    int const n = lu_.rows();
    mlMatrix const identity(mlMatrixIdentity, n);
    out.become(n, n);
    solve(identity, out);
}

void mlLUDecomposition::lower_matrix(mlMatrix & out) const {
    int const n = lu_.rows();
    out.become(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < i; ++j)
            out(i, j) = lu_(i, j);
        out(i, i) += 1.0;
    }
}

void mlLUDecomposition::upper_matrix(mlMatrix & out) const {
    int const n = lu_.rows();
    out.become(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j)
            out(i, j) = lu_(i, j);
    }
}

void mlLUDecomposition::permutation_matrix(mlMatrix & out) const {
    int const n = lu_.rows();
    out.become(mlMatrixZero, n, n);
    for (int k = 0; k < n; ++k)
        out(k, permutation_[k]) = 1.0;
}

void mlLUDecomposition::solve(mlMatrix const & b, mlMatrix & x) const {
    if (&b == &x) {
        mlMatrix right_hand_sides;
        right_hand_sides.become(utCopy, b);
        solve(right_hand_sides, x);
        return;
    }
    int const n = source_->rows(); // of the caller's matrix, which may have lost rows since
    MATHS_CHECK(n <= lu_.rows() && b.rows() >= n, "LU solve: %d x %d factors, %d x %d right-hand sides", lu_.rows(),
                lu_.cols(), b.rows(), b.cols());
    x.become(utCopy, b);
    if (n < 1) return;

    int const m = b.cols();
    for (int i = 0; i < n; ++i) {
        int const from = permutation_[i];
        MATHS_CHECK(from < b.rows(), "LU solve: row %d of %d x %d right-hand sides", from, b.rows(), m);
        if (from != i) std::copy_n(b.data() + from * m, m, x.data() + i * m);
    }

    auto const subtract_multiple = [&x, m](int i, int k, double factor) { // row i -= row k * factor
        double * const row = x.data() + i * m;
        double const * const other = x.data() + k * m;
        for (int j = 0; j < m; ++j)
            row[j] -= other[j] * factor;
    };
    for (int k = 0; k < n; ++k) { // L y = P b
        for (int i = k + 1; i < n; ++i)
            subtract_multiple(i, k, lu_(i, k));
    }
    // U x = y, the last row by the reciprocal of its pivot, the others by division: results depend on it.
    double const reciprocal = 1.0 / lu_(n - 1, n - 1);
    for (int j = 0; j < m; ++j)
        x(n - 1, j) *= reciprocal;
    for (int i = n - 2; i >= 0; --i) {
        for (int l = i + 1; l < n; ++l)
            subtract_multiple(i, l, lu_(i, l));
        for (int j = 0; j < m; ++j)
            x(i, j) /= lu_(i, i);
    }
}

void mlLUDecomposition::solve(mlVector const & b, mlVector & x) const {
    if (&b == &x) {
        mlVector right_hand_side;
        right_hand_side.become(utCopy, b);
        solve(right_hand_side, x);
        return;
    }
    int const n = source_->rows();
    MATHS_CHECK(n <= lu_.rows() && b.size() >= n, "LU solve: %d x %d factors, %d elements", lu_.rows(), lu_.cols(),
                b.size());
    x.clear(0);
    x.become(utCopy, b);
    if (n < 1) return;

    double * const v = x.data();
    for (int i = 0; i < n; ++i) {
        if (permutation_[i] != i) v[i] = b[permutation_[i]];
    }
    solve_unit_lower(lu_, n, v);
    solve_upper(lu_, n, v);
}
