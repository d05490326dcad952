#include "maths/decompositions/mlSingularValueDecomposition.h"

#include <algorithm>

#include "maths/decompositions/svd/mlTransposedSVD.h"

namespace {

/// The first index from 1 on whose value is below tolerance * values[0], or the number of values.
int first_negligible(mlVector const & values, double tolerance) {
    double const threshold = tolerance * values[0];
    for (int i = 1; i < values.size(); ++i) {
        if (threshold > values[i]) return i;
    }
    return values.size();
}

/// What was not asked for is a 1 x 1 zero, which is not orthogonal.
[[maybe_unused]] bool was_left_out(mlMatrix const & basis) {
    return basis.rows() == 1 && basis.cols() == 1 && basis(0, 0) == 0.0;
}

} // namespace

mlSingularValueDecomposition::mlSingularValueDecomposition(mlMatrix const & a)
    : mlSingularValueDecomposition(a, mlALL_U, mlALL_V) {}

mlSingularValueDecomposition::mlSingularValueDecomposition(mlMatrix const & a, mlJOB_U job_u, mlJOB_V job_v)
    : source_(&a), invalid_flag_(!SVD(a, diagonal_, u_, v_, job_u + 10 * job_v)) {}

int mlSingularValueDecomposition::SVD(mlMatrix const & a, mlVector & s, mlMatrix & u, mlMatrix & v, int job) {
    mlFortranMatrix x(a.cols(), a.rows());
    ml_copy_transpose(a, x);
    return ml_transposed_svd(x, s, u, v, job);
}

mlMatrix const & mlSingularValueDecomposition::inverse(double tolerance) const {
    if (pseudo_inverse_.rows() > 0) return pseudo_inverse_;
    MATHS_CHECK(!was_left_out(u_) && !was_left_out(v_),
                "pseudo-inverse: %d singular values, but U is %d x %d and V %d x %d: one was not asked for",
                diagonal_.size(), u_.rows(), u_.cols(), v_.rows(), v_.cols());
    mlVector reciprocals(mlVectorZero, std::max(u_.cols(), v_.cols()));
    for (int i = 0; i < diagonal_.size(); ++i) {
        bool const kept = (i == 0 && diagonal_[0] != 0.0) || diagonal_[i] > tolerance * diagonal_[0];
        if (kept) reciprocals[i] = 1.0 / diagonal_[i];
    }
    mlMatrix scaled(mlMatrixZero, v_.cols(), u_.cols()); // diag(1/s) U^T
    for (int r = 0; r < std::min(scaled.rows(), u_.cols()); ++r) {
        for (int c = 0; c < u_.rows(); ++c)
            scaled(r, c) = u_(c, r) * reciprocals[r];
    }
    pseudo_inverse_.become(mlMatrixProduct, v_, scaled);
    return pseudo_inverse_;
}

int mlSingularValueDecomposition::is_singular(double tolerance) const {
    if (diagonal_.size() == 0) return 1;
    if (diagonal_.size() == 1) return tolerance > diagonal_[0];
    return first_negligible(diagonal_, tolerance) < diagonal_.size();
}

int mlSingularValueDecomposition::rank(double tolerance) const {
    if (diagonal_.size() == 0) return 0;
    if (diagonal_.size() == 1) return tolerance > diagonal_[0] ? 0 : 1;
    return first_negligible(diagonal_, tolerance);
}

void mlSingularValueDecomposition::solve(mlMatrix const & b, mlMatrix & x) const {
    x.become(mlMatrixProduct, inverse(1e-7), b);
}

void mlSingularValueDecomposition::solve(mlVector const & b, mlVector & x) const {
    if (&b == &x) {
        mlVector right_hand_side;
        right_hand_side.become(utCopy, b);
        solve(right_hand_side, x);
        return;
    }
    x.become(mlMatrixProduct, inverse(1e-7), b);
}

void mlSingularValueDecomposition::solve(mlSlice const & b, mlVector & x) const {
    if (b.data() == x.data()) {
        solve(mlVector(b), x);
        return;
    }
    x.become(mlMatrixProduct, inverse(1e-7), b);
}
