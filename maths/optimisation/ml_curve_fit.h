#pragma once

#include <utility>

#include "maths/optimisation/mlCurveModel.h"
#include "maths/optimisation/mlFitQuality.h"
#include "maths/optimisation/mlLevenbergMarquardt.h"

/// Fits the model, strictly and from p, which becomes the parameters found; returns how good the fit is there.
/// Ask the result for its status, and for `relative_offset` whether the fit has arrived. An observer, if given, is told
/// of every iteration as by `mlLevenbergMarquardt`; one that ends the fit leaves the best parameters so far.
inline mlFitQuality ml_curve_fit(mlDistanceLeastSquares & model, mlVector & p, mlObserver * observer = nullptr) {
    mlLevenbergMarquardt fitter(model);
    fitter.set_strict(true);
    fitter.set_observer(observer);
    fitter.fit(p, p);
    return mlFitQuality(model, p);
}

/// Fits the curve y = f(x, p) to points, from p, which becomes the parameters found; returns how good the fit is.
///
///     mlFitQuality const quality = ml_curve_fit(x.slice(), y.slice(), p, f);
///
/// f(x, p), the optional weights and the optional derivatives are those of `mlCurveModel`. For an observer, make that
/// model and fit it by the function above.
template <class F, class... D>
mlFitQuality ml_curve_fit(mlSlice const & x, mlSlice const & y, mlVector & p, F f, D... derivatives) {
    mlCurveModel model(x, y, p, std::move(f), std::move(derivatives)...);
    return ml_curve_fit(model, p);
}
template <class F, class... D>
mlFitQuality ml_curve_fit(mlSlice const & x, mlSlice const & y, mlSlice const & weights, mlVector & p, F f,
                          D... derivatives) {
    mlCurveModel model(x, y, weights, p, std::move(f), std::move(derivatives)...);
    return ml_curve_fit(model, p);
}
