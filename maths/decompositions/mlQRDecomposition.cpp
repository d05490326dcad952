#include "maths/decompositions/mlQRDecomposition.h"

#include <cmath>

#include "platform/coSize.h"

mlQRDecomposition::mlQRDecomposition(mlMatrix * q, mlMatrix * r) : mlGramSchmidt(q), q_matrix_(q), r_matrix_(r) {
    MATHS_CHECK(q->rows() == 0 && r->rows() == 0, "QR decomposition: begun on Q with %d rows and R with %d", q->rows(),
                r->rows());
}

void mlQRDecomposition::add(mlVector const * v) {
    if (qr_threshold_ > v->modulus_squared()) {
        qr_status_ = mlQRNegligible;
    } else if (q_matrix_->cols() > 0 && v->size() != q_matrix_->cols()) {
        qr_status_ = mlQRWrongSize;
    } else {
        current_ = v;
        if (q_orthonormal_)
            decompose_with_Q_orthonormal();
        else
            decompose();
    }
}

// For one row more, so that Q, R and what is kept of Q still agree when memory runs out.
void mlQRDecomposition::make_room() {
    int const rows = coSizeSum(q_matrix_->rows(), 1), norms = q_norms_.size();
    r_matrix_->reserve(coTableSize(rows, rows));
    if (q_orthonormal_) {
        orthonormal_q_.reserve(coSizeSum(orthonormal_q_.size(), current_->size()));
    } else {
        q_norms_[norms] = 0.0;
        q_norms_.shrink(norms, 0);
    }
}

void mlQRDecomposition::decompose() {
    int const last = extend_basis();
    double const norm = squared_length_of_row(last);
    if (norm < qr_threshold_) return reject_row(last);
    q_norms_[q_norms_.size()] = norm;
    r_matrix_->expand(last + 1, last + 1, 0.0);
    // Products with the vector itself: Gram-Schmidt has removed these components from Q's row.
    for (int j = 0; j <= last; ++j)
        (*r_matrix_)(last, j) = scalar_product(current_->slice(), q_matrix_->row(j)) / q_norms_[j];
    qr_status_ = mlQRAdded;
}

void mlQRDecomposition::decompose_with_Q_orthonormal() {
    mlVector direction(mlVectorZero, current_->size());
    int const last = extend_basis();
    double const length = std::sqrt(squared_length_of_row(last));
    // Deliberate: the length, not its square as above; results depend on it.
    if (length < qr_threshold_) return reject_row(last);
    direction = q_matrix_->row(last);
    direction /= length;
    orthonormal_q_.append_row(direction);
    r_matrix_->expand(last + 1, last + 1, 0.0);
    for (int j = 0; j <= last; ++j)
        (*r_matrix_)(last, j) = scalar_product(current_->slice(), orthonormal_q_.row(j));
    qr_status_ = mlQRAdded;
}

// Appends the current vector to Q, made orthogonal, and returns Q's last row, -1 without any. Deliberate: whether
// Gram-Schmidt accepted the vector is ignored, so for a dependent one this is the row of the vector before.
int mlQRDecomposition::extend_basis() {
    mlVector v;
    v.become(utCopy, *current_);
    make_room();
    mlGramSchmidt::add(&v, 1);
    return q_matrix_->rows() - 1;
}

double mlQRDecomposition::squared_length_of_row(int row) const {
    return row < 0 ? 0.0 : q_matrix_->row(row).modulus_squared();
}

// GCOV_EXCL_START: Gram-Schmidt has the same threshold, so only a Q that was changed by others has such a row
void mlQRDecomposition::reject_row(int row) {
    if (row >= 0) q_matrix_->delete_row(row);
    qr_status_ = mlQRDependent;
}
// GCOV_EXCL_STOP
