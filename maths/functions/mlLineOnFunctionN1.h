#pragma once

#include "maths/functions/mlFunction.h"
#include "maths/functions/mlFunctionN1.h"

/// A function of n variables on the straight line point + t direction, as a function of t on the whole real line.
///
/// Point and direction are read afresh by every call and may be changed in between. Derivatives are not provided,
/// although (deliberate) `highest_derivative_order` stays at 2.
/// Shapes: n is the point's size when the object is made; the direction has as many elements.
/// Lifetime: function, point and direction must outlive the object. Failure: std::bad_alloc, in the constructor only.
/// Threads: `function` writes a work vector: one thread at a time.
class MATHS_API mlLineOnFunctionN1 : public mlFunction {
public:
    mlLineOnFunctionN1(mlVector const & point, mlVector const & direction, mlFunctionN1 * f);

    // Temporaries do not outlive the object.
    mlLineOnFunctionN1(mlVector const && point, mlVector const & direction, mlFunctionN1 * f) = delete;
    mlLineOnFunctionN1(mlVector const & point, mlVector const && direction, mlFunctionN1 * f) = delete;
    mlLineOnFunctionN1(mlVector const && point, mlVector const && direction, mlFunctionN1 * f) = delete;

    [[nodiscard]] double function(double t) const override;

private:
    mlFunctionN1 * function_n1_;
    mlVector const * point_;
    mlVector const * direction_;
    mutable mlVector work_;
};
