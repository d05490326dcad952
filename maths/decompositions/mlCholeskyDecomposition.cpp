#include "maths/decompositions/mlCholeskyDecomposition.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/decompositions/mlConditionEstimate.h"
#include "maths/decompositions/mlTriangularSolve.h"
#include "maths/kernels/mlColumnStrips.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

namespace {

// L(j, i) = (A(i, j) - sum over k < i of L(i, k) L(j, k)) / L(i, i), and L(i, i) is the square root of that difference
// for j = i. Element (j, i) takes its terms latest first, k = i - 1 down to 0: that is the order of every sum here.
//
// The matrix holds A on and above the diagonal, where it stays, and L below; L's diagonal has a vector of its own. Both
// methods below return whether all pivots, the numbers under the square roots, were above zero or NaN; the columns of L
// before the first that wasn't are complete, and neither its diagonal element nor any after it is written.

/// A(i, j) less its terms, row i being that of A and `other` row j.
double rest(double const * row, double const * other, int i, int j) {
    double s = row[j];
    for (int k = i - 1; k >= 0; --k)
        s -= row[k] * other[k];
    return s;
}

[[nodiscard]] bool factor_unblocked(mlMatrix & a, mlVector & diagonal) {
    int const n = a.rows(), cols = a.cols();
    for (int i = 0; i < n; ++i) {
        double const * const row = a.data() + i * cols;
        double const pivot = rest(row, row, i, i);
        if (pivot <= 0.0) return false;
        double const root = diagonal.data()[i] = std::sqrt(pivot);
        for (int j = i + 1; j < n; ++j) {
            double * const other = a.data() + j * cols;
            other[i] = rest(row, other, i, j) / root;
        }
    }
    return true;
}

/// The factorisation in blocks of rows of L, from the first down. A block is kept transposed in a copy: line t of it is
/// column t of L (or, at first, of A) in the rows of the block, so that these go side by side, while the columns that
/// are read again and again stay in the nearest cache.
class BlockFactorisation {
public:
    BlockFactorisation(mlMatrix & a, mlVector & diagonal)
        : a_(a.data()), cols_(a.cols()), diagonal_(diagonal.data()), end_(a.rows()),
          block_rows_(ml_strip_cols(a.rows())), columns_(static_cast<std::size_t>(a.rows()) * block_rows_) {}

    [[nodiscard]] bool factor(int n) {
        for (int first = 0; first < n; first += block_rows_) {
            int const rows = std::min(n - first, block_rows_);
            solve_known_columns(first, rows);
            if (first < end_) factor_own_columns(first, rows);
        }
        return end_ == n;
    }

private:
    double * column(int t) { return columns_.data() + t * block_rows_; }
    mlTriangle triangle(double const * diagonal) const { return {a_, cols_, 1, diagonal, 1}; }
    void copy_columns(int begin, int end, int first, int rows);
    void solve_known_columns(int first, int rows);
    void factor_own_columns(int first, int rows);

    double * a_;
    std::ptrdiff_t cols_;
    double * diagonal_;
    int end_; // the columns of L before this one exist: all, until a pivot fails; rows after it still get these
    int const block_rows_;
    coScratch<ml_tuning::strip_scratch> columns_;
};

/// Copies A(t, first .. first + rows - 1), from above the diagonal, to the lines t of [begin, end), padded by zeros.
void BlockFactorisation::copy_columns(int begin, int end, int first, int rows) {
    for (int t = begin; t < end; ++t) {
        std::copy_n(a_ + t * cols_ + first, rows, column(t));
        std::fill_n(column(t) + rows, ml_padded(rows) - rows, 0.0);
    }
}

/// L in rows [first, first + rows) and the columns before `first`, whose own rows are known.
void BlockFactorisation::solve_known_columns(int first, int rows) {
    int const known = std::min(first, end_);
    copy_columns(0, known, first, rows);
    ml_kernels().solve_latest_first(0, known, ml_padded(rows), triangle(diagonal_), {column(0), block_rows_});
    ml_kernels().copy_transposed(known, rows, {column(0), block_rows_}, {a_ + first * cols_, cols_});
}

/// And in the columns of these rows themselves, whose pivots come up one by one.
void BlockFactorisation::factor_own_columns(int first, int rows) {
    mlKernels const & kernels = ml_kernels();
    int const width = ml_padded(rows);
    copy_columns(first, first + rows, first, rows);
    for (int i = 0; i < rows; ++i) {
        int const t = first + i, above = ml_padded_down(i); // whole vectors of rows that are above the diagonal
        kernels.solve_latest_first(t, t + 1, width - above, triangle(nullptr), {column(0) + above, block_rows_});
        double const pivot = column(t)[i];
        if (pivot <= 0.0) {
            end_ = t;
            return;
        }
        diagonal_[t] = std::sqrt(pivot);
        kernels.divide(width - above, column(t) + above, diagonal_[t]);
        for (int j = i + 1; j < rows; ++j)
            a_[(first + j) * cols_ + t] = column(t)[j];
    }
}

/// 1 when A is positive definite, else 0, with the columns of L as far as the factorisation came.
[[nodiscard]] int ml_cholesky_decompose(mlMatrix & a, mlVector & diagonal) {
    int const n = a.rows();
    return n < ml_tuning::cholesky_blocked_min_rows ? factor_unblocked(a, diagonal)
                                                    : BlockFactorisation(a, diagonal).factor(n);
}

/// L, and L^T from its last row on, as lower triangles for the n rows of a right-hand side.
mlTriangle lower_triangle(mlMatrix const & a, mlVector const & diagonal) {
    return {a.data(), a.cols(), 1, diagonal.data(), 1};
}
mlTriangle upper_triangle(mlMatrix const & a, mlVector const & diagonal) {
    std::ptrdiff_t const last = a.rows() - 1, cols = a.cols();
    return {a.data() + last * (cols + 1), -1, -cols, diagonal.data() + last, -1};
}

// L L^T x = b in place: L y = b, then L^T x = y from the last row up, both taking their terms latest row first.
void solve_one(mlMatrix const & a, mlVector const & diagonal, double * x) {
    int const n = a.rows();
    if (n < 1) return;
    ml_solve_latest_first(n, lower_triangle(a, diagonal), x, 1);
    ml_solve_latest_first(n, upper_triangle(a, diagonal), x + n - 1, -1);
}

// The same for the m columns of x.
void solve_many(mlMatrix const & a, mlVector const & diagonal, double * x, int m) {
    int const n = a.rows();
    if (n < 1) return;
    if (ml_few(n, m)) {
        ml_solve_latest_first(0, n, m, lower_triangle(a, diagonal), {x, m});
        return ml_solve_latest_first(0, n, m, upper_triangle(a, diagonal), {x + (n - 1) * m, -m});
    }
    ml_in_strips(n, m, {x, m}, [&](int width, mlBlock strip) {
        mlBlock const from_last_row{strip.data + (n - 1) * strip.ld, -strip.ld};
        ml_kernels().solve_latest_first(0, n, width, lower_triangle(a, diagonal), strip);
        ml_kernels().solve_latest_first(0, n, width, upper_triangle(a, diagonal), from_last_row);
    });
}

/// A^-1, which is symmetric.
class Inverse {
public:
    Inverse(mlMatrix const & a, mlVector const & diagonal) : a_(a), diagonal_(diagonal) {}

    int size() const { return a_.rows(); }
    void solve(double * x) const { solve_one(a_, diagonal_, x); }
    void solve_transposed(double * x) const { solve(x); }

private:
    mlMatrix const & a_;
    mlVector const & diagonal_;
};

/// The row sums of |L| |L|^T.
mlVector factor_sums(mlMatrix const & a, mlVector const & diagonal) {
    int const n = a.rows();
    mlVector columns(diagonal.slice()), sums(mlVectorZero, n);
    for (int i = 0; i < n; ++i) {
        for (int k = 0; k < i; ++k)
            columns[k] += std::fabs(a(i, k));
    }
    for (int i = 0; i < n; ++i) {
        for (int k = 0; k < i; ++k)
            sums[i] += std::fabs(a(i, k)) * columns[k];
        sums[i] += diagonal[i] * columns[i];
    }
    return sums;
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
    MATHS_CHECK(!singular_, "Cholesky inverse of L: the matrix of order %d is not positive definite", n);
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
    MATHS_CHECK(!singular_, "Cholesky solve: the matrix of order %d is not positive definite", n);
    MATHS_CHECK(b.rows() >= n, "Cholesky solve: order %d, %d x %d right-hand sides", n, b.rows(), m);
    if (x.rows() != n || x.cols() != m) x.become(n, m);
    if (&x != &b) std::copy_n(b.data(), n * m, x.data());
    solve_many(matrix_, diagonal_, x.data(), m);
}

void mlCholeskyDecomposition::solve(mlVector const & b, mlVector & x) const {
    int const n = dimension();
    MATHS_CHECK(!singular_, "Cholesky solve: the matrix of order %d is not positive definite", n);
    MATHS_CHECK(b.size() >= n, "Cholesky solve: order %d, %d elements", n, b.size());
    x.clear(0); // keeps the elements of an x that is b
    x.expand(n);
    if (&x != &b) std::copy_n(b.data(), n, x.data());
    solve_one(matrix_, diagonal_, x.data());
}

void mlCholeskyDecomposition::solve(mlSlice const & b, mlVector & x) const {
    x.become(utCopy, b);
    solve(x, x); // in place
}

double mlCholeskyDecomposition::reciprocal_condition() const {
    if (singular_) return 0.0;
    mlMatrix a;
    matrix_original(a);
    return ml_reciprocal_condition(one_norm(a), Inverse(matrix_, diagonal_));
}

double mlCholeskyDecomposition::refine(mlSlice const & b, mlVector & x) const {
    if (singular_) return std::numeric_limits<double>::infinity();
    int const n = dimension();
    MATHS_CHECK(b.length() >= n && x.size() >= n, "Cholesky refine: order %d, vectors of %d and %d", n, b.length(),
                x.size());
    auto const element = [this, n](int i, int j) { return matrix_.data()[i < j ? i * n + j : j * n + i]; };
    return ml_refine(Inverse(matrix_, diagonal_), element, factor_sums(matrix_, diagonal_), b, x);
}
