#pragma once

#include "maths/functions/mlCachedFunctionN.h"
#include "maths/functions/mlSquaredLengthFunc2.h"
#include "maths/optimisation/mlBaseMinimiser2.h"

/// Minimises the squared length \f$F \cdot F\f$ of a vector-valued function F of two parameters on a window: the
/// distance of a point from a surface patch, say.
///
/// F has two inputs. With `highest_derivative_order` 1 it supplies its Jacobian by `function_gradient`: steps are those
/// of Gauss and Newton, with the curvature of F itself added by secant updates, so that large residuals converge too.
/// With 2 it supplies `function_derivative`, first and second ones: steps are Newton's, with the derivatives of
/// `mlSquaredLengthFunc2`. With 0 values alone are used.
/// The window is unbounded at first, and so is the domain: every minimum on an end of the window is reported.
/// A search asks for each value and derivative at a point once, unless it has been elsewhere between, and remembers
/// nothing of them when it ends: F may change between searches.
/// Failure: std::bad_alloc too. All else is told by `mlBaseMinimiser2`.
/// Source: Dennis, Gay & Welsch, An adaptive nonlinear least-squares algorithm (1981), for the secant updates.
class MATHS_API mlVectorMinimiser2 : public mlBaseMinimiser2 {
public:
    /// Starts at (u0, v0).
    mlVectorMinimiser2(mlFunctionN const & f, double u0, double v0, double resolution,
                       int highest_derivative_order = 1);

    // A temporary does not outlive the object.
    mlVectorMinimiser2(mlFunctionN const && f, double u0, double v0, double resolution,
                       int highest_derivative_order = 1) = delete;
    ~mlVectorMinimiser2() override; // in the library, where the parts have their virtual tables

private:
    // F, counting its calls.
    class Counted : public mlFunctionN {
    public:
        Counted(mlFunctionN const & f, int & calls);
        void function(mlSlice const & x, mlVector & y) const override;
        void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override;
        void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const override;

    private:
        mlFunctionN const * function_;
        int * calls_;
    };

    int derivative_order() const override { return order_; }
    double value(double u, double v) override;
    void gradient(double u, double v, double * g) override;
    void curvature(double u, double v, double * h) override;
    bool has_partial_curvature() const override { return order_ == 1; }
    void begin_search() override { cached_.cancel_cache(); }
    bool goes_on_below(int) const override { return true; }
    bool goes_on_above(int) const override { return true; }

    int order_;
    Counted counted_;
    mlCachedFunctionN cached_;
    mlSquaredLengthFunc2 squared_length_;
    mlVector argument_;
    mlVector value_;
    mlMatrix jacobian_;
};
