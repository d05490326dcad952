#include "maths/decompositions/ml_svd.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"
#include "platform/coSize.h"

namespace {

double const eps = 1e-22;
double const tolerance = 0.1 * eps;

/// Rows of pairs that proceed together: as many pairs as one kernel call takes.
int const rows_at_once = 4;

/// More than an int counts from 65,537 columns on.
long long pairs_of(long long columns) { return columns * (columns - 1) / 2; }

/// The rows x cols matrix whose columns are made orthogonal, with the rotations accumulated in the rows below it. It is
/// a transposed copy, so that columns are contiguous.
class OneSidedJacobi {
public:
    OneSidedJacobi(double const * a, double * s2, int rows, int cols);

    void copy_to(double * a);

    /// Rotates every pair of columns that is not orthogonal; returns how many rotations that took.
    long long sweep();

private:
    double * column(int j) { return columns_.data() + j * ld_; }
    void orthogonalise(int j, int k);
    void orthogonalise_four(int j, int k);
    void rotate_pair(int j, int k, double p, double q, double w);
    bool find_rotation(double p, double q, double w, mlRotation & rotation) const;
    void drop_negligible_columns();

    mlKernels const & kernels_;
    double * s2_;
    int rows_;
    int cols_;
    int rank_;
    long long rotations_ = 0; ///< of the sweep, as far as it is not known that a pair needs none
    double e2_;
    std::ptrdiff_t ld_;
    coScratch<ml_tuning::jacobi_scratch> columns_;
};

OneSidedJacobi::OneSidedJacobi(double const * a, double * s2, int rows, int cols)
    : kernels_(ml_kernels()), s2_(s2), rows_(rows), cols_(cols), rank_(cols), e2_(rows * 10.0 * eps * eps),
      ld_(ml_padded(coSizeSum(coSizeSum(rows, cols), ml_max_lanes) - ml_max_lanes)), columns_(cols * ld_) {
    kernels_.copy_transposed(rows, cols, {a, cols}, {columns_.data(), ld_});
    for (int j = 0; j < cols; ++j) {
        std::fill(column(j) + rows, column(j) + ld_, 0.0);
        column(j)[rows + j] = 1.0;
    }
}

void OneSidedJacobi::copy_to(double * a) {
    kernels_.copy_transposed(cols_, rows_ + cols_, {columns_.data(), ld_}, {a, cols_});
}

long long OneSidedJacobi::sweep() {
    rotations_ = pairs_of(rank_);
    for (int k = 1; k < rank_; ++k)
        orthogonalise(0, k);
    // From here on s2[0] stays as it is. The pairs come row by row, (1, 2), (1, 3) ... (2, 3) ... A pair depends only
    // on earlier pairs that share a column with it, so four rows proceed together, each lagging two columns after the
    // row before it.
    for (int j = 1; j < rank_ - 1; j += rows_at_once) {
        int const rows = std::min(rows_at_once, rank_ - 1 - j);
        for (int k = j + 1; k < rank_ + rows - 1; ++k) {
            int const first = std::max(0, k - rank_ + 1), end = std::min(rows, (k - j + 1) / 2);
            if (end - first == rows_at_once) {
                orthogonalise_four(j, k);
                continue;
            }
            for (int m = first; m < end; ++m)
                orthogonalise(j + m, k - m);
        }
    }
    drop_negligible_columns();
    return rotations_;
}

void OneSidedJacobi::orthogonalise(int j, int k) {
    double const *x = column(j), *y = column(k);
    double p = 0.0, q = 0.0, w = 0.0;
    for (int i = 0; i < rows_; ++i) {
        p += x[i] * y[i];
        q += x[i] * x[i];
        w += y[i] * y[i];
    }
    rotate_pair(j, k, p, q, w);
}

/// Pairs (j, k), (j + 1, k - 1), (j + 2, k - 2) and (j + 3, k - 3), which have no column in common: their sums are
/// formed together, since in a single sum each addition waits for the one before.
void OneSidedJacobi::orthogonalise_four(int j, int k) {
    double sums[12];
    kernels_.sum_four_pairs(rows_, {column(j), ld_}, {column(k), -ld_}, sums);
    for (int m = 0; m < 4; ++m)
        rotate_pair(j + m, k - m, sums[m], sums[4 + m], sums[8 + m]);
}

/// Rotates columns j and k, given their product and the squares of their lengths.
void OneSidedJacobi::rotate_pair(int j, int k, double p, double q, double w) {
    s2_[j] = q;
    s2_[k] = w;
    mlRotation rotation;
    if (find_rotation(p, q, w, rotation))
        kernels_.rotate(static_cast<int>(ld_), column(j), column(k), rotation);
    else
        --rotations_;
}

/// The rotation that makes two columns orthogonal, the longer one first, by their product and the squares of their
/// lengths; false when they need none.
bool OneSidedJacobi::find_rotation(double p, double q, double w, mlRotation & rotation) const {
    // The magnitudes below the square roots guard against rounding below zero.
    if (q < w) {
        p /= w;
        double const t = q / w - 1.0;
        double const v = std::sqrt(4.0 * (p * p) + t * t);
        rotation.s = std::sqrt(std::fabs(0.5 * (1.0 - t / v)));
        if (p < 0.0) rotation.s = -rotation.s;
        rotation.c = p / (v * rotation.s);
        return true;
    }
    if (e2_ * s2_[0] >= q || tolerance * q >= std::fabs(p)) return false;
    p /= q;
    double const t = 1.0 - w / q;
    double const v = std::sqrt(4.0 * (p * p) + t * t);
    rotation.c = std::sqrt(std::fabs(0.5 * (1.0 + t / v)));
    rotation.s = p / (v * rotation.c);
    return true;
}

void OneSidedJacobi::drop_negligible_columns() {
    while (rank_ >= 3 && s2_[rank_ - 1] <= s2_[0] * tolerance + tolerance * tolerance)
        --rank_;
}

} // namespace

void ml_svd(double * a, double * s2, int rows, int cols) {
    OneSidedJacobi jacobi(a, s2, rows, cols);
    long long rotations = pairs_of(cols);
    int const sweep_limit = std::max(cols / 4, 6);
    for (int sweeps = 0; rotations != 0 && sweeps <= sweep_limit; ++sweeps)
        rotations = jacobi.sweep();
    jacobi.copy_to(a);
}
