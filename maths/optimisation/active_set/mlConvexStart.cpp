#include "maths/optimisation/active_set/mlConvexStart.h"

#include <algorithm>

#include "maths/decompositions/mlCholeskyDecomposition.h"
#include "maths/optimisation/active_set/mlDenseRuns.h"

namespace {

// The square of a diagonal element of L may be this part of the largest magnitude in G.
double const well_definite = 1e-8;

double const waiver = 1e-9;

} // namespace

mlConvexStart::mlConvexStart(mlMatrix const & g_matrix, mlVector const & g_vector, double largest)
    : g_vector_(g_vector), n_(g_vector.size()), serves_(false), rows_(n_) {
    if (n_ == 0 || largest == 0.0) return;
    mlCholeskyDecomposition const cholesky(g_matrix);
    if (cholesky.is_singular()) return;
    cholesky.matrix_l(lower_);
    serves_ = true;
    for (int i = 0; i < n_; ++i)
        serves_ = serves_ && lower_(i, i) * lower_(i, i) > well_definite * largest;
    point_.expand(n_);
}

// v = L^-1 v.
void mlConvexStart::forward(double * v) const {
    for (int i = 0; i < n_; ++i) {
        double const * const l = lower_.data() + i * n_;
        v[i] = (v[i] - ml_run_product(l, v, i)) / l[i];
    }
}

// Those constraints that have been added since the last call.
void mlConvexStart::transform(mlConstraintRows const & rows) {
    for (int i = rows_.size(); i < rows.size(); ++i) {
        std::copy_n(rows.normal(i), n_, point_.data());
        forward(point_.data());
        rows_.add(point_.slice(0, 1, n_), rows.bound(i), rows.equality(i));
    }
}

bool mlConvexStart::find(mlConstraintRows const & rows, mlActiveNormals const & normals, double * x, int & steps) {
    transform(rows);
    normals_.start(rows_, normals);
    double * const y = point_.data();
    for (int i = 0; i < n_; ++i)
        y[i] = -g_vector_[i];
    forward(y);
    if (nearest_.find(rows_, rows_.bounds(), nullptr, normals_, y, 0.0, waiver, steps) != mlNearestPoint::found)
        return false;
    for (int i = n_ - 1; i >= 0; --i) { // x = L^-T y
        double const * const l = lower_.data() + i * n_;
        y[i] /= l[i];
        ml_run_add(-y[i], l, y, i);
    }
    std::copy_n(y, n_, x);
    return true;
}
