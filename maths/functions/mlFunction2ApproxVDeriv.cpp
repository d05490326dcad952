#include "maths/functions/mlFunction2ApproxVDeriv.h"

#include "maths/functions/mlForwardDifference.h"

mlFunction2ApproxVDeriv::mlFunction2ApproxVDeriv(mlFunction2 const & f, double h) : step_(h), base_function_(&f) {}

double mlFunction2ApproxVDeriv::function(double u, double v) const {
    auto const f = [this, u](double x) { return base_function_->function(u, x); };
    return ml_forward_difference(f, v, step_, v_min(), v_max());
}

double mlFunction2ApproxVDeriv::u_min() const { return base_function_->v_min(); } // deliberate: of v, see the header
double mlFunction2ApproxVDeriv::u_max() const { return base_function_->v_max(); }
double mlFunction2ApproxVDeriv::v_min() const { return base_function_->v_min(); }
double mlFunction2ApproxVDeriv::v_max() const { return base_function_->v_max(); }
