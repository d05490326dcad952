#pragma once

#include "maths/functions/mlFunction.h"

/// The value and the first two derivatives of a function at one abscissa, each computed when it is first needed.
///
/// The most negative finite double marks an entry that is not known. A derivative counts only when every lower one is
/// known; entries after the first unknown one may hold anything. A plain record: the function is not remembered.
class MATHS_API mlFunctionValue {
public:
    /// At t, with nothing known.
    explicit mlFunctionValue(double abscissa) : t(abscissa) {}
    mlFunctionValue(mlFunctionValue const &) = default;

    /// Copies what is known; entries after the first unknown one keep what they hold.
    void operator=(mlFunctionValue const & v);

    /// Forgets the derivatives, not the value.
    void invalidate_derivatives();

    double t;
    double value = mlUnboundedMin;
    double first_derivative = mlUnboundedMin;
    double second_derivative = mlUnboundedMin;

protected:
    /// Computes the value, the first or the second derivative of f at t, anew, after the lower ones that are not known.
    /// Where f throws, the entry and those after it are not known.
    void do_fn0(mlFunction const & f);
    void do_fn1(mlFunction const & f);
    void do_fn2(mlFunction const & f);

private:
    friend class mlMinimiser;

    bool knows_value() const { return value != mlUnboundedMin; }
    bool knows_first_derivative() const { return knows_value() && first_derivative != mlUnboundedMin; }
    bool knows_second_derivative() const { return knows_first_derivative() && second_derivative != mlUnboundedMin; }

    // Compute only what is not known yet.
    void need_value(mlFunction const & f);
    void need_first_derivative(mlFunction const & f);
    void need_second_derivative(mlFunction const & f);
};
