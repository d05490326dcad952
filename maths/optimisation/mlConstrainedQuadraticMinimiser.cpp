#include "maths/optimisation/mlConstrainedQuadraticMinimiser.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "maths/optimisation/active_set/mlActiveSetSearch.h"
#include "maths/optimisation/active_set/mlConstraintRows.h"
#include "maths/optimisation/active_set/mlDenseRuns.h"

namespace {

bool all_finite(std::span<double const> numbers) {
    return std::all_of(numbers.begin(), numbers.end(), [](double x) { return std::isfinite(x); });
}

// A constraint that is not there yet is no mistake: it has no multiplier.
void check_number([[maybe_unused]] int constraint) {
    MATHS_CHECK(constraint >= 0, "quadratic minimiser: there is no constraint %d", constraint);
}

} // namespace

mlConstrainedQuadraticMinimiser::mlConstrainedQuadraticMinimiser(mlMatrix const & g_matrix, mlVector const & g_vector)
    : n_(g_vector.size()), scale_(1.0), rows_(new mlConstraintRows(n_)), status_(mlConstrainedQuadraticIterationLimit),
      value_(std::numeric_limits<double>::quiet_NaN()) {
    MATHS_CHECK(g_matrix.rows() == n_ && g_matrix.cols() == n_, "quadratic minimiser: G is %d x %d, g has %d elements",
                g_matrix.rows(), g_matrix.cols(), n_);
    g_matrix_.become(mlMatrixZero, n_, n_);
    g_vector_.become(utCopy, g_vector);
    for (int i = 0; i < n_; ++i)
        for (int j = 0; j <= i; ++j)
            g_matrix_(i, j) = g_matrix_(j, i) = g_matrix(i, j);
    largest_ = ml_run_largest(g_matrix_.data(), n_ * n_);
    scale_ = ml_power_of_two(largest_ > 0.0 ? largest_ : ml_run_largest(g_vector_.data(), n_));
    for (int i = 0; i < n_ * n_; ++i)
        g_matrix_.data()[i] /= scale_;
    g_vector_ /= scale_;
    largest_ /= scale_;
    search_.reset(new mlActiveSetSearch(g_matrix_, g_vector_, largest_));
}

mlConstrainedQuadraticMinimiser::~mlConstrainedQuadraticMinimiser() = default;

int mlConstrainedQuadraticMinimiser::add_equality(mlSlice const & normal, double value) {
    return rows_->add(normal, value, true);
}

int mlConstrainedQuadraticMinimiser::add_inequality(mlSlice const & normal, double bound) {
    return rows_->add(normal, bound, false);
}

int mlConstrainedQuadraticMinimiser::add_lower_bound(int i, double bound) { return rows_->add_unit(i, 1.0, bound); }

int mlConstrainedQuadraticMinimiser::add_upper_bound(int i, double bound) { return rows_->add_unit(i, -1.0, -bound); }

mlConstrainedQuadraticStatus mlConstrainedQuadraticMinimiser::minimise(mlVector & x) {
    int const m = rows_->size();
    multipliers_.expand(m);
    active_.expand(m);
    std::fill_n(multipliers_.data(), m, 0.0);
    std::fill_n(active_.data(), m, 0);
    value_ = std::numeric_limits<double>::quiet_NaN();
    status_ = mlConstrainedQuadraticNotFinite;
    if (!finite() || (x.size() == n_ && !all_finite(x))) return status_;
    if (x.size() != n_) {
        x.clear(0);
        x.become(mlVectorZero, n_);
    }
    status_ = mlConstrainedQuadraticInfeasible;
    if (rows_->zeros_hold()) {
        switch (search_->run(*rows_, x.data())) {
        case mlActiveSetSearch::solved: status_ = mlConstrainedQuadraticSolved; break;
        case mlActiveSetSearch::infeasible: status_ = mlConstrainedQuadraticInfeasible; break;
        case mlActiveSetSearch::unbounded: status_ = mlConstrainedQuadraticUnbounded; break;
        case mlActiveSetSearch::out_of_steps: status_ = mlConstrainedQuadraticIterationLimit; break;
        }
    }
    bool const overflowed = status_ == mlConstrainedQuadraticSolved && !all_finite(x);
    if (overflowed) status_ = mlConstrainedQuadraticIterationLimit;
    publish(x);
    return status_;
}

bool mlConstrainedQuadraticMinimiser::finite() const {
    return all_finite(g_matrix_) && all_finite(g_vector_) && rows_->finite();
}

void mlConstrainedQuadraticMinimiser::publish(mlVector const & x) {
    double sum = 0.0;
    for (int i = 0; i < n_; ++i)
        sum += x[i] * (0.5 * ml_run_product(g_matrix_.data() + i * n_, x.data(), n_) + g_vector_[i]);
    value_ = scale_ * sum;
    if (status_ != mlConstrainedQuadraticSolved) return;
    for (int k = 0; k < search_->num_active(); ++k) {
        int const i = search_->active(k);
        active_[i] = 1;
        multipliers_[i] = search_->multiplier(k) * scale_ * rows_->scale(i);
    }
}

double mlConstrainedQuadraticMinimiser::multiplier(int constraint) const {
    check_number(constraint);
    return constraint < multipliers_.size() ? multipliers_[constraint] : 0.0;
}

int mlConstrainedQuadraticMinimiser::is_active(int constraint) const {
    check_number(constraint);
    return constraint < active_.size() ? active_[constraint] : 0;
}

int mlConstrainedQuadraticMinimiser::num_constraints() const { return rows_->size(); }

int mlConstrainedQuadraticMinimiser::iterations() const { return search_->iterations(); }
