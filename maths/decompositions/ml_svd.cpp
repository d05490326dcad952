#include "maths/decompositions/ml_svd.h"

#include <algorithm>
#include <cmath>

namespace {

double const eps = 1e-22;
double const tolerance = 0.1 * eps;

struct Rotation {
    double c;
    double s;
};

/// The rows x cols matrix whose columns are made orthogonal, with the rotations accumulated in the rows below it.
class OneSidedJacobi {
public:
    OneSidedJacobi(double * a, double * s2, int rows, int cols)
        : a_(a), s2_(s2), rows_(rows), cols_(cols), rank_(cols), e2_(rows * 10.0 * eps * eps) {}

    void append_identity();

    /// Rotates every pair of columns that is not orthogonal; answers how many rotations that took.
    int sweep();

private:
    double & at(int row, int col) const { return a_[row * cols_ + col]; }
    bool rotation_for(int j, int k, Rotation & rotation) const;
    void rotate(int j, int k, Rotation const & rotation) const;
    void drop_negligible_columns();

    double * a_;
    double * s2_;
    int rows_;
    int cols_;
    int rank_;
    double e2_;
};

void OneSidedJacobi::append_identity() {
    for (int i = 0; i < cols_; ++i) {
        for (int j = 0; j < cols_; ++j)
            at(rows_ + i, j) = i == j ? 1.0 : 0.0;
    }
}

int OneSidedJacobi::sweep() {
    int rotations = rank_ * (rank_ - 1) / 2;
    for (int j = 0; j < rank_ - 1; ++j) {
        for (int k = j + 1; k < rank_; ++k) {
            Rotation rotation;
            if (rotation_for(j, k, rotation))
                rotate(j, k, rotation);
            else
                --rotations;
        }
    }
    drop_negligible_columns();
    return rotations;
}

/// The rotation that makes columns j and k orthogonal, the longer one first; false when they need none.
bool OneSidedJacobi::rotation_for(int j, int k, Rotation & rotation) const {
    double p = 0.0, q = 0.0, w = 0.0;
    for (int i = 0; i < rows_; ++i) {
        p += at(i, j) * at(i, k);
        q += at(i, j) * at(i, j);
        w += at(i, k) * at(i, k);
    }
    s2_[j] = q;
    s2_[k] = w;
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

void OneSidedJacobi::rotate(int j, int k, Rotation const & rotation) const {
    for (int i = 0; i < rows_ + cols_; ++i) {
        double const d1 = at(i, j), d2 = at(i, k);
        at(i, j) = d1 * rotation.c + d2 * rotation.s;
        at(i, k) = d2 * rotation.c - d1 * rotation.s;
    }
}

void OneSidedJacobi::drop_negligible_columns() {
    while (rank_ >= 3 && s2_[rank_ - 1] <= s2_[0] * tolerance + tolerance * tolerance)
        --rank_;
}

} // namespace

void ml_svd(double * a, double * s2, int rows, int cols) {
    OneSidedJacobi jacobi(a, s2, rows, cols);
    jacobi.append_identity();
    int rotations = cols * (cols - 1) / 2;
    int const sweep_limit = std::max(cols / 4, 6);
    for (int sweeps = 0; rotations != 0 && sweeps <= sweep_limit; ++sweeps)
        rotations = jacobi.sweep();
}
