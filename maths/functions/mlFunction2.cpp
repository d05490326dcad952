#include "maths/functions/mlFunction2.h"

mlFunction2::mlFunction2() : highest_derivative_order(2) {}

mlFunction2::~mlFunction2() = default;

double mlFunction2::u_function_derivative(int order, double u, double v) const {
    return uv_function_derivative(order, 0, u, v);
}

double mlFunction2::v_function_derivative(int order, double u, double v) const {
    return uv_function_derivative(0, order, u, v);
}

double mlFunction2::uv_function_derivative(int, int, double, double) const { return mlNoDerivative; }

double mlFunction2::u_min() const { return mlUnboundedMin; }
double mlFunction2::u_max() const { return mlUnboundedMax; }
double mlFunction2::v_min() const { return mlUnboundedMin; }
double mlFunction2::v_max() const { return mlUnboundedMax; }
