#pragma once

#include <utility>

#include "maths/functions/mlCallable.h"
#include "maths/functions/mlFunctionN1.h"

/// A function of n variables from callables: its value and, where given, its gradient.
///
///     mlFunctionN1Of const f(2, [](mlSlice const & x) { return x[0] * x[0] + 3.0 * x[1]; },
///                            [](mlSlice const & x, mlVector & g) { g[0] = 2.0 * x[0], g[1] = 3.0; });
///
/// The gradient's callable gets g with n elements; without it the gradient comes by the finite differences of
/// `mlFunctionN1`, as the Hessian always does. What a callable returns or throws passes through; values and given
/// gradients allocate nothing, and the calls can be inlined.
/// The callables are copied, and called as const: a lambda must not be `mutable`.
/// Lifetime: what they refer to must outlive the object. Threads: as far as the callables allow.
template <mlCallable<double, mlSlice const &> F, mlCallableOrNone<void, mlSlice const &, mlVector &> G = mlNoCallable>
class mlFunctionN1Of : public mlFunctionN1 {
public:
    mlFunctionN1Of(int n, F f) : mlFunctionN1Of(n, std::move(f), G()) {}
    mlFunctionN1Of(int n, F f, G g) : f_(std::move(f)), gradient_(std::move(g)) { dimension = n; }

    double function(mlSlice const & x) const override { return f_(x); }

    void gradient(mlSlice const & x, mlVector & g) const override {
        if constexpr (mlIsCallable<G>) {
            if (g.size() != dimension) {
                g.clear(0);
                g.become(mlVectorZero, dimension);
            }
            gradient_(x, g);
        } else {
            mlFunctionN1::gradient(x, g);
        }
    }

private:
    F f_;
    G gradient_;
};
