#pragma once

#include <cmath>

/// A complex number, for use inside the library: the textbook's formulas, without std::complex's search for NaN.
struct mlComplex {
    double re = 0.0, im = 0.0;
};

inline mlComplex operator+(mlComplex a, mlComplex b) { return {a.re + b.re, a.im + b.im}; }
inline mlComplex operator-(mlComplex a, mlComplex b) { return {a.re - b.re, a.im - b.im}; }
inline mlComplex operator+(mlComplex a, double b) { return {a.re + b, a.im}; }
inline mlComplex operator*(double a, mlComplex b) { return {a * b.re, a * b.im}; }
inline mlComplex operator*(mlComplex a, mlComplex b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }

/// At least the modulus and at most sqrt(2) of it, but for rounding.
inline double ml_size(mlComplex z) { return std::fabs(z.re) + std::fabs(z.im); }
inline double ml_size(double x) { return std::fabs(x); }

/// The squares must neither overflow nor underflow.
inline double ml_modulus(mlComplex z) { return std::sqrt(z.re * z.re + z.im * z.im); }
inline double ml_modulus(double x) { return std::fabs(x); }

/// a / b: b is brought near to 1 first, so that its square neither overflows nor underflows.
inline mlComplex ml_quotient(mlComplex a, mlComplex b) {
    double const scale = 1.0 / ml_size(b);
    b = scale * b;
    double const factor = scale / (b.re * b.re + b.im * b.im);
    return factor * (a * mlComplex{b.re, -b.im});
}
inline double ml_quotient(double a, double b) { return a / b; }
