#pragma once

#include <utility>

#include "maths/functions/mlCallable.h"
#include "maths/functions/mlCentralDifference.h"
#include "maths/functions/mlFunctionN.h"

/// A function of n variables with m values from callables: its values and, where given, its Jacobian.
///
///     mlFunctionNOf const f(2, 2, [](mlSlice const & x, mlVector & y) {
///         y[0] = x[0] * x[0] + x[1] * x[1] - 4.0;
///         y[1] = x[0] - x[1];
///     });
///
/// The Jacobian's callable gets (x, jacobian), an m x n `mlMatrix`. Without it the Jacobian comes by central
/// differences, variable by variable, the lower point first, 2⁻¹⁷ of the larger of |x_k| and 1 to either side: 2n
/// evaluations, about ten digits for a smooth function of arguments near 1 in magnitude. Scale variables that are
/// naturally smaller by far.
/// What a callable returns or throws passes through. Nothing is allocated but in the constructor, where std::bad_alloc
/// may come from, and the calls can be inlined.
/// The callables are copied, and called as const: a lambda must not be `mutable`.
/// Lifetime: what they refer to must outlive the object. Threads: as far as the callables allow; differences write work
/// vectors, so then one thread at a time.
template <mlCallable<void, mlSlice const &, mlVector &> F,
          mlCallableOrNone<void, mlSlice const &, mlMatrix &> J = mlNoCallable>
class mlFunctionNOf : public mlFunctionN {
public:
    mlFunctionNOf(int n, int m, F f) : mlFunctionNOf(n, m, std::move(f), J()) {}
    mlFunctionNOf(int n, int m, F f, J jacobian) : f_(std::move(f)), jacobian_(std::move(jacobian)) {
        input_dimension = n;
        output_dimension = m;
        if constexpr (!mlIsCallable<J>) {
            point_.become(mlVectorZero, n);
            lower_.become(mlVectorZero, m);
            upper_.become(mlVectorZero, m);
        }
    }

    void function(mlSlice const & x, mlVector & y) const override { f_(x, y); }

    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        if constexpr (mlIsCallable<J>)
            jacobian_(x, jacobian);
        else
            differentiate(x, jacobian);
    }

private:
    void differentiate(mlSlice const & x, mlMatrix & jacobian) const {
        point_ = x;
        for (int k = 0; k < input_dimension; ++k) {
            mlCentralDifference const ends(x[k], 1.0);
            point_[k] = ends.lower;
            f_(point_.slice(), lower_);
            point_[k] = ends.upper;
            f_(point_.slice(), upper_);
            point_[k] = x[k];
            for (int i = 0; i < output_dimension; ++i)
                jacobian(i, k) = (upper_[i] - lower_[i]) / ends.width;
        }
    }

    F f_;
    J jacobian_;
    mutable mlVector point_, lower_, upper_; // for the differences
};
