#pragma once

#include "maths/core/mlExactArithmetic.h"
#include "maths/polynomials/all_roots/mlComplex.h"

// Steps of Horner's rule with their rounding errors, for use inside the library.
//
// Source: Graillat & Menissier-Morain, Accurate summation, dot product and polynomial evaluation in complex floating
// point arithmetic (2012).

/// A factor of many products, real or complex: `value` and what that value is short of the number it stands for.
template <class Number> struct mlFactor;

template <> struct mlFactor<double> {
    explicit mlFactor(double x, double rest_of_x = 0.0) : value(x), rest(rest_of_x), split(x) {}
    double value, rest;
    mlSplit split;
};

template <> struct mlFactor<mlComplex> {
    explicit mlFactor(mlComplex z, mlComplex rest_of_z = {}) : value(z), rest(rest_of_z), re(z.re), im(z.im) {}
    mlComplex value, rest;
    mlSplit re, im;
};

/// b w + c rounded; gives `error` what that has lost, but for errors of the second order, without w's rest.
inline double ml_exact_step(double b, mlFactor<double> const & w, double c, double & error) {
    double const product = b * w.value, product_error = ml_product_error(product, mlSplit(b), w.split);
    double const result = ml_exact_sum(product, c, error);
    error += product_error;
    return result;
}

/// The same for complex numbers, where c is real or complex.
inline mlComplex ml_exact_product(mlComplex b, mlFactor<mlComplex> const & w, mlComplex & error) {
    mlSplit const re(b.re), im(b.im);
    double const rr = b.re * w.value.re, ii = b.im * w.value.im, ri = b.re * w.value.im, ir = b.im * w.value.re;
    mlComplex product, sum_error;
    product.re = ml_exact_sum(rr, -ii, sum_error.re);
    product.im = ml_exact_sum(ri, ir, sum_error.im);
    error.re = (ml_product_error(rr, re, w.re) - ml_product_error(ii, im, w.im)) + sum_error.re;
    error.im = (ml_product_error(ri, re, w.im) + ml_product_error(ir, im, w.re)) + sum_error.im;
    return product;
}
inline mlComplex ml_exact_step(mlComplex b, mlFactor<mlComplex> const & w, double c, mlComplex & error) {
    mlComplex result = ml_exact_product(b, w, error);
    double sum_error;
    result.re = ml_exact_sum(result.re, c, sum_error);
    error.re += sum_error;
    return result;
}
inline mlComplex ml_exact_step(mlComplex b, mlFactor<mlComplex> const & w, mlComplex c, mlComplex & error) {
    mlComplex result = ml_exact_product(b, w, error), sum_error;
    result.re = ml_exact_sum(result.re, c.re, sum_error.re);
    result.im = ml_exact_sum(result.im, c.im, sum_error.im);
    error = error + sum_error;
    return result;
}
