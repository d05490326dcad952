#include "maths/optimisation/mlVectorMinimiser2.h"

mlVectorMinimiser2::Counted::Counted(mlFunctionN const & f, int & calls) : function_(&f), calls_(&calls) {
    input_dimension = f.input_dimension;
    output_dimension = f.output_dimension;
}

void mlVectorMinimiser2::Counted::function(mlSlice const & x, mlVector & y) const {
    ++*calls_;
    function_->function(x, y);
}

void mlVectorMinimiser2::Counted::function_gradient(mlSlice const & x, mlMatrix & jacobian) const {
    ++*calls_;
    function_->function_gradient(x, jacobian);
}

void mlVectorMinimiser2::Counted::function_derivative(mlSlice const & x, int * const orders, mlVector & y) const {
    ++*calls_;
    function_->function_derivative(x, orders, y);
}

mlVectorMinimiser2::mlVectorMinimiser2(mlFunctionN const & f, double u0, double v0, double resolution,
                                       int highest_derivative_order)
    : mlBaseMinimiser2(u0, v0, resolution), order_(highest_derivative_order < 0   ? 0
                                                   : highest_derivative_order > 2 ? 2
                                                                                  : highest_derivative_order),
      counted_(f, calls_), cached_(&counted_), squared_length_(&cached_), argument_(mlVectorZero, 2),
      value_(mlVectorZero, f.output_dimension), jacobian_(mlMatrixZero, f.output_dimension, 2) {}

mlVectorMinimiser2::~mlVectorMinimiser2() = default;

double mlVectorMinimiser2::value(double u, double v) { return squared_length_.function(u, v); }

void mlVectorMinimiser2::gradient(double u, double v, double * g) {
    if (order_ == 2) {
        g[0] = squared_length_.uv_function_derivative(1, 0, u, v);
        g[1] = squared_length_.uv_function_derivative(0, 1, u, v);
        return;
    }
    argument_[0] = u;
    argument_[1] = v;
    cached_.function(argument_.slice(), value_);
    counted_.function_gradient(argument_.slice(), jacobian_);
    for (int k : {0, 1})
        g[k] = 2.0 * scalar_product(jacobian_.col(k), value_.slice());
}

void mlVectorMinimiser2::curvature(double u, double v, double * h) {
    if (order_ == 2) {
        h[0] = squared_length_.uv_function_derivative(2, 0, u, v);
        h[1] = squared_length_.uv_function_derivative(1, 1, u, v);
        h[2] = squared_length_.uv_function_derivative(0, 2, u, v);
        return;
    }
    mlSlice const fu = jacobian_.col(0), fv = jacobian_.col(1);
    h[0] = 2.0 * scalar_product(fu, fu);
    h[1] = 2.0 * scalar_product(fu, fv);
    h[2] = 2.0 * scalar_product(fv, fv);
}
