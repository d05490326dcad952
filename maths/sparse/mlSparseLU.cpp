#include "maths/sparse/mlSparseLU.h"

#include <algorithm>

#include "maths/core/mlVectorRuns.h"
#include "maths/sparse/mlLeftLookingLU.h"
#include "maths/sparse/mlPivotProduct.h"

namespace {

/// A right-hand side that becomes the solution.
struct OneColumn {
    double * x;

    /// x_i -= s x_j
    void subtract(int i, double s, int j) const { x[i] -= s * x[j]; }
    void divide(int i, double s) const { x[i] /= s; }
};

/// The same for rows of m right-hand sides.
struct ManyColumns {
    double * x;
    std::ptrdiff_t m;

    void subtract(int i, double s, int j) const {
        double * const to = x + i * m;
        double const * const from = x + j * m;
        for (std::ptrdiff_t c = 0; c < m; ++c)
            to[c] -= s * from[c];
    }
    void divide(int i, double s) const {
        for (std::ptrdiff_t c = 0; c < m; ++c)
            x[i * m + c] /= s;
    }
};

/// 1 for an odd permutation, else 0.
int is_odd(intcoDynArr const & order) {
    int const n = order.size();
    coLongArray<char> seen(n, 0);
    int odd = 0;
    for (int i = 0; i < n; ++i) {
        if (seen[i]) continue;
        for (int k = order[i]; k != i; k = order[k]) { // a cycle of one more
            seen[k] = 1;
            odd ^= 1;
        }
    }
    return odd;
}

} // namespace

mlSparseLU::mlSparseLU() : symbolic_(new mlSymbolicLU(mlSparseMatrix())) {}

mlSparseLU::mlSparseLU(mlSparseMatrix const & a, double threshold) : symbolic_(new mlSymbolicLU(a)) {
    factor(a, threshold);
}

mlSparseLU::~mlSparseLU() = default;

void mlSparseLU::analyse(mlSparseMatrix const & a) {
    symbolic_.reset(new mlSymbolicLU(a));
    factors_.reset();
    status_ = mlSparseLUNotFactored;
    failed_column_ = -1;
}

mlSparseLUStatus mlSparseLU::factor(mlSparseMatrix const & a, double threshold) {
    MATHS_CHECK(symbolic_->fits(a), "sparse LU: order %d, %d x %d of another pattern than analysed", dimension(),
                a.rows(), a.cols());
    std::unique_ptr<mlSparseLUFactors> factors(new mlSparseLUFactors(*symbolic_));
    if (factors_) factors->reserve_as(*factors_);
    int failed = -1;
    mlSparseLUStatus const status = mlLeftLookingLU(*symbolic_, a, threshold, *factors).factor(failed);
    factors_ = std::move(factors);
    failed_column_ = failed;
    return status_ = status;
}

int mlSparseLU::dimension() const { return symbolic_->size(); }

intcoDynArr const & mlSparseLU::row_order() const { return factors_ ? factors_->row_order : symbolic_->rows(); }

intcoDynArr const & mlSparseLU::column_order() const { return symbolic_->columns(); }

mlVector const & mlSparseLU::pivots() const { return factors_ ? factors_->pivots : no_pivots_; }

int mlSparseLU::num_blocks() const { return symbolic_->blocks(); }

int mlSparseLU::num_exchanges() const { return factors_ ? factors_->exchanges : 0; }

long long mlSparseLU::num_non_zero_elements_l() const {
    return factors_ ? static_cast<long long>(factors_->l.rows.size()) + dimension() : 0;
}

long long mlSparseLU::num_non_zero_elements_u() const {
    return factors_ ? static_cast<long long>(factors_->u.rows.size()) + dimension() : 0;
}

long long mlSparseLU::num_non_zero_elements_f() const {
    return factors_ ? static_cast<long long>(factors_->f_rows.size()) : 0;
}

void mlSparseLU::matrix_l(mlSparseMatrix & out) const {
    MATHS_CHECK(factors_ != nullptr, "sparse LU: L of order %d, not factored", dimension());
    out.become(mlMatrixZero, dimension(), dimension());
    mlSparseTriangle const & l = factors_->l;
    for (int j = 0; j < dimension(); ++j) {
        out.set(j, j, 1.0);
        for (std::ptrdiff_t p = l.starts[j]; p < l.starts[j + 1]; ++p)
            out.set(l.rows[p], j, l.values[p]);
    }
}

void mlSparseLU::matrix_u(mlSparseMatrix & out) const {
    MATHS_CHECK(factors_ != nullptr, "sparse LU: U of order %d, not factored", dimension());
    out.become(mlMatrixZero, dimension(), dimension());
    mlSparseTriangle const & u = factors_->u;
    for (int j = 0; j < dimension(); ++j) {
        for (std::ptrdiff_t p = u.starts[j]; p < u.starts[j + 1]; ++p)
            out.set(u.rows[p], j, u.values[p]);
        out.set(j, j, factors_->pivots[j]);
    }
}

void mlSparseLU::matrix_f(mlSparseMatrix & out) const {
    MATHS_CHECK(factors_ != nullptr, "sparse LU: F of order %d, not factored", dimension());
    out.become(mlMatrixZero, dimension(), dimension());
    auto const & starts = symbolic_->outside().starts;
    for (int j = 0; j < dimension(); ++j) {
        for (std::ptrdiff_t p = starts[j]; p < starts[j + 1]; ++p)
            out.set(factors_->f_rows[p], j, factors_->f_values[p]);
    }
}

double mlSparseLU::determinant(long long & exponent) const {
    exponent = 0;
    if (status_ != mlSparseLUFactored) return 0.0;
    mlPivotProduct product;
    for (double const pivot : pivots())
        product *= pivot;
    exponent = product.exponent();
    return is_odd(row_order()) != is_odd(column_order()) ? -product.mantissa() : product.mantissa();
}

double mlSparseLU::determinant() const {
    long long exponent;
    double const mantissa = determinant(exponent);
    return mlPivotProduct::value(mantissa, exponent);
}

// By columns: an element takes its terms as the unknowns come, forwards by those of L, backwards by those of U and F.
template <class Rows> void mlSparseLU::substitute(Rows x) const {
    mlSparseTriangle const &l = factors_->l, &u = factors_->u;
    auto const & outside = symbolic_->outside().starts;
    double const * const pivots = factors_->pivots.data();
    for (int b = symbolic_->blocks() - 1; b >= 0; --b) {
        int const first = symbolic_->first(b), end = symbolic_->first(b + 1);
        for (int j = first; j < end; ++j) {
            for (std::ptrdiff_t p = l.starts[j]; p < l.starts[j + 1]; ++p)
                x.subtract(l.rows[p], l.values[p], j);
        }
        for (int j = end - 1; j >= first; --j) {
            x.divide(j, pivots[j]);
            for (std::ptrdiff_t p = u.starts[j]; p < u.starts[j + 1]; ++p)
                x.subtract(u.rows[p], u.values[p], j);
            for (std::ptrdiff_t p = outside[j]; p < outside[j + 1]; ++p)
                x.subtract(factors_->f_rows[p], factors_->f_values[p], j);
        }
    }
}

void mlSparseLU::solve(mlVector const & b, mlVector & x) const {
    int const n = dimension();
    MATHS_CHECK(status_ == mlSparseLUFactored, "sparse LU solve: order %d, status %d", n, status_);
    ml_check_length("sparse LU solve", n, b.size());
    coLongArray<double> y(n);
    x.reserve(n); // before x, which may be b, loses anything
    int const *const rows = row_order().data(), *const columns = column_order().data();
    for (int k = 0; k < n; ++k)
        y[k] = b.data()[rows[k]];
    substitute(OneColumn{y.data()});
    x.clear(0);
    x.expand(n);
    for (int k = 0; k < n; ++k)
        x.data()[columns[k]] = y[k];
}

void mlSparseLU::solve(mlSlice const & b, mlVector & x) const {
    x.become(utCopy, b);
    solve(x, x);
}

void mlSparseLU::solve(mlMatrix const & b, mlMatrix & x) const {
    int const n = dimension();
    std::ptrdiff_t const m = b.cols();
    MATHS_CHECK(status_ == mlSparseLUFactored, "sparse LU solve: order %d, status %d", n, status_);
    MATHS_CHECK(b.rows() >= n, "sparse LU solve: order %d, %d x %d right-hand sides", n, b.rows(), b.cols());
    coLongArray<double> y(n * m);
    int const *const rows = row_order().data(), *const columns = column_order().data();
    for (int k = 0; k < n; ++k)
        std::copy_n(b.data() + rows[k] * m, m, y.data() + k * m);
    substitute(ManyColumns{y.data(), m});
    if (x.rows() != n || x.cols() != m) x.become(n, static_cast<int>(m));
    for (int k = 0; k < n; ++k)
        std::copy_n(y.data() + k * m, m, x.data() + columns[k] * m);
}
