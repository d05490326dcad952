#include "maths/optimisation/mlLevenbergMarquardt.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/decompositions/mlCholeskyDecomposition.h"
#include "maths/decompositions/mlLUDecomposition.h"
#include "maths/optimisation/mlSquareDistances.h"

namespace {

double const first_lambda = 0.0001;
double const relaxation = 0.04; // with the growth of the first try, a net factor of 0.4
double const growth = 10.0;
int const max_tries = 50;
double const negligible_square_step = 1e-30;

} // namespace

mlLevenbergMarquardt::mlLevenbergMarquardt(mlDistanceLeastSquares & model)
    : model_(model), strict_(false), max_iterations_(500),
      alpha_(mlMatrixZero, model.n_parameters(), model.n_parameters()), beta_(mlVectorZero, model.n_parameters()),
      chi_square_(std::numeric_limits<double>::quiet_NaN()), saved_diagonal_(mlVectorZero, model.n_parameters()),
      lambda_(first_lambda), calls_(0), current_parameters_(mlVectorZero, model.n_parameters()),
      trial_parameters_(mlVectorZero, model.n_parameters()), step_(mlVectorZero, model.n_parameters()) {}

mlLevenbergMarquardt::~mlLevenbergMarquardt() = default;

double mlLevenbergMarquardt::fit(mlVector const & start, mlVector & result) {
    if (strict_) return fit(start, result, max_iterations_, 1e-40, 1e+40, true);
    return fit(start, result, max_iterations_, 1e-10, 10000000000.0, false);
}

double mlLevenbergMarquardt::fit(mlVector const & start, mlVector & result, int max_iterations, double min_lambda,
                                 double max_lambda, bool strict) {
    MATHS_CHECK(start.size() == current_parameters_.size(),
                "Levenberg-Marquardt: a start of %d elements, %d parameters", start.size(), current_parameters_.size());
    current_parameters_ = start;
    model_.normalise_parameters(current_parameters_);
    lambda_ = first_lambda;
    calls_ = 0;
    begin_observation();
    for (int i = 0; i < max_iterations; ++i) {
        lambda_ *= relaxation;
        if (lambda_ < min_lambda) break;
        calc_matrices(current_parameters_);
        double const sum = try_steps(max_lambda);
        if (lambda_ > max_lambda) break; // even when the last try was a success
        bool const negligible =
            strict && distance_squared(current_parameters_, trial_parameters_) < negligible_square_step;
        double const step = observed() ? std::sqrt(distance_squared(current_parameters_, trial_parameters_)) : 0.0;
        current_parameters_ = trial_parameters_; // after 50 failures too
        if (negligible || stops(sum, calls_, step)) break;
    }
    result.become(utCopy, current_parameters_);
    return chi_square_ / model_.n_points(); // deliberate: not evaluated again at the result
}

// Tries steps from the current parameters with growing lambda until one lowers the sum or a limit is passed, and
// returns the last one's.
double mlLevenbergMarquardt::try_steps(double max_lambda) {
    double sum = chi_square_;
    for (int i = 0; i < max_tries; ++i) {
        lambda_ *= growth;
        trial_parameters_ = current_parameters_;
        sum = update_pars(lambda_, trial_parameters_);
        if (sum < chi_square_ || lambda_ > max_lambda) break;
    }
    return sum;
}

void mlLevenbergMarquardt::calc_matrices(mlVector & p) {
    int const m = beta_.size();
    chi_square_ = 0.0;
    ++calls_;
    model_.set_parameters(p);
    for (int i = 0; i < model_.n_points(); ++i) {
        double d;
        model_.distance_and_gradient(d, step_, i);
        double const * const gradient = step_.data();
        for (int j = 0; j < m; ++j) {
            double * const row = alpha_.data() + j * m;
            if (i == 0) {
                beta_[j] = 0.0;
                std::fill_n(row, m, 0.0);
            }
            beta_[j] -= d * gradient[j];
            for (int k = 0; k < m; ++k)
                row[k] += gradient[k] * gradient[j];
        }
        chi_square_ += ml_square_distance(model_, d);
    }
}

double mlLevenbergMarquardt::update_pars(double lambda, mlVector & p) {
    int const m = beta_.size();
    for (int j = 0; j < m; ++j) {
        saved_diagonal_[j] = alpha_(j, j);
        alpha_(j, j) += (alpha_(j, j) + 1) * lambda;
    }
    if (!solve_step()) return std::numeric_limits<double>::max();

    p += step_;
    model_.normalise_parameters(p);
    double const sum = ml_sum_of_square_distances(model_, p);
    ++calls_;
    for (int j = 0; j < m; ++j)
        alpha_(j, j) = saved_diagonal_[j];
    return sum;
}

// alpha step = beta; false when neither decomposition can.
bool mlLevenbergMarquardt::solve_step() {
    mlCholeskyDecomposition const cholesky(alpha_);
    if (!cholesky.is_singular()) {
        cholesky.solve(beta_, step_);
        return true;
    }
    mlLUDecomposition const lu(alpha_);
    if (lu.is_singular()) return false;
    lu.solve(beta_, step_);
    return true;
}
