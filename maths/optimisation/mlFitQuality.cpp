#include "maths/optimisation/mlFitQuality.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/decompositions/mlSingularValueDecomposition.h"
#include "maths/optimisation/mlSquareDistances.h"

namespace {

double const not_known = std::numeric_limits<double>::quiet_NaN();
double const unlimited = std::numeric_limits<double>::infinity();
double const negligible_part = 1e-6; // of a parameter in a free direction of length 1

bool is_finite(double x) { return x - x == 0.0; }

// Divides each column by its length, with no square out of range on the way; columns of zeros stay.
void normalise_columns(mlMatrix & jacobian, mlVector & lengths) {
    for (int j = 0; j < jacobian.cols(); ++j) {
        mlSlice column = jacobian.col(j);
        double const largest = column.max_absolute_value();
        lengths[j] = largest > 0.0 ? 0.0 : 1.0;
        if (!(largest > 0.0)) continue;
        for (int i = 0; i < column.length(); ++i)
            lengths[j] += (column[i] / largest) * (column[i] / largest);
        lengths[j] = largest * std::sqrt(lengths[j]);
        for (int i = 0; i < column.length(); ++i)
            column[i] /= lengths[j];
    }
}

} // namespace

mlFitQuality::mlFitQuality(mlDistanceLeastSquares & model, mlVector const & p, double tolerance)
    : standard_errors_(mlVectorZero, p.size()), covariance_(mlMatrixZero, p.size(), p.size()),
      correlations_(mlMatrixZero, p.size(), p.size()) {
    MATHS_CHECK(p.size() == model.n_parameters(), "fit quality: %d parameters given, the model has %d", p.size(),
                model.n_parameters());
    int const n = model.n_points(), m = model.n_parameters();
    standard_errors_.fill(not_known);
    for (mlMatrix * table : {&covariance_, &correlations_})
        std::fill_n(table->data(), m * m, not_known);
    mlMatrix jacobian(mlMatrixZero, n, m);
    mlVector distances(mlVectorZero, n), lengths(mlVectorZero, m);
    model.set_parameters(p);
    if (!linearise(model, jacobian, distances)) return;
    normalise_columns(jacobian, lengths);

    using SVD = mlSingularValueDecomposition;
    SVD const svd(jacobian, SVD::mlNO_U, SVD::mlALL_V);
    if (svd.invalid()) return;
    mlVector const & values = svd.diagonal(); // the largest first
    int const count = std::min(n, m);
    while (rank_ < count && values[rank_] > tolerance * values[0])
        ++rank_;
    degrees_of_freedom_ = n - std::min(rank_, model.n_independent_parameters());
    status_ = rank_ < m                  ? mlFitQualityUndetermined
              : degrees_of_freedom_ <= 0 ? mlFitQualityNoFreedom
                                         : mlFitQualityDetermined;
    mlVector slope(mlVectorZero, m);
    for (int j = 0; j < m; ++j)
        slope[j] = scalar_product(jacobian.col(j), distances.slice());
    take_offset(svd.V(), values, slope);
    take_errors(svd.V(), values, lengths);
}

double mlFitQuality::residual_deviation() const {
    return degrees_of_freedom_ > 0 ? std::sqrt(residual_sum_ / degrees_of_freedom_) : not_known;
}

// The gradients, the distances and the sum of their squares; false when a number is not finite.
bool mlFitQuality::linearise(mlDistanceLeastSquares & model, mlMatrix & jacobian, mlVector & distances) {
    int const m = model.n_parameters();
    mlVector gradient(mlVectorZero, m);
    bool all_finite = true;
    for (int i = 0; i < model.n_points(); ++i) {
        double d;
        model.distance_and_gradient(d, gradient, i);
        residual_sum_ += ml_square_distance(model, d);
        distances[i] = d;
        for (int j = 0; j < m; ++j) {
            jacobian(i, j) = gradient[j];
            all_finite = all_finite && is_finite(gradient[j]);
        }
    }
    if (all_finite && is_finite(residual_sum_)) return true;
    relative_offset_ = not_known;
    return false;
}

// The distances' part in the span of J has the coordinates (V'J'd)_k / s_k.
void mlFitQuality::take_offset(mlMatrix const & v, mlVector const & values, mlVector const & slope) {
    double within = 0.0;
    for (int k = 0; k < rank_; ++k) {
        double const part = scalar_product(v.col(k), slope.slice()) / values[k];
        within += part * part;
    }
    double const across = residual_sum_ - within;
    if (degrees_of_freedom_ <= 0)
        relative_offset_ = not_known;
    else if (within > 0.0)
        relative_offset_ = across > 0.0 ? std::sqrt(within / rank_ / (across / degrees_of_freedom_)) : unlimited;
}

// (J'J)^-1 is V diag(1 / s^2) V', for columns of length 1; a free direction has s = 0.
void mlFitQuality::take_errors(mlMatrix const & v, mlVector const & values, mlVector const & lengths) {
    int const m = lengths.size();
    auto const determined = [&](int j) {
        for (int k = rank_; k < m; ++k)
            if (std::fabs(v(j, k)) > negligible_part) return false;
        return true;
    };
    auto const scaled = [&](int i, int j) {
        double sum = 0.0;
        for (int k = 0; k < rank_; ++k)
            sum += v(i, k) / values[k] * (v(j, k) / values[k]);
        return sum;
    };
    double const deviation = residual_deviation();
    mlVector roots(mlVectorZero, m);
    for (int j = 0; j < m; ++j) {
        bool const known = determined(j);
        roots[j] = known ? std::sqrt(scaled(j, j)) : not_known;
        standard_errors_[j] = known ? deviation * roots[j] / lengths[j] : unlimited;
        covariance_(j, j) = standard_errors_[j] * standard_errors_[j];
        correlations_(j, j) = known ? 1.0 : not_known;
        for (int i = 0; i < j; ++i) {
            double const correlation = scaled(i, j) / roots[i] / roots[j];
            correlations_(i, j) = correlations_(j, i) = correlation;
            // NaN beside an infinite error
            covariance_(i, j) = covariance_(j, i) = correlation * standard_errors_[i] * standard_errors_[j];
        }
    }
}
