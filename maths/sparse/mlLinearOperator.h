#pragma once

#include <utility>

#include "maths/core/mlVector.h"
#include "maths/functions/mlCallable.h"

/// A linear map of vectors of n elements that is known by what it makes of a vector: a matrix, or what stands for one.
/// Derive from it, set `dimension` and supply `multiply`.
///
/// Iterative solvers multiply by two of them: the matrix, and the preconditioner, which multiplies by something near
/// its inverse. `mlMatrixOperator` makes one of a matrix, `mlLinearOperatorOf` one of a callable.
/// Threads: may multiply concurrently as far as the deriving class allows it.
class MATHS_API mlLinearOperator {
public:
    virtual ~mlLinearOperator();

    /// y = A x. Solvers give y of n elements, which are to be written, and never x itself.
    virtual void multiply(mlVector const & x, mlVector & y) const = 0;

    int dimension = 0; ///< n; the deriving class sets it
};

/// A linear operator made of a callable: `void f(mlVector const & x, mlVector & y)`.
///
///     mlLinearOperatorOf const second_difference(n, [n](mlVector const & x, mlVector & y) {
///         for (int i = 0; i < n; ++i)
///             y[i] = 2.0 * x[i] - (i > 0 ? x[i - 1] : 0.0) - (i + 1 < n ? x[i + 1] : 0.0);
///     });
///
/// The callable gets y with n elements at least. It is copied, and called as const: a lambda must not be `mutable`.
/// What it throws passes through. Lifetime: what it refers to must outlive the object.
template <mlCallable<void, mlVector const &, mlVector &> F> class mlLinearOperatorOf final : public mlLinearOperator {
public:
    mlLinearOperatorOf(int n, F f) : f_(std::move(f)) { dimension = n; }

    void multiply(mlVector const & x, mlVector & y) const override {
        y.expand(dimension);
        f_(x, y);
    }

private:
    F f_;
};
