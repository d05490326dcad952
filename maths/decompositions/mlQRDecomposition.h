#pragma once

#include "maths/decompositions/mlGramSchmidt.h"
#include "platform/coPageArr.h"

/// What the last `mlQRDecomposition::add` came to.
enum mlQRStatus : int {
    mlQRNothingDone = 0,
    mlQRAdded = 1,
    mlQRDependent = 2,
    mlQRNegligible = 3, ///< squared length below 1e-10; nothing was changed
    mlQRWrongSize = 4   ///< another size than the rows of Q; nothing was changed
};

/// Builds a QR factorisation vector by vector, by modified Gram-Schmidt.
///
/// Each vector v becomes a row of Q, orthogonal to those above it but not normalised, and its coefficients a row of R:
/// \f[ v_k = r_{k0} q_0 + r_{k1} q_1 + \dots + r_{kk} q_k, \f]
/// so the vectors are the rows of R Q, and R is k x k and lower triangular, with a diagonal of ones up to roundoff. In
/// orthonormal mode a copy of Q is kept whose rows have length 1, and R has the coefficients with respect to those.
/// Deliberate: for a dependent v, whose part orthogonal to Q has a squared length below 1e-10, Q stays as it was, the
/// last row of R is overwritten by the coefficients of v, and `status` is `mlQRAdded` nevertheless; callers rely on it.
/// Compare Q's number of rows before and after: it did not grow. A dependent vector also leaves a duplicate of the last
/// row's norm, or orthonormal copy, and later coefficients are then wrong: start again without v.
/// Lifetime: Q and R belong to the caller and must outlive the object; both are to be empty when it is made. Made on a
/// Q that has rows, its results are undefined. The last vector's address is remembered and not used again.
/// Failure: std::bad_alloc; `add` changes neither Q nor R then. Threads: one at a time. Cost: the k-th vector of n
/// elements 6 k n operations and a copy of R.
/// Source: Golub & Van Loan, Matrix Computations.
class MATHS_API mlQRDecomposition : public mlGramSchmidt {
public:
    mlQRDecomposition(mlMatrix * q, mlMatrix * r);

    void add(mlVector const * v);

    /// Switches to orthonormal mode; call it before the first `add`.
    void set_Q_orthonormal() {
        MATHS_CHECK(q_matrix_->rows() == 0, "QR decomposition: orthonormal mode after %d rows", q_matrix_->rows());
        q_orthonormal_ = 1;
    }

    /// The orthonormal copy of Q, its vectors as columns; empty in the default mode.
    void get_orthonormal_Q(mlMatrix & out) const { out.become(mlMatrixTranspose, orthonormal_q_); }

    [[nodiscard]] mlQRStatus status() const { return qr_status_; }

private:
    void make_room();
    void decompose();
    void decompose_with_Q_orthonormal();
    int extend_basis();
    double squared_length_of_row(int row) const;
    void reject_row(int row);

    mlMatrix * q_matrix_;
    mlMatrix * r_matrix_;
    mlVector const * current_ = nullptr;
    doublecoPageArr q_norms_;
    int q_orthonormal_ = 0;
    mlMatrix orthonormal_q_;
    mlQRStatus qr_status_ = mlQRNothingDone;
    double qr_threshold_ = 1e-10;
};
