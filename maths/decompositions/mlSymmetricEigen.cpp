#include "maths/decompositions/mlSymmetricEigen.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "maths/decompositions/mlTridiagonalQL.h"
#include "maths/decompositions/mlTridiagonalReduction.h"
#include "maths/polynomials/all_roots/mlBinaryScale.h"

namespace {

/// The largest magnitude of the diagonal and the upper triangle; infinite when one there is infinite or NaN.
double largest_magnitude(mlMatrix const & a) {
    double largest = 0.0;
    for (int i = 0; i < a.rows(); ++i) {
        double const * const row = a.data() + static_cast<std::ptrdiff_t>(i) * a.cols();
        for (int j = i; j < a.cols(); ++j) {
            if (!(std::fabs(row[j]) <= largest)) largest = std::fabs(row[j]);
            if (std::isnan(row[j])) return std::numeric_limits<double>::infinity();
        }
    }
    return largest;
}

/// Both triangles of `full` become 2^exponent times the upper one of a.
void copy_scaled(mlMatrix const & a, int exponent, mlFortranMatrix & full) {
    int const n = a.rows();
    for (int i = 1; i <= n; ++i) {
        double const * const row = a.data() + static_cast<std::ptrdiff_t>(i - 1) * n;
        for (int j = i; j <= n; ++j)
            full(i, j) = full(j, i) = ml_scale(row[j - 1], exponent);
    }
}

/// Sorts the values by decreasing magnitude, the positive one of two equal magnitudes first, and the columns of the
/// basis, if there is one, with them.
void sort(mlFortranVector & values, mlRotatedBasis * basis) {
    auto const before = [&](int i, int j) {
        double const x = std::fabs(values(i)), y = std::fabs(values(j));
        return x > y || (x == y && values(i) > values(j));
    };
    for (int i = 1; i < values.size(); ++i) {
        int first = i;
        for (int j = i + 1; j <= values.size(); ++j)
            first = before(j, first) ? j : first;
        if (first == i) continue;
        std::swap(values(i), values(first));
        if (basis != nullptr) basis->exchange(i, first);
    }
}

/// Copies the columns, each with the sign that makes its first element above 5/8 of its largest magnitude positive.
void copy_signed(mlFortranMatrix const & columns, mlMatrix & out) {
    int const n = columns.rows();
    mlFortranVector threshold(n), sign(n);
    for (int i = 1; i <= n; ++i) {
        for (int j = 1; j <= n; ++j)
            threshold(j) = std::max(threshold(j), std::fabs(columns(i, j)));
    }
    for (int j = 1; j <= n; ++j)
        threshold(j) *= 0.625;
    for (int i = 1; i <= n; ++i) {
        for (int j = 1; j <= n; ++j) {
            if (sign(j) == 0.0 && std::fabs(columns(i, j)) > threshold(j)) sign(j) = std::copysign(1.0, columns(i, j));
        }
    }
    double * to = out.data();
    for (int i = 1; i <= n; ++i) {
        for (int j = 1; j <= n; ++j)
            *to++ = sign(j) * columns(i, j);
    }
}

} // namespace

mlSymmetricEigen::mlSymmetricEigen(mlMatrix const & a) : mlSymmetricEigen(a, mlVECTORS) {}

mlSymmetricEigen::mlSymmetricEigen(mlMatrix const & a, mlJOB job) {
    MATHS_CHECK(a.rows() == a.cols(), "symmetric eigenvalues: the matrix is %d x %d", a.rows(), a.cols());
    double const largest = largest_magnitude(a);
    if (largest <= std::numeric_limits<double>::max()) calculate(a, job, largest);
}

void mlSymmetricEigen::calculate(mlMatrix const & a, mlJOB job, double largest) {
    int const n = a.rows(), exponent = largest > 0.0 ? ml_exponent(largest) : 0;
    status_ = mlSymmetricEigenCalculated;
    if (n == 0) return;
    mlFortranMatrix work(n, n);
    mlFortranVector d(n), e(n), tau(n);
    copy_scaled(a, -exponent, work);
    ml_tridiagonalise(work, d, e, tau);
    std::optional<mlRotatedBasis> basis;
    if (job == mlVECTORS) {
        ml_generate_tridiagonal_basis(work, tau);
        basis.emplace(work);
    }
    mlRotatedBasis * const rotated = basis ? &*basis : nullptr;
    if (!ml_tridiagonal_ql(d, e, rotated)) { // GCOV_EXCL_START: no such matrix is known
        status_ = mlSymmetricEigenIterationLimit;
        return;
    } // GCOV_EXCL_STOP
    sort(d, rotated);
    values_.become(mlVectorZero, n);
    for (int i = 0; i < n; ++i)
        values_[i] = ml_scale(d(i + 1), exponent);
    if (job != mlVECTORS) return;
    basis->finish(work);
    basis.reset();
    vectors_.become(n, n);
    copy_signed(work, vectors_);
}
