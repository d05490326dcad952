#include "maths/sparse/mlIncompleteFactors.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/core/mlVectorRuns.h"
#include "maths/sparse/mlCompressedRows.h"

namespace {

double const least_pivot = 0x1p-30, first_shift = 0x1p-10, last_shift = 0x1p30;

/// Of one attempt. `failed`: another shift may help.
enum Outcome { factored, failed, hopeless, not_finite };

/// What a pivot makes of the attempt, for the size that it is measured by.
Outcome judge(double pivot, double size) {
    if (!std::isfinite(pivot) || !std::isfinite(size)) return not_finite;
    if (!(size > 0.0)) return hopeless;
    return pivot > least_pivot * size ? factored : failed;
}

// Row i of `rows` begins as a(i, .) and holds u(i, .) until its pivot is known.
Outcome factor_symmetric(mlCompressedRows & rows, int n, double shift) {
    int const * const columns = rows.columns.data();
    double * const values = rows.values.data();
    for (int i = 0; i < n; ++i) {
        std::ptrdiff_t const first = rows.begin(i), last = rows.end(i) - 1;
        double const a_ii = values[last];
        double d = a_ii + shift * a_ii;
        for (std::ptrdiff_t at = first; at < last; ++at) {
            int const j = columns[at];
            std::ptrdiff_t const row_j = rows.begin(j), diagonal_j = rows.end(j) - 1;
            double u = values[at];
            ml_for_each_common(
                columns + first, at - first, columns + row_j, diagonal_j - row_j,
                [&](std::ptrdiff_t k_i, std::ptrdiff_t k_j) { u -= values[first + k_i] * values[row_j + k_j]; });
            values[at] = u;
        }
        for (std::ptrdiff_t at = first; at < last; ++at) {
            double const u = values[at];
            values[at] = u / values[rows.end(columns[at]) - 1];
            d -= u * values[at];
        }
        values[last] = d;
        if (Outcome const outcome = judge(d, a_ii); outcome != factored) return outcome;
    }
    return factored;
}

/// Infinite when an element is NaN or infinite.
double largest_magnitude(double const * values, std::ptrdiff_t n) {
    double largest = 0.0;
    for (std::ptrdiff_t k = 0; k < n; ++k) {
        if (!std::isfinite(values[k])) return std::numeric_limits<double>::infinity();
        largest = std::max(largest, std::fabs(values[k]));
    }
    return largest;
}

// Row i holds w until its pivot is known.
Outcome factor_general(mlCompressedRows & rows, std::ptrdiff_t const * diagonal, int n, double shift) {
    int const * const columns = rows.columns.data();
    double * const values = rows.values.data();
    for (int i = 0; i < n; ++i) {
        std::ptrdiff_t const first = rows.begin(i), d = diagonal[i], end = rows.end(i);
        double const size = largest_magnitude(values + first, end - first);
        if (shift > 0.0) values[d] += values[d] < 0.0 ? -shift * size : shift * size;
        for (std::ptrdiff_t at = first; at < d; ++at) {
            int const k = columns[at];
            std::ptrdiff_t const after = at + 1, u_k = diagonal[k] + 1;
            double const w = values[at];
            ml_for_each_common(
                columns + after, end - after, columns + u_k, rows.end(k) - u_k,
                [&](std::ptrdiff_t j, std::ptrdiff_t j_k) { values[after + j] -= w * values[u_k + j_k]; });
            values[at] = w / values[diagonal[k]];
        }
        if (Outcome const outcome = judge(std::fabs(values[d]), size); outcome != factored) return outcome;
        for (std::ptrdiff_t at = d + 1; at < end; ++at)
            values[at] /= values[d];
        if (!std::isfinite(largest_magnitude(values + first, end - first))) return not_finite;
    }
    return factored;
}

/// y(i) -= the sum of values(j) y(column(j)) from `at` to before `end`, term by term.
double rest(double y_i, mlCompressedRows const & rows, std::ptrdiff_t at, std::ptrdiff_t end, double const * y) {
    double const * const values = rows.values.data();
    int const * const columns = rows.columns.data();
    for (; at < end; ++at)
        y_i -= values[at] * y[columns[at]];
    return y_i;
}

void solve_symmetric(mlCompressedRows const & rows, int n, double const * x, double * y) {
    double const * const values = rows.values.data();
    int const * const columns = rows.columns.data();
    for (int i = 0; i < n; ++i)
        y[i] = rest(x[i], rows, rows.begin(i), rows.end(i) - 1, y);
    for (int i = 0; i < n; ++i)
        y[i] /= values[rows.end(i) - 1];
    for (int i = n - 1; i >= 0; --i) {
        double const z_i = y[i];
        for (std::ptrdiff_t at = rows.begin(i), last = rows.end(i) - 1; at < last; ++at)
            y[columns[at]] -= values[at] * z_i;
    }
}

void solve_general(mlCompressedRows const & rows, std::ptrdiff_t const * diagonal, int n, double const * x,
                   double * y) {
    for (int i = 0; i < n; ++i)
        y[i] = rest(x[i], rows, rows.begin(i), diagonal[i], y);
    for (int i = n - 1; i >= 0; --i)
        y[i] = rest(y[i] / rows.values[diagonal[i]], rows, diagonal[i] + 1, rows.end(i), y);
}

} // namespace

/// Attempts with greater and greater shifts. `make` gives the elements of A, of which factor(shift) makes the factors.
template <class Make, class Factor> void mlIncompleteFactors::factor_with_shifts(Make make, Factor factor) {
    Outcome outcome = failed;
    while (outcome == failed && shift_ <= last_shift) {
        if (factors_) shift_ = shift_ > 0.0 ? 2.0 * shift_ : first_shift;
        factors_ = std::make_unique<mlCompressedRows>(make());
        outcome = factor(shift_);
    }
    status_ = outcome == factored     ? mlIncompleteFactored
              : outcome == not_finite ? mlIncompleteNotFinite
                                      : mlIncompleteNoPivot;
}

mlIncompleteFactors::mlIncompleteFactors(mlSparseSymMatrix const & a) {
    dimension = a.rows();
    factor_with_shifts([&] { return mlCompressedRows::lower_triangle(a); },
                       [&](double shift) { return factor_symmetric(*factors_, dimension, shift); });
}

mlIncompleteFactors::mlIncompleteFactors(mlSparseMatrix const & a) {
    MATHS_CHECK(a.rows() == a.cols(), "incomplete factors: %d x %d", a.rows(), a.cols());
    dimension = a.rows();
    diagonal_ = coLongArray<std::ptrdiff_t>(dimension);
    factor_with_shifts(
        [&] { return mlCompressedRows::with_diagonal(a); },
        [&](double shift) {
            int const * const columns = factors_->columns.data();
            for (int i = 0; i < dimension; ++i)
                diagonal_[i] = std::lower_bound(columns + factors_->begin(i), columns + factors_->end(i), i) - columns;
            return factor_general(*factors_, diagonal_.data(), dimension, shift);
        });
}

mlIncompleteFactors::~mlIncompleteFactors() = default;

void mlIncompleteFactors::multiply(mlVector const & x, mlVector & y) const {
    ml_check_length("incomplete factors", dimension, x.size());
    y.expand(dimension);
    if (status_ != mlIncompleteFactored)
        std::copy_n(x.data(), dimension, y.data());
    else if (diagonal_.data() == nullptr)
        solve_symmetric(*factors_, dimension, x.data(), y.data());
    else
        solve_general(*factors_, diagonal_.data(), dimension, x.data(), y.data());
}
