#include "maths/sparse/mlSparseCholesky.h"

#include <algorithm>

#include "maths/core/mlVectorRuns.h"
#include "maths/sparse/mlPanelFactorisation.h"
#include "maths/sparse/mlPivotProduct.h"
#include "maths/sparse/mlSparseMatrix.h"

namespace {

// L D L^T X = B in place of B, for rows of m right-hand sides. Down: a row takes its terms in increasing order of
// columns, and is divided after its last. Up: a column takes its terms from the last row to the first.

/// x_i -= s x_j for rows i and j.
void subtract_row(double * x, std::ptrdiff_t m, std::ptrdiff_t i, double s, std::ptrdiff_t j) {
    double * const to = x + i * m;
    double const * const from = x + j * m;
    for (std::ptrdiff_t c = 0; c < m; ++c)
        to[c] -= s * from[c];
}

void solve_down(mlSymbolicCholesky const & symbolic, double const * elements, double * x, std::ptrdiff_t m) {
    for (int p = 0; p < symbolic.panels(); ++p) {
        int const first = symbolic.first_column(p), cols = symbolic.cols(p), below = symbolic.num_below(p);
        int const * const rows = symbolic.rows_below(p);
        double const * l = elements + symbolic.start(p);
        for (int i = 0; i < cols; ++i, l += cols) {
            for (int j = 0; j < i; ++j)
                subtract_row(x, m, first + i, l[j], first + j);
        }
        for (int i = 0; i < below; ++i, l += cols) {
            for (int j = 0; j < cols; ++j)
                subtract_row(x, m, rows[i], l[j], first + j);
        }
    }
}

void solve_up(mlSymbolicCholesky const & symbolic, double const * elements, double * x, std::ptrdiff_t m) {
    for (int p = symbolic.panels() - 1; p >= 0; --p) {
        int const first = symbolic.first_column(p), cols = symbolic.cols(p), below = symbolic.num_below(p);
        int const * const rows = symbolic.rows_below(p);
        double const * l = elements + symbolic.start(p) + (cols + below) * static_cast<std::ptrdiff_t>(cols);
        for (int i = below - 1; i >= 0; --i) {
            l -= cols;
            for (int j = 0; j < cols; ++j)
                subtract_row(x, m, first + j, l[j], rows[i]);
        }
        for (int i = cols - 1; i >= 0; --i) {
            l -= cols;
            for (int j = 0; j < i; ++j)
                subtract_row(x, m, first + j, l[j], first + i);
        }
    }
}

// The same for one right-hand side.

void solve_down(mlSymbolicCholesky const & symbolic, double const * elements, double * x) {
    auto const rest = [](double x_i, double const * l, double const * x_j, int n) {
        for (int j = 0; j < n; ++j)
            x_i -= l[j] * x_j[j];
        return x_i;
    };
    for (int p = 0; p < symbolic.panels(); ++p) {
        int const cols = symbolic.cols(p), below = symbolic.num_below(p);
        int const * const rows = symbolic.rows_below(p);
        double * const own = x + symbolic.first_column(p);
        double const * l = elements + symbolic.start(p);
        for (int i = 0; i < cols; ++i, l += cols)
            own[i] = rest(own[i], l, own, i);
        for (int i = 0; i < below; ++i, l += cols)
            x[rows[i]] = rest(x[rows[i]], l, own, cols);
    }
}

void solve_up(mlSymbolicCholesky const & symbolic, double const * elements, double * x) {
    auto const subtract = [](double * x_j, double const * l, double x_i, int n) {
        for (int j = 0; j < n; ++j)
            x_j[j] -= l[j] * x_i;
    };
    for (int p = symbolic.panels() - 1; p >= 0; --p) {
        int const cols = symbolic.cols(p), below = symbolic.num_below(p);
        int const * const rows = symbolic.rows_below(p);
        double * const own = x + symbolic.first_column(p);
        double const * l = elements + symbolic.start(p) + (cols + below) * static_cast<std::ptrdiff_t>(cols);
        for (int i = below - 1; i >= 0; --i)
            subtract(own, l -= cols, x[rows[i]], cols);
        for (int i = cols - 1; i >= 0; --i)
            subtract(own, l -= cols, own[i], i);
    }
}

} // namespace

mlSparseCholesky::mlSparseCholesky() : symbolic_(new mlSymbolicCholesky(mlSparseSymMatrix())) {}

mlSparseCholesky::mlSparseCholesky(mlSparseSymMatrix const & a) : symbolic_(new mlSymbolicCholesky(a)) { factor(a); }

mlSparseCholesky::~mlSparseCholesky() = default;

void mlSparseCholesky::analyse(mlSparseSymMatrix const & a) {
    symbolic_.reset(new mlSymbolicCholesky(a));
    elements_ = coLongArray<double>();
    d_.clear(1);
    status_ = mlSparseCholeskyNotFactored;
    failed_row_ = -1;
}

mlSparseCholeskyStatus mlSparseCholesky::factor(mlSparseSymMatrix const & a) {
    MATHS_CHECK(symbolic_->fits(a), "sparse Cholesky: order %d, %d x %d of another pattern than analysed", dimension(),
                a.rows(), a.cols());
    mlPanelFactorisation factorisation(*symbolic_, a);
    d_.reserve(dimension());
    if (elements_.size() != symbolic_->storage()) elements_ = coLongArray<double>(symbolic_->storage());
    d_.expand(dimension());
    int failed = -1;
    status_ = factorisation.factor(elements_.data(), d_.data(), failed);
    failed_row_ = failed < 0 ? -1 : order()[failed];
    return status_;
}

int mlSparseCholesky::dimension() const { return symbolic_->size(); }

intcoDynArr const & mlSparseCholesky::order() const { return symbolic_->order(); }

long long mlSparseCholesky::num_non_zero_elements() const {
    return static_cast<long long>(symbolic_->num_elements()) + dimension();
}

void mlSparseCholesky::matrix_l(mlSparseMatrix & out) const {
    MATHS_CHECK(status_ != mlSparseCholeskyNotFactored, "sparse Cholesky: L of order %d, not factored", dimension());
    out.become(mlMatrixZero, dimension(), dimension());
    for (int p = 0; p < symbolic_->panels(); ++p) {
        int const first = symbolic_->first_column(p), cols = symbolic_->cols(p), below = symbolic_->num_below(p);
        double const * l = elements_.data() + symbolic_->start(p);
        for (int i = 0; i < cols; ++i, l += cols) {
            for (int j = 0; j < i; ++j)
                out.set(first + i, first + j, l[j]);
            out.set(first + i, first + i, 1.0);
        }
        for (int i = 0; i < below; ++i, l += cols) {
            for (int j = 0; j < cols; ++j)
                out.set(symbolic_->rows_below(p)[i], first + j, l[j]);
        }
    }
}

double mlSparseCholesky::determinant(long long & exponent) const {
    exponent = 0;
    if (status_ != mlSparseCholeskyFactored) return 0.0;
    mlPivotProduct product;
    for (double const pivot : d_)
        product *= pivot;
    exponent = product.exponent();
    return product.mantissa();
}

double mlSparseCholesky::determinant() const {
    long long exponent;
    double const mantissa = determinant(exponent);
    return mlPivotProduct::value(mantissa, exponent);
}

void mlSparseCholesky::solve(mlVector const & b, mlVector & x) const {
    int const n = dimension();
    MATHS_CHECK(status_ == mlSparseCholeskyFactored, "sparse Cholesky solve: order %d, status %d", n, status_);
    ml_check_length("sparse Cholesky solve", n, b.size());
    coLongArray<double> y(n);
    x.reserve(n); // before x, which may be b, loses anything
    int const * const order = symbolic_->order().data();
    for (int k = 0; k < n; ++k)
        y[k] = b.data()[order[k]];
    solve_down(*symbolic_, elements_.data(), y.data());
    for (int k = 0; k < n; ++k)
        y[k] /= d_.data()[k];
    solve_up(*symbolic_, elements_.data(), y.data());
    x.clear(0);
    x.expand(n);
    for (int k = 0; k < n; ++k)
        x.data()[order[k]] = y[k];
}

void mlSparseCholesky::solve(mlSlice const & b, mlVector & x) const {
    x.become(utCopy, b);
    solve(x, x);
}

void mlSparseCholesky::solve(mlMatrix const & b, mlMatrix & x) const {
    int const n = dimension();
    std::ptrdiff_t const m = b.cols();
    MATHS_CHECK(status_ == mlSparseCholeskyFactored, "sparse Cholesky solve: order %d, status %d", n, status_);
    MATHS_CHECK(b.rows() >= n, "sparse Cholesky solve: order %d, %d x %d right-hand sides", n, b.rows(), b.cols());
    coLongArray<double> y(n * m);
    int const * const order = symbolic_->order().data();
    for (int k = 0; k < n; ++k)
        std::copy_n(b.data() + order[k] * m, m, y.data() + k * m);
    solve_down(*symbolic_, elements_.data(), y.data(), m);
    for (int k = 0; k < n; ++k) {
        for (std::ptrdiff_t c = 0; c < m; ++c)
            y[k * m + c] /= d_.data()[k];
    }
    solve_up(*symbolic_, elements_.data(), y.data(), m);
    if (x.rows() != n || x.cols() != m) x.become(n, static_cast<int>(m));
    for (int k = 0; k < n; ++k)
        std::copy_n(y.data() + k * m, m, x.data() + order[k] * m);
}
