#include "maths/optimisation/mlFunctionValue.h"

void mlFunctionValue::operator=(mlFunctionValue const & v) {
    t = v.t;
    value = v.value;
    if (v.knows_value()) first_derivative = v.first_derivative;
    if (v.knows_first_derivative()) second_derivative = v.second_derivative;
}

void mlFunctionValue::invalidate_derivatives() {
    if (knows_value()) first_derivative = mlUnboundedMin;
}

void mlFunctionValue::do_fn0(mlFunction const & f) {
    value = first_derivative = mlUnboundedMin; // before the call, which may throw
    value = f.function(t);
}

void mlFunctionValue::do_fn1(mlFunction const & f) {
    need_value(f);
    first_derivative = second_derivative = mlUnboundedMin;
    first_derivative = f.function_derivative(1, t);
}

void mlFunctionValue::do_fn2(mlFunction const & f) {
    need_value(f);
    if (first_derivative == mlUnboundedMin) first_derivative = f.function_derivative(1, t);
    second_derivative = mlUnboundedMin;
    second_derivative = f.function_derivative(2, t);
}

void mlFunctionValue::need_value(mlFunction const & f) {
    if (!knows_value()) do_fn0(f);
}

void mlFunctionValue::need_first_derivative(mlFunction const & f) {
    if (!knows_first_derivative()) do_fn1(f);
}

void mlFunctionValue::need_second_derivative(mlFunction const & f) {
    if (!knows_second_derivative()) do_fn2(f);
}
