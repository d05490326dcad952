#pragma once

#include "maths/core/mlMatrix.h"

/// A real function of n variables: derive from it, set `dimension` and supply `function`. Gradient and Hessian come by
/// finite differences unless the deriving class supplies them.
///
/// Threads: may be called concurrently as far as the deriving class allows it.
class MATHS_API mlFunctionN1 {
public:
    /// The value at x.
    [[nodiscard]] virtual double function(mlSlice const & x) const = 0;

    /// Writes the n first derivatives at x into g, which is given that size.
    virtual void gradient(mlSlice const & x, mlVector & g) const;

    /// The gradient where the class supplies it: 1, and g is what `gradient` makes of it. Where it would come by finite
    /// differences, in part too: 0, without a call of `function`, and g is left without meaning.
    [[nodiscard]] int supplied_gradient(mlSlice const & x, mlVector & g) const;

    /// Writes the n x n second derivatives at x into h, which is given that shape.
    virtual void hessian(mlSlice const & x, mlMatrix & h) const;

    virtual ~mlFunctionN1();

    int dimension = 0; ///< n; the deriving class sets it

protected:
    /// Central differences of absolute step 1.19e-7, the lower point first: 2n evaluations. With arguments near 1 the
    /// rounding errors are about 1e-9 of the function's magnitude.
    void calculate_gradient_by_finite_differences(mlSlice const & x, mlVector & g) const;

    /// Second differences of absolute step 1e-7: 2n(n - 1) + 3n evaluations. With so small a step the result carries
    /// rounding errors of a few hundredths of the function's magnitude, of a few thousandths off the diagonal.
    void calculate_hessian_by_finite_differences(mlSlice const & x, mlMatrix & h) const;

private:
    double mixed_difference(mlSlice const & x, mlVector & w, int i, int j) const;
    double second_difference(mlSlice const & x, mlVector & w, int i) const;
};
