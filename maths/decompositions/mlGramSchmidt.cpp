#include "maths/decompositions/mlGramSchmidt.h"

#include "maths/core/mlRun.h"

mlGramSchmidt::mlGramSchmidt(mlMatrix * m) : basis_(m) {
    if (m->cols() > 0) orthogonalize(0);
}

double mlGramSchmidt::add(mlVector * v, int keep) {
    MATHS_CHECK(basis_->cols() == 0 || basis_->rows() == norms_.size(),
                "Gram-Schmidt: %d rows were made orthogonal, and there are %d: the matrix was changed meanwhile",
                norms_.size(), basis_->rows());
    if (basis_->cols() > 0 && v->size() != basis_->cols()) {
        status_ = mlGSWrongSize;
        return 0.0;
    }
    if (v->size() == 0 || v->modulus_squared() < threshold_) {
        status_ = mlGSNegligible;
        return 0.0;
    }
    int const r = basis_->rows();
    norms_.reserve(coSizeSum(r, 1));                 // so that no row is left without its norm when memory runs out
    while (norms_.size() < r && basis_->cols() == 0) // these rows become zeros
        norms_[norms_.size()] = 0.0;
    basis_->append_row(*v);
    orthogonalize(r);
    if (status_ != mlGSSucceeded) return 0.0;
    *v = basis_->row(r);
    double const norm = norms_[r];
    if (keep == 0 && r == basis_->rows() - 1) {
        basis_->delete_row(r);
        norms_.shrink(r, 0);
    }
    return norm;
}

// Makes rows first, ..., n - 1 orthogonal to all rows before them, up to the first one that vanishes.
void mlGramSchmidt::orthogonalize(int first) {
    int const n = basis_->rows();
    status_ = mlGSSucceeded;
    for (int k = first; k < n; ++k) {
        make_orthogonal_to_those_above(k);
        double const norm = basis_->row(k).modulus_squared();
        if (threshold_ > norm) {
            status_ = mlGSRowRemoved;
            for (int r = n - 1; r >= k; --r)
                basis_->delete_row(r);
            return;
        }
        norms_[norms_.size()] = norm;
    }
}

// row k -= row j (row k . row j / |row j|^2) for j in increasing order, each from the row as the step before it left
// it.
void mlGramSchmidt::make_orthogonal_to_those_above(int k) {
    int const cols = basis_->cols();
    mlDenseRun<double> const row{basis_->data() + k * cols};
    for (int j = 0; j < k; ++j) {
        if (norms_[j] == 0.0) continue; // a row that had no columns
        mlDenseRun<double const> const above{basis_->data() + j * cols};
        double const factor = ml_run_scalar_product(row, above, cols) / norms_[j];
        ml_run_update(row, above, cols, [factor](double & x, double y) { x -= y * factor; });
    }
}
