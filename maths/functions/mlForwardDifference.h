#pragma once

#include <algorithm>
#include <concepts>

/// The forward difference quotient of f at t with step h on the domain [t_min, t_max], backward near its upper end.
/// For use inside the library.
template <std::invocable<double> Function>
double ml_forward_difference(Function f, double t, double h, double t_min, double t_max) {
    double const lower = t + h > t_max ? t - h : t;
    double const upper = std::min(lower + h, t_max);
    double const f_upper = f(upper);
    return (f_upper - f(std::max(lower, t_min))) / h; // deliberate: by h, even where a clamp has shortened the interval
}
