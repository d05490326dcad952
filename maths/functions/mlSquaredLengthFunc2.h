#pragma once

#include "maths/functions/mlFunction2.h"
#include "maths/functions/mlFunctionN.h"

/// The squared length \f$F \cdot F\f$ of a vector-valued function F of two variables, with its exact first and second
/// derivatives.
///
/// F has two inputs and must supply `function_derivative`; where it does not, derivatives are computed from stale
/// values. The domain is unbounded. Each evaluation reuses the object's vectors.
/// Lifetime: F must outlive the object. Failure: std::bad_alloc, in the constructor only.
/// Threads: const operations write those vectors: one thread at a time.
class MATHS_API mlSquaredLengthFunc2 : public mlFunction2 {
public:
    explicit mlSquaredLengthFunc2(mlFunctionN const * f);

    [[nodiscard]] double function(double u, double v) const override;

    /// The value for orders (0, 0); first and second derivatives; 0.0, without a call of F, for higher ones.
    /// Deliberate: what is computed depends on v_order + 3 u_order alone, so orders outside 0 .. 2 can give another
    /// derivative.
    [[nodiscard]] double uv_function_derivative(int u_order, int v_order, double u, double v) const override;

private:
    void set_argument(double u, double v) const;
    void evaluate(mlVector & value) const;
    void differentiate(int u_order, int v_order, mlVector & derivative) const;
    double first_derivative(int u_order, int v_order) const;
    double pure_second_derivative(int u_order, int v_order) const;
    double mixed_second_derivative() const;

    mlFunctionN const * vector_function_;
    mutable mlVector argument_;
    mutable mlVector value_store_;
    mutable mlVector derivative_store_;
};
