#include "maths/decompositions/mlJacobiRotations.h"

#include <algorithm>
#include <cmath>
#include <concepts>

#include "maths/core/mlRun.h"
#include "maths/kernels/mlKernels.h"

namespace {

/// Rotations keep the sum of the squares up to roundoff: while all elements of A start below this, none overflows.
double const largest_element = 1e290;

/// The first of the largest of number(begin) ... number(end - 1), of which there is at least one and no NaN.
template <std::regular_invocable<int> Number> int first_largest(int begin, int end, Number number) {
    constexpr int chains = 4; // a comparison waits for the one before it
    if (end - begin <= 2 * chains) {
        int first = begin;
        for (int j = begin + 1; j < end; ++j)
            first = number(j) > number(first) ? j : first;
        return first;
    }
    double largest[chains];
    std::fill_n(largest, chains, number(begin));
    int j = begin;
    for (; j + chains <= end; j += chains) {
        for (int k = 0; k < chains; ++k)
            largest[k] = number(j + k) > largest[k] ? number(j + k) : largest[k];
    }
    for (; j < end; ++j)
        largest[0] = number(j) > largest[0] ? number(j) : largest[0];
    double const all = std::max(std::max(largest[0], largest[1]), std::max(largest[2], largest[3]));
    for (j = begin; number(j) < all; ++j) {
    }
    return j;
}

} // namespace

// e1 is orthogonal to the rows of the matrix - lambda1, of which the longer one is the more accurate. The rows are not
// both zero as long as b isn't.
mlEigenPair ml_eigen_pair(double a, double b, double c, double d) {
    double const radius = std::sqrt((a - d) * (a - d) * 0.25 + b * b);
    double const middle = (a + d) * 0.5;
    double const lambda1 = middle + radius, lambda2 = middle - radius;
    double const rows[2][2] = {{a - lambda1, b}, {c, d - lambda1}};
    double const squares[2] = {rows[0][0] * rows[0][0] + rows[0][1] * rows[0][1],
                               rows[1][0] * rows[1][0] + rows[1][1] * rows[1][1]};
    int const k = squares[1] > squares[0];
    double const length = std::sqrt(squares[k]);
    return {lambda1, lambda2, rows[k][1] / length, rows[k][0] / length};
}

mlJacobiRotations::mlJacobiRotations(mlMatrix const & m)
    : n_(m.rows()), ld_(n_ <= ml_tuning::jacobi_plain_max_cols ? n_ : ml_padded(n_)), exact_(m.rows() == m.cols()),
      room_(2 * (ld_ + 1) * n_), a_(room_.data()), v_(a_ + n_ * ld_), largest_(v_ + n_ * ld_), place_(largest_ + n_) {
    for (int i = 0; i < n_ && exact_; ++i) {
        double * const row = a_ + i * ld_;
        for (int j = 0; j < n_; ++j) {
            row[j] = m(i, j);
            exact_ = exact_ && std::fabs(row[j]) < largest_element; // false for NaN
        }
        std::fill(row + n_, row + ld_, 0.0);
        std::fill_n(v_ + i * ld_, ld_, 0.0);
        v_[i * ld_ + i] = 1.0;
        find_largest(i);
    }
}

mlJacobiPivot mlJacobiRotations::pivot() const {
    if (n_ < 2) return {mlLeastDouble, 0, 0};
    int const p = first_largest(0, n_ - 1, [this](int i) { return largest_[i]; });
    return {largest_[p], p, static_cast<int>(place_[p])};
}

bool mlJacobiRotations::rotate(mlJacobiPivot const & pivot) {
    int const p = pivot.p, q = pivot.q;
    if (p == q) return false; // there is none
    double *const row_p = a_ + p * ld_, *const row_q = a_ + q * ld_;
    mlEigenPair const pair = ml_eigen_pair(row_p[p], row_p[q], row_q[p], row_q[q]);
    if (!(std::fabs(pair.c * pair.c + pair.s * pair.s - 1.0) < 1e-12)) return false;
    rotate_rows(row_p, row_q, pair);
    rotate_rows(v_ + p * ld_, v_ + q * ld_, pair);
    rotate_cols(p, q, pair.c, pair.s);
    rotated_ = true;
    return true;
}

void mlJacobiRotations::finish() {
    if (!rotated_) return;
    for (std::ptrdiff_t k = 0; k < 2 * n_ * ld_; ++k)
        a_[k] += 0.0;
}

void mlJacobiRotations::rotate_rows(double * x, double * y, mlEigenPair const & pair) const {
    if (n_ > ml_tuning::jacobi_plain_max_cols)
        return ml_kernels().rotate(static_cast<int>(ld_), x, y, {pair.c, -pair.s});
    for (int j = 0; j < n_; ++j) {
        double const before = x[j];
        x[j] = pair.c * before - pair.s * y[j];
        y[j] = pair.s * before + pair.c * y[j];
    }
}

/// Updates the largest element of row i after those in columns p and q have changed to these magnitudes; a negative
/// number means an element that is not above the diagonal. Of equal magnitudes the first counts.
void mlJacobiRotations::update_largest(int i, int p, int q, double in_p, double in_q) {
    double const changed = in_q > in_p ? in_q : in_p;
    int const col = in_q > in_p ? q : p;
    if (changed > largest_[i] || (changed == largest_[i] && col <= place_[i])) {
        largest_[i] = changed;
        place_[i] = col;
    } else if (place_[i] == p || place_[i] == q) {
        find_largest(i); // the largest was one of these two and is now smaller, or an equal one may lie between them
    }
}

/// Rotates columns p and q, and finds the largest element again of the rows that have them above the diagonal.
void mlJacobiRotations::rotate_cols(int p, int q, double c, double s) {
    double * row = a_;
    auto const rotate = [&] {
        double const x = row[p], y = row[q];
        row[p] = c * x - s * y;
        row[q] = s * x + c * y;
    };
    for (int i = 0; i < q; ++i, row += ld_) {
        rotate();
        if (i == p) continue;
        double const in_p = i < p ? std::fabs(row[p]) : -1.0, in_q = std::fabs(row[q]);
        // In most rows neither changes the maximum, so one branch tests both: which of the two is the larger is
        // unpredictable, and mispredicted branches took half of the time.
        if ((in_p >= largest_[i]) | (in_q >= largest_[i]) | (place_[i] == p) | (place_[i] == q))
            update_largest(i, p, q, in_p, in_q);
    }
    for (int i = q; i < n_; ++i, row += ld_)
        rotate();
    find_largest(p);
    find_largest(q);
}

void mlJacobiRotations::find_largest(int i) {
    if (i + 1 == n_) return; // nothing above the diagonal
    double const * const row = a_ + i * ld_;
    int const place = first_largest(i + 1, n_, [row](int j) { return std::fabs(row[j]); });
    largest_[i] = std::fabs(row[place]);
    place_[i] = place;
}
