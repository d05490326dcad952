#include "maths/functions/mlFunctionApproxDeriv.h"

#include "maths/functions/mlForwardDifference.h"

mlFunctionApproxDeriv::mlFunctionApproxDeriv(mlFunction const & f, double h) : base_function_(&f), step_(h) {}

double mlFunctionApproxDeriv::function(double t) const {
    auto const f = [this](double x) { return base_function_->function(x); };
    return ml_forward_difference(f, t, step_, t_min(), t_max());
}

double mlFunctionApproxDeriv::t_min() const { return base_function_->t_min(); }

double mlFunctionApproxDeriv::t_max() const { return base_function_->t_max(); }
