#pragma once

#include <cmath>

#include "maths/functions/mlFunction2.h"

/// A value with its first and second partial derivatives by u and v.
struct Jet {
    double f, u = 0.0, v = 0.0, uu = 0.0, uv = 0.0, vv = 0.0;

    Jet(double constant) : f(constant) {}
    Jet(double f_, double u_, double v_, double uu_, double uv_, double vv_)
        : f(f_), u(u_), v(v_), uu(uu_), uv(uv_), vv(vv_) {}

    double derivative(int u_order, int v_order) const {
        double const by_order[3][3] = {{f, v, vv}, {u, uv, mlNoDerivative}, {uu, mlNoDerivative, mlNoDerivative}};
        return by_order[u_order][v_order];
    }
};

inline Jet operator+(Jet const & a, Jet const & b) {
    return {a.f + b.f, a.u + b.u, a.v + b.v, a.uu + b.uu, a.uv + b.uv, a.vv + b.vv};
}
inline Jet operator*(Jet const & a, Jet const & b) {
    return {a.f * b.f,
            a.u * b.f + a.f * b.u,
            a.v * b.f + a.f * b.v,
            a.uu * b.f + 2.0 * a.u * b.u + a.f * b.uu,
            a.uv * b.f + a.u * b.v + a.v * b.u + a.f * b.uv,
            a.vv * b.f + 2.0 * a.v * b.v + a.f * b.vv};
}
inline Jet operator-(Jet const & a, Jet const & b) { return a + -1.0 * b; }
inline Jet square(Jet const & a) { return a * a; }
