#include "maths/functions/mlFunction2ApproxUDeriv.h"

#include "maths/functions/mlForwardDifference.h"

mlFunction2ApproxUDeriv::mlFunction2ApproxUDeriv(mlFunction2 const & f, double h) : step_(h), base_function_(&f) {}

double mlFunction2ApproxUDeriv::function(double u, double v) const {
    auto const f = [this, v](double x) { return base_function_->function(x, v); };
    return ml_forward_difference(f, u, step_, u_min(), u_max());
}

double mlFunction2ApproxUDeriv::u_min() const { return base_function_->u_min(); }
double mlFunction2ApproxUDeriv::u_max() const { return base_function_->u_max(); }
double mlFunction2ApproxUDeriv::v_min() const { return base_function_->v_min(); }
double mlFunction2ApproxUDeriv::v_max() const { return base_function_->v_max(); }
