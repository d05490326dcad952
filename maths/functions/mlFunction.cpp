#include "maths/functions/mlFunction.h"

mlFunction::mlFunction() : highest_derivative_order(2) {}

mlFunction::~mlFunction() = default;

double mlFunction::function_derivative(int, double) const { return mlNoDerivative; }

double mlFunction::t_min() const { return mlUnboundedMin; }

double mlFunction::t_max() const { return mlUnboundedMax; }
