#include "maths/optimisation/active_set/mlActiveNormals.h"

#include <algorithm>
#include <cmath>

#include "maths/decompositions/mlSingularValueDecomposition.h"
#include "maths/optimisation/active_set/mlDenseRuns.h"

namespace {

// Of a normal of length 1 to 2: a free part up to the first is rounding, and one above the second makes it independent.
// Between them singular values decide.
double const surely_dependent = 1e-13, surely_independent = 1e-7;

} // namespace

void mlActiveNormals::start(int n) {
    n_ = n;
    size_ = 0;
    basis_.become(n, n);
    std::fill_n(basis_.data(), n * n, 0.0);
    for (int i = 0; i < n; ++i)
        row(i)[i] = 1.0;
    triangle_.become(n, n);
    constraints_.clear(0);
    constraints_.expand(n);
    cosines_.expand(n);
    sines_.expand(n);
    work_.expand(n);
}

void mlActiveNormals::start(mlConstraintRows const & rows, mlActiveNormals const & others) {
    int const count = others.size_;
    others_.expand(count);
    std::copy_n(others.constraints_.data(), count, others_.data());
    start(rows.dimension());
    for (int i = 0; i < rows.size(); ++i)
        if (rows.equality(i) && !rows.zero(i) && admits(rows.normal(i))) append(i, rows.normal(i));
    for (int k = 0; k < count; ++k) {
        int const i = others_[k];
        if (!rows.equality(i) && admits(rows.normal(i))) append(i, rows.normal(i));
    }
}

bool mlActiveNormals::admits(double const * normal) const {
    null_part(normal, work_.data());
    double const free = std::sqrt(ml_run_product(work_.data(), work_.data(), null_size()));
    if (!(free > surely_dependent)) return false;
    return free > surely_independent || admits_by_singular_values(normal, free);
}

// R with one more column has the singular values of the normals with one more.
bool mlActiveNormals::admits_by_singular_values(double const * normal, double free_length) const {
    mlMatrix r(mlMatrixZero, size_ + 1, size_ + 1);
    for (int j = 0; j < size_; ++j)
        for (int i = 0; i <= j; ++i)
            r(i, j) = triangle_.data()[j * n_ + i];
    range_part(normal, work_.data());
    for (int i = 0; i < size_; ++i)
        r(i, size_) = work_[i];
    r(size_, size_) = free_length;
    mlSingularValueDecomposition const svd(r, mlSingularValueDecomposition::mlNO_U,
                                           mlSingularValueDecomposition::mlNO_V);
    return svd.rank(dependence) == size_ + 1;
}

void mlActiveNormals::append(int constraint, double const * normal) {
    int const free = null_size();
    double * const w = work_.data();
    null_part(normal, w);
    double * const added = column(size_);
    range_part(normal, added);
    for (int j = 0; j + 1 < free; ++j) { // turns all of Z^T normal into its last element
        double const length = std::sqrt(w[j] * w[j] + w[j + 1] * w[j + 1]);
        bool const turns = w[j] != 0.0 && length > 0.0;
        cosines_.data()[j] = turns ? w[j + 1] / length : 1.0;
        sines_.data()[j] = turns ? w[j] / length : 0.0;
        if (!turns) continue;
        w[j + 1] = length;
        ml_run_rotate(cosines_[j], sines_[j], row(j), row(j + 1), n_);
    }
    added[size_] = w[free - 1];
    constraints_.data()[size_++] = constraint;
}

void mlActiveNormals::remove(int position) {
    for (int j = position; j + 1 < size_; ++j) {
        constraints_.data()[j] = constraints_[j + 1];
        std::copy_n(column(j + 1), j + 2, column(j));
        double * const moved = column(j); // has an element below the diagonal
        double const length = std::sqrt(moved[j] * moved[j] + moved[j + 1] * moved[j + 1]);
        double const c = moved[j] / length, s = moved[j + 1] / length;
        moved[j] = length;
        // the columns from j + 2 on have not moved to the left yet
        if (j + 2 < size_) ml_turn_pairs(c, s, -s, column(j + 2) + j, n_, size_ - j - 2);
        ml_run_rotate(c, -s, row(n_ - 1 - j), row(n_ - 2 - j), n_);
    }
    --size_;
}

void mlActiveNormals::null_part(double const * v, double * out) const {
    for (int j = 0; j < null_size(); ++j)
        out[j] = ml_run_product(null_vector(j), v, n_);
}

void mlActiveNormals::range_part(double const * v, double * out) const {
    for (int i = 0; i < size_; ++i)
        out[i] = ml_run_product(range_vector(i), v, n_);
}

void mlActiveNormals::add_null(double const * w, double * v) const {
    for (int j = 0; j < null_size(); ++j)
        ml_run_add(w[j], null_vector(j), v, n_);
}

void mlActiveNormals::add_range(double const * w, double * v) const {
    for (int i = 0; i < size_; ++i)
        ml_run_add(w[i], range_vector(i), v, n_);
}

void mlActiveNormals::solve(double * v) const {
    for (int j = size_ - 1; j >= 0; --j) {
        double const * const r = triangle_.data() + j * n_;
        v[j] /= r[j];
        ml_run_add(-v[j], r, v, j);
    }
}

void mlActiveNormals::solve_transposed(double * v) const {
    for (int j = 0; j < size_; ++j) {
        double const * const r = triangle_.data() + j * n_;
        v[j] = (v[j] - ml_run_product(r, v, j)) / r[j];
    }
}
