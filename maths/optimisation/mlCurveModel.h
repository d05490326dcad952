#pragma once

#include <cmath>
#include <utility>

#include "maths/functions/mlCallable.h"
#include "maths/functions/mlCentralDifference.h"
#include "maths/optimisation/mlDistanceLeastSquares.h"

/// The model y = f(x, p) of points (x[i], y[i]), from callables: distance i is \f$\sqrt{w_i}\,(f(x_i, p) - y_i)\f$, the
/// weights w being 1 where none are given. `ml_curve_fit` makes one, fits it and says how well, in one call.
///
///     auto const decay = [](double x, mlVector const & p) { return p[0] / (1.0 + p[1] * x); };
///     mlCurveModel model(x.slice(), y.slice(), start, decay);
///
/// The derivatives' callable gets (x, p, g) and writes the derivatives of f by the parameters into the elements of g.
/// Without it they come by central differences, parameter by parameter, the lower point first, 2⁻¹⁷ of the larger of
/// |p[k]| and |start[k]| to either side, of 1 when both are 0: 2m + 1 evaluations, about ten digits.
/// Shapes: x, y and w have as many elements; `start` has one for each parameter and is copied: it tells how large the
/// parameters are, and the model starts with zeros all the same. A negative weight makes its distance NaN.
/// What a callable throws passes through. Nothing is allocated but in the constructors, where std::bad_alloc may come
/// from, and the calls can be inlined. The callables are copied, and called as const.
/// Lifetime: x and y are views of the caller's storage, which must outlive the object; the weights are read once.
/// Threads: one object, one thread.
template <mlCallable<double, double, mlVector const &> F,
          mlCallableOrNone<void, double, mlVector const &, mlVector &> D = mlNoCallable>
class mlCurveModel : public mlDistanceLeastSquares {
public:
    mlCurveModel(mlSlice const & x, mlSlice const & y, mlVector const & start, F f, D derivatives = D())
        : mlDistanceLeastSquares(start.size(), x.length()), f_(std::move(f)), derivatives_(std::move(derivatives)),
          x_(x), y_(y) {
        MATHS_CHECK(y.length() >= x.length(), "curve: %d abscissae, %d ordinates", x.length(), y.length());
        scales_.become(utCopy, start);
        displaced_.become(mlVectorZero, start.size());
    }
    mlCurveModel(mlSlice const & x, mlSlice const & y, mlSlice const & weights, mlVector const & start, F f,
                 D derivatives = D())
        : mlCurveModel(x, y, start, std::move(f), std::move(derivatives)) {
        MATHS_CHECK(weights.length() >= x.length(), "curve: %d abscissae, %d weights", x.length(), weights.length());
        roots_.become(mlVectorZero, x.length());
        for (int i = 0; i < x.length(); ++i)
            roots_[i] = std::sqrt(weights[i]);
    }

    /// Leaves p as it is.
    void normalise_parameters(mlVector &) override {}

    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        distance(d, point);
        if constexpr (mlIsCallable<D>)
            derivatives_(x_[point], std::as_const(parameters), gradient);
        else
            differentiate(gradient, point);
        if (roots_.size() > 0) gradient *= roots_[point];
    }

    void distance(double & d, int point) override {
        d = f_(x_[point], std::as_const(parameters)) - y_[point];
        if (roots_.size() > 0) d *= roots_[point];
    }

private:
    void differentiate(mlVector & gradient, int point) {
        displaced_ = parameters;
        for (int k = 0; k < n_parameters(); ++k) {
            double const scale = std::fabs(scales_[k]);
            mlCentralDifference const ends(parameters[k], scale == 0.0 && parameters[k] == 0.0 ? 1.0 : scale);
            displaced_[k] = ends.lower;
            double const lower = f_(x_[point], std::as_const(displaced_));
            displaced_[k] = ends.upper;
            gradient[k] = (f_(x_[point], std::as_const(displaced_)) - lower) / ends.width;
            displaced_[k] = parameters[k];
        }
    }

    F f_;
    D derivatives_;
    mlSlice x_, y_;
    mlVector roots_; // of the weights; empty without them
    mlVector scales_, displaced_;
};
