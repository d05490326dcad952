#include "maths/optimisation/mlMinimiser2.h"

mlMinimiser2::mlMinimiser2(mlFunction2 const & f, double u0, double v0, double resolution)
    : mlBaseMinimiser2(u0, v0, resolution), function_(&f) {
    set_window(f.u_min(), f.u_max(), f.v_min(), f.v_max());
}

int mlMinimiser2::derivative_order() const {
    int const order = function_->highest_derivative_order;
    return order < 0 ? 0 : order > 2 ? 2 : order;
}

double mlMinimiser2::value(double u, double v) {
    ++calls_;
    return function_->function(u, v);
}

void mlMinimiser2::gradient(double u, double v, double * g) {
    calls_ += 2;
    g[0] = function_->u_function_derivative(1, u, v);
    g[1] = function_->v_function_derivative(1, u, v);
}

void mlMinimiser2::curvature(double u, double v, double * h) {
    calls_ += 3;
    h[0] = function_->u_function_derivative(2, u, v);
    h[1] = function_->uv_function_derivative(1, 1, u, v);
    h[2] = function_->v_function_derivative(2, u, v);
}

bool mlMinimiser2::goes_on_below(int parameter) const {
    return (parameter == 0 ? function_->u_min() : function_->v_min()) < low(parameter);
}

bool mlMinimiser2::goes_on_above(int parameter) const {
    return (parameter == 0 ? function_->u_max() : function_->v_max()) > high(parameter);
}
