#pragma once

#include "maths/core/mlMatrix.h"
#include "maths/optimisation/mlDistanceLeastSquares.h"

/// What the data say about the parameters of a fit.
enum mlFitQualityStatus : int {
    mlFitQualityDetermined = 0,   ///< every parameter has a standard error
    mlFitQualityUndetermined = 1, ///< the data do not determine some of the parameters: their errors are infinite
    mlFitQualityNoFreedom = 2,    ///< no more points than parameters: errors and covariance are NaN, correlations hold
    mlFitQualityNotFinite = 3     ///< a distance or derivative is NaN or infinite, or has no singular values: all NaN
};

/// How good a least-squares fit is: the residual sum and deviation, and the parameters' covariance, standard errors
/// and correlations, of the model linearised at the parameters given, which should be fitted ones.
///
/// The covariance is \f$s^2 (J^T J)^{-1}\f$ with s the residual standard deviation and J the matrix of the points'
/// gradients. It comes from the singular values of J, whose columns are first divided by their lengths, so that
/// \f$J^T J\f$ is never formed and the parameters' units do not matter. Singular values not above `tolerance` times the
/// largest count as 0; parameters with a part in such a direction are not determined: infinite standard errors, and NaN
/// for what they share with others. The figures of the others hold all the same.
/// Of a model that normalises its parameters, as for a direction, they are those of the parameters left free.
/// Lifetime: the model is needed by the constructor only, and left at p. Failure: the status; std::bad_alloc.
/// Bad input: nothing is checked. Threads: queries of one object may run in parallel.
/// Cost, for n points and m parameters: n gradients and about \f$8 n m^2 + 9 m^3\f$ operations.
/// Source: Bates & Watts, Nonlinear Regression Analysis and Its Applications (1988).
class MATHS_API mlFitQuality {
public:
    mlFitQuality(mlDistanceLeastSquares & model, mlVector const & p, double tolerance = 1e-10);
    mlFitQuality(mlFitQuality const &) = delete;
    mlFitQuality & operator=(mlFitQuality const &) = delete;

    [[nodiscard]] mlFitQualityStatus status() const { return status_; }

    /// The sum of squared distances.
    [[nodiscard]] double residual_sum() const { return residual_sum_; }

    /// The number of points without that of the parameters that they determine, the independent ones at most.
    [[nodiscard]] int degrees_of_freedom() const { return degrees_of_freedom_; }

    /// The root of the residual sum per degree of freedom; NaN without freedom.
    [[nodiscard]] double residual_deviation() const;

    /// How many directions of the parameters the data determine.
    [[nodiscard]] int rank() const { return rank_; }

    /// True when no direction that the data leave free has a part of more than 1e-6 in parameter j.
    [[nodiscard]] bool is_determined(int j) const { return correlations_(j, j) == 1.0; }

    [[nodiscard]] mlVector const & standard_errors() const { return standard_errors_; }
    [[nodiscard]] mlMatrix const & covariance() const { return covariance_; }
    [[nodiscard]] mlMatrix const & correlations() const { return correlations_; }

    /// Whether the fit has arrived: the part of the distances that a change of the parameters could still take away,
    /// beside the part that it could not, each per degree of freedom. Below 0.001 the confidence region is not visibly
    /// shifted; strict fits of the reference problems reach about 1e-6 and less. NaN without freedom. Without meaning
    /// at an exact fit, whose distances are nothing but roundoff.
    [[nodiscard]] double relative_offset() const { return relative_offset_; }

private:
    bool linearise(mlDistanceLeastSquares & model, mlMatrix & jacobian, mlVector & slope);
    void take_offset(mlMatrix const & v, mlVector const & values, mlVector const & slope);
    void take_errors(mlMatrix const & v, mlVector const & values, mlVector const & lengths);

    mlFitQualityStatus status_ = mlFitQualityNotFinite;
    double residual_sum_ = 0.0;
    double relative_offset_ = 0.0;
    int degrees_of_freedom_ = 0;
    int rank_ = 0;
    mlVector standard_errors_;
    mlMatrix covariance_, correlations_;
};
