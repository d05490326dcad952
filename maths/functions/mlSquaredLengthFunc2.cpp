#include "maths/functions/mlSquaredLengthFunc2.h"

mlSquaredLengthFunc2::mlSquaredLengthFunc2(mlFunctionN const * f)
    : vector_function_(f), argument_(mlVectorZero, 2), value_store_(mlVectorZero, f->output_dimension),
      derivative_store_(mlVectorZero, f->output_dimension) {
    MATHS_CHECK(f->input_dimension == 2 && f->output_dimension > 0,
                "squared length: the function's dimensions are %d and %d: not of two variables, or never set",
                f->input_dimension, f->output_dimension);
}

double mlSquaredLengthFunc2::function(double u, double v) const {
    set_argument(u, v);
    evaluate(value_store_);
    return value_store_.modulus_squared();
}

double mlSquaredLengthFunc2::uv_function_derivative(int u_order, int v_order, double u, double v) const {
    set_argument(u, v);
    switch (v_order + 3 * u_order) {
    case 0: return function(u, v);
    case 1:
    case 3: return first_derivative(u_order, v_order);
    case 2:
    case 6: return pure_second_derivative(u_order, v_order);
    case 4: return mixed_second_derivative();
    default: return 0.0;
    }
}

void mlSquaredLengthFunc2::set_argument(double u, double v) const {
    argument_[0] = u;
    argument_[1] = v;
}

void mlSquaredLengthFunc2::evaluate(mlVector & value) const { vector_function_->function(argument_.slice(), value); }

void mlSquaredLengthFunc2::differentiate(int u_order, int v_order, mlVector & derivative) const {
    int orders[] = {u_order, v_order};
    vector_function_->function_derivative(argument_.slice(), orders, derivative);
}

// (F·F)' = 2 F'·F
double mlSquaredLengthFunc2::first_derivative(int u_order, int v_order) const {
    evaluate(value_store_);
    differentiate(u_order, v_order, derivative_store_);
    return 2.0 * scalar_product(derivative_store_, value_store_);
}

// (F·F)'' = 2 (F'·F' + F''·F), both derivatives by the same variable
double mlSquaredLengthFunc2::pure_second_derivative(int u_order, int v_order) const {
    differentiate(u_order, v_order, derivative_store_);
    evaluate(value_store_);
    double const curvature = scalar_product(derivative_store_, value_store_);
    differentiate(u_order != 0, v_order != 0, derivative_store_);
    return 2.0 * (scalar_product(derivative_store_, derivative_store_) + curvature);
}

// (F·F)_uv = 2 (F_u·F_v + F_uv·F); the value's store serves for F_v
double mlSquaredLengthFunc2::mixed_second_derivative() const {
    differentiate(1, 1, derivative_store_);
    evaluate(value_store_);
    double const curvature = scalar_product(derivative_store_, value_store_);
    differentiate(1, 0, derivative_store_);
    differentiate(0, 1, value_store_);
    return 2.0 * (scalar_product(derivative_store_, value_store_) + curvature);
}
