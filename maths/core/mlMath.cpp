#include "maths/core/mlMath.h"

#include <cmath>

namespace {

double const no_such_order = -666.6;

} // namespace

double mlMath::sin_derivative(int n, double x) {
    switch (n % 4) {
    case 0: return std::sin(x);
    case 1: return std::cos(x);
    case 2: return -std::sin(x);
    case 3: return -std::cos(x);
    default: return no_such_order;
    }
}

double mlMath::cos_derivative(int n, double x) {
    switch (n % 4) {
    case 0: return std::cos(x);
    case 1: return -std::sin(x);
    case 2: return -std::cos(x);
    case 3: return std::sin(x);
    default: return no_such_order;
    }
}

double mlMath::sinh_derivative(int n, double x) { return n % 2 != 0 ? std::cosh(x) : std::sinh(x); }

double mlMath::cosh_derivative(int n, double x) { return n % 2 != 0 ? std::sinh(x) : std::cosh(x); }

double mlMath::interpolate(double t, double a, double b) {
    if (t <= 0.0) return a;
    if (t >= 1.0) return b;
    double const lower = b < a ? b : a;
    double const upper = b < a ? a : b;
    double const value = (b - a) * t + a;
    return value < lower ? lower : value > upper ? upper : value;
}

double mlMath::rescale(double x, double x0, double x1, double y0, double y1) {
    return (x - x0) / (x1 - x0) * y1 + (x1 - x) / (x1 - x0) * y0;
}
